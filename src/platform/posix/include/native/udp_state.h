#pragma once

namespace zelq::platform {

struct UdpState
{
    int descriptor = -1;
};

} // namespace zelq::platform
