// One controller for several threads, and the clock that moves its time.
#pragma once

#include "core/controller.h"
#include "hold.h"
#include "server.h"

#include <chrono>
#include <functional>
#include <mutex>

namespace lumosim {

class SharedController
{
  public:
    using RealTime = std::chrono::steady_clock;

    explicit SharedController(const ServerConfig& config);

    // For what needs no lock: nothing runs yet, or only an address is taken.
    [[nodiscard]] Controller& Unlocked() { return controller_; }

    // Lets a real-time clock run or stand.
    void SetRunning(bool running);
    void SetClock(const ClockState& clock);
    [[nodiscard]] ClockState Clock();

    // The controller has something to do by itself at this moment, so it should be held then;
    // RealTime::time_point::max() when there is nothing. `told` hears when it becomes earlier.
    RealTime::time_point NextWake();
    void OnEarlierWake(std::function<void()> told);

  private:
    friend class Hold;

    // The controller as it was delivered knows the address that it listens on.
    static ControllerConfig WithAddress(const ServerConfig& config);

    [[nodiscard]] bool Runs() const { return running_ && realTime_ && !clock_.paused; }
    void CatchUp();
    [[nodiscard]] RealTime::time_point WakeTime() const;
    void Release();

    std::mutex mutex_;
    Controller controller_;
    const bool realTime_;
    ClockState clock_;
    bool running_ = false;
    RealTime::time_point caughtUp_;
    RealTime::time_point wake_ = RealTime::time_point::max();
    std::function<void()> told_ = [] {};
};

} // namespace lumosim
