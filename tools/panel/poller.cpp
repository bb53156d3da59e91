#include "panel/poller.h"

#include <algorithm>

namespace zelq::tool {

void Poller::Set(Interest interest, bool wanted)
{
    const std::lock_guard lock(mutex_);
    interests_ = wanted ? interests_ | interest : interests_ & ~static_cast<unsigned>(interest);
    changed_.notify_all();
}

bool Poller::AwaitInterest(SteadyClock::time_point due)
{
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, due, [this] { return ended_.load(); });
    changed_.wait(lock, [this] { return ended_ || interests_ != 0; });
    return !ended_;
}

Milliseconds Poller::PeriodNow()
{
    constexpr Milliseconds kWhileJogging{20};
    const std::lock_guard lock(mutex_);
    return (interests_ & kJog) != 0 ? std::min(period_, kWhileJogging) : period_;
}

void Poller::Run()
{
    Sight sight;
    auto due = SteadyClock::now();
    while (AwaitInterest(due)) {
        due = std::max(due + PeriodNow(), SteadyClock::now());
        machine_.Look(sight);
        seen_(sight);
    }
}

} // namespace zelq::tool
