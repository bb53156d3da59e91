#pragma once

#include <shared_mutex>

namespace zelq::platform {

// Shared by those who use a thing, exclusive to whoever takes it away.

#ifdef _WIN32

/// The system's own slim lock: the language's shared mutex comes without its clean-up here, and
/// would leave memory behind with every object.
class UseLock
{
  public:
    UseLock() = default;
    UseLock(const UseLock&) = delete;
    UseLock& operator=(const UseLock&) = delete;

    void lock();
    void unlock();
    void lock_shared();
    void unlock_shared();

  private:
    void* state_ = nullptr;
};

#else

using UseLock = std::shared_mutex;

#endif

} // namespace zelq::platform
