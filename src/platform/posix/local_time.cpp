#include "platform/local_time.h"

namespace zelq::platform {

std::tm LocalTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local;
}

} // namespace zelq::platform
