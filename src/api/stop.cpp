#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kStopAxesCode = 0x0040;
constexpr std::uint16_t kStopMapCode = 0x0041;
constexpr std::uint16_t kSudden = 0;
constexpr std::uint16_t kDecelerate = 1;
constexpr unsigned short kLastMap = 15;

// Here the mode stands before the count.
short SendStop(short zelNo, std::uint16_t mode, std::uint16_t axis)
{
    return Command(kStopAxesCode).Word(mode).Word(1).Word(axis).Run(zelNo);
}

} // namespace

short zelQ_StopDec(short zelNo, unsigned short axis)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    return Traced("%d=zelQ_StopDec(%d,%d)", SendStop(zelNo, kDecelerate, axis), zelNo, axis);
}

short zelQ_StopSudden(short zelNo, unsigned short axis)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    return Traced("%d=zelQ_StopSudden(%d,%d)", SendStop(zelNo, kSudden, axis), zelNo, axis);
}

short zelQ_mStop(short zelNo, short count, const unsigned short* axes, unsigned short mode)
{
    if (const short error = CheckCount(zelNo, count, BadArgument(1))) return error;
    if (mode > 1) return BadArgument(2);
    if (const short error = CheckArrays(2, axes)) return error;

    Command command(kStopAxesCode);
    command.Word(mode).Word(count).Words(axes, count);
    return Traced("%d=zelQ_mStop(%d,%d,%d)", command.Run(zelNo), zelNo, count, mode);
}

short zelQ_StopIMap(short zelNo, unsigned short map, unsigned short mode)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (map > kLastMap) return BadArgument(1);
    if (mode > 1) return BadArgument(2);

    const short result = Command(kStopMapCode).Word(map).Word(mode).Run(zelNo);
    return Traced("%d=zelQ_StopIMap(%d,%d,%d)", result, zelNo, map, mode);
}
