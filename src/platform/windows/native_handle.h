#pragma once

#include "platform/windows/system.h"

#include <cstdint>

namespace zelq::platform {

// Sockets and events as the system has them, from the numbers that the common headers keep.

inline SOCKET Native(std::intptr_t handle)
{
    return static_cast<SOCKET>(handle);
}

inline WSAEVENT NativeEvent(std::intptr_t event)
{
    return reinterpret_cast<WSAEVENT>(event); // NOLINT(performance-no-int-to-ptr): a handle
}

} // namespace zelq::platform
