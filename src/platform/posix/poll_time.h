#pragma once

#include "platform/clock.h"

#include <algorithm>
#include <climits>
#include <poll.h>

namespace zelq::platform {

/// What is left until `deadline` as poll() takes it.
inline int PollTime(Deadline deadline)
{
    return static_cast<int>(std::min<std::int64_t>(Left(deadline).count(), INT_MAX));
}

} // namespace zelq::platform
