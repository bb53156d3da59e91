#include "api/vocabulary/axis_command.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <array>

using namespace zelq;

namespace {

constexpr std::uint16_t kDriveSpeedCode = 0x0020;
constexpr std::uint16_t kSpeedOverrideCode = 0x0021;
constexpr std::uint16_t kTargetCode = 0x0022;
constexpr int kSpeedOverridesPerFrame = 16;

/// Gives each axis its element of each of three arrays.
template <typename Axis>
short SendSpeeds(short zelNo, short count, const Axis* axes,
                 const std::array<const double*, 3>& speeds)
{
    Command command(kSpeedOverrideCode,
                    Split{.items = count, .itemsPerFrame = kSpeedOverridesPerFrame});
    command.Word(count);
    for (int i = 0; i < count; ++i) {
        const auto axis = static_cast<std::uint16_t>(axes[i]);
        command.NextItem().Word(axis);
        AppendPulses(command, zelNo, axis, {speeds[0][i], speeds[1][i], speeds[2][i]});
    }
    return command.Run(zelNo);
}

} // namespace

short zelQ_OverrideDriveSpeed(short zelNo, unsigned short axis, double speed)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendAxisValue(kDriveSpeedCode, zelNo, axis, speed);
    return Traced("%d=zelQ_OverrideDriveSpeed(%d,%d,%g)", result, zelNo, axis, speed);
}

short zelQ_mOverrideDriveSpeed(short zelNo, short count, const short* axes, const double* speeds)
{
    if (const short error = CheckAxes(zelNo, count, axes, speeds)) return error;

    const short result = SendAxisValues(kDriveSpeedCode, zelNo, count, axes, speeds);
    return Traced("%d=zelQ_mOverrideDriveSpeed(%d,%d)", result, zelNo, count);
}

short zelQ_OverrideSpeed(short zelNo, unsigned short axis, double val1, double val2, double val3)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendSpeeds(zelNo, 1, &axis, {&val1, &val2, &val3});
    // Traced in another order than they are sent in.
    return Traced("%d=zelQ_OverrideSpeed(%d,%d,%g,%g,%g)", result, zelNo, axis, val1, val3, val2);
}

short zelQ_mOverrideSpeed(unsigned short zelNo, short count, const short* axes, const double* val1,
                          const double* val2, const double* val3)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckCount(number, count, BadArgument(1))) return error;
    if (const short error = CheckArrays(2, axes, val1, val2, val3)) return error;

    const short result = SendSpeeds(number, count, axes, {val1, val2, val3});
    // Traced under another name.
    return Traced("%d=zelQ_mSetSpeed(%d,%d)", result, zelNo, count);
}

short zelQ_OverrideAbs(short zelNo, unsigned short axis, double pos)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendAxisValue(kTargetCode, zelNo, axis, pos);
    return Traced("%d=zelQ_OverrideAbs(%d,%d,%g)", result, zelNo, axis, pos);
}

short zelQ_mOverrideAbs(short zelNo, short count, const short* axes, const double* pos)
{
    // A bad count has another code here than in zelQ_mOverrideDriveSpeed.
    if (const short error = CheckCount(zelNo, count, BadArgument(1))) return error;
    if (const short error = CheckArrays(2, axes, pos)) return error;

    const short result = SendAxisValues(kTargetCode, zelNo, count, axes, pos);
    return Traced("%d=zelQ_mOverrideAbs(%d,%d)", result, zelNo, count);
}
