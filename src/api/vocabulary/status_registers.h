#pragma once

#include "transport/reply.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zelq {

/// Bit 0: the configuration stands; bits 1..15: a counter that moves with every change of it.
inline constexpr std::uint16_t kConfigurationRegister = 0xF414;

constexpr bool ConfigurationStands(std::uint16_t word)
{
    return (word & 1U) != 0;
}

constexpr std::uint16_t ConfigurationCounter(std::uint16_t word)
{
    return static_cast<std::uint16_t>(word >> 1U);
}

/// A block of status registers as one read gives them.
template <std::size_t Count>
struct RegisterBlock
{
    std::array<std::uint16_t, Count> words; ///< written by ReadFrom

    [[nodiscard]] bool ReadFrom(ReplyReader& reader) { return reader.Read(words); }

    /// Registers `low` and `low` + 1 as one number.
    [[nodiscard]] std::uint32_t UnsignedLong(std::size_t low) const
    {
        const std::uint32_t high = words[low + 1];
        return high << 16U | words[low];
    }

    [[nodiscard]] std::int32_t Long(std::size_t low) const
    {
        return static_cast<std::int32_t>(UnsignedLong(low));
    }

    [[nodiscard]] std::uint16_t Bits(std::size_t index, unsigned first, unsigned count = 1) const
    {
        const unsigned word = words[index];
        return static_cast<std::uint16_t>(word >> first & ((1U << count) - 1U));
    }
};

} // namespace zelq
