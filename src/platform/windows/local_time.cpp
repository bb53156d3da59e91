#include "platform/local_time.h"

namespace zelq::platform {

std::tm LocalTime(std::time_t time)
{
    const __time64_t seconds = time;
    std::tm local{};
    _localtime64_s(&local, &seconds);
    return local;
}

} // namespace zelq::platform
