#pragma once

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

} // namespace zelq
