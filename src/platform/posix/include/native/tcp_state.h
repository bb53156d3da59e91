#pragma once

#include <atomic>
#include <cstdint>

namespace zelq::platform {

struct TcpState
{
    static constexpr int kNone = -1;

    [[nodiscard]] bool IsOpen() const
    {
        return descriptor.load(std::memory_order_relaxed) != kNone;
    }

    std::atomic<int> descriptor = kNone;
    std::atomic<std::int64_t> receiveLimit = 0; ///< ms that the system lets a receive wait
};

} // namespace zelq::platform
