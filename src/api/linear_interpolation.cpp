#include "api/vocabulary/interpolation.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kLinearCode = 0x0072;

/// One of the two straight moves, which differ in one register.
struct LinearMove
{
    short zelNo;
    short mapIndex;
    std::uint16_t withUAxis;
    std::uint16_t option;
    short axisCount;
    const double* position;
};

short SendLinearInterp(const LinearMove& move, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(move.zelNo, move.mapIndex)) return error;
    if (move.option > 1) return BadArgument(2);
    // The speeds change even for a call that the map's checks refuse.
    if (speed != nullptr) NormalizeInterpSpeed(*speed);
    const MappedUnits units(move.zelNo, move.mapIndex);
    if (units.Count() < 2) return kTooFewMapAxes;
    if (move.axisCount < 1 || move.axisCount > units.Count()) return BadArgument(3);
    if (const short error = CheckArrays(4, move.position, speed)) return error;

    Command command(kLinearCode);
    command.Word(move.mapIndex)
        .Word(move.withUAxis)
        .Word(ModeWord(speed->profileType, move.option));
    AddSpeeds(command, units, *speed);
    command.Word(move.axisCount);
    for (std::size_t i = 0; i < static_cast<std::size_t>(move.axisCount); ++i) {
        command.Long(units.Pulses(i, move.position[i]));
    }
    return command.Run(move.zelNo);
}

} // namespace

// Both trace every outcome, wrong arguments too.

short zelQ_ILinear(short zelNo, short mapIndex, unsigned short option, short axisCount,
                   const double* position, InterpSpeedProfile* speed)
{
    const short result = SendLinearInterp({zelNo, mapIndex, 0, option, axisCount, position}, speed);
    return Traced("%d=zelQ_ILinear(%d,%d,%d)", result, zelNo, mapIndex, axisCount);
}

short zelQ_ILinearWithUAxis(short zelNo, short mapIndex, unsigned short option, short axisCount,
                            const double* position, InterpSpeedProfile* speed)
{
    const short result = SendLinearInterp({zelNo, mapIndex, 1, option, axisCount, position}, speed);
    return Traced("%d=zelQ_ILinearWithUAxis(%d,%d,%d)", result, zelNo, mapIndex, axisCount);
}
