#pragma once

#include "common/result_codes.h"
#include "transport/session_table.h"

#include <cstdint>

namespace zelq {

// The checks at the top of the exported functions. Each gives 0, or the code that the function
// returns at once: nothing is sent then, and nothing traced.

/// The controller number, then its session.
inline short CheckSession(short zelNo)
{
    if (!IsControllerNumber(zelNo)) return kBadControllerNumber;
    return static_cast<short>(Sessions().Find(zelNo) != nullptr ? kOk : kNoSession);
}

/// A single axis; signed callers pass their negative numbers as large ones.
inline short CheckAxis(short zelNo, std::uint16_t axis)
{
    if (const short error = CheckSession(zelNo)) return error;
    return static_cast<short>(axis < kAxisCount ? kOk : kBadAxis);
}

/// A count of axes; `errorCode` is what this call reports for a bad one.
inline short CheckCount(short zelNo, short count, int errorCode = kBadAxisCount)
{
    if (const short error = CheckSession(zelNo)) return error;
    const bool inRange = count >= 1 && count <= static_cast<short>(kAxisCount);
    return static_cast<short>(inRange ? kOk : errorCode);
}

/// What stands side by side in a call, from argument `first` on, and must not be null: the code of
/// the first that is.
template <typename... Arrays>
short CheckArrays(int first, const Arrays*... arrays)
{
    int position = first;
    const bool missing = ((arrays == nullptr || (++position, false)) || ...);
    return static_cast<short>(missing ? BadArgument(position) : kOk);
}

/// The count, then the axes and whatever arrays go with them. The numbers in them are for the
/// controller to judge.
template <typename... Arrays>
short CheckAxes(short zelNo, short count, const Arrays*... arrays)
{
    if (const short error = CheckCount(zelNo, count)) return error;
    return CheckArrays(2, arrays...);
}

/// The session that CheckSession has found.
inline DeviceSession& SessionOf(short zelNo)
{
    return *Sessions().Find(zelNo);
}

/// Whether the axis stands in the session's list of servo axes.
bool AxisIsServo(short zelNo, std::uint16_t axis);

/// 0, or what is wrong with a list of servo axes: more than the controller has (-2004), one twice
/// (-2003), or one that is no servo axis (-2002, however often it is listed).
short ValidateAxisList(short zelNo, short count, const std::uint16_t* axes);

} // namespace zelq
