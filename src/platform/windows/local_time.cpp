#include "platform/local_time.h"

namespace zelq::platform {

std::tm LocalTime()
{
    // 64 bits also where this system's time_t has 32.
    const __time64_t now = _time64(nullptr);
    std::tm local{};
    _localtime64_s(&local, &now);
    return local;
}

} // namespace zelq::platform
