#include "api/vocabulary/checks.h"

#include <algorithm>
#include <span>

namespace zelq {

bool AxisIsServo(short zelNo, std::uint16_t axis)
{
    return SessionOf(zelNo).Slaves().servoAxes.Contains(axis);
}

short ValidateAxisList(short zelNo, short count, const std::uint16_t* axes)
{
    const SlaveList servos = SessionOf(zelNo).Slaves().servoAxes;
    if (count > static_cast<short>(servos.count)) return kBadAxisCount;
    const std::span given(axes, static_cast<std::size_t>(std::max<short>(count, 0)));
    short found = 0;
    for (const std::uint16_t servo : servos.Numbers()) {
        const auto times = std::ranges::count(given, servo);
        if (times >= 2) return kDuplicateAxis;
        if (times == 1) ++found;
    }
    return static_cast<short>(found == count ? kOk : kBadAxis);
}

} // namespace zelq
