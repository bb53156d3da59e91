#pragma once

#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"

namespace zelq {

// Requests to axes that carry nothing but the axes.

inline short SendToAxis(std::uint16_t code, short zelNo, std::uint16_t axis,
                        ExchangeTimes times = {})
{
    return Command(code).Word(1).Word(axis).Run(zelNo, nullptr, times);
}

inline short SendToAxes(std::uint16_t code, short zelNo, short count, const unsigned short* axes,
                        ExchangeTimes times = {})
{
    return Command(code).Word(count).Words(axes, count).Run(zelNo, nullptr, times);
}

/// The count, then the array; the controller judges the numbers in it.
inline short CheckAxes(short zelNo, short count, const unsigned short* axes)
{
    if (const short error = CheckCount(zelNo, count)) return error;
    return static_cast<short>(axes == nullptr ? BadArgument(2) : kOk);
}

} // namespace zelq
