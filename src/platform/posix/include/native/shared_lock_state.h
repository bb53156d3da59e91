#pragma once

#include <atomic>
#include <cstdint>

namespace zelq::platform {

struct SharedLockState
{
    std::atomic<std::atomic<std::uint32_t>*> word = nullptr; ///< in the page of all locks
    std::atomic<int> inside = 0;                             ///< threads between Wait and Release
};

} // namespace zelq::platform
