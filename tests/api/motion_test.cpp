#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <limits>
#include <numeric>

namespace zelq::test {

namespace {

using MotionTest = WireTest;

TEST_F(MotionTest, SingleAxisMovesSendWhatTheyAreTold)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const Words overflow = {0x0000, 0x8000};
    zelQ_UnitPerPulseSet(kNumber, 1, 0.001);
    capture_.Lines();
    Run({
        {.name = "jog: direction before the axis",
         .call = [] { return zelQ_MoveVel(kNumber, 3, 1); },
         .frames = {{0x0101, 0x0010, 1, 1, 3}},
         .trace = "0=zelQ_MoveVel(5,3,1)"},
        {.name = "an axis that is no servo is the controller's to judge",
         .call = [] { return zelQ_MoveVel(kNumber, 31, 0); },
         .frames = {{0x0101, 0x0010, 1, 0, 31}},
         .trace = "0=zelQ_MoveVel(5,31,0)"},
        {.name = "absolute, scaled by the axis's factor",
         .call = [] { return zelQ_MoveAbs(kNumber, 1, 12.5); },
         .frames = {Join({{0x0101, 0x0011, 1, 1}, Long(12500)})},
         .trace = "0=zelQ_MoveAbs(5,1,12.5)"},
        {.name = "truncated toward zero",
         .call = [] { return zelQ_MoveRel(kNumber, 0, -2.7); },
         .frames = {{0x0101, 0x0012, 1, 0, 0xFFFE, 0xFFFF}},
         .trace = "0=zelQ_MoveRel(5,0,-2.7)"},
        {.name = "less than one pulse",
         .call = [] { return zelQ_MoveAbs(kNumber, 0, 0.99); },
         .frames = {{0x0101, 0x0011, 1, 0, 0, 0}},
         .trace = "0=zelQ_MoveAbs(5,0,0.99)"},
        {.name = "the last value that fits",
         .call = [] { return zelQ_MoveAbs(kNumber, 0, 2147483647.9); },
         .frames = {Join({{0x0101, 0x0011, 1, 0}, Long(2147483647)})},
         .trace = "0=zelQ_MoveAbs(5,0,2.14748e+09)"},
        {.name = "one more than fits",
         .call = [] { return zelQ_MoveAbs(kNumber, 0, 2147483648.0); },
         .frames = {Join({{0x0101, 0x0011, 1, 0}, overflow})},
         .trace = "0=zelQ_MoveAbs(5,0,2.14748e+09)"},
        {.name = "infinity",
         .call = [] { return zelQ_MoveAbs(kNumber, 0, kInfinity); },
         .frames = {Join({{0x0101, 0x0011, 1, 0}, overflow})},
         .trace = "0=zelQ_MoveAbs(5,0,inf)"},
        {.name = "not a number",
         .call = [] { return zelQ_MoveRel(kNumber, 0, kNan); },
         .frames = {Join({{0x0101, 0x0012, 1, 0}, overflow})},
         .trace = "0=zelQ_MoveRel(5,0,nan)"},
        {.name = "the controller's own result is passed on and traced",
         .call = [] { return zelQ_MoveAbs(kNumber, 2, 1e-7); },
         .result = 4,
         .frames = {{0x0101, 0x0011, 1, 2, 0, 0}},
         .controllerResult = 4,
         .trace = "4=zelQ_MoveAbs(5,2,1e-07)"},
        {.name = "a result above 32767 is cut to 16 bits in the line too",
         .call = [] { return zelQ_MoveVel(kNumber, 2, 0); },
         .result = -1,
         .frames = {{0x0101, 0x0010, 1, 0, 2}},
         .controllerResult = 0xFFFF,
         .trace = "-1=zelQ_MoveVel(5,2,0)"},
    });
}

TEST_F(MotionTest, MultiAxisMovesKeepTheCallersOrder)
{
    zelQ_UnitPerPulseSet(kNumber, 2, 0.5);
    zelQ_UnitPerPulseSet(kNumber, 4, 0.1);
    capture_.Lines();
    static constexpr std::array<unsigned short, 3> kJogAxes = {7, 300, 7};
    static constexpr std::array<short, 3> kAxes = {4, 2, -1};
    static constexpr std::array<double, 3> kValues = {1.0, -3.0, 9.9};
    Run({
        {.name = "jog: axes as given, twice or out of range",
         .call = [] { return zelQ_mMoveVel(kNumber, 3, kJogAxes.data(), 0); },
         .frames = {{0x0101, 0x0010, 3, 0, 7, 300, 7}},
         .trace = "0=zelQ_mMoveVel(5,3,0)"},
        {.name = "absolute, each axis by its own factor, 1.0 for one out of range",
         .call = [] { return zelQ_mMoveAbs(kNumber, 3, kAxes.data(), kValues.data()); },
         .frames = {Join({{0x0101, 0x0011, 3, 4}, Long(10), {2}, Long(-6), {0xFFFF}, Long(9)})},
         .trace = "0=zelQ_mMoveAbs(5,3)"},
        {.name = "relative",
         .call = [] { return zelQ_mMoveRel(kNumber, 2, kAxes.data(), kValues.data()); },
         .frames = {Join({{0x0101, 0x0012, 2, 4}, Long(10), {2}, Long(-6)})},
         .trace = "0=zelQ_mMoveRel(5,2)"},
    });
}

TEST_F(MotionTest, ThirtyTwoAxesFitIntoOneFrame)
{
    std::array<short, 32> axes{};
    std::iota(axes.begin(), axes.end(), short{0});
    std::array<double, 32> values{};
    std::iota(values.begin(), values.end(), -5.0);
    Words registers = {0x0101, 0x0011, 32};
    for (std::uint16_t axis = 0; axis < 32; ++axis) {
        registers = Join({registers, {axis}, Long(axis - 5)});
    }
    Run({{.name = "32 axes",
          .call = [&] { return zelQ_mMoveAbs(kNumber, 32, axes.data(), values.data()); },
          .frames = {registers},
          .trace = "0=zelQ_mMoveAbs(5,32)"}});
    EXPECT_EQ(registers.size(), 99U);
}

TEST_F(MotionTest, WrongArgumentsAreRefusedInOrder)
{
    static constexpr std::array<unsigned short, 33> kAxes{};
    static constexpr std::array<short, 33> kSigned{};
    static constexpr std::array<double, 33> kValues{};
    ExpectNumberChecks([](short zelNo) { return zelQ_MoveVel(zelNo, 99, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_mMoveVel(zelNo, 0, nullptr, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_MoveAbs(zelNo, 99, 0); });
    ExpectNumberChecks([](short zelNo) { return zelQ_MoveRel(zelNo, 99, 0); });
    ExpectNumberChecks([](short zelNo) { return zelQ_mMoveAbs(zelNo, 0, nullptr, nullptr); });
    ExpectNumberChecks([](short zelNo) { return zelQ_mMoveRel(zelNo, 0, nullptr, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_MoveVel(kNumber, 32, 2); },
                          [] { return zelQ_MoveAbs(kNumber, 32, 1.0); },
                          [] { return zelQ_MoveRel(kNumber, 0xFFFF, 1.0); }});
    ExpectRefused(-2004, {[] { return zelQ_mMoveVel(kNumber, 0, kAxes.data(), 2); },
                          [] { return zelQ_mMoveVel(kNumber, 33, kAxes.data(), 2); },
                          [] { return zelQ_mMoveAbs(kNumber, 0, nullptr, nullptr); },
                          [] { return zelQ_mMoveAbs(kNumber, 33, nullptr, nullptr); },
                          [] { return zelQ_mMoveRel(kNumber, -1, nullptr, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_MoveVel(kNumber, 0, 2); },
                          [] { return zelQ_mMoveVel(kNumber, 1, kAxes.data(), 2); },
                          [] { return zelQ_mMoveVel(kNumber, 1, nullptr, 0); },
                          [] { return zelQ_mMoveAbs(kNumber, 1, nullptr, kValues.data()); }});
    ExpectRefused(-1703, {[] { return zelQ_mMoveAbs(kNumber, 1, kSigned.data(), nullptr); },
                          [] { return zelQ_mMoveRel(kNumber, 1, kSigned.data(), nullptr); }});
}

} // namespace

} // namespace zelq::test
