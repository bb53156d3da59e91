#pragma once

#include "platform/clock.h"
#include "platform/io_status.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <poll.h>

namespace zelq::platform {

/// What is left until `deadline` as poll() takes it.
inline int PollTime(Deadline deadline)
{
    return static_cast<int>(std::min<std::int64_t>(Left(deadline).count(), INT_MAX));
}

/// Waits for `events` on one descriptor; interrupted, it goes on with the time that is left.
inline WaitStatus Poll(int descriptor, short events, Deadline deadline)
{
    pollfd entry{descriptor, events, 0};
    while (true) {
        const int ready = poll(&entry, 1, PollTime(deadline));
        if (ready > 0) return WaitStatus::kReady;
        if (ready == 0) return WaitStatus::kTimedOut;
        if (errno != EINTR) return WaitStatus::kFailed;
    }
}

} // namespace zelq::platform
