#include "api/vocabulary/axis_command.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kPositionSetCode = 0x0050;
constexpr std::uint16_t kMultiTurnClearCode = 0x0051;

// The mode of a position set stands before the count.
constexpr std::uint16_t kGivenPosition = 0;
constexpr std::uint16_t kEncoderPosition = 1;

} // namespace

short zelQ_CmdEncPosSet(short zelNo, unsigned short axis, double pos)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    Command command(kPositionSetCode);
    command.Word(kGivenPosition).Word(1).Word(axis).Long(ToPulses(zelNo, axis, pos));
    return Traced("%d=zelQ_CmdEncPosSet(%d,%d,%g)", command.Run(zelNo), zelNo, axis, pos);
}

short zelQ_mCmdEncPosSet(short zelNo, short count, const short* axes, const double* pos)
{
    if (const short error = CheckCount(zelNo, count, BadArgument(1))) return error;
    if (const short error = CheckArrays(2, axes, pos)) return error;

    Command command(kPositionSetCode);
    command.Word(kGivenPosition).Word(count);
    AppendAxisValues(command, zelNo, count, axes, pos);
    return Traced("%d=zelQ_mCmdEncPosSet(%d,%d)", command.Run(zelNo), zelNo, count);
}

short zelQ_EncToCmdPos(short zelNo, unsigned short axis)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result =
        Command(kPositionSetCode).Word(kEncoderPosition).Word(1).Word(axis).Run(zelNo);
    return Traced("%d=zelQ_EncToCmdPos(%d,%d)", result, zelNo, axis);
}

short zelQ_mEncToCmdPos(short zelNo, short count, const unsigned short* axes)
{
    if (const short error = CheckCount(zelNo, count, BadArgument(1))) return error;
    if (const short error = CheckArrays(2, axes)) return error;

    Command command(kPositionSetCode);
    command.Word(kEncoderPosition).Word(count).Words(axes, count);
    return Traced("%d=zelQ_mEncToCmdPos(%d,%d)", command.Run(zelNo), zelNo, count);
}

short zelQ_AbsEncMultiTurnClear(short zelNo, unsigned short axis)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendToAxis(kMultiTurnClearCode, zelNo, axis);
    return Traced("%d=zelQ_AbsEncMultiTurnClear(%d,%d)", result, zelNo, axis);
}

short zelQ_mAbsEncMultiTurnClear(short zelNo, short count, const unsigned short* axes)
{
    if (const short error = CheckCount(zelNo, count, BadArgument(1))) return error;
    if (const short error = CheckArrays(2, axes)) return error;

    const short result = SendToAxes(kMultiTurnClearCode, zelNo, count, axes);
    return Traced("%d=zelQ_mAbsEncMultiTurnClear(%d,%d)", result, zelNo, count);
}
