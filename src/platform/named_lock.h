#pragma once

#include <array>
#include <atomic>
#include <chrono>

namespace zelq::platform {

enum class LockStatus {
    kHeld,
    kTimedOut,
    kFailed, ///< there is no lock, or the system refused
};

/// A lock that all processes of this user share by its name, such as "Local\Lumo=3".
///
/// On Windows it is a named semaphore of count 1; on Linux a robust mutex in shared memory, which
/// the kernel frees when its holder dies.
class NamedLock
{
  public:
    NamedLock() = default;
    ~NamedLock() { Close(); }
    NamedLock(const NamedLock&) = delete;
    NamedLock& operator=(const NamedLock&) = delete;

    bool Open(const char* name);
    /// The last process to close removes what the system keeps for the lock.
    void Close();

    LockStatus Wait(std::chrono::milliseconds timeout);
    /// Only after a Wait of this thread that gave kHeld.
    void Release();

  private:
    std::atomic<void*> lock_ = nullptr; ///< the mutex in shared memory, or the semaphore's handle
    std::atomic<int> users_ = 0;        ///< threads between Wait and Release
    int file_ = -1;                     ///< the shared memory, where the lock stands in it
    std::array<char, 64> name_{};
};

} // namespace zelq::platform
