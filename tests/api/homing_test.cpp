#include "support/wire_test.h"
#include "zelq.h"

#include <array>

namespace zelq::test {

namespace {

class HomingTest : public WireTest
{
  protected:
    void SetUp() override
    {
        WireTest::SetUp();
        zelQ_UnitPerPulseSet(kNumber, 1, 0.01);
        capture_.Lines();
    }
};

TEST_F(HomingTest, EveryKindHasItsOwnBlock)
{
    const Words pos = Long(-70000);
    Run({
        {.name = "home sensor",
         .call = [] { return zelQ_HomeMoveHome(kNumber, 1, 1, 0, 2, 1, 5, -700.0); },
         .frames = {Join({{0x0101, 0x0060, 1, 1, 1, 0, 2, 1, 5}, pos})},
         .trace = "0=zelQ_HomeMoveHome(5,1,1,2,1,5,%g)"},
        {.name = "home sensor, then the Z phase in the positive direction",
         .call = [] { return zelQ_HomeMoveHome(kNumber, 1, 0, 1, 0, 0, -5, -700.0); },
         .frames = {Join({{0x0101, 0x0060, 1, 0, 1, 1, 0, 0, 0xFFFB}, pos})},
         .trace = "0=zelQ_HomeMoveHome(5,1,0,0,0,-5,%g)"},
        {.name = "Z phase",
         .call = [] { return zelQ_HomeMoveZPhase(kNumber, 1, 1, 1, 0, 7, -700.0); },
         .result = 6,
         .frames = {Join({{0x0101, 0x0060, 1, 1, 2, 1, 2, 0, 7}, pos})},
         .controllerResult = 6,
         .trace = "6=zelQ_HomeMoveZPhase(5,1,1,0,7,%g)"},
        {.name = "limit switch, then the Z phase away from it; one register more",
         .call = [] { return zelQ_HomeMoveLimit(kNumber, 1, 1, 0, 1, 0, 5, -700.0); },
         .frames = {Join({{0x0101, 0x0060, 1, 1, 0, 0, 0, 2, 0, 5}, pos})},
         .trace = "0=zelQ_HomeMoveLimit(5,1,1,1,0,5,%g)"},
        {.name = "limit switch in the other direction",
         .call = [] { return zelQ_HomeMoveLimit(kNumber, 1, 0, 1, 1, 1, 5, -700.0); },
         .frames = {Join({{0x0101, 0x0060, 1, 0, 0, 1, 1, 2, 1, 5}, pos})},
         .trace = "0=zelQ_HomeMoveLimit(5,1,0,1,1,5,%g)"},
        {.name = "limit switch alone",
         .call = [] { return zelQ_HomeMoveLimit(kNumber, 31, 1, 0, 0, 0, 5, 2.9); },
         .frames = {{0x0101, 0x0060, 31, 1, 0, 0, 2, 2, 0, 5, 2, 0}},
         .trace = "0=zelQ_HomeMoveLimit(5,31,1,0,0,5,%g)"},
        {.name = "stopper, without the option",
         .call = [] { return zelQ_HomeMoveStopper(kNumber, 1, 1, 1, 1, 300, -700.0); },
         .frames = {Join({{0x0101, 0x0060, 1, 1, 3, 0, 0, 2, 1, 300}, pos})},
         .trace = "0=zelQ_HomeMoveStopper(5,1,1,1,1,300,%g)"},
        {.name = "stopper alone",
         .call = [] { return zelQ_HomeMoveStopper(kNumber, 1, 0, 0, 0, -1, -700.0); },
         .frames = {Join({{0x0101, 0x0060, 1, 0, 3, 0, 2, 2, 0, 0xFFFF}, pos})},
         .trace = "0=zelQ_HomeMoveStopper(5,1,0,0,0,-1,%g)"},
    });
}

TEST_F(HomingTest, RunsAreCheckedInOrder)
{
    ExpectNumberChecks([](short n) { return zelQ_HomeMoveHome(n, 99, 9, 9, 9, 9, 0, 0); });
    ExpectNumberChecks([](short n) { return zelQ_HomeMoveZPhase(n, 99, 9, 9, 9, 0, 0); });
    ExpectNumberChecks([](short n) {
        return zelQ_HomeMoveLimit(static_cast<unsigned short>(n), 99, 9, 9, 9, 9, 0, 0);
    });
    ExpectNumberChecks([](short n) { return zelQ_HomeMoveStopper(n, 99, 9, 9, 9, 0, 0); });
    ExpectRefused(-2002, {[] { return zelQ_HomeMoveHome(kNumber, 32, 9, 9, 9, 9, 0, 0); },
                          [] { return zelQ_HomeMoveZPhase(kNumber, 32, 9, 9, 9, 0, 0); },
                          [] { return zelQ_HomeMoveLimit(kNumber, 32, 9, 9, 9, 9, 0, 0); },
                          [] { return zelQ_HomeMoveStopper(kNumber, 32, 9, 9, 9, 0, 0); }});
    ExpectRefused(-1702, {[] { return zelQ_HomeMoveHome(kNumber, 31, 2, 9, 9, 9, 0, 0); },
                          [] { return zelQ_HomeMoveZPhase(kNumber, 31, 2, 9, 9, 0, 0); },
                          [] { return zelQ_HomeMoveLimit(kNumber, 31, 2, 9, 9, 9, 0, 0); },
                          [] { return zelQ_HomeMoveStopper(kNumber, 31, 2, 9, 9, 0, 0); }});
    ExpectRefused(-1703, {[] { return zelQ_HomeMoveHome(kNumber, 31, 1, 2, 9, 9, 0, 0); },
                          [] { return zelQ_HomeMoveZPhase(kNumber, 31, 1, 2, 9, 0, 0); },
                          [] { return zelQ_HomeMoveLimit(kNumber, 31, 1, 2, 9, 9, 0, 0); },
                          [] { return zelQ_HomeMoveStopper(kNumber, 31, 1, 2, 9, 0, 0); },
                          [] { return zelQ_HomeMoveStopper(kNumber, 31, 1, -1, 9, 0, 0); }});
    ExpectRefused(-1704, {[] { return zelQ_HomeMoveHome(kNumber, 31, 1, 1, 3, 9, 0, 0); },
                          [] { return zelQ_HomeMoveZPhase(kNumber, 31, 1, 1, 2, 0, 0); },
                          [] { return zelQ_HomeMoveLimit(kNumber, 31, 1, 1, 2, 9, 0, 0); },
                          [] { return zelQ_HomeMoveStopper(kNumber, 31, 1, 1, 2, 0, 0); }});
    ExpectRefused(-1705, {[] { return zelQ_HomeMoveHome(kNumber, 31, 1, 1, 2, 2, 0, 0); },
                          [] { return zelQ_HomeMoveLimit(kNumber, 31, 1, 1, 1, 2, 0, 0); }});
}

/// One phase record as it travels.
Words Phase(std::uint16_t profile, std::int32_t start, std::int32_t acc, std::int32_t drive,
            std::int32_t dec)
{
    return Join({{profile}, Long(start), Long(acc), Long(drive), Long(dec)});
}

TEST_F(HomingTest, SpeedsOfTheFourPhases)
{
    const auto detail = [] {
        return zelQ_HomeSetDetailSpeed(kNumber, 1, 1, 1.0, 2.0, 30.0, 4.0, 0, 1.1, 2.2, 3.3, 4.4, 1,
                                       700.0, 0.019, -1.0, 0.0, 0, 5.0, 6.0, 7.0, 8.0);
    };
    Run({
        {.name = "by the drive speeds; a tenth is taken before it is truncated",
         .call = [] { return zelQ_HomeSetDriveSpeed(kNumber, 0, 1, 1000.0, 700000.0, 19.75, 9.0); },
         .frames = {Join({{0x0101, 0x0061, 0},
                          Phase(1, 100, 2000, 1000, 2000),
                          Phase(1, 70000, 1400000, 700000, 1400000),
                          Phase(1, 1, 39, 19, 39),
                          Phase(1, 0, 18, 9, 18)})},
         .trace = "0=zelQ_HomeSetDriveSpeed(5,0,1,1000,700000,19.75,9)"},
        {.name = "by the axis's factor",
         .call = [] { return zelQ_HomeSetDriveSpeed(kNumber, 1, 0, 10.0, 5.0, 1.0, 0.5); },
         .result = 7,
         .frames = {Join({{0x0101, 0x0061, 1},
                          Phase(0, 100, 2000, 1000, 2000),
                          Phase(0, 50, 1000, 500, 1000),
                          Phase(0, 10, 200, 100, 200),
                          Phase(0, 5, 100, 50, 100)})},
         .controllerResult = 7,
         .trace = "7=zelQ_HomeSetDriveSpeed(5,1,0,10,5,1,0.5)"},
        {.name = "by drive speeds, a start speed and a ratio, traced in pulses",
         .call = [] { return zelQ_HomeSetSpeed(kNumber, 1, 1, 0.5, 20000.0, 10.0, 1.239, 7.0, 3); },
         .frames = {Join({{0x0101, 0x0061, 1},
                          Phase(1, 50, 6000000, 2000000, 6000000),
                          Phase(1, 50, 3000, 1000, 3000),
                          Phase(1, 50, 371, 123, 371),
                          Phase(1, 50, 2100, 700, 2100)})},
         .trace = "0=zelQ_HomeSetSpeed(5,1,1,2e+06,50,6e+06,6e+06)"},
        {.name = "a negative ratio is the controller's to judge",
         .call = [] { return zelQ_HomeSetSpeed(kNumber, 0, 0, 1.0, 2.0, 2.0, 2.0, 2.0, -4); },
         .frames = {Join({{0x0101, 0x0061, 0},
                          Phase(0, 1, -8, 2, -8),
                          Phase(0, 1, -8, 2, -8),
                          Phase(0, 1, -8, 2, -8),
                          Phase(0, 1, -8, 2, -8)})},
         .trace = "0=zelQ_HomeSetSpeed(5,0,0,2,1,-8,-8)"},
        {.name = "each phase by itself, with its own profile",
         .call = detail,
         .frames = {Join({{0x0101, 0x0061, 1},
                          Phase(1, 100, 200, 3000, 400),
                          Phase(0, 110, 220, 330, 440),
                          Phase(1, 70000, 1, -100, 0),
                          Phase(0, 500, 600, 700, 800)})},
         .trace = "0=zelQ_HomeSetDetailSpeed(5,1,3000,100,200,400)"},
    });
}

TEST_F(HomingTest, SpeedsAreCheckedInOrder)
{
    const auto detail = [](short zelNo, unsigned short axis, std::array<unsigned short, 4> p) {
        return zelQ_HomeSetDetailSpeed(zelNo, axis, p[0], 1, 1, 1, 1, p[1], 1, 1, 1, 1, p[2], 1, 1,
                                       1, 1, p[3], 1, 1, 1, 1);
    };
    ExpectNumberChecks([](short n) { return zelQ_HomeSetDriveSpeed(n, 99, 9, 1, 1, 1, 1); });
    ExpectNumberChecks([](short n) { return zelQ_HomeSetSpeed(n, 99, 9, 1, 1, 1, 1, 1, 1); });
    ExpectNumberChecks([&](short n) { return detail(n, 99, {9, 9, 9, 9}); });
    ExpectRefused(-2002, {[] { return zelQ_HomeSetDriveSpeed(kNumber, 32, 9, 1, 1, 1, 1); },
                          [] { return zelQ_HomeSetSpeed(kNumber, 32, 9, 1, 1, 1, 1, 1, 1); },
                          [&] {
                              return detail(kNumber, 32, {9, 9, 9, 9});
                          }});
    ExpectRefused(-1702, {[] { return zelQ_HomeSetDriveSpeed(kNumber, 31, 2, 1, 1, 1, 1); },
                          [] { return zelQ_HomeSetSpeed(kNumber, 31, 2, 1, 1, 1, 1, 1, 1); },
                          [&] {
                              return detail(kNumber, 31, {2, 2, 2, 2});
                          }});
    ExpectRefused(-1707, {[&] { return detail(kNumber, 31, {1, 2, 2, 2}); }});
    ExpectRefused(-1712, {[&] { return detail(kNumber, 31, {1, 0, 2, 2}); }});
    ExpectRefused(-1717, {[&] { return detail(kNumber, 31, {1, 0, 1, 2}); }});
}

TEST_F(HomingTest, HomingDoneIsCancelled)
{
    static constexpr std::array<unsigned short, 3> kAxes = {4, 4, 77};
    Run({
        {.name = "one",
         .call = [] { return zelQ_HomeDoneCancel(kNumber, 31); },
         .frames = {{0x0101, 0x0062, 1, 31}},
         .trace = "0=zelQ_HomeDoneCancel(5,31)"},
        {.name = "several",
         .call = [] { return zelQ_mHomeDoneCancel(kNumber, 3, kAxes.data()); },
         .result = 12,
         .frames = {{0x0101, 0x0062, 3, 4, 4, 77}},
         .controllerResult = 12,
         .trace = "12=zelQ_mHomeDoneCancel(5,3)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_HomeDoneCancel(n, 99); });
    ExpectNumberChecks([](short n) { return zelQ_mHomeDoneCancel(n, 0, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_HomeDoneCancel(kNumber, 32); }});
    ExpectRefused(-2004, {[] { return zelQ_mHomeDoneCancel(kNumber, 0, nullptr); },
                          [] { return zelQ_mHomeDoneCancel(kNumber, 33, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_mHomeDoneCancel(kNumber, 1, nullptr); }});
}

} // namespace

} // namespace zelq::test
