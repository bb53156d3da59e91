#include "common/trace.h"
#include "support/trace_capture.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace zelq::test {

namespace {

constexpr std::size_t kStampEnd = 5 + 12; ///< of "TIME=YYMMDDhhmmss"

std::string StampOf(std::time_t time)
{
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y%m%d%H%M%S", std::localtime(&time));
    return "TIME=" + std::string(text.data() + 2);
}

class TraceLine : public testing::Test
{
  protected:
    /// The text behind the stamp.
    std::string Text()
    {
        const std::string line = viewer_.Next();
        if (line.size() < kStampEnd + 2) return line;
        return line.substr(kStampEnd + 1, line.size() - kStampEnd - 2);
    }

    TraceCapture viewer_;
};

TEST_F(TraceLine, StartsWithTheLocalTime)
{
    std::string before;
    std::string line;
    do { // the second may have changed in between
        before = StampOf(std::time(nullptr));
        TraceCall("%d=zelQ_MoveAbs(%d)", 0, 5);
        line = viewer_.Next();
    } while (before != StampOf(std::time(nullptr)));
    EXPECT_EQ(line, before + ",0=zelQ_MoveAbs(5)\n");
}

TEST_F(TraceLine, ShowsNumbersAsPrintfDoesInEveryLocale)
{
    constexpr double kTop = std::numeric_limits<double>::max();
    for (const double value : {0.0,
                               -0.0,
                               1.0,
                               -7.0,
                               9.0,
                               10.0,
                               0.5,
                               1.0 / 3,
                               123456.0,
                               999999.0,
                               -999999.0,
                               999999.5,
                               1e6,
                               1234567.0,
                               2147483648.0,
                               -3e9,
                               1e-5,
                               0.0001,
                               kTop,
                               -kTop,
                               5e-324,
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity()}) {
        std::array<char, 400> expected{};
        std::snprintf(expected.data(), expected.size(), "%g|%3.1f", value, value);
        TraceCall("%g|%3.1f", value, value);
        EXPECT_EQ(Text(), expected.data());
    }
    TraceCall("%g", std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(Text(), "nan");
    TraceCall("%d,%d,%d", std::numeric_limits<std::int32_t>::min(), 0xFFFFFFFFU, -1);
    EXPECT_EQ(Text(), "-2147483648,-1,-1");
}

TEST_F(TraceLine, TakesTextsAsTheyAreAndCutsLongOnes)
{
    TraceCall("100 %%, %s", "%d\t%n");
    EXPECT_EQ(Text(), "100 %, %d\t%n");
    const std::string longText(3000, 'x');
    TraceCall("%s", longText.c_str());
    EXPECT_EQ(Text(), std::string(2046 - kStampEnd - 1, 'x'));
}

} // namespace

} // namespace zelq::test
