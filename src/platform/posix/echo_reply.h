#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zelq::platform {

/// By which the reply to one echo is told from all others.
struct EchoMarks
{
    std::uint32_t host; ///< its address, as the system has it
    std::uint16_t id;
    std::uint16_t sequence;
};

enum class EchoForm {
    kMessage, ///< the ICMP message alone, from a socket that gets those of its own id
    kPacket,  ///< a whole IP packet, from a socket that gets all that reach this host
};

/// Whether what was received from `sender` is the whole reply to the echo of these marks.
bool AnswersEcho(std::span<const std::uint8_t> received, std::uint32_t sender, EchoForm form,
                 const EchoMarks& marks);

inline constexpr std::size_t kEchoHeaderBytes = 8;
inline constexpr std::size_t kEchoDataBytes = 32;

} // namespace zelq::platform
