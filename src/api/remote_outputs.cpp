#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/reply.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <algorithm>
#include <array>

using namespace zelq;

namespace {

constexpr std::uint16_t kRemoteSetCode = 0x0190;
constexpr std::uint16_t kRemoteSetPinCode = 0x0191;
constexpr std::uint16_t kRemoteTogglePinCode = 0x0192;
constexpr std::uint16_t kRemoteSetPinsCode = 0x0193;
constexpr std::uint16_t kRemoteTogglePinsCode = 0x0194;
constexpr std::uint16_t kLinkFailKeepOutCode = 0x0195;

constexpr std::uint16_t kSet = 0;
constexpr std::uint16_t kGet = 1;

constexpr int kPinsPerSlave = 32;

/// A pin of one output slave.
struct RemotePin
{
    std::uint16_t slave = 0; ///< slave number
    unsigned pin = 0;        ///< 0..31

    [[nodiscard]] std::uint32_t Bit() const { return 1U << pin; }
};

/// What becomes of the pins of one slave. A toggle uses `on` alone.
struct PinMasks
{
    std::uint32_t on = 0;
    std::uint32_t off = 0;

    void Put(std::uint32_t bit, bool isOn) { (isOn ? on : off) |= bit; }
};

/// The masks of several slaves, by slave number.
class SlaveMasks
{
  public:
    void Put(const RemotePin& pin, bool isOn)
    {
        masks_[pin.slave].Put(pin.Bit(), isOn);
        used_[pin.slave] = true;
    }

    [[nodiscard]] auto Count() const { return std::ranges::count(used_, true); }

    /// Calls `use` with every slave that has a pin here, in ascending order.
    template <typename Use>
    void ForEach(Use use) const
    {
        for (std::size_t slave = 0; slave < kAxisCount; ++slave) {
            if (used_[slave]) use(slave, masks_[slave]);
        }
    }

  private:
    std::array<PinMasks, kAxisCount> masks_{};
    std::array<bool, kAxisCount> used_{};
};

/// Finds the output slave of an index. A negative index makes `pin` a number over the pins of all
/// output slaves.
short FindPin(const SlaveList& outputs, unsigned short slaveIndex, short pin, RemotePin& found)
{
    int index = static_cast<short>(slaveIndex);
    if (index < 0) {
        index = pin / kPinsPerSlave;
    } else if (pin >= kPinsPerSlave) {
        return kBadOutputSlave;
    }
    if (pin < 0 || index >= outputs.count) return kBadOutputSlave;
    found.slave = outputs.numbers[static_cast<std::size_t>(index)];
    found.pin = static_cast<unsigned>(pin % kPinsPerSlave);
    return kOk;
}

/// A group of pins of one slave; pin 32 passes, and means pin 0.
short CheckPins(short zelNo, unsigned short slave, short count, const unsigned short* pins)
{
    if (const short error = CheckAxis(zelNo, slave)) return error;
    if (count < 1 || count > kPinsPerSlave) return BadArgument(2);
    if (const short error = CheckArrays(3, pins)) return error;
    const bool tooHigh =
        std::any_of(pins, pins + count, [](unsigned pin) { return pin > kPinsPerSlave; });
    return static_cast<short>(tooHigh ? kBadOutputSlave : kOk);
}

std::uint32_t PinBit(unsigned pin)
{
    return 1U << (pin & 31U);
}

/// Collects a group of pins over the controller's output slaves. A group that switches has states;
/// one that toggles has none.
short CollectPins(short zelNo, short count, const unsigned short* slaveIndexes,
                  const unsigned short* pins, const unsigned short* states, SlaveMasks& masks)
{
    const SlaveList outputs = SessionOf(zelNo).Slaves().outputSlaves;
    for (int i = 0; i < count; ++i) {
        RemotePin pin;
        const auto number = static_cast<short>(pins[i]);
        if (const short error = FindPin(outputs, slaveIndexes[i], number, pin)) return error;
        masks.Put(pin, states == nullptr || states[i] == 1);
    }
    return kOk;
}

} // namespace

short zelQ_RDOSet(short zelNo, unsigned short slave, unsigned int value)
{
    if (const short error = CheckAxis(zelNo, slave)) return error;

    const short result = Command(kRemoteSetCode).Word(1).Word(slave).Long(value).Run(zelNo);
    return Traced("%d=zelQ_RDOSet(%d,%d,%d)", result, zelNo, slave, value);
}

short zelQ_aRDOSet(short zelNo, short count, const unsigned int* values)
{
    if (const short error = CheckCount(zelNo, count, BadArgument(1))) return error;
    const SlaveList outputs = SessionOf(zelNo).Slaves().outputSlaves;
    if (count > static_cast<short>(outputs.count)) return kBadOutputSlave;
    if (const short error = CheckArrays(2, values)) return error;

    Command command(kRemoteSetCode);
    command.Word(count);
    for (int i = 0; i < count; ++i) {
        command.Word(outputs.numbers[static_cast<std::size_t>(i)]).Long(values[i]);
    }
    // The line has another call's name, and a place more than there are values to show.
    return Traced("%d=zelQ_mRDOSet(%d,%d,%d)", command.Run(zelNo), zelNo, count, 0);
}

short zelQ_RDOSetPin(short zelNo, unsigned short slave, short pin, unsigned short state)
{
    if (const short error = CheckAxis(zelNo, slave)) return error;
    if (pin < 0 || pin >= kPinsPerSlave) return BadArgument(2);
    if (state > 1) return BadArgument(3);

    // Here pin and state take two registers; by index, one.
    Command command(kRemoteSetPinCode);
    command.Word(1).Word(slave).Long(pin << 8 | state);
    return Traced("%d=zelQ_RDOSetPin(%d,%d,%d,%d)", command.Run(zelNo), zelNo, slave, pin, state);
}

