#pragma once

#include <cstddef>

namespace zelq::platform {

/// What a step on a socket came to.
enum class IoStatus {
    kDone,     ///< bytes were moved
    kBlocked,  ///< nothing can be moved now: wait for readiness, or try again
    kTimedOut, ///< nothing came in time
    kClosed,   ///< the peer has closed, or the connection is broken
    kFailed,   ///< any other error
};

struct IoResult
{
    IoStatus status;
    std::size_t bytes;
};

enum class WaitStatus { kReady, kTimedOut, kFailed };

} // namespace zelq::platform
