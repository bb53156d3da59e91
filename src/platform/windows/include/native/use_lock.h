#pragma once

namespace zelq::platform {

/// The system's own slim lock: the language's mutexes come without their clean-up here, and would
/// leave memory behind with every object.
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

} // namespace zelq::platform
