#include "api/vocabulary/command.h"
#include "api/vocabulary/units.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kSwLimitCode = 0x0120;
constexpr std::uint16_t kSensorCode = 0x0121;
constexpr std::uint16_t kDisconnectedCode = 0x0122;
constexpr unsigned kSwLimitRegister = 62;
constexpr std::uint16_t kSwLimitRegisters = 6;

/// The software limits of one axis as they are read back: each mode stands behind its position,
/// while the command that sets them has it before.
struct SwLimits
{
    std::int32_t pulses1 = 0;
    std::uint16_t mode1 = 0;
    std::int32_t pulses2 = 0;
    std::uint16_t mode2 = 0;

    [[nodiscard]] bool ReadFrom(ReplyReader& reader)
    {
        return reader.Read(pulses1) && reader.Read(mode1) && reader.Read(pulses2) &&
               reader.Read(mode2);
    }
};

/// Where the limits of one axis go.
struct SwLimitOutputs
{
    unsigned short* mode1;
    double* pos1;
    unsigned short* mode2;
    double* pos2;

    /// The code of the first missing one, which is the call's argument `first`.
    [[nodiscard]] short Check(int first) const
    {
        return CheckArrays(first, mode1, pos1, mode2, pos2);
    }

    void Store(int i, const SwLimits& limits, double unitPerPulse) const
    {
        mode1[i] = limits.mode1;
        pos1[i] = limits.pulses1 * unitPerPulse;
        mode2[i] = limits.mode2;
        pos2[i] = limits.pulses2 * unitPerPulse;
    }
};

} // namespace

short zelQ_StopModeSwLimit(short zelNo, unsigned short axis, unsigned short slMode1, double slPos1,
                           unsigned short slMode2, double slPos2)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (slMode1 > 2) return BadArgument(2);
    if (slMode2 > 2) return BadArgument(4);

    Command command(kSwLimitCode);
    command.Word(1).Word(axis);
    command.Word(slMode1).Long(ToPulses(zelNo, axis, slPos1));
    command.Word(slMode2).Long(ToPulses(zelNo, axis, slPos2));
    return Traced("%d=zelQ_StopModeSwLimit(%d,%d,%d,%g,%d,%g)", command.Run(zelNo), zelNo, axis,
                  slMode1, slPos1, slMode2, slPos2);
}

short zelQ_SwLimitGet(short zelNo, unsigned short axis, unsigned short* slMode1, double* slPos1,
                      unsigned short* slMode2, double* slPos2)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    const SwLimitOutputs outputs{slMode1, slPos1, slMode2, slPos2};
    if (const short error = outputs.Check(2)) return error;

    ReplyData reply;
    const short result =
        ReadRegisters(zelNo, AxisRegister(axis, kSwLimitRegister), kSwLimitRegisters, reply);
    if (result == kOk) {
        ReplyReader reader(reply);
        SwLimits limits;
        if (!limits.ReadFrom(reader)) return kReplyDataMissing;
        outputs.Store(0, limits, SessionOf(zelNo).UnitPerPulse(axis));
    }
    return Traced("%d=zelQ_SwLimitGet(%d,%d)", result, zelNo, axis);
}

short zelQ_mSwLimitGet(short zelNo, short count, const unsigned short* axes,
                       unsigned short* slMode1, double* slPos1, unsigned short* slMode2,
                       double* slPos2)
{
    if (const short error = CheckAxes(zelNo, count, axes)) return error;
    if (const short error = ValidateAxisList(zelNo, count, axes)) return error;
    const SwLimitOutputs outputs{slMode1, slPos1, slMode2, slPos2};
    if (const short error = outputs.Check(3)) return error;

    RegisterRead read;
    for (int i = 0; i < count; ++i) {
        read.Block(AxisRegister(axes[i], kSwLimitRegister), kSwLimitRegisters);
    }
    ReplyData reply;
    const short result = read.Run(zelNo, reply);
    if (result == kOk) {
        ReplyReader reader(reply);
        for (int i = 0; i < count; ++i) {
            SwLimits limits;
            if (!limits.ReadFrom(reader)) return kReplyDataMissing;
            outputs.Store(i, limits, SessionOf(zelNo).UnitPerPulse(axes[i]));
        }
    }
    // The line has a fourth number that stands for nothing.
    return Traced("%d=zelQ_mSwLimitGet(%d,%d,%d)", result, zelNo, count, 0);
}

short zelQ_StopModeSensorOn(short zelNo, unsigned short axis, unsigned short sensorSel,
                            unsigned short sensorStopMode)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (sensorSel > 3) return BadArgument(2);
    if (sensorStopMode > 2) return BadArgument(3);

    Command command(kSensorCode);
    command.Word(1).Word(axis).Word(sensorSel).Word(sensorStopMode);
    return Traced("%d=zelQ_StopModeSensorOn(%d,%d,%d,%d)", command.Run(zelNo), zelNo, axis,
                  sensorSel, sensorStopMode);
}

short zelQ_StopModeDisconnected(short zelNo, unsigned int discValue, unsigned short discStopMode)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (discStopMode > 1) return BadArgument(2);

    // For the whole controller: neither count nor axis.
    Command command(kDisconnectedCode);
    command.Long(discValue).Word(discStopMode);
    return Traced("%d=zelQ_StopModeDisconnected(%d,%d,%d)", command.Run(zelNo), zelNo, discValue,
                  discStopMode);
}
