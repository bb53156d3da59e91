#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <cstring>

namespace zelq::test {

namespace {

using AxisSetupTest = WireTest;

TEST_F(AxisSetupTest, UnitsAreKeptForServoAxesOnly)
{
    EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, 7), 1.0);
    Run({
        {.name = "set",
         .call = [] { return zelQ_UnitPerPulseSet(kNumber, 7, 0.25); },
         .trace = "0=zel_UnitPerPulseSet(5,7,0.25)",
         .check = [] { EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, 7), 0.25); }},
        {.name = "0 counts as 1",
         .call = [] { return zelQ_UnitPerPulseSet(kNumber, 7, 0.0); },
         .trace = "0=zel_UnitPerPulseSet(5,7,1)",
         .check = [] { EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, 7), 1.0); }},
    });
    ExpectNumberChecks([](short zelNo) { return zelQ_UnitPerPulseSet(zelNo, 99, 1.0); });
    // No servo, an input slave, out of range on either side: all the same.
    ExpectRefused(-2007, {[] { return zelQ_UnitPerPulseSet(kNumber, 8, 1.0); },
                          [] { return zelQ_UnitPerPulseSet(kNumber, 30, 1.0); },
                          [] { return zelQ_UnitPerPulseSet(kNumber, 32, 1.0); },
                          [] { return zelQ_UnitPerPulseSet(kNumber, -1, 1.0); }});
    EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, 32), 1.0);
    EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, -1), 1.0);
    EXPECT_EQ(zelQ_UnitPerPulseGet(0, 0), -2.0);
    EXPECT_EQ(zelQ_UnitPerPulseGet(255, 0), -2.0);
    EXPECT_EQ(zelQ_UnitPerPulseGet(kUnknown, 0), -3.0);
    EXPECT_TRUE(capture_.Lines().empty());
}

TEST_F(AxisSetupTest, StartStopFlagIsLibraryWide)
{
    Run({
        {.name = "set",
         .call = [] { return zelQ_SpeedEqualStartAndStopSet(1); },
         .trace = "0=zelQ_SpeedEqualStartAndStopSet(1)"},
        {.name = "get returns the flag",
         .call = [] { return zelQ_SpeedEqualStartAndStopGet(); },
         .result = 1,
         .trace = "1=zelQ_SpeedEqualStartAndStopGet()"},
        {.name = "clear",
         .call = [] { return zelQ_SpeedEqualStartAndStopSet(0); },
         .trace = "0=zelQ_SpeedEqualStartAndStopSet(0)"},
        {.name = "get",
         .call = [] { return zelQ_SpeedEqualStartAndStopGet(); },
         .trace = "0=zelQ_SpeedEqualStartAndStopGet()"},
    });
    ExpectRefused(-1700, {[] { return zelQ_SpeedEqualStartAndStopSet(2); },
                          [] { return zelQ_SpeedEqualStartAndStopSet(-1); }});
}

