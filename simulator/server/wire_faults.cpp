#include "wire_faults.h"

#include "wire_filter.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <utility>

namespace lumosim {

namespace {

using std::chrono::microseconds;

constexpr std::size_t kReplyUnitAt = 6;
constexpr std::size_t kReplyFunctionAt = 7;

const FaultParameter kMilliseconds{"ms", "milliseconds", 0, 60'000, 80};

// A fault of the line with what its parameters make of it.
struct WireFault
{
    const char* name;
    const char* text;
    std::vector<FaultParameter> parameters; // besides those that all have
    WireFilter::Fault (*make)(const FaultValues& values);
};

double Value(const FaultValues& values, const char* name)
{
    return values.find(name)->second;
}

std::size_t Whole(const FaultValues& values, const char* name)
{
    return static_cast<std::size_t>(std::llround(Value(values, name)));
}

microseconds Milliseconds(const FaultValues& values, const char* name)
{
    return microseconds(std::llround(Value(values, name) * 1000));
}

template <typename Change>
WireFilter::Fault OnAnswer(Change change)
{
    WireFilter::Fault fault;
    fault.onAnswer = std::move(change);
    return fault;
}

WireFilter::Fault Delay(const FaultValues& values)
{
    return OnAnswer(
        [wait = Milliseconds(values, "ms")](Passage& answer, Dice&) { answer.wait += wait; });
}

WireFilter::Fault Jitter(const FaultValues& values)
{
    return OnAnswer([most = Value(values, "ms") * 1000](Passage& answer, Dice& dice) {
        answer.wait += microseconds(std::llround(dice.Share() * most));
    });
}

WireFilter::Fault LateReply(const FaultValues& values)
{
    return OnAnswer([wait = Milliseconds(values, "ms")](Passage& answer, Dice&) {
        answer.wait += wait;
        answer.overtaken = true;
    });
}

WireFilter::Fault LostReply(const FaultValues& /*values*/)
{
    return OnAnswer([](Passage& answer, Dice&) { answer.copies = 0; });
}

WireFilter::Fault DoubledReply(const FaultValues& /*values*/)
{
    return OnAnswer([](Passage& answer, Dice&) { answer.copies = 2; });
}

WireFilter::Fault CutReply(const FaultValues& /*values*/)
{
    return OnAnswer([](Passage& answer, Dice& dice) {
        answer.frame.resize(1 + dice.Below(answer.frame.size() - 1));
        answer.end = WireEnd::kCloses;
    });
}

WireFilter::Fault SlicedReply(const FaultValues& values)
{
    return OnAnswer([size = Whole(values, "bytes"),
                     pause = Milliseconds(values, "pause-ms")](Passage& answer, Dice&) {
        answer.pieceSize = size;
        answer.betweenPieces = pause;
    });
}

WireFilter::Fault WrongId(const FaultValues& values)
{
    return OnAnswer([offset = Whole(values, "offset")](Passage& answer, Dice&) {
        const auto id =
            (static_cast<std::size_t>(answer.frame[0]) << 8U | answer.frame[1]) + offset;
        answer.frame[0] = static_cast<std::uint8_t>(id >> 8U);
        answer.frame[1] = static_cast<std::uint8_t>(id);
    });
}

WireFilter::Fault WrongUnit(const FaultValues& values)
{
    return OnAnswer([unit = Whole(values, "unit")](Passage& answer, Dice&) {
        answer.frame[kReplyUnitAt] = static_cast<std::uint8_t>(unit);
    });
}

WireFilter::Fault Garbage(const FaultValues& values)
{
    return OnAnswer([size = Whole(values, "bytes")](Passage& answer, Dice& dice) {
        answer.frame.resize(size);
        std::ranges::generate(answer.frame,
                              [&dice] { return static_cast<std::uint8_t>(dice.Below(256)); });
    });
}

WireFilter::Fault Exception(const FaultValues& values)
{
    return OnAnswer([code = Whole(values, "code")](Passage& answer, Dice&) {
        constexpr std::uint8_t kFlag = 0x80;
        constexpr std::uint8_t kLength = 3; // unit, function and code
        answer.frame.resize(kReplyFunctionAt + 2);
        answer.frame[4] = 0;
        answer.frame[5] = kLength;
        answer.frame[kReplyFunctionAt] |= kFlag;
        answer.frame[kReplyFunctionAt + 1] = static_cast<std::uint8_t>(code);
    });
}

WireFilter::Fault Reset(const FaultValues& /*values*/)
{
    return OnAnswer([](Passage& answer, Dice&) {
        answer.copies = 0;
        answer.end = WireEnd::kResets;
    });
}

WireFilter::Fault Hang(const FaultValues& /*values*/)
{
    return OnAnswer([](Passage& answer, Dice&) {
        answer.copies = 0;
        answer.end = WireEnd::kHangs;
    });
}

WireFilter::Fault Refuse(const FaultValues& /*values*/)
{
    WireFilter::Fault fault;
    fault.refuses = true;
    return fault;
}

WireFilter::Fault SlowReader(const FaultValues& values)
{
    WireFilter::Fault fault;
    fault.onRead = [size = Whole(values, "bytes"), pause = Milliseconds(values, "ms")](Pace& pace) {
        pace.size = std::min(pace.size, size);
        pace.pause += pause;
    };
    return fault;
}

std::vector<WireFault> Table()
{
    const FaultParameter pieceSize{"bytes", "bytes of a piece", 1, 260, 1};
    const FaultParameter piecePause{"pause-ms", "milliseconds between two pieces", 0, 60'000, 1};
    return {
        {"delay", "replies come later, and those behind them wait", {kMilliseconds}, Delay},
        {"jitter", "replies come later by up to so much", {kMilliseconds}, Jitter},
        {"late-reply",
         "a reply comes later, and those behind it overtake it",
         {kMilliseconds},
         LateReply},
        {"lost-reply", "a reply never comes", {}, LostReply},
        {"doubled-reply", "a reply comes twice", {}, DoubledReply},
        {"cut-reply", "the connection is closed in the middle of a reply", {}, CutReply},
        {"sliced-reply", "a reply comes in pieces", {pieceSize, piecePause}, SlicedReply},
        {"wrong-id",
         "a reply has another transaction id",
         {{"offset", "what is added to the id", 1, 65'535, 16'384}},
         WrongId},
        {"wrong-unit",
         "a reply has another unit id",
         {{"unit", "that unit", 0, 255, 2}},
         WrongUnit},
        {"garbage",
         "random bytes come in place of a reply",
         {{"bytes", "how many", 1, 260, 16}},
         Garbage},
        {"exception",
         "an exception comes in place of a reply",
         {{"code", "its code", 0, 255, 4}},
         Exception},
        {"reset", "the connection is reset in place of a reply", {}, Reset},
        {"hang", "the connection stays open, and nothing is answered any more", {}, Hang},
        {"refuse", "a connection is reset as soon as it is made", {}, Refuse},
        {"slow-reader", "requests are taken slowly", {pieceSize, kMilliseconds}, SlowReader},
    };
}

} // namespace

void AddWireFaults(FaultRegistry& registry, WireFilter& filter)
{
    for (const WireFault& fault : Table()) {
        FaultKind kind{fault.name, fault.text, fault.parameters, {}, {}};
        kind.parameters.push_back({"probability", "share of the cases", 0, 1, 1});
        kind.parameters.push_back({"count", "how often at most; 0: for ever", 0, 1e9, 0});
        kind.apply = [&filter, name = kind.name, make = fault.make](const FaultValues& values) {
            filter.Set(name, Value(values, "probability"), Whole(values, "count"), make(values));
        };
        kind.clear = [&filter, name = kind.name] { filter.Remove(name); };
        registry.Add(std::move(kind));
    }
}

} // namespace lumosim
