#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zelq {

inline constexpr std::size_t kMapCount = 16;
inline constexpr std::size_t kMapAxes = 16;

/// The axes of one interpolation map, as the library last told the controller.
struct InterpMap
{
    std::uint8_t count = 0;                    ///< 0: the map is empty
    std::array<std::uint8_t, kMapAxes> axes{}; ///< the first `count` have a meaning
};

using InterpMapTable = std::array<InterpMap, kMapCount>;

} // namespace zelq
