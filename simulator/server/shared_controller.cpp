#include "shared_controller.h"

namespace lumosim {

std::unique_lock<std::mutex> SharedController::Lock()
{
    std::unique_lock lock(mutex_);
    CatchUp();
    return lock;
}

void SharedController::SetRunning(bool running)
{
    const std::lock_guard lock(mutex_);
    CatchUp();
    running_ = running;
    caughtUp_ = std::chrono::steady_clock::now();
}

void SharedController::CatchUp()
{
    if (!running_ || clock_ != Clock::kRealTime) return;
    const auto now = std::chrono::steady_clock::now();
    const std::chrono::duration<double, std::nano> passed = now - caughtUp_;
    caughtUp_ = now;
    controller_.Advance(std::chrono::duration_cast<Nanoseconds>(passed * timeScale_));
}

} // namespace lumosim
