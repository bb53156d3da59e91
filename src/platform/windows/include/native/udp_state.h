#pragma once

#include <cstdint>

namespace zelq::platform {

struct UdpState
{
    std::intptr_t handle = -1;
    std::intptr_t event = -1; ///< set when a datagram has come
};

} // namespace zelq::platform
