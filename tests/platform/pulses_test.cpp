#include "common/pulses.h"
#include "support/floating_point_traps.h"

#include <cmath>
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
        {2147483.6475, 0.001, INT32_MAX},
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

TEST(Pulses, OfProductsAndOfWhatIsCalculatedOnTrapNowhereEither)
{
    constexpr Quotient kProducts[] = {
        {12.34, 10.0, 123},
        {-0.25, 10'000.0, -2500},
        {214748364.7, 10.0, INT32_MAX},
        {Limits::max(), 0.0, INT32_MIN},
        {1e300, 0.0, 0},
        {1e-305, 10.0, 0},
        {1e300, 32767.0, INT32_MIN},
        {kNan, 2.0, INT32_MIN},
        {-kInfinity, 0.0, INT32_MIN},
    };
    for (const auto& [value, factor, pulses] : kProducts) {
        std::int32_t product = 0;
        {
            const test::FloatingPointTraps traps;
            product = ProductToInt32(Unknown(value), Unknown(factor));
        }
        EXPECT_EQ(product, pulses) << value << "*" << factor;
    }
    struct Finite
    {
        double value;
        double unit;
        double quotient;
    };
    constexpr Finite kQuotients[] = {
        {5.0, 0.001, 5000.0},  {1e308, 0.5, HUGE_VAL}, {-1e308, 1e-300, HUGE_VAL},
        {kNan, 1.0, HUGE_VAL}, {1.0, kNan, HUGE_VAL},  {kInfinity, kInfinity, HUGE_VAL},
        {1.0, kInfinity, 0.0}, {1e-300, 1e300, 0.0},   {1e-300, -1e-300, -1.0},
    };
    for (const auto& [value, unit, expected] : kQuotients) {
        double quotient = 0.0;
        {
            const test::FloatingPointTraps traps;
            quotient = FiniteQuotient(Unknown(value), Unknown(unit));
        }
        EXPECT_EQ(quotient, expected) << value << "/" << unit;
    }
}

} // namespace
} // namespace zelq
