#pragma once

#include <cstdint>

namespace zelq {

/// Truncates toward zero; what a signed 32-bit number cannot hold, infinities and NaN give
/// 0x80000000, on every system and in every family of calls.
inline std::int32_t TruncateToInt32(double value)
{
    constexpr double kAboveMax = 2147483648.0;
    constexpr double kBelowMin = -2147483649.0;
    if (value > kBelowMin && value < kAboveMax) return static_cast<std::int32_t>(value);
    return INT32_MIN;
}

} // namespace zelq
