#pragma once

#include <ctime>

namespace zelq::platform {

/// The local wall-clock time at `time`.
std::tm LocalTime(std::time_t time);

} // namespace zelq::platform
