#include "common/pulses.h"
#include "support/floating_point_traps.h"

#include <gtest/gtest.h>
#include <limits>

namespace zelq {
namespace {

using Limits = std::numeric_limits<double>;

constexpr double kNan = Limits::quiet_NaN();
constexpr double kInfinity = Limits::infinity();

/// A number that the compiler does not know, so that it is calculated with as the program runs.
double Unknown(double value)
{
    volatile double unknown = value;
    return unknown;
}

struct Quotient
{
    double value;
    double unit;
    std::int32_t pulses;
};

TEST(Pulses, AreTruncatedQuotients)
{
    constexpr Quotient kCases[] = {
        {10.0, 0.001, 10'000}, // 9999 by a wider unit
        {7.0, 2.0, 3},
        {-7.0, 2.0, -3},
        {7.0, -2.0, -3},
        {0.999'999, 1.0, 0},
        {-1.0, 2.0, 0},
        {0.0, 5.0, 0},
        {1e-300, 1e-300, 1},
        {2147483647.9, 1.0, INT32_MAX},
        {-2147483648.9, 1.0, INT32_MIN},
        {2147483.647, 0.001, INT32_MAX},
        {1e300, 2e300, 0},
    };
    for (const auto& [value, unit, pulses] : kCases) {
        EXPECT_EQ(QuotientToInt32(Unknown(value), Unknown(unit)), pulses) << value << "/" << unit;
    }
}

TEST(Pulses, TrapInNoCallersProgram)
{
    constexpr Quotient kCases[] = {
        {kNan, 1.0, INT32_MIN},
        {1.0, kNan, INT32_MIN},
        {kNan, 0.0, INT32_MIN},
        {0.0, 0.0, INT32_MIN},
        {1.0, 0.0, INT32_MIN},
        {kInfinity, 1.0, INT32_MIN},
        {-kInfinity, 0.5, INT32_MIN},
        {kInfinity, kInfinity, INT32_MIN},
        {5.0, kInfinity, 0},
        {1e300, 1e-300, INT32_MIN},
        {Limits::max(), 0.9, INT32_MIN},
        {1e-300, 1e300, 0},
        {Limits::min(), 3.0, 0},
        {2147483648.0, 1.0, INT32_MIN},
        {4294967296.0, 0.5, INT32_MIN},
        {-2147483649.0, 1.0, INT32_MIN},
    };
    for (const auto& [value, unit, pulses] : kCases) {
        std::int32_t quotient = 0;
        std::int32_t truncated = 0;
        {
            const test::FloatingPointTraps traps;
            quotient = QuotientToInt32(Unknown(value), Unknown(unit));
            truncated = TruncateToInt32(Unknown(value));
        }
        EXPECT_EQ(quotient, pulses) << value << "/" << unit;
        EXPECT_EQ(truncated == INT32_MIN, !(value > -2147483649.0 && value < 2147483648.0))
            << value;
    }
}

} // namespace
} // namespace zelq
