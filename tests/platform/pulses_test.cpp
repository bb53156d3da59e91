#include "common/pulses.h"

#include <cfenv>
#include <gtest/gtest.h>
#include <limits>
#include <span>

namespace zelq {
namespace {

constexpr double kValues[] = {0.0,         0.001,        0.5,
                              0.9,         1.0,          2.0,
                              3.0,         7.0,          10.0,
                              0.999'999,   1e-305,       1e-300,
                              1e300,       2e300,        1e308,
                              214748364.7, 1e9,          2147483.6475,
                              2147483648., 2147483647.9, 2147483648.9,
                              2147483649., 4294967296.,  DBL_MIN,
                              DBL_MAX,     HUGE_VAL,     std::numeric_limits<double>::quiet_NaN()};

std::int32_t PlainlyTruncated(double value)
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                         : INT32_MIN;
}

/// Calculates with numbers that the compiler does not know, and raises nothing that the processor
/// traps in some applications.
template <typename Result>
Result Calculated(Result (*calculate)(double, double), double first, double second)
{
    const volatile double unknown[] = {first, second};
    std::feclearexcept(FE_ALL_EXCEPT);
    const volatile Result result = calculate(unknown[0], unknown[1]);
    EXPECT_EQ(std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW), 0);
    return result;
}

/// All values by all of the others come to what `plain` makes of them, which may trap.
template <typename Result>
void ExpectAsPlain(Result (*calculate)(double, double), std::span<const double> others,
                   Result (*plain)(double, double))
{
    for (const double value : kValues) {
        for (const double other : others) {
            for (const auto& [first, second] :
                 {std::pair(value, other), std::pair(-value, other), std::pair(value, -other)}) {
                SCOPED_TRACE(testing::Message() << first << " and " << second);
                EXPECT_EQ(Calculated(calculate, first, second), plain(first, second));
            }
        }
    }
}

TEST(Pulses, AreTruncatedQuotientsAndProducts)
{
    EXPECT_EQ(Calculated(QuotientToInt32, 10.0, 0.001), 10'000) << "9999 by a wider unit";
    EXPECT_EQ(Calculated(QuotientToInt32, 2147483.6475, 0.001), INT32_MAX);
    ExpectAsPlain(
        QuotientToInt32, kValues,
        +[](double value, double unit) { return PlainlyTruncated(value / unit); });
    ExpectAsPlain<std::int32_t>([](double value, double) { return TruncateToInt32(value); },
                                kValues,
                                [](double value, double) { return PlainlyTruncated(value); });
    constexpr double kFactors[] = {0.0, 0.3, 2.0, 10.0, 10'000.0, 32'767.0};
    ExpectAsPlain(
        ProductToInt32, kFactors, +[](double value, double factor) {
            return PlainlyTruncated(std::abs(value) < 1e301 ? value * factor : HUGE_VAL);
        });
}

TEST(Pulses, CanBeCalculatedOn)
{
    ExpectAsPlain(
        FiniteQuotient, kValues, +[](double value, double unit) {
            const double quotient = value / unit;
            if (!std::isfinite(quotient) || std::abs(value) == DBL_MAX) return HUGE_VAL;
            return std::abs(quotient) < DBL_MIN ? 0.0 : quotient;
        });
}

} // namespace
} // namespace zelq
