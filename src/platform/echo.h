#pragma once

#include <array>
#include <cstdint>

namespace zelq::platform {

enum class EchoStatus {
    kReply,
    kNoReply,
    kUnavailable, ///< no address, or this system lets us send no echo
};

struct EchoResult
{
    EchoStatus status;
    std::uint32_t error;         ///< one of the numbers below, or the system's own; with kNoReply
    std::array<char, 16> sender; ///< who replied, as dotted text; with kReply
};

/// Error numbers that mean the same on both systems.
inline constexpr std::uint32_t kEchoNotEnoughMemory = 8;
inline constexpr std::uint32_t kEchoNotSupported = 50;
inline constexpr std::uint32_t kEchoInvalidParameter = 87;
inline constexpr std::uint32_t kEchoInsufficientBuffer = 122;
inline constexpr std::uint32_t kEchoBufferTooSmall = 11001;
inline constexpr std::uint32_t kEchoTimedOut = 11010;

/// Sends one ICMP echo of 32 bytes to a dotted address or host name and waits for its reply.
EchoResult SendEcho(const char* host, std::uint32_t timeoutMs);

} // namespace zelq::platform
