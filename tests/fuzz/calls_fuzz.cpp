#include "common/result_codes.h"
#include "fuzz/reading_calls.h"
#include "transport/session_table.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

// An input chooses a call and gives the replies that come back:
//   byte 0     the call, by its place among kReadingCalls; the bytes behind it are its arguments
//   byte 1     0: servo axes 0 to 7, an input and an output slave; else servo axes everywhere
//   the rest   arguments, then the answers of AnswerFrom()

namespace zelq::fuzz {

namespace {

/// The answer to a read of all type words, all frames proper.
Bytes TypeWords(bool servosEverywhere)
{
    Bytes answer{0};
    for (std::size_t axis = 0; axis < kAxes; ++axis) {
        const bool isServo = servosEverywhere || axis < 8;
        const unsigned type = isServo ? 1U : axis < 30 ? 0U : axis == 30 ? 2U : 3U;
        Append(answer, {0, 0, static_cast<std::uint8_t>(type), 0, 0});
    }
    return answer;
}

/// Whether all axes of the session are servos, where that is known.
std::optional<bool> standing;

/// Brings the session to the same state before every input: its slaves, configuration counter 0.
void SetUpSession(bool servosEverywhere)
{
    if (std::exchange(standing, servosEverywhere) == servosEverywhere) return;
    Sessions().FindOrCreate(kNumber);
    const Bytes types = TypeWords(servosEverywhere);
    Bytes status{0, 0, 0, 1}; // one register: the configuration stands
    status.resize(status.size() + 1 + 2 * 18);
    Append(status, types);

    Input typeAnswers{std::span(types)};
    AnswerFrom(typeAnswers);
    Outputs outputs;
    Require(zelQ_SlavePropertyGetAll(kNumber, outputs(kAxes)) == kOk, "the slaves are read");
    Input statusAnswers{std::span(status)};
    AnswerFrom(statusAnswers);
    zelQ_GetServoStatus(kNumber, 0, outputs());
    TakeTraffic();
}

bool IsWellFormed(const std::string& line)
{
    const std::string head = "TIME=";
    return line.starts_with(head) && line.find_first_not_of("0123456789", head.size()) == 17 &&
           line[17] == ',' && line.back() == '\n' && line.find('\n') == line.size() - 1;
}

/// A result that an exchange has not given is one that the library is described to give.
bool MayResult(short result, const Traffic& traffic)
{
    // Nothing to be asked for, or the arguments were refused.
    if (traffic.exchanges == 0) return result == kOk || result <= BadArgument(0);
    if (result == static_cast<short>(traffic.engineResult)) return true;
    constexpr int kOwn[] = {kReplyMismatch, kReplyDataMissing,     kDeviceInfoOutOfRange,
                            kBadAxis,       kConfigurationChanged, BadArgument(0)};
    return std::ranges::find(kOwn, result) != std::end(kOwn);
}

void CheckTrace(short result, const Traffic& traffic)
{
    std::size_t callsLines = 0;
    for (const std::string& line : traffic.lines) {
        Require(IsWellFormed(line), "a trace line is well formed");
        if (line.find("=GetSlaveProperty(5)\n") != std::string::npos) continue;
        ++callsLines;
        Require(line.substr(18).starts_with(std::to_string(result) + "=zelQ_"),
                "a line starts with the call's result");
    }
    Require(callsLines <= 1 && traffic.lines.size() <= callsLines + 1, "a call traces once");
    Require(result != kOk || callsLines == 1, "a call that succeeds is traced");
}

} // namespace

void Check(Input input)
{
    const ReadingCall& call = kReadingCalls[input.Below(std::size(kReadingCalls))];
    SetUpSession(input.Next() % 2 != 0);
    AnswerFrom(input);
    Outputs outputs;
    const short result = call.run(input, outputs);
    const Traffic traffic = TakeTraffic();
    if (traffic.exchanges > 1 || call.readsSlaves) standing.reset();
    Require(MayResult(result, traffic), "the result is a described one");
    Require(result == kOk || call.keepsWhatCame || outputs.Untouched(),
            "a call that fails writes nothing");
    CheckTrace(result, traffic);
}

} // namespace zelq::fuzz
