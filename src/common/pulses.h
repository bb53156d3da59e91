#pragma once

#include <cfloat>
#include <cmath>
#include <cstdint>

// A wider evaluation rounds twice: 10 / 0.001 would be 9999 pulses.
static_assert(FLT_EVAL_METHOD == 0 || FLT_EVAL_METHOD == 1,
              "doubles are to be evaluated as doubles, on 32-bit x86 by -msse2 -mfpmath=sse");

namespace zelq {

// Some applications have the processor trap on floating-point exceptions. No conversion raises one,
// but that its result is inexact: what has no result is found by quiet comparisons, which are false
// for NaN, before anything is calculated from it.

/// What a signed 32-bit number cannot hold becomes this, on every system and in every family of
/// calls, and so do infinities and NaN.
inline constexpr std::int32_t kNoInt32 = INT32_MIN;

/// Truncates toward zero.
inline std::int32_t TruncateToInt32(double value)
{
    constexpr double kAboveMax = 2147483648.0;
    constexpr double kBelowMin = -2147483649.0;
    if (!std::isgreater(value, kBelowMin) || !std::isless(value, kAboveMax)) return kNoInt32;
    return static_cast<std::int32_t>(value);
}

/// `value` / `unit`, truncated toward zero.
inline std::int32_t QuotientToInt32(double value, double unit)
{
    constexpr double kBeyondAll = 4294967296.0;
    const double size = std::abs(value);
    const double unitSize = std::abs(unit);
    if (std::isless(size, unitSize)) return 0;
    if (!std::isgreaterequal(size, unitSize) || std::isinf(size)) return kNoInt32;
    if (std::isless(unitSize, 1.0) && !std::isless(size, unitSize * kBeyondAll)) return kNoInt32;
    return TruncateToInt32(value / unit);
}

/// `value` * `factor`, truncated toward zero; the factor is a finite one below 2^20.
inline std::int32_t ProductToInt32(double value, double factor)
{
    constexpr double kLargest = DBL_MAX / (1U << 20U);
    constexpr double kSmallest = DBL_MIN * (1U << 20U);
    const double size = std::abs(value);
    if (!std::isless(size, kLargest)) return kNoInt32;
    return std::isless(size, kSmallest) ? 0 : TruncateToInt32(value * factor);
}

/// `value` / `unit`, for calculating on; where that is no finite number, one that none of the above
/// can hold.
inline double FiniteQuotient(double value, double unit)
{
    const double size = std::abs(value);
    const double unitSize = std::abs(unit);
    const double largest = std::isless(unitSize, 1.0) ? unitSize * DBL_MAX : DBL_MAX;
    if (!std::isless(size, largest) || std::isnan(unit)) return HUGE_VAL;
    if (std::isgreater(unitSize, 1.0) && std::isless(size, unitSize * DBL_MIN)) return 0.0;
    return value / unit;
}

} // namespace zelq
