#include "api/vocabulary/axis_command.h"
#include "api/vocabulary/interpolation.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <array>

using namespace zelq;

namespace {

constexpr std::uint16_t kServoResetCode = 0;
constexpr std::uint16_t kServoOnCode = 1;
constexpr std::uint16_t kSpeedCode = 2;
constexpr std::uint16_t kAccCode = 3;
constexpr std::uint16_t kDecCode = 4;
constexpr int kSpeedsPerFrame = 9;

/// Speeds of several axes, element i for one axis each.
struct SpeedArrays
{
    const unsigned short* axes;
    const short* profiles;
    std::array<const double*, 5> speeds; ///< start, acc, drive, dec, stop

    /// The missing array's code. dec reports the number of drive, and drive is looked at last.
    [[nodiscard]] short Check() const
    {
        const auto& [start, acc, drive, dec, stop] = speeds;
        if (const short error = CheckArrays(2, axes, profiles, start, acc, dec)) return error;
        if (const short error = CheckArrays(8, stop)) return error;
        return CheckArrays(6, drive);
    }
};

short SendSpeeds(short zelNo, short count, const SpeedArrays& arrays)
{
    Command command(kSpeedCode, Split{.items = count, .itemsPerFrame = kSpeedsPerFrame});
    command.Word(count);
    for (int i = 0; i < count; ++i) {
        const std::uint16_t axis = arrays.axes[i];
        command.NextItem().Word(axis).Word(arrays.profiles[i]);
        for (const double* speed : arrays.speeds) {
            command.Long(ToPulses(zelNo, axis, speed[i]));
        }
    }
    return command.Run(zelNo);
}

} // namespace

short zelQ_UnitPerPulseSet(short zelNo, short axis, double unitPerPulse)
{
    if (const short error = CheckSession(zelNo)) return error;
    const auto index = static_cast<std::uint16_t>(axis);
    if (!AxisIsServo(zelNo, index)) return kNotAServo;

    const double stored = unitPerPulse == 0.0 ? 1.0 : unitPerPulse;
    SessionOf(zelNo).SetUnitPerPulse(index, stored);
    // The line has always said "zel_" here.
    return Traced("%d=zel_UnitPerPulseSet(%d,%d,%g)", kOk, zelNo, axis, stored);
}

double zelQ_UnitPerPulseGet(short zelNo, short axis)
{
    if (const short error = CheckSession(zelNo)) return error;
    return SessionOf(zelNo).UnitPerPulse(static_cast<std::uint16_t>(axis));
}

short zelQ_SpeedEqualStartAndStopSet(short flag)
{
    if (flag != 0 && flag != 1) return BadArgument(0);

    equalStartAndStop = flag;
    return Traced("%d=zelQ_SpeedEqualStartAndStopSet(%d)", kOk, flag);
}

short zelQ_SpeedEqualStartAndStopGet(void)
{
    return Traced("%d=zelQ_SpeedEqualStartAndStopGet()", equalStartAndStop);
}

short zelQ_SpeedSet(short zelNo, short axis, short profile, double start, double acc, double drive,
                    double dec)
{
    const auto index = static_cast<std::uint16_t>(axis);
    if (const short error = CheckAxis(zelNo, index)) return error;

    const SpeedArrays speeds{&index, &profile, {&start, &acc, &drive, &dec, &start}};
    const short result = SendSpeeds(zelNo, 1, speeds);
    return Traced("%d=zelQ_SpeedSet(%d,%d,%d,%g,%g,%g,%g)", result, zelNo, axis, profile, start,
                  acc, drive, dec);
}

short zelQ_SpeedWithStopSet(short zelNo, short axis, short profile, double start, double acc,
                            double drive, double dec, double stop)
{
    const auto index = static_cast<std::uint16_t>(axis);
    if (const short error = CheckAxis(zelNo, index)) return error;

    const SpeedArrays speeds{&index, &profile, {&start, &acc, &drive, &dec, &stop}};
    const short result = SendSpeeds(zelNo, 1, speeds);
    return Traced("%d=zelQ_SpeedWithStopSet(%d,%d,%d,%g,%g,%g,%g,%g)", result, zelNo, axis, profile,
                  start, acc, drive, dec, stop);
}

short zelQ_mSpeedSet(short zelNo, short count, const unsigned short* axes, const short* profiles,
                     const double* start, const double* acc, const double* drive, const double* dec)
{
    if (const short error = CheckCount(zelNo, count)) return error;
    if (start == nullptr) return BadArgument(5); // it serves as stop speed too
    const SpeedArrays arrays{axes, profiles, {start, acc, drive, dec, start}};
    if (const short error = arrays.Check()) return error;

    const short result = SendSpeeds(zelNo, count, arrays);
    return Traced("%d=zelQ_mSpeedSet(%d,%d)", result, zelNo, count);
}

short zelQ_mSpeedWithStopSet(short zelNo, short count, const unsigned short* axes,
                             const short* profiles, const double* start, const double* acc,
                             const double* drive, const double* dec, const double* stop)
{
    if (const short error = CheckCount(zelNo, count)) return error;
    const SpeedArrays arrays{axes, profiles, {start, acc, drive, dec, stop}};
    if (const short error = arrays.Check()) return error;

    const short result = SendSpeeds(zelNo, count, arrays);
    return Traced("%d=zelQ_mSpeedWithStopSet(%d,%d)", result, zelNo, count);
}

