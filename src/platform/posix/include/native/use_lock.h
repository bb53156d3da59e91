#pragma once

#include <shared_mutex>

namespace zelq::platform {

using UseLock = std::shared_mutex;

} // namespace zelq::platform
