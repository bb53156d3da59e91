#pragma once

#include <atomic>

namespace zelq::platform {

struct SharedLockState
{
    std::atomic<void*> semaphore = nullptr;
    std::atomic<bool> held = false; ///< by a thread of this process
};

} // namespace zelq::platform
