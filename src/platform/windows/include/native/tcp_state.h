#pragma once

#include <atomic>
#include <cstdint>

namespace zelq::platform {

struct TcpState
{
    static constexpr std::intptr_t kNone = -1;

    [[nodiscard]] bool IsOpen() const { return handle.load(std::memory_order_relaxed) != kNone; }

    std::atomic<std::intptr_t> handle = kNone;
    std::atomic<std::intptr_t> event = kNone; ///< set when the socket becomes ready
    std::atomic<bool> broken = false;         ///< by an Interrupt
};

} // namespace zelq::platform