TEST_F(AxisSetupTest, OneAxisSpeeds)
{
    zelQ_UnitPerPulseSet(kNumber, 2, 0.001);
    capture_.Lines();
    Run({
        {.name = "stop speed equals start speed",
         .call = [] { return zelQ_SpeedSet(kNumber, 2, 1, 1.0, 2.0, 10.0, 4.0); },
         .frames = {Join(
             {{0x0101, 2, 1, 2, 1}, Long(1000), Long(2000), Long(10000), Long(4000), Long(1000)})},
         .trace = "0=zelQ_SpeedSet(5,2,1,1,2,10,4)"},
        {.name = "stop speed of its own, fractions of a pulse cut",
         .call =
             [] { return zelQ_SpeedWithStopSet(kNumber, 2, -1, 0.0029999, 2.0, 10.0, 4.0, 0.5); },
         .result = 7,
         .frames = {Join(
             {{0x0101, 2, 1, 2, 0xFFFF}, Long(2), Long(2000), Long(10000), Long(4000), Long(500)})},
         .controllerResult = 7,
         .trace = "7=zelQ_SpeedWithStopSet(5,2,-1,0.0029999,2,10,4,0.5)"},
        {.name = "acceleration",
         .call = [] { return zelQ_SpeedSetAcc(kNumber, 2, 70.0); },
         .frames = {Join({{0x0101, 3, 1, 2}, Long(70000)})},
         .trace = "0=zelQ_SpeedSetAcc(5,2,70)"},
        {.name = "deceleration",
         .call = [] { return zelQ_SpeedSetDec(kNumber, 2, 80.0); },
         .frames = {Join({{0x0101, 4, 1, 2}, Long(80000)})},
         .trace = "0=zelQ_SpeedSetDec(5,2,80)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_SpeedSet(n, 99, 0, 1, 1, 1, 1); });
    ExpectNumberChecks([](short n) { return zelQ_SpeedWithStopSet(n, 99, 0, 1, 1, 1, 1, 1); });
    ExpectNumberChecks([](short n) { return zelQ_SpeedSetAcc(n, 99, 1); });
    ExpectNumberChecks([](short n) { return zelQ_SpeedSetDec(n, 99, 1); });
    ExpectRefused(-2002, {[] { return zelQ_SpeedSet(kNumber, 32, 0, 1, 1, 1, 1); },
                          [] { return zelQ_SpeedSet(kNumber, -1, 0, 1, 1, 1, 1); },
                          [] { return zelQ_SpeedWithStopSet(kNumber, 32, 0, 1, 1, 1, 1, 1); },
                          [] { return zelQ_SpeedSetAcc(kNumber, 32, 1); },
                          [] { return zelQ_SpeedSetDec(kNumber, 32, 1); }});
}

/// Ten axes, so that the command takes two frames.
struct TenAxes
{
    std::array<unsigned short, 32> axes{};
    std::array<short, 32> profiles{};
    std::array<std::array<double, 32>, 5> speeds{};

    TenAxes()
    {
        for (unsigned short i = 0; i < 32; ++i) {
            axes[i] = i;
            profiles[i] = static_cast<short>(i % 2);
            for (std::size_t k = 0; k < speeds.size(); ++k) {
                speeds[k][i] = static_cast<double>(100 * (k + 1) + i);
            }
        }
    }

    /// Registers of axis `i`, with the k-th speed at place k of `order`.
    [[nodiscard]] Words Row(std::uint16_t i, const std::array<int, 5>& order) const
    {
        Words row = {i, static_cast<std::uint16_t>(i % 2)};
        for (const int k : order) {
            row = Join({row, Long(100 * (k + 1) + i)});
        }
        return row;
    }

    [[nodiscard]] std::vector<Words> Frames(const std::array<int, 5>& order) const
    {
        Words first = {0x0201, 2, 10};
        for (std::uint16_t i = 0; i < 9; ++i) {
            first = Join({first, Row(i, order)});
        }
        return {first, Join({{0x0202}, Row(9, order)})};
    }
};

TEST_F(AxisSetupTest, ManyAxesAreSplitOverFrames)
{
    const TenAxes ten;
    const auto& s = ten.speeds;
    const auto setSpeeds = [&](short count) {
        return zelQ_mSpeedSet(kNumber, count, ten.axes.data(), ten.profiles.data(), s[0].data(),
                              s[1].data(), s[2].data(), s[3].data());
    };
    Run({
        {.name = "nine axes in one frame",
         .call = [&] { return setSpeeds(1); },
         .frames = {Join({{0x0101, 2, 1}, ten.Row(0, {0, 1, 2, 3, 0})})},
         .trace = "0=zelQ_mSpeedSet(5,1)"},
        {.name = "ten axes, stop as start",
         .call = [&] { return setSpeeds(10); },
         .frames = ten.Frames({0, 1, 2, 3, 0}),
         .trace = "0=zelQ_mSpeedSet(5,10)"},
        {.name = "ten axes with stop speeds",
         .call =
             [&] {
                 return zelQ_mSpeedWithStopSet(kNumber, 10, ten.axes.data(), ten.profiles.data(),
                                               s[0].data(), s[1].data(), s[2].data(), s[3].data(),
                                               s[4].data());
             },
         .frames = ten.Frames({0, 1, 2, 3, 4}),
         .trace = "0=zelQ_mSpeedWithStopSet(5,10)"},
    });
    // All in one request, so that no other caller comes in between.
    EXPECT_EQ(setSpeeds(32), 0);
    const std::vector<Request> requests = controller_.TakeRequests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests.front().size(), 4U);
    EXPECT_EQ(requests.front().back().written.front(), 0x0404);
}

TEST_F(AxisSetupTest, MissingArraysAreNamed)
{
    const TenAxes ten;
    const auto* axes = ten.axes.data();
    const auto* profiles = ten.profiles.data();
    const double* v = ten.speeds[0].data();
    const double* none = nullptr;
    const auto set = [&](const unsigned short* a, const short* p, const double* start,
                         const double* acc, const double* drive, const double* dec,
                         const double* stop) {
        return
            [=] { return zelQ_mSpeedWithStopSet(kNumber, 1, a, p, start, acc, drive, dec, stop); };
    };
    ExpectRefused(-1702, {set(nullptr, nullptr, none, none, none, none, none)});
    ExpectRefused(-1703, {set(axes, nullptr, none, none, none, none, none)});
    ExpectRefused(-1704, {set(axes, profiles, none, none, none, none, none)});
    ExpectRefused(-1705,
                  {set(axes, profiles, v, none, none, none, none),
                   [&] { return zelQ_mSpeedSet(kNumber, 1, axes, profiles, none, v, v, v); },
                   [&] { return zelQ_mSpeedSet(kNumber, 1, axes, profiles, v, none, v, v); }});
    ExpectRefused(-1706, {set(axes, profiles, v, v, none, none, none),
                          set(axes, profiles, v, v, none, v, v)});
    ExpectRefused(-1708, {set(axes, profiles, v, v, none, v, none)});
    ExpectRefused(-2004, {[] {
                              return zelQ_mSpeedSet(kNumber, 33, nullptr, nullptr, nullptr, nullptr,
                                                    nullptr, nullptr);
                          },
                          [] {
                              return zelQ_mSpeedWithStopSet(kNumber, 0, nullptr, nullptr, nullptr,
                                                            nullptr, nullptr, nullptr, nullptr);
                          }});
    ExpectNumberChecks([](short n) {
        return zelQ_mSpeedSet(n, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    });
    ExpectNumberChecks([](short n) {
        return zelQ_mSpeedWithStopSet(n, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr);
    });
}

TEST_F(AxisSetupTest, ManyAccelerations)
{
    static constexpr std::array<unsigned short, 2> kAxes = {3, 1};
    static constexpr std::array<double, 2> kValues = {1000.0, 70000.9};
    const Words rows = Join({{3}, Long(1000), {1}, Long(70000)});
    Run({
        {.name = "acc",
         .call = [] { return zelQ_mSpeedSetAcc(kNumber, 2, kAxes.data(), kValues.data()); },
         .frames = {Join({{0x0101, 3, 2}, rows})},
         .trace = "0=zelQ_mSpeedSetAcc(5,2)"},
        {.name = "dec",
         .call = [] { return zelQ_mSpeedSetDec(kNumber, 2, kAxes.data(), kValues.data()); },
         .frames = {Join({{0x0101, 4, 2}, rows})},
         .trace = "0=zelQ_mSpeedSetDec(5,2)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_mSpeedSetAcc(n, 0, nullptr, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_mSpeedSetDec(n, 0, nullptr, nullptr); });
    ExpectRefused(-2004, {[] { return zelQ_mSpeedSetAcc(kNumber, 33, nullptr, nullptr); },
                          [] { return zelQ_mSpeedSetDec(kNumber, 0, nullptr, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_mSpeedSetAcc(kNumber, 1, nullptr, nullptr); }});
    ExpectRefused(-1703, {[] { return zelQ_mSpeedSetDec(kNumber, 1, kAxes.data(), nullptr); }});
}

TEST_F(AxisSetupTest, SpeedsAreReadBack)
{
    SpeedProfile profile;
    std::memset(&profile, 0xA5, sizeof(profile));
    controller_.SetRegisters(0x0319,
                             Join({{1}, Long(100), Long(-200), Long(70000), Long(400), Long(500)}));
    zelQ_UnitPerPulseSet(kNumber, 3, 0.5);
    capture_.Lines();
    Run({{.name = "get",
          .call = [&] { return zelQ_SpeedGet(kNumber, 3, &profile); },
          .reads = {{0x0319, 11}},
          .trace = "0=zelQ_SpeedGet(5,3)"}});
    EXPECT_EQ(profile.profile, 1);
    EXPECT_EQ(profile.reserved, 0xA5A5);
    EXPECT_EQ(double{profile.start}, 50.0);
    EXPECT_EQ(double{profile.acc}, -100.0);
    EXPECT_EQ(double{profile.drive}, 35000.0);
    EXPECT_EQ(double{profile.dec}, 200.0);

    ExpectNumberChecks([](short n) { return zelQ_SpeedGet(n, 99, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_SpeedGet(kNumber, -1, nullptr); },
                          [] { return zelQ_SpeedGet(kNumber, 32, nullptr); }});
    ExpectRefused(-1701, {[] { return zelQ_SpeedGet(kNumber, 31, nullptr); }});
}

TEST_F(AxisSetupTest, ServoResetAndOn)
{
    static constexpr std::array<unsigned short, 3> kAxes = {9, 9, 40};
    static constexpr std::array<short, 2> kSigned = {1, -1};
    Run({
        {.name = "reset one",
         .call = [] { return zelQ_ServoReset(kNumber, 31); },
         .frames = {{0x0101, 0, 1, 31}},
         .trace = "0=zelQ_ServoReset(5,31)"},
        {.name = "reset several",
         .call = [] { return zelQ_mServoReset(kNumber, 3, kAxes.data()); },
         .frames = {{0x0101, 0, 3, 9, 9, 40}},
         .trace = "0=zelQ_mServoReset(5,3)"},
        {.name = "reset all, under the other name",
         .call = [] { return zelQ_aServoReset(kNumber); },
         .frames = {{0x0101, 0, 8, 0, 1, 2, 3, 4, 5, 6, 7}},
         .trace = "0=zelQ_mServoReset(5)"},
        {.name = "on",
         .call = [] { return zelQ_ServoOn(kNumber, 3, 1); },
         .frames = {{0x0101, 1, 1, 3, 1, 5000}},
         .trace = "0=zelQ_ServoOn(5,3,1)"},
        {.name = "several, on is not checked",
         .call = [] { return zelQ_mServoOn(kNumber, 2, kSigned.data(), 7); },
         .result = 3,
         .frames = {{0x0101, 1, 2, 1, 0xFFFF, 7, 5000}},
         .controllerResult = 3,
         .trace = "3=zelQ_mServoOn(5,2,7)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_ServoReset(n, 99); });
    ExpectNumberChecks([](short n) { return zelQ_mServoReset(n, 0, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_aServoReset(n); });
    ExpectNumberChecks([](short n) { return zelQ_ServoOn(n, 99, 9); });
    ExpectNumberChecks([](short n) { return zelQ_mServoOn(n, 0, nullptr, 9); });
    ExpectRefused(-2002, {[] { return zelQ_ServoReset(kNumber, 32); },
                          [] { return zelQ_ServoOn(kNumber, 32, 2); }});
    ExpectRefused(-2004, {[] { return zelQ_mServoReset(kNumber, 0, nullptr); },
                          [] { return zelQ_mServoReset(kNumber, 33, nullptr); },
                          [] { return zelQ_mServoOn(kNumber, 33, nullptr, 1); }});
    ExpectRefused(-1702, {[] { return zelQ_ServoOn(kNumber, 31, 2); },
                          [] { return zelQ_mServoReset(kNumber, 1, nullptr); },
                          [] { return zelQ_mServoOn(kNumber, 1, nullptr, 1); }});
}

TEST_F(AxisSetupTest, ServoOnTimeOutIsSentAndRead)
{
    static unsigned short read = 0;
    Run({
        {.name = "set, traced with the words swapped",
         .call = [] { return zelQ_ServoOnAfterActChkTMOSet(kNumber, 1234); },
         .trace = "0=zelQ_ServoOnAfterChkActTMOSet(5,1234)"},
        {.name = "get, traced as the general time-outs",
         .call = [] { return zelQ_ServoOnAfterActChkTMOGet(kNumber, &read); },
         .trace = "0=zelQ_TMOGet(5)",
         .check = [] { EXPECT_EQ(read, 1234); }},
        {.name = "get into nothing",
         .call = [] { return zelQ_ServoOnAfterActChkTMOGet(kNumber, nullptr); },
         .trace = "0=zelQ_TMOGet(5)"},
        {.name = "sent with the command",
         .call = [] { return zelQ_ServoOn(kNumber, 0, 0); },
         .frames = {{0x0101, 1, 1, 0, 0, 1234}},
         .trace = "0=zelQ_ServoOn(5,0,0)"},
        {.name = "kept as 16 bits without sign",
         .call = [] { return zelQ_ServoOnAfterActChkTMOSet(kNumber, -1); },
         .trace = "0=zelQ_ServoOnAfterChkActTMOSet(5,-1)",
         .check =
             [] {
                 zelQ_ServoOnAfterActChkTMOGet(kNumber, &read);
                 EXPECT_EQ(read, 0xFFFF);
             }},
    });
    capture_.Lines();
    ExpectNumberChecks([](short n) { return zelQ_ServoOnAfterActChkTMOSet(n, 1); });
    ExpectNumberChecks([](short n) { return zelQ_ServoOnAfterActChkTMOGet(n, nullptr); });
    EXPECT_EQ(zelQ_ServoOnAfterActChkTMOSet(kNumber, 5000), 0);
}

TEST_F(AxisSetupTest, ResetOfAllNeedsServoAxes)
{
    controller_.SetSlaveTypes({0, 2, 3});
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    controller_.TakeRequests();
    capture_.Lines();
    ExpectRefused(-2002, {[] { return zelQ_aServoReset(kNumber); }});
}

} // namespace

} // namespace zelq::test