short zelQ_SpeedSetAcc(short zelNo, unsigned short axis, double value)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendAxisValue(kAccCode, zelNo, axis, value);
    return Traced("%d=zelQ_SpeedSetAcc(%d,%d,%g)", result, zelNo, axis, value);
}

short zelQ_SpeedSetDec(short zelNo, unsigned short axis, double value)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendAxisValue(kDecCode, zelNo, axis, value);
    return Traced("%d=zelQ_SpeedSetDec(%d,%d,%g)", result, zelNo, axis, value);
}

short zelQ_mSpeedSetAcc(short zelNo, short count, const unsigned short* axes, const double* values)
{
    if (const short error = CheckAxes(zelNo, count, axes, values)) return error;

    const short result = SendAxisValues(kAccCode, zelNo, count, axes, values);
    return Traced("%d=zelQ_mSpeedSetAcc(%d,%d)", result, zelNo, count);
}

short zelQ_mSpeedSetDec(short zelNo, short count, const unsigned short* axes, const double* values)
{
    if (const short error = CheckAxes(zelNo, count, axes, values)) return error;

    const short result = SendAxisValues(kDecCode, zelNo, count, axes, values);
    return Traced("%d=zelQ_mSpeedSetDec(%d,%d)", result, zelNo, count);
}

short zelQ_SpeedGet(short zelNo, short axis, SpeedProfile* profile)
{
    if (const short error = CheckAxis(zelNo, static_cast<std::uint16_t>(axis))) return error;
    if (const short error = CheckArrays(1, profile)) return error;

    constexpr unsigned kSpeedRegister = 25;
    constexpr std::uint16_t kSpeedRegisters = 11; // the profile and five speeds
    const auto index = static_cast<unsigned>(axis);
    ReplyData reply;
    const short result =
        ReadRegisters(zelNo, AxisRegister(index, kSpeedRegister), kSpeedRegisters, reply);
    if (result == kOk) {
        ReplyReader reader(reply);
        std::uint16_t shape = 0;
        std::array<std::int32_t, 4> pulses{};
        bool complete = reader.Read(shape);
        for (std::int32_t& value : pulses) {
            complete = complete && reader.Read(value);
        }
        if (!complete) return kReplyDataMissing;
        const double unit = SessionOf(zelNo).UnitPerPulse(index);
        profile->profile = shape;
        profile->start = unit * pulses[0];
        profile->acc = unit * pulses[1];
        profile->drive = unit * pulses[2];
        profile->dec = unit * pulses[3];
    }
    return Traced("%d=zelQ_SpeedGet(%d,%d)", result, zelNo, axis);
}

short zelQ_ServoReset(short zelNo, unsigned short axis)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendToAxis(kServoResetCode, zelNo, axis);
    return Traced("%d=zelQ_ServoReset(%d,%d)", result, zelNo, axis);
}

short zelQ_mServoReset(short zelNo, short count, const unsigned short* axes)
{
    if (const short error = CheckAxes(zelNo, count, axes)) return error;

    const short result = SendToAxes(kServoResetCode, zelNo, count, axes);
    return Traced("%d=zelQ_mServoReset(%d,%d)", result, zelNo, count);
}

short zelQ_aServoReset(short zelNo)
{
    if (const short error = CheckSession(zelNo)) return error;
    const SlaveList servos = SessionOf(zelNo).Slaves().servoAxes;
    if (servos.count == 0) return kBadAxis;

    const auto count = static_cast<short>(servos.count);
    const short result = SendToAxes(kServoResetCode, zelNo, count, servos.numbers.data());
    // Traced under the name of the call for several axes, with the controller only.
    return Traced("%d=zelQ_mServoReset(%d)", result, zelNo);
}

short zelQ_ServoOn(short zelNo, unsigned short axis, unsigned short on)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (on > 1) return BadArgument(2);

    const std::uint16_t timeOut = SessionOf(zelNo).servoOnTimeOut;
    Command command(kServoOnCode);
    command.Word(1).Word(axis).Word(on).Word(timeOut);
    const short result = command.Run(zelNo, nullptr, {.receive = timeOut});
    return Traced("%d=zelQ_ServoOn(%d,%d,%d)", result, zelNo, axis, on);
}

short zelQ_mServoOn(short zelNo, short count, const short* axes, unsigned short on)
{
    if (const short error = CheckAxes(zelNo, count, axes)) return error;

    const std::uint16_t timeOut = SessionOf(zelNo).servoOnTimeOut;
    Command command(kServoOnCode);
    command.Word(count).Words(axes, count).Word(on).Word(timeOut);
    const short result = command.Run(zelNo, nullptr, {.receive = timeOut});
    return Traced("%d=zelQ_mServoOn(%d,%d,%d)", result, zelNo, count, on);
}

short zelQ_ServoOnAfterActChkTMOSet(short zelNo, short milliseconds)
{
    if (const short error = CheckSession(zelNo)) return error;

    SessionOf(zelNo).servoOnTimeOut = static_cast<std::uint16_t>(milliseconds);
    // "ChkAct" in the line, "ActChk" in the name.
    return Traced("%d=zelQ_ServoOnAfterChkActTMOSet(%d,%d)", kOk, zelNo, milliseconds);
}

short zelQ_ServoOnAfterActChkTMOGet(short zelNo, unsigned short* milliseconds)
{
    if (const short error = CheckSession(zelNo)) return error;

    if (milliseconds != nullptr) *milliseconds = SessionOf(zelNo).servoOnTimeOut;
    // Traced as the general time-out getter.
    return Traced("%d=zelQ_TMOGet(%d)", kOk, zelNo);
}
