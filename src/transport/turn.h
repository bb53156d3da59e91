#pragma once

#include "platform/shared_lock.h"

#include <chrono>

namespace zelq {

/// Bounds every wait for a turn.
inline constexpr std::chrono::milliseconds kTurnTimeOut{4000};

/// One caller's turn on a controller, among all threads and processes, for as long as it lives. A
/// wait that merely times out goes on as if the turn had come: what held it is dead or stuck.
class Turn
{
  public:
    explicit Turn(platform::SharedLock& lock, std::chrono::milliseconds timeOut = kTurnTimeOut)
        : lock_(lock), status_(lock.Wait(timeOut))
    {}
    ~Turn()
    {
        if (!Failed()) lock_.Release();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    /// There is no lock to be had.
    [[nodiscard]] bool Failed() const { return status_ == platform::LockStatus::kFailed; }

  private:
    platform::SharedLock& lock_;
    const platform::LockStatus status_;
};

} // namespace zelq
