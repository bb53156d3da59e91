#pragma once

#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/units.h"
#include "api/zelq.h"

#include <atomic>

namespace zelq {

/// The controller's session, then the number of an interpolation map.
inline short CheckMapIndex(short zelNo, short mapIndex)
{
    if (const short error = CheckSession(zelNo)) return error;
    const bool inRange = mapIndex >= 0 && mapIndex < static_cast<short>(kMapCount);
    return static_cast<short>(inRange ? kOk : BadArgument(1));
}

/// The axes of a map with their factors, as they stood when the call began.
class MappedUnits
{
  public:
    MappedUnits(short zelNo, short mapIndex)
        : zelNo_(zelNo), map_(SessionOf(zelNo).Map(static_cast<std::size_t>(mapIndex)))
    {}

    [[nodiscard]] short Count() const { return map_.count; }

    /// Pulses of the map's axis at `place`.
    [[nodiscard]] std::int32_t Pulses(std::size_t place, double value) const
    {
        return ToPulses(zelNo_, map_.axes[place], value);
    }

  private:
    short zelNo_;
    InterpMap map_;
};

/// 1: interpolation calls end with the speed they start with. One flag for the whole library.
extern std::atomic<short> equalStartAndStop;

/// While that flag is set, makes the end speed the start speed, and the drive speed of
/// either end that has no ramp. The caller's record keeps what was sent.
void NormalizeInterpSpeed(InterpSpeedProfile& speed);

/// The shape of the speed profile and the option in one register.
inline std::uint16_t ModeWord(unsigned profileType, std::uint16_t option)
{
    return static_cast<std::uint16_t>(profileType * 2 + option);
}

/// Adds the five speeds; the map's first axis stands for the path.
void AddSpeeds(Command& command, const MappedUnits& units, const InterpSpeedProfile& speed);

} // namespace zelq
