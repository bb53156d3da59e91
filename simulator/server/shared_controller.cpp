#include "shared_controller.h"

#include "network.h"

#include <algorithm>

namespace lumosim {

ControllerConfig SharedController::WithAddress(const ServerConfig& config)
{
    ControllerConfig controller = config.controller;
    ErrorCode error;
    const asio::ip::address_v4 address = asio::ip::make_address_v4(config.address, error);
    if (error || address.is_unspecified()) return controller;
    std::copy_n(address.to_bytes().begin(), 3, controller.network.address.begin());
    if (!address.is_loopback()) controller.network.mask = {255, 255, 255, 0};
    return controller;
}

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
