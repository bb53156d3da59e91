#pragma once

#include <chrono>

namespace zelq::platform {

/// The one clock of all waits: monotonic, so that setting the time of day ends no wait early.
using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

/// The time left until `deadline`, never negative, rounded up: a wait never ends too early.
inline std::chrono::milliseconds Left(Deadline deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return left.count() > 0 ? left : std::chrono::milliseconds{0};
}

/// A wait that has begun: when it ends, and how much of it was left at the last look at the clock.
struct Wait
{
    Wait(std::chrono::milliseconds time) : deadline(Clock::now() + time), left(time) {}

    void LookAtClock() { left = Left(deadline); }

    const Deadline deadline;
    std::chrono::milliseconds left;
};

} // namespace zelq::platform
