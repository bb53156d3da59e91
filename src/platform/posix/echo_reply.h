#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zelq::platform {

/// By which the reply to one echo is told from all others.
struct EchoNumbers
{
    std::uint16_t id;
    std::uint16_t sequence;
};

enum class EchoForm {
    kMessage, ///< the ICMP message alone, from a socket that gets those of its own id
    kPacket,  ///< a whole IP packet, from a socket that gets all that reach this host
};

/// Whether what was received is the whole reply to the echo of these numbers.
bool AnswersEcho(std::span<const std::uint8_t> received, EchoForm form, EchoNumbers numbers);

inline constexpr std::size_t kEchoHeaderBytes = 8;
inline constexpr std::size_t kEchoDataBytes = 32;

} // namespace zelq::platform
