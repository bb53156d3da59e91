#pragma once

#include "platform/clock.h"
#include "platform/io_status.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>

namespace zelq::platform {

/// Waits for `events` on one descriptor; interrupted, it goes on with the time that is left.
inline WaitStatus Poll(int descriptor, short events, Deadline deadline)
{
    // The system ends a wait the later the longer it is; the last second ends in time.
    constexpr std::chrono::nanoseconds kLongest = std::chrono::seconds(1);
    pollfd entry{descriptor, events, 0};
    while (true) {
        const std::chrono::nanoseconds left = deadline - Clock::now();
        const auto wait = std::clamp(left, std::chrono::nanoseconds{0}, kLongest);
        const timespec limit{static_cast<time_t>(wait / kLongest),
                             static_cast<long>((wait % kLongest).count())};
        const int ready = ppoll(&entry, 1, &limit, nullptr);
        if (ready > 0) return WaitStatus::kReady;
        if (ready < 0 && errno != EINTR) return WaitStatus::kFailed;
        if (left <= wait && ready == 0) return WaitStatus::kTimedOut;
    }
}

} // namespace zelq::platform
