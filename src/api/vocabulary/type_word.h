#pragma once

#include <cstdint>

namespace zelq {

/// Bits `first` to `last` of a slave's type word.
constexpr std::uint16_t TypeBits(std::uint32_t typeWord, unsigned first, unsigned last)
{
    return static_cast<std::uint16_t>(typeWord >> first & ((1U << (last - first + 1)) - 1U));
}

} // namespace zelq