short zelQ_aRDOSetPin(short zelNo, unsigned short slaveIndex, short pin, short state)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (state < 0 || state > 1) return BadArgument(3);
    const SlaveList outputs = SessionOf(zelNo).Slaves().outputSlaves;
    RemotePin found;
    if (const short error = FindPin(outputs, slaveIndex, pin, found)) return error;

    Command command(kRemoteSetPinCode);
    command.Word(1).Word(found.slave).Word(found.pin << 8U | static_cast<unsigned>(state));
    return Traced("%d=zelQ_aRDOSetPin(%d,%d,%d)", command.Run(zelNo), zelNo, pin, state);
}

short zelQ_RDOSetTogPin(short zelNo, unsigned short slave, short pin)
{
    if (const short error = CheckAxis(zelNo, slave)) return error;
    if (pin < 0 || pin >= kPinsPerSlave) return BadArgument(2);

    const short result = Command(kRemoteTogglePinCode).Word(1).Word(slave).Word(pin).Run(zelNo);
    return Traced("%d=zelQ_RDOSetTogPin(%d,%d,%d)", result, zelNo, slave, pin);
}

short zelQ_aRDOSetTogPin(short zelNo, unsigned short slaveIndex, short pin)
{
    if (const short error = CheckSession(zelNo)) return error;
    const SlaveList outputs = SessionOf(zelNo).Slaves().outputSlaves;
    RemotePin found;
    if (const short error = FindPin(outputs, slaveIndex, pin, found)) return error;

    Command command(kRemoteTogglePinCode);
    command.Word(1).Word(found.slave).Word(found.pin);
    return Traced("%d=zelQ_aRDOSetTogPin(%d,%d)", command.Run(zelNo), zelNo, pin);
}

short zelQ_RDOSetPins(short zelNo, unsigned short slave, short count, const unsigned short* pins,
                      const unsigned short* states)
{
    if (const short error = CheckPins(zelNo, slave, count, pins)) return error;
    if (const short error = CheckArrays(4, states)) return error;

    PinMasks masks;
    for (int i = 0; i < count; ++i) {
        masks.Put(PinBit(pins[i]), states[i] == 1);
    }
    Command command(kRemoteSetPinsCode);
    command.Word(1).Word(slave).Long(masks.on).Long(masks.off);
    return Traced("%d=zelQ_RDOSetPins(%d,%d,%d)", command.Run(zelNo), zelNo, slave, count);
}

short zelQ_aRDOSetPins(short zelNo, short count, const unsigned short* slaveIndexes,
                       const unsigned short* pins, const unsigned short* states)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (count > 0) {
        if (const short error = CheckArrays(2, slaveIndexes, pins, states)) return error;
    }
    SlaveMasks masks;
    if (const short error = CollectPins(zelNo, count, slaveIndexes, pins, states, masks)) {
        return error;
    }

    Command command(kRemoteSetPinsCode);
    command.Word(masks.Count());
    masks.ForEach([&](std::size_t slave, const PinMasks& of) {
        command.Word(slave).Long(of.on).Long(of.off);
    });
    return Traced("%d=zelQ_aRDOSetPins(%d,%d)", command.Run(zelNo), zelNo, count);
}

short zelQ_RDOSetTogPins(short zelNo, unsigned short slave, short count, const unsigned short* pins)
{
    if (const short error = CheckPins(zelNo, slave, count, pins)) return error;

    std::uint32_t mask = 0;
    for (int i = 0; i < count; ++i) {
        mask |= PinBit(pins[i]);
    }
    const short result = Command(kRemoteTogglePinsCode).Word(1).Word(slave).Long(mask).Run(zelNo);
    return Traced("%d=zelQ_RDOSetTogPins(%d,%d,%d)", result, zelNo, slave, count);
}

short zelQ_aRDOSetTogPins(short zelNo, short count, const unsigned short* slaveIndexes,
                          const unsigned short* pins)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (count > 0) {
        if (const short error = CheckArrays(2, slaveIndexes, pins)) return error;
    }
    SlaveMasks masks;
    if (const short error = CollectPins(zelNo, count, slaveIndexes, pins, nullptr, masks)) {
        return error;
    }

    Command command(kRemoteTogglePinsCode);
    command.Word(masks.Count());
    masks.ForEach([&](std::size_t slave, const PinMasks& of) { command.Word(slave).Long(of.on); });
    return Traced("%d=zelQ_aRDOSetTogPins(%d,%d)", command.Run(zelNo), zelNo, count);
}

short zelQ_RDOLinkFailKeepOutSet(short zelNo, unsigned int value)
{
    if (const short error = CheckSession(zelNo)) return error;

    const short result = Command(kLinkFailKeepOutCode).Word(kSet).Long(value).Run(zelNo);
    return Traced("%d=zelQ_RDOLinkFailKeepOutSet(%d,%d)", result, zelNo, value);
}

short zelQ_RDOLinkFailKeepOutGet(short zelNo, unsigned int* value)
{
    if (const short error = CheckSession(zelNo)) return error;

    constexpr std::uint16_t kResultAndLong = 3;
    ReplyData reply;
    const short result =
        Command(kLinkFailKeepOutCode, kResultAndLong).Word(kGet).Run(zelNo, &reply);
    std::uint32_t read = 0;
    if (result == kOk) {
        if (!ReadData(reply, read)) return kReplyDataMissing;
        if (value != nullptr) *value = read;
    }
    return Traced("%d=zelQ_RDOLinkFailKeepOutGet(%d,%d)", result, zelNo, read);
}
