#include "remote_outputs.h"

#include "controller.h"
#include "families.h"

namespace lumosim {

namespace {

constexpr Word kSetWords = 0x0190;
constexpr Word kSetPin = 0x0191;
constexpr Word kTogglePin = 0x0192;
constexpr Word kSetPins = 0x0193;
constexpr Word kTogglePins = 0x0194;
constexpr Word kLinkFailKeepOut = 0x0195;

constexpr Word kSet = 0;
constexpr Word kGet = 1;

constexpr unsigned kPins = 32;

OutputChange ReadWord(CommandReader& in, bool& /*valid*/)
{
    return OutputChange::Word(in.NextUnsignedLong());
}

// Pin and state come in one register or, as a 32-bit value, in two.
OutputChange ReadPin(CommandReader& in, bool& valid)
{
    const Word packed = in.NextWord();
    const Word high = in.Remaining() == 1 ? in.NextWord() : Word{0};
    const unsigned pin = packed >> 8U;
    const unsigned state = packed & 0xFFU;
    valid = valid && pin < kPins && state <= 1 && high == 0;
    return OutputChange::Pin(pin % kPins, state == 1);
}

OutputChange ReadTogglePin(CommandReader& in, bool& valid)
{
    const Word pin = in.NextWord();
    valid = valid && pin < kPins;
    return OutputChange::Toggle(1U << pin % kPins);
}

OutputChange ReadMasks(CommandReader& in, bool& /*valid*/)
{
    const std::uint32_t on = in.NextUnsignedLong();
    return {on, in.NextUnsignedLong(), 0};
}

OutputChange ReadToggleMask(CommandReader& in, bool& /*valid*/)
{
    return OutputChange::Toggle(in.NextUnsignedLong());
}

} // namespace

void RemoteOutputs::AddCommands(CommandTable& table)
{
    // A command for one pin is for one slave; masks may come for no slave at all.
    const auto add = [&](Word code, const char* name, Word fewest, ReadChange read) {
        table.Add(code, name,
                  [this, fewest, read](auto& in, auto&) { return Change(in, fewest, read); });
    };
    add(kSetWords, "output words", 1, ReadWord);
    add(kSetPin, "output pin", 1, ReadPin);
    add(kTogglePin, "toggle output pin", 1, ReadTogglePin);
    add(kSetPins, "output pins", 0, ReadMasks);
    add(kTogglePins, "toggle output pins", 0, ReadToggleMask);
    table.Add(kLinkFailKeepOut, "link-fail keep-out",
              [this](auto& in, auto& reply) { return KeepOutSetting(in, reply); });
}

Result RemoteOutputs::Change(CommandReader& in, Word fewest, ReadChange read)
{
    struct Entry
    {
        Word station;
        OutputChange change;
    };
    const Word count = in.NextWord();
    if (count < fewest || count > kMaxAxes) return Result::kMalformed;
    std::vector<Entry> entries;
    bool known = true;
    bool valid = true;
    for (Word i = 0; i < count; ++i) {
        const Word station = in.NextWord();
        known =
            known && station < kMaxAxes && controller_.SlaveAt(station).type == SlaveType::kOutput;
        entries.push_back({station, read(in, valid)});
    }
    if (!in.Finished()) return Result::kMalformed;
    if (!known) return Result::kNoOutputSlave;
    if (!valid) return Result::kOutOfRange;
    if (!networkUp_) return Result::kNetworkDown;
    for (const Entry& entry : entries) {
        const std::uint32_t outputs = controller_.SlaveAt(entry.station).outputs;
        controller_.SetSlaveOutputs(entry.station, entry.change.AppliedTo(outputs));
    }
    return Result::kDone;
}

Result RemoteOutputs::KeepOutSetting(CommandReader& in, Reply& reply)
{
    const Word function = in.NextWord();
    if (function == kSet) {
        const std::uint32_t value = in.NextUnsignedLong();
        if (!in.Finished()) return Result::kMalformed;
        keepOut_ = value;
        return Result::kDone;
    }
    if (function != kGet || !in.Finished()) return Result::kMalformed;
    reply.AddLong(static_cast<std::int32_t>(keepOut_));
    return Result::kDone;
}

void RemoteOutputs::SetNetworkUp(bool up)
{
    networkUp_ = up;
    for (int station = 0; !up && station < kMaxAxes; ++station) {
        const bool keeps = (keepOut_ >> static_cast<unsigned>(station) & 1U) != 0;
        const bool hasOutputs = controller_.SlaveAt(station).type == SlaveType::kOutput;
        if (hasOutputs && !keeps) controller_.SetSlaveOutputs(station, 0);
    }
}

void RemoteOutputs::PowerUp()
{
    keepOut_ = 0;
}

std::unique_ptr<Family> MakeRemoteOutputs(Controller& controller)
{
    return std::make_unique<RemoteOutputs>(controller);
}

} // namespace lumosim
