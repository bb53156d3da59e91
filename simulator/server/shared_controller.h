// One controller for several threads, and the clock that moves its time.
#pragma once

#include "core/controller.h"
#include "server.h"

#include <chrono>
#include <mutex>

namespace lumosim {

class SharedController
{
  public:
    explicit SharedController(const ServerConfig& config)
        : controller_(WithAddress(config)), clock_(config.clock), timeScale_(config.timeScale)
    {}

    // Brings the time up to now; Locked() may be used as long as the lock is held.
    std::unique_lock<std::mutex> Lock();
    [[nodiscard]] Controller& Locked() { return controller_; }

    // Lets a real-time clock run or stand.
    void SetRunning(bool running);

  private:
    // The controller as it was delivered knows the address that it listens on.
    static ControllerConfig WithAddress(const ServerConfig& config);

    void CatchUp();

    std::mutex mutex_;
    Controller controller_;
    Clock clock_;
    double timeScale_;
    bool running_ = false;
    std::chrono::steady_clock::time_point caughtUp_;
};

} // namespace lumosim
