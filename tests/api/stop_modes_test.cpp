#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <limits>

namespace zelq::test {

namespace {

class StopModesTest : public WireTest
{
  protected:
    void SetUp() override
    {
        WireTest::SetUp();
        zelQ_UnitPerPulseSet(kNumber, 2, 0.001);
        zelQ_UnitPerPulseSet(kNumber, 3, 0.5);
        capture_.Lines();
    }

    std::array<unsigned short, 3> mode1_ = {9, 9, 9};
    std::array<unsigned short, 3> mode2_ = {9, 9, 9};
    std::array<double, 3> pos1_ = {-1, -1, -1};
    std::array<double, 3> pos2_ = {-1, -1, -1};

    short GetOne(short zelNo, unsigned short axis)
    {
        return zelQ_SwLimitGet(zelNo, axis, mode1_.data(), pos1_.data(), mode2_.data(),
                               pos2_.data());
    }

    short GetSeveral(short zelNo, short count, const unsigned short* axes)
    {
        return zelQ_mSwLimitGet(zelNo, count, axes, mode1_.data(), pos1_.data(), mode2_.data(),
                                pos2_.data());
    }
};

TEST_F(StopModesTest, SoftwareLimitsAreSent)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    Run({
        {.name = "each mode before its position, truncated toward zero",
         .call = [] { return zelQ_StopModeSwLimit(kNumber, 2, 2, 1.0009, 1, -1.0009); },
         .frames = {Join({{0x0101, 0x0120, 1, 2, 2}, Long(1000), {1}, Long(-1000)})},
         .trace = "0=zelQ_StopModeSwLimit(5,2,2,1.0009,1,-1.0009)"},
        {.name = "positions are not checked",
         .call = [] { return zelQ_StopModeSwLimit(kNumber, 31, 0, -5.0, 0, kInfinity); },
         .result = 3,
         .frames = {Join({{0x0101, 0x0120, 1, 31, 0}, Long(-5), {0, 0x0000, 0x8000}})},
         .controllerResult = 3,
         .trace = "3=zelQ_StopModeSwLimit(5,31,0,-5,0,inf)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_StopModeSwLimit(n, 99, 9, 0, 9, 0); });
    ExpectRefused(-2002, {[] { return zelQ_StopModeSwLimit(kNumber, 32, 3, 0, 3, 0); }});
    ExpectRefused(-1702, {[] { return zelQ_StopModeSwLimit(kNumber, 31, 3, 0, 3, 0); }});
    ExpectRefused(-1704, {[] { return zelQ_StopModeSwLimit(kNumber, 31, 2, 0, 3, 0); }});
}

TEST_F(StopModesTest, SoftwareLimitsAreReadBack)
{
    static constexpr std::array<unsigned short, 2> kAxes = {3, 0};
    controller_.SetRegisters(0x023E, {0xFC18, 0xFFFF, 1, 0x1170, 0x0001, 2});
    controller_.SetRegisters(0x033E, Join({Long(70000), {2}, Long(-3), {0}}));
    controller_.SetRegisters(0x003E, Join({Long(-8), {1}, Long(9), {2}}));
    Run({
        {.name = "each mode behind its position, scaled by the axis's factor",
         .call = [this] { return GetOne(kNumber, 2); },
         .reads = {{0x023E, 6}},
         .trace = "0=zelQ_SwLimitGet(5,2)",
         .check =
             [this] {
                 EXPECT_EQ(mode1_[0], 1);
                 EXPECT_EQ(pos1_[0], -1.0);
                 EXPECT_EQ(mode2_[0], 2);
                 EXPECT_EQ(pos2_[0], 70.0);
             }},
        {.name = "several, each by its own factor; the line's fourth number is 0",
         .call = [this] { return GetSeveral(kNumber, 2, kAxes.data()); },
         .reads = {{0x033E, 6}, {0x003E, 6}},
         .trace = "0=zelQ_mSwLimitGet(5,2,0)",
         .check =
             [this] {
                 EXPECT_EQ(mode1_, (std::array<unsigned short, 3>{2, 1, 9}));
                 EXPECT_EQ(pos1_, (std::array<double, 3>{35000.0, -8.0, -1.0}));
                 EXPECT_EQ(mode2_, (std::array<unsigned short, 3>{0, 2, 9}));
                 EXPECT_EQ(pos2_, (std::array<double, 3>{-1.5, 9.0, -1.0}));
             }},
    });
}

TEST_F(StopModesTest, AFailedReadWritesNothing)
{
    static constexpr std::array<unsigned short, 2> kAxes = {3, 0};
    const auto firstFrameOnly = [this](const Request& request) {
        return Answer{controller_.ProperReply({request.front()})};
    };
    controller_.Then(firstFrameOnly);
    Run({{.name = "one of two replies is missing",
          .call = [this] { return GetSeveral(kNumber, 2, kAxes.data()); },
          .result = -12,
          .reads = {{0x033E, 6}, {0x003E, 6}},
          .trace = "-12=zelQ_mSwLimitGet(5,2,0)",
          .check =
              [this] {
                  EXPECT_EQ(mode1_[0], 9);
                  EXPECT_EQ(pos2_[0], -1.0);
              }}});
    zelQ_Disconnect(kNumber);
    capture_.Lines();
    Run({{.name = "no connection",
          .call = [this] { return GetOne(kNumber, 0); },
          .result = -4,
          .trace = "-4=zelQ_SwLimitGet(5,0)",
          .check = [this] { EXPECT_EQ(mode1_[0], 9); }}});
}

TEST_F(StopModesTest, ReadingBackChecksAxesThenOutputs)
{
    static constexpr std::array<unsigned short, 9> kNine = {0, 1, 2, 3, 4, 5, 6, 7, 0};
    static constexpr std::array<unsigned short, 2> kTwice = {3, 3};
    static constexpr std::array<unsigned short, 2> kNoServo = {3, 30};
    ExpectNumberChecks([this](short n) { return GetOne(n, 99); });
    ExpectNumberChecks([this](short n) { return GetSeveral(n, 0, nullptr); });
    ExpectRefused(-2002, {[this] { return GetOne(kNumber, 32); },
                          [] {
                              return zelQ_mSwLimitGet(kNumber, 2, kNoServo.data(), nullptr, nullptr,
                                                      nullptr, nullptr);
                          }});
    ExpectRefused(-2003, {[this] { return GetSeveral(kNumber, 2, kTwice.data()); }});
    ExpectRefused(-2004, {[this] { return GetSeveral(kNumber, 0, kNine.data()); },
                          [this] { return GetSeveral(kNumber, 33, kNine.data()); },
                          [this] { return GetSeveral(kNumber, 9, kNine.data()); }});
    ExpectRefused(-1702, {[this] { return GetSeveral(kNumber, 1, nullptr); }});

    unsigned short* mode = mode1_.data();
    double* pos = pos1_.data();
    ExpectRefused(-1702, {[&] { return zelQ_SwLimitGet(kNumber, 0, nullptr, pos, mode, pos); }});
    ExpectRefused(
        -1703,
        {[&] { return zelQ_SwLimitGet(kNumber, 0, mode, nullptr, mode, pos); },
         [&] { return zelQ_mSwLimitGet(kNumber, 1, kNine.data(), nullptr, pos, mode, pos); }});
    ExpectRefused(
        -1704,
        {[&] { return zelQ_SwLimitGet(kNumber, 0, mode, pos, nullptr, pos); },
         [&] { return zelQ_mSwLimitGet(kNumber, 1, kNine.data(), mode, nullptr, mode, pos); }});
    ExpectRefused(
        -1705,
        {[&] { return zelQ_SwLimitGet(kNumber, 0, mode, pos, mode, nullptr); },
         [&] { return zelQ_mSwLimitGet(kNumber, 1, kNine.data(), mode, pos, nullptr, pos); }});
    ExpectRefused(-1706, {[&] {
        return zelQ_mSwLimitGet(kNumber, 1, kNine.data(), mode, pos, mode, nullptr);
    }});
}

TEST_F(StopModesTest, SensorsAndLostConnection)
{
    Run({
        {.name = "sensor",
         .call = [] { return zelQ_StopModeSensorOn(kNumber, 31, 3, 2); },
         .frames = {{0x0101, 0x0121, 1, 31, 3, 2}},
         .trace = "0=zelQ_StopModeSensorOn(5,31,3,2)"},
        {.name = "lost connection: neither count nor axis, the value before the mode",
         .call = [] { return zelQ_StopModeDisconnected(kNumber, 0x80010002U, 1); },
         .frames = {{0x0101, 0x0122, 2, 0x8001, 1}},
         .trace = "0=zelQ_StopModeDisconnected(5,-2147418110,1)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_StopModeSensorOn(n, 99, 9, 9); });
    ExpectNumberChecks([](short n) { return zelQ_StopModeDisconnected(n, 0, 9); });
    ExpectRefused(-2002, {[] { return zelQ_StopModeSensorOn(kNumber, 32, 4, 3); }});
    ExpectRefused(-1702, {[] { return zelQ_StopModeSensorOn(kNumber, 31, 4, 3); },
                          [] { return zelQ_StopModeDisconnected(kNumber, 0, 2); }});
    ExpectRefused(-1703, {[] { return zelQ_StopModeSensorOn(kNumber, 31, 3, 3); }});
}

TEST_F(StopModesTest, HandWheel)
{
    Run({
        {.name = "the upper ends of the ranges",
         .call = [] { return zelQ_MPGSetCfg(kNumber, 31, 2, 3, 1, 32, 2048); },
         .frames = {{0x0101, 0x0130, 31, 2, 3, 1, 32, 2048}},
         .trace = "0=zelQ_MPGSetCfg(5,31,2,3,1,32,2048)"},
        {.name = "the lower ends",
         .call = [] { return zelQ_MPGSetCfg(kNumber, 0, 0, 0, 0, 1, 1); },
         .frames = {{0x0101, 0x0130, 0, 0, 0, 0, 1, 1}},
         .trace = "0=zelQ_MPGSetCfg(5,0,0,0,0,1,1)"},
    });
    ExpectNumberChecks(
        [](short n) { return zelQ_MPGSetCfg(static_cast<unsigned short>(n), 99, 9, 9, 9, 0, 0); });
    ExpectRefused(-2002, {[] { return zelQ_MPGSetCfg(kNumber, 32, 3, 4, 2, 0, 0); }});
    ExpectRefused(-1702, {[] { return zelQ_MPGSetCfg(kNumber, 31, 3, 4, 2, 0, 0); }});
    ExpectRefused(-1703, {[] { return zelQ_MPGSetCfg(kNumber, 31, 2, 4, 2, 0, 0); }});
    ExpectRefused(-1704, {[] { return zelQ_MPGSetCfg(kNumber, 31, 2, 3, 2, 0, 0); }});
    ExpectRefused(-1705, {[] { return zelQ_MPGSetCfg(kNumber, 31, 2, 3, 1, 0, 0); },
                          [] { return zelQ_MPGSetCfg(kNumber, 31, 2, 3, 1, 33, 0); }});
    ExpectRefused(-1706, {[] { return zelQ_MPGSetCfg(kNumber, 31, 2, 3, 1, 32, 0); },
                          [] { return zelQ_MPGSetCfg(kNumber, 31, 2, 3, 1, 32, 2049); },
                          [] { return zelQ_MPGSetCfg(kNumber, 31, 2, 3, 1, 32, -1); }});
}

} // namespace

} // namespace zelq::test
