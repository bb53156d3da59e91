#include "api/vocabulary/axis_values.h"
#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/units.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kDriveSpeedCode = 0x0020;
constexpr std::uint16_t kSpeedCode = 0x0021;
constexpr std::uint16_t kTargetCode = 0x0022;
constexpr int kSpeedsPerFrame = 16;

short SendValue(std::uint16_t code, short zelNo, std::uint16_t axis, double value)
{
    return Command(code).Word(1).Word(axis).Long(ToPulses(zelNo, axis, value)).Run(zelNo);
}

} // namespace

short zelQ_OverrideDriveSpeed(short zelNo, unsigned short axis, double speed)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendValue(kDriveSpeedCode, zelNo, axis, speed);
    return Traced("%d=zelQ_OverrideDriveSpeed(%d,%d,%g)", result, zelNo, axis, speed);
}

short zelQ_mOverrideDriveSpeed(short zelNo, short count, const short* axes, const double* speeds)
{
    if (const short error = CheckAxisValues(zelNo, count, axes, speeds)) return error;

    const short result = SendAxisValues(kDriveSpeedCode, zelNo, count, axes, speeds);
    return Traced("%d=zelQ_mOverrideDriveSpeed(%d,%d)", result, zelNo, count);
}

short zelQ_OverrideSpeed(short zelNo, unsigned short axis, double val1, double val2, double val3)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    Command command(kSpeedCode);
    command.Word(1).Word(axis);
    for (const double value : {val1, val2, val3}) {
        command.Long(ToPulses(zelNo, axis, value));
    }
    // Traced in another order than they are sent in.
    return Traced("%d=zelQ_OverrideSpeed(%d,%d,%g,%g,%g)", command.Run(zelNo), zelNo, axis, val1,
                  val3, val2);
}

short zelQ_mOverrideSpeed(unsigned short zelNo, short count, const short* axes, const double* val1,
                          const double* val2, const double* val3)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckCount(number, count, BadArgument(1))) return error;
    if (axes == nullptr) return BadArgument(2);
    if (val1 == nullptr) return BadArgument(3);
    if (val2 == nullptr) return BadArgument(4);
    if (val3 == nullptr) return BadArgument(5);

    SplitCommand command(kSpeedCode, count, kSpeedsPerFrame, {static_cast<std::uint16_t>(count)});
    for (int i = 0; i < count; ++i) {
        const auto axis = static_cast<std::uint16_t>(axes[i]);
        command.NextItem().Word(axis);
        for (const double value : {val1[i], val2[i], val3[i]}) {
            command.Long(ToPulses(number, axis, value));
        }
    }
    // Traced under another name.
    return Traced("%d=zelQ_mSetSpeed(%d,%d)", command.Run(number), zelNo, count);
}

short zelQ_OverrideAbs(short zelNo, unsigned short axis, double pos)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendValue(kTargetCode, zelNo, axis, pos);
    return Traced("%d=zelQ_OverrideAbs(%d,%d,%g)", result, zelNo, axis, pos);
}

short zelQ_mOverrideAbs(short zelNo, short count, const short* axes, const double* pos)
{
    // A bad count has another code here than in zelQ_mOverrideDriveSpeed.
    if (const short error = CheckAxisValues(zelNo, count, axes, pos, BadArgument(1))) return error;

    const short result = SendAxisValues(kTargetCode, zelNo, count, axes, pos);
    return Traced("%d=zelQ_mOverrideAbs(%d,%d)", result, zelNo, count);
}
