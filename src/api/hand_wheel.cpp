#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kHandWheelCode = 0x0130;

} // namespace

short zelQ_MPGSetCfg(unsigned short zelNo, unsigned short axis, unsigned short mpgCfg1,
                     unsigned short mpgCfg2, unsigned short mpgCfg3, unsigned short mpgCfg4,
                     short mpgCfg5)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckAxis(number, axis)) return error;
    if (mpgCfg1 > 2) return BadArgument(2);
    if (mpgCfg2 > 3) return BadArgument(3);
    if (mpgCfg3 > 1) return BadArgument(4);
    if (mpgCfg4 < 1 || mpgCfg4 > 32) return BadArgument(5);
    if (mpgCfg5 < 1 || mpgCfg5 > 2048) return BadArgument(6);

    // The axis follows the code at once: this command has no count.
    Command command(kHandWheelCode);
    command.Word(axis).Word(mpgCfg1).Word(mpgCfg2).Word(mpgCfg3).Word(mpgCfg4).Word(mpgCfg5);
    return Traced("%d=zelQ_MPGSetCfg(%d,%d,%d,%d,%d,%d,%d)", command.Run(number), zelNo, axis,
                  mpgCfg1, mpgCfg2, mpgCfg3, mpgCfg4, mpgCfg5);
}
