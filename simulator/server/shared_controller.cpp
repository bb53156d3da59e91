#include "shared_controller.h"

#include "network.h"

#include <algorithm>
#include <utility>

namespace lumosim {

namespace {

// What happens inside the controller happens at its own moment, however late that is worked out;
// nobody outside sees the difference of this time.
constexpr auto kShortestSleep = std::chrono::milliseconds(5);

// Whoever holds the controller waits until it is worked out what has happened meanwhile. That is
// done in parts, so that on a machine that is too slow it can be left when it takes this long.
constexpr auto kPart = std::chrono::milliseconds(5);
constexpr auto kLongestWait = std::chrono::milliseconds(20);

// Further ahead than this nothing is planned: a clock that runs slowly would leave what real time
// can hold.
constexpr auto kLongestSleep = std::chrono::hours(1);

} // namespace

Hold::Hold(SharedController& shared) : shared_(shared)
{
    shared_.mutex_.lock();
    shared_.CatchUp();
}

Hold::~Hold()
{
    shared_.Release();
}

Controller& Hold::operator*() const
{
    return shared_.controller_;
}

SharedController::SharedController(const ServerConfig& config)
    : controller_(WithAddress(config)),
      realTime_(config.clock == Clock::kRealTime),
      clock_{config.timeScale, false}
{}

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

void SharedController::SetRunning(bool running)
{
    const std::lock_guard lock(mutex_);
    CatchUp();
    running_ = running;
    caughtUp_ = RealTime::now();
}

void SharedController::SetClock(const ClockState& clock)
{
    mutex_.lock();
    CatchUp();
    clock_ = clock;
    caughtUp_ = RealTime::now();
    Release();
}

ClockState SharedController::Clock()
{
    const std::lock_guard lock(mutex_);
    return clock_;
}

void SharedController::CatchUp()
{
    if (!Runs()) return;
    const auto now = RealTime::now();
    const auto passed = now - std::exchange(caughtUp_, now);
    const auto part = std::max<RealTime::duration>(kPart, passed / 8);
    for (RealTime::duration done{}; done < passed;) {
        const auto step = std::min(part, passed - done);
        const std::chrono::duration<double, std::nano> simulated = step * clock_.scale;
        controller_.Advance(std::chrono::duration_cast<Nanoseconds>(simulated));
        done += step;
        const auto took = RealTime::now() - now;
        if (took <= kLongestWait || took <= done) continue;
        // On a machine that is too slow for it the clock goes more slowly: if it kept its pace,
        // each time would take longer than the one before, and hosts would wait in vain for an
        // answer.
        caughtUp_ = RealTime::now();
        return;
    }
}

SharedController::RealTime::time_point SharedController::WakeTime() const
{
    if (!Runs()) return RealTime::time_point::max();
    const Nanoseconds next = controller_.NextEvent();
    if (next == kNever) return RealTime::time_point::max();
    const std::chrono::duration<double, std::nano> simulated = next - controller_.Now();
    const auto sleep = std::clamp<std::chrono::duration<double, std::nano>>(
        simulated / clock_.scale, kShortestSleep, kLongestSleep);
    return caughtUp_ + std::chrono::duration_cast<RealTime::duration>(sleep);
}

SharedController::RealTime::time_point SharedController::NextWake()
{
    const std::lock_guard lock(mutex_);
    CatchUp();
    wake_ = WakeTime();
    return wake_;
}

void SharedController::OnEarlierWake(std::function<void()> told)
{
    const std::lock_guard lock(mutex_);
    told_ = std::move(told);
}

void SharedController::Release()
{
    // While one event after the other comes, the next wake is near already.
    if (wake_ - caughtUp_ > kShortestSleep) {
        const RealTime::time_point wake = WakeTime();
        if (wake < wake_) {
            wake_ = wake;
            told_();
        }
    }
    mutex_.unlock();
}

} // namespace lumosim
