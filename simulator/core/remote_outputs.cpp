#include "remote_outputs.h"

#include "controller.h"
#include "families.h"
#include "snapshot.h"
#include "values.h"

namespace lumosim {

namespace {

constexpr Word kSetRemoteWords = 0x0190;
constexpr Word kSetRemotePin = 0x0191;
constexpr Word kToggleRemotePin = 0x0192;
constexpr Word kSetRemotePins = 0x0193;
constexpr Word kToggleRemotePins = 0x0194;
constexpr Word kLinkFailKeepOut = 0x0195;

constexpr unsigned kPinsOfSlave = 32;

// Pin and state come in one register or, as a 32-bit value, in two.
OutputChange OnePinOf(const OutputFields& fields, bool& valid)
{
    const unsigned pin = fields.word >> 8U;
    const unsigned state = fields.word & 0xFFU;
    valid = valid && pin < kPinsOfSlave && state <= 1;
    return OutputChange::Pin(pin % kPinsOfSlave, state == 1);
}

OutputChange TogglePinOf(const OutputFields& fields, bool& /*valid*/)
{
    return OutputChange::Toggle(1U << fields.word % kPinsOfSlave);
}

struct KeepOutFields
{
    Word function = 0;
    std::uint32_t value = 0;
};

} // namespace

void RemoteOutputs::AddCommands(CommandTable& table)
{
    using Fields = OutputFields;
    const auto add = [&](Word code, const char* name, const Layout<Fields>& layout,
                         ChangeOfFields change) {
        table.AddList<Fields>(code, name, layout, [this, change](const auto&, const auto& entries) {
            return Change(entries, change);
        });
    };
    // A command for one pin is for one slave; masks may come for no slave at all.
    const Field anyCount = CountOf(0, kMaxAxes);
    add(kSetRemoteWords, "output words", {kCount, kStation, "outputs", &Fields::mask},
        [](const Fields& fields, bool&) { return OutputChange::Word(fields.mask); });
    add(kSetRemotePin, "output pin",
        {kCount, kStation, "state + 256 * pin", &Fields::word, "high word", &Fields::highWord,
         kIfLeft, UpTo(0)},
        OnePinOf);
    add(kToggleRemotePin, "toggle output pin",
        {kCount, kStation, "pin", &Fields::word, UpTo(kPinsOfSlave - 1)}, TogglePinOf);
    add(kSetRemotePins, "output pins",
        {anyCount, kStation, "on", &Fields::mask, "off", &Fields::offMask},
        [](const Fields& fields, bool&) {
            return OutputChange{fields.mask, fields.offMask, 0};
        });
    add(kToggleRemotePins, "toggle output pins", {anyCount, kStation, "mask", &Fields::mask},
        [](const Fields& fields, bool&) { return OutputChange::Toggle(fields.mask); });
    table.Add<KeepOutFields>(kLinkFailKeepOut, "link-fail keep-out",
                             {"function", &KeepOutFields::function, "stations",
                              &KeepOutFields::value, When("function", {kSet})},
                             [this](const KeepOutFields& fields, Reply& reply) {
                                 if (fields.function > kGet) return Result::kMalformed;
                                 if (fields.function == kSet) keepOut_ = fields.value;
                                 if (fields.function == kGet) {
                                     reply.AddLong(static_cast<std::int32_t>(keepOut_));
                                 }
                                 return Result::kDone;
                             });
}

// A slave may be named again: its outputs change one after the other.
Result RemoteOutputs::Change(const std::vector<Entry<OutputFields>>& entries, ChangeOfFields change)
{
    std::vector<OutputChange> changes;
    bool valid = true;
    for (const auto& [station, fields, inRange] : entries) {
        const bool known =
            station < kMaxAxes && controller_.SlaveAt(station).type == SlaveType::kOutput;
        if (!known) return Result::kNoOutputSlave;
        valid = valid && inRange;
        changes.push_back(change(fields, valid));
    }
    if (!valid) return Result::kOutOfRange;
    if (!networkUp_) return Result::kNetworkDown;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Word station = entries[i].number;
        const std::uint32_t outputs = controller_.SlaveAt(station).outputs;
        controller_.SetSlaveOutputs(station, changes[i].AppliedTo(outputs));
    }
    return Result::kDone;
}

void RemoteOutputs::Describe(Json& snapshot) const
{
    snapshot["io"]["networkUp"] = networkUp_;
    snapshot["io"]["keepOut"] = keepOut_;
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
