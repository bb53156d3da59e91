#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kDriveOutputSetCode = 0x0180;
constexpr std::uint16_t kDriveOutputSetPinCode = 0x0181;
constexpr std::uint16_t kDriveOutputToggleCode = 0x0182;

/// Two 8-bit values share a register; they are not masked, so that a larger first value reaches
/// into the second.
std::uint16_t Pair(unsigned first, unsigned second)
{
    return static_cast<std::uint16_t>(second << 8U | first);
}

short CheckPair(short zelNo, unsigned short axis, unsigned short out1, unsigned short out2)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (out1 > 1) return BadArgument(2);
    return static_cast<short>(out2 > 1 ? BadArgument(3) : kOk);
}

short SendPair(std::uint16_t code, short zelNo, unsigned short axis, std::uint16_t pair)
{
    return Command(code).Word(1).Word(axis).Word(pair).Run(zelNo);
}

} // namespace

short zelQ_SDOSet(short zelNo, unsigned short axis, unsigned short out1, unsigned short out2)
{
    if (const short error = CheckPair(zelNo, axis, out1, out2)) return error;

    const short result = SendPair(kDriveOutputSetCode, zelNo, axis, Pair(out1, out2));
    return Traced("%d=zelQ_SDOSet(%d,%d,%d,%d)", result, zelNo, axis, out1, out2);
}

short zelQ_mSDOSet(short zelNo, short count, const unsigned short* axes,
                   const unsigned short* out1Values, const unsigned short* out2Values)
{
    if (const short error = CheckAxes(zelNo, count, axes, out1Values, out2Values)) return error;

    Command command(kDriveOutputSetCode);
    command.Word(count);
    for (int i = 0; i < count; ++i) {
        command.Word(axes[i]).Word(Pair(out1Values[i], out2Values[i]));
    }
    // The line has a place more than the call has values to show.
    return Traced("%d=zelQ_mSDOSet(%d,%d,%d)", command.Run(zelNo), zelNo, count, 0);
}

short zelQ_SDOSetPin(short zelNo, unsigned short axis, short pin, unsigned short state)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (pin < 1 || pin > 2) return BadArgument(2);
    if (state > 1) return BadArgument(3);

    const std::uint16_t pair = Pair(static_cast<unsigned>(pin), state);
    const short result = SendPair(kDriveOutputSetPinCode, zelNo, axis, pair);
    return Traced("%d=zelQ_SDOSetPin(%d,%d,%d,%d)", result, zelNo, axis, pin, state);
}

short zelQ_SDOSetTog(short zelNo, unsigned short axis, unsigned short out1, unsigned short out2)
{
    if (const short error = CheckPair(zelNo, axis, out1, out2)) return error;

    const short result = SendPair(kDriveOutputToggleCode, zelNo, axis, Pair(out1, out2));
    return Traced("%d=zelQ_SDOSetTog(%d,%d,%d,%d)", result, zelNo, axis, out1, out2);
}
