#include "common/trace.h"
#include "support/wire_test.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace zelq::test {

namespace {

using TraceLine = WireTest;

std::string StampOf(std::time_t time)
{
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y%m%d%H%M%S", std::localtime(&time));
    return "TIME=" + std::string(text.data() + 2);
}

TEST_F(TraceLine, StartsWithTheLocalTime)
{
    std::string before;
    std::string line;
    do { // the second may have changed in between
        before = StampOf(std::time(nullptr));
        TraceCall("%d=zelQ_MoveAbs(%d)", 0, 5);
        line = capture_.Next();
    } while (before != StampOf(std::time(nullptr)));
    EXPECT_EQ(line, before + ",0=zelQ_MoveAbs(5)\n");
}

TEST_F(TraceLine, ShowsNumbersAsPrintfDoesInEveryLocale)
{
    constexpr double kValues[] = {
        0,        1,        7,    9,       10,           0.5,
        123456,   999999,   1e6,  1234567, 2147483648.0, 3e9,
        0.333333, 999999.5, 1e-5, 0.0001,  5e-324,       1.7976931348623157e308,
        HUGE_VAL};
    for (const double positive : kValues) {
        for (const double value : {positive, -positive}) {
            std::array<char, 400> expected{};
            std::snprintf(expected.data(), expected.size(), "%g|%3.1f", value, value);
            TraceCall("%g|%3.1f", value, value);
            EXPECT_EQ(NextTrace(), expected.data());
        }
    }
    TraceCall("%g", std::nan(""));
    EXPECT_EQ(NextTrace(), "nan");
    TraceCall("%d,%d,%d", std::numeric_limits<std::int32_t>::min(), 0xFFFFFFFFU, -1);
    EXPECT_EQ(NextTrace(), "-2147483648,-1,-1");
}

TEST_F(TraceLine, TakesTextsAsTheyAreAndCutsLongOnes)
{
    constexpr std::size_t kMostBytes = 2047;
    constexpr std::size_t kStampAndEnd = 5 + 12 + 1 + 1;
    TraceCall("100 %%, %s", "%d\t%n");
    EXPECT_EQ(NextTrace(), "100 %, %d\t%n");
    TraceCall("%s", std::string(3000, 'x').c_str());
    EXPECT_EQ(NextTrace(), std::string(kMostBytes - kStampAndEnd, 'x'));
}

} // namespace

} // namespace zelq::test
