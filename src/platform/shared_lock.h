#pragma once

#include "native/shared_lock_state.h"

#include <chrono>

namespace zelq::platform {

enum class LockStatus {
    kHeld,
    kTimedOut, ///< the caller goes on without the lock, and releases it at its end all the same
    kFailed,   ///< there is no lock to be had now, or the system refused
};

/// A lock that all processes of one user share by its place: 0 is that of discovery, 1 to 254
/// those of the controllers. A thread waits for it once before it releases it.
///
/// On Windows it is a named semaphore of count 1, "Local\UDP" or "Local\Lumo=3". It knows no
/// holder, so what a process that was killed holds is made whole by the first whose wait times
/// out: he releases it like any other, and one is the most it counts to. On Linux it is a word in
/// a page of memory, which the kernel takes from a holder that dies.
class SharedLock
{
  public:
    static constexpr unsigned kPlaces = 255;

    explicit SharedLock(unsigned place) : place_(place) {}
    ~SharedLock() { Close(); }
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;

    /// Opens what the lock needs where it is not open yet; what fails now is tried again by the
    /// next wait.
    LockStatus Wait(std::chrono::milliseconds timeout);
    /// After a Wait of this thread that did not give kFailed.
    void Release();
    /// While the process ends and its other threads are gone: releases what one of them held.
    void ReleaseForEndedThreads();
    void Close();

  private:
    const unsigned place_;
    SharedLockState state_;
};

} // namespace zelq::platform
