#pragma once

#include "platform/windows/system.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace zelq::platform {

/// A time as the system's waits take it, whose largest number would mean "for ever".
inline DWORD WaitTime(std::chrono::milliseconds time)
{
    return static_cast<DWORD>(std::clamp<std::int64_t>(time.count(), 0, INFINITE - 1));
}

} // namespace zelq::platform
