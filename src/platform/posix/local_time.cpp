#include "platform/local_time.h"

namespace zelq::platform {

std::tm LocalTime(std::time_t time)
{
    std::tm local{};
    localtime_r(&time, &local);
    return local;
}

} // namespace zelq::platform
