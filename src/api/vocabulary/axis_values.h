#pragma once

#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/units.h"

namespace zelq {

// Calls that give each axis of a list one value in user units.

/// The session, the count (`countError` is what this call reports for a bad one), then the arrays.
template <std::integral Axis>
short CheckAxisValues(short zelNo, short count, const Axis* axes, const double* values,
                      int countError = kBadAxisCount)
{
    if (const short error = CheckCount(zelNo, count, countError)) return error;
    if (axes == nullptr) return BadArgument(2);
    return static_cast<short>(values == nullptr ? BadArgument(3) : kOk);
}

/// Each axis stands before its value, scaled by the axis's own factor.
template <std::integral Axis>
void AppendAxisValues(Command& command, short zelNo, short count, const Axis* axes,
                      const double* values)
{
    for (int i = 0; i < count; ++i) {
        const auto axis = static_cast<std::uint16_t>(axes[i]);
        command.Word(axis).Long(ToPulses(zelNo, axis, values[i]));
    }
}

/// A command of a count and that many axes with their values.
template <std::integral Axis>
short SendAxisValues(std::uint16_t code, short zelNo, short count, const Axis* axes,
                     const double* values)
{
    Command command(code);
    command.Word(count);
    AppendAxisValues(command, zelNo, count, axes, values);
    return command.Run(zelNo);
}

} // namespace zelq
