#include "api/vocabulary/axis_command.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kMoveVelCode = 0x0010;
constexpr std::uint16_t kMoveAbsCode = 0x0011;
constexpr std::uint16_t kMoveRelCode = 0x0012;

} // namespace

short zelQ_MoveVel(short zelNo, unsigned short axis, unsigned short dir)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (dir > 1) return BadArgument(2);

    // Here the direction stands before the axis.
    const short result = Command(kMoveVelCode).Word(1).Word(dir).Word(axis).Run(zelNo);
    return Traced("%d=zelQ_MoveVel(%d,%d,%d)", result, zelNo, axis, dir);
}

short zelQ_mMoveVel(short zelNo, short count, const unsigned short* axes, unsigned short dir)
{
    if (const short error = CheckCount(zelNo, count)) return error;
    if (dir > 1) return BadArgument(2);
    if (const short error = CheckArrays(2, axes)) return error;

    Command command(kMoveVelCode);
    command.Word(count).Word(dir).Words(axes, count);
    return Traced("%d=zelQ_mMoveVel(%d,%d,%d)", command.Run(zelNo), zelNo, count, dir);
}

short zelQ_MoveAbs(short zelNo, unsigned short axis, double pos)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendAxisValue(kMoveAbsCode, zelNo, axis, pos);
    return Traced("%d=zelQ_MoveAbs(%d,%d,%g)", result, zelNo, axis, pos);
}

short zelQ_MoveRel(short zelNo, unsigned short axis, double dist)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendAxisValue(kMoveRelCode, zelNo, axis, dist);
    return Traced("%d=zelQ_MoveRel(%d,%d,%g)", result, zelNo, axis, dist);
}

short zelQ_mMoveAbs(short zelNo, short count, const short* axes, const double* pos)
{
    if (const short error = CheckAxes(zelNo, count, axes, pos)) return error;

    const short result = SendAxisValues(kMoveAbsCode, zelNo, count, axes, pos);
    return Traced("%d=zelQ_mMoveAbs(%d,%d)", result, zelNo, count);
}

short zelQ_mMoveRel(short zelNo, short count, const short* axes, const double* dist)
{
    if (const short error = CheckAxes(zelNo, count, axes, dist)) return error;

    const short result = SendAxisValues(kMoveRelCode, zelNo, count, axes, dist);
    return Traced("%d=zelQ_mMoveRel(%d,%d)", result, zelNo, count);
}
