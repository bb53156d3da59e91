#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <array>

using namespace zelq;

namespace {

constexpr std::uint16_t kDefaultParametersCode = 0x1007;
constexpr std::uint16_t kRtexCycleCode = 0x1008;

constexpr std::uint16_t kSet = 0;
constexpr std::uint16_t kGet = 1;

template <std::size_t Count>
bool ReadWords(const ReplyData& reply, std::array<std::uint16_t, Count>& words)
{
    ReplyReader reader(reply);
    reader.SkipResult();
    for (std::uint16_t& word : words) {
        if (!reader.Read(word)) return false;
    }
    return true;
}

} // namespace

short zelQ_UseMaroDefParamSet(short zelNo, unsigned short use)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (use > 1) return BadArgument(1);

    const short result = Command(kDefaultParametersCode).Word(kSet).Word(use).Run(zelNo);
    return Traced("%d=zelQ_UseMaroDefParamSet(%d,%d)", result, zelNo, use);
}

short zelQ_UseMaroDefParamGet(short zelNo, unsigned short* use)
{
    if (const short error = CheckSession(zelNo)) return error;

    constexpr std::uint16_t kResultAndWord = 2;
    ReplyData reply;
    const short result =
        Command(kDefaultParametersCode, kResultAndWord).Word(kGet).Run(zelNo, &reply);
    std::array<std::uint16_t, 1> words{};
    if (result == kOk) {
        if (!ReadWords(reply, words)) return kReplyDataMissing;
        if (use != nullptr) *use = words[0];
    }
    return Traced("%d=zelQ_UseMaroDefParamGet(%d,%d)", result, zelNo, words[0]);
}

short zelQ_RtexCycleSet(short zelNo, short first, short second, int third)
{
    if (const short error = CheckSession(zelNo)) return error;

    Command command(kRtexCycleCode);
    command.Word(kSet).Word(first).Word(second).Long(third);
    return Traced("%d=zelQ_RtexCycleSet(%d,%d,%d,%d)", command.Run(zelNo), zelNo, first, second,
                  third);
}

short zelQ_RtexCycleGet(short zelNo, unsigned short* first, unsigned short* second)
{
    if (const short error = CheckSession(zelNo)) return error;

    constexpr std::uint16_t kResultAndTwo = 3;
    ReplyData reply;
    const short result = Command(kRtexCycleCode, kResultAndTwo).Word(kGet).Run(zelNo, &reply);
    std::array<std::uint16_t, 2> words{};
    if (result == kOk) {
        if (!ReadWords(reply, words)) return kReplyDataMissing;
        if (first != nullptr) *first = words[0];
        if (second != nullptr) *second = words[1];
    }
    return Traced("%d=zelQ_RtexCycleGet(%d,%d,%d)", result, zelNo, words[0], words[1]);
}
