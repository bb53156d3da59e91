#pragma once

#include <ctime>

namespace zelq::platform {

/// The local wall-clock time.
std::tm LocalTime();

} // namespace zelq::platform
