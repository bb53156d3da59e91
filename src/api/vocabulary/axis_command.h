#pragma once

#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/units.h"

#include <concepts>
#include <cstdint>
#include <initializer_list>

namespace zelq {

// Requests to axes. For one axis they are what they are for several: a count, then the axes.

template <std::integral Axis>
short SendToAxes(std::uint16_t code, short zelNo, short count, const Axis* axes,
                 ExchangeTimes times = {})
{
    return Command(code).Word(count).Words(axes, count).Run(zelNo, nullptr, times);
}

inline short SendToAxis(std::uint16_t code, short zelNo, std::uint16_t axis,
                        ExchangeTimes times = {})
{
    return SendToAxes(code, zelNo, 1, &axis, times);
}

/// Adds values of an axis in user units, scaled by the axis's own factor.
inline void AppendPulses(Command& command, short zelNo, std::uint16_t axis,
                         std::initializer_list<double> values)
{
    for (const double value : values) {
        command.Long(ToPulses(zelNo, axis, value));
    }
}

/// Each axis stands before its value.
template <std::integral Axis>
void AppendAxisValues(Command& command, short zelNo, short count, const Axis* axes,
                      const double* values)
{
    for (int i = 0; i < count; ++i) {
        const auto axis = static_cast<std::uint16_t>(axes[i]);
        command.Word(axis);
        AppendPulses(command, zelNo, axis, {values[i]});
    }
}

/// A command that gives each axis a value.
template <std::integral Axis>
short SendAxisValues(std::uint16_t code, short zelNo, short count, const Axis* axes,
                     const double* values)
{
    Command command(code);
    command.Word(count);
    AppendAxisValues(command, zelNo, count, axes, values);
    return command.Run(zelNo);
}

inline short SendAxisValue(std::uint16_t code, short zelNo, std::uint16_t axis, double value)
{
    return SendAxisValues(code, zelNo, 1, &axis, &value);
}

} // namespace zelq
