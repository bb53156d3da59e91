#include "support/calls.h"

#include <chrono>

namespace zelq::test {

namespace {

/// Units, speeds and servo on; ten axes and more for what takes several frames.
class AxisSetupTest : public CallTest
{
  protected:
    AxisSetupTest()
    {
        for (std::size_t i = 0; i < 32; ++i) {
            profiles_[i] = static_cast<short>(i % 2);
            for (std::size_t k = 0; k < 5; ++k) {
                s_[k][i] = static_cast<double>(100 * (k + 1) + i);
            }
        }
    }

    /// Nine axes to a frame, each with the k-th speed at place k of `order`.
    static std::vector<Words> Frames(U16 count, const std::array<int, 5>& order)
    {
        const int total = (count + 8) / 9;
        std::vector<Words> frames;
        for (U16 i = 0; i < count; ++i) {
            if (i % 9 == 0) frames.push_back({static_cast<U16>(total << 8 | (i / 9 + 1))});
            if (i == 0) frames[0] = Join({frames[0], {2, count}});
            frames.back() = Join({frames.back(), {i, static_cast<U16>(i % 2)}});
            for (const int k : order) {
                frames.back() = Join({frames.back(), Long(100 * (k + 1) + i)});
            }
        }
        return frames;
    }

    const std::array<U16, 32> axes_ = Counting<U16, 32>(0);
    std::array<short, 32> profiles_{};
    std::array<std::array<double, 32>, 5> s_{};
};

TEST_F(AxisSetupTest, UnitsAreKeptForServoAxesOnly)
{
    EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, 7), 1.0);
    Expect({
        Row(CALL(UnitPerPulseSet, 7, 0.25)).Line("zel_UnitPerPulseSet(5,7,0.25)").Then([] {
            EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, 7), 0.25);
        }),
        // 0 counts as 1.
        Row(CALL(UnitPerPulseSet, 7, 0.0)).Line("zel_UnitPerPulseSet(5,7,1)").Then([] {
            EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, 7), 1.0);
        }),
    });
    // No servo, an input slave, out of range on either side: all the same.
    Refused(-2007, {CALL(UnitPerPulseSet, 8, 1), CALL(UnitPerPulseSet, 30, 1),
                    CALL(UnitPerPulseSet, 32, 1), CALL(UnitPerPulseSet, -1, 1)});
    EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, 32), 1.0);
    EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, -1), 1.0);
    EXPECT_EQ(zelQ_UnitPerPulseGet(0, 0), -2.0);
    EXPECT_EQ(zelQ_UnitPerPulseGet(255, 0), -2.0);
    EXPECT_EQ(zelQ_UnitPerPulseGet(kUnknown, 0), -3.0);
    EXPECT_TRUE(capture_.Lines().empty());
}

TEST_F(AxisSetupTest, StartStopFlagIsLibraryWide)
{
    for (const short flag : std::initializer_list<short>{1, 0}) {
        const std::string text = std::to_string(flag);
        EXPECT_EQ(zelQ_SpeedEqualStartAndStopSet(flag), 0);
        EXPECT_EQ(NextTrace(), "0=zelQ_SpeedEqualStartAndStopSet(" + text + ")");
        EXPECT_EQ(zelQ_SpeedEqualStartAndStopGet(), flag);
        EXPECT_EQ(NextTrace(), text + "=zelQ_SpeedEqualStartAndStopGet()");
    }
    EXPECT_EQ(zelQ_SpeedEqualStartAndStopSet(2), -1700);
    EXPECT_EQ(zelQ_SpeedEqualStartAndStopSet(-1), -1700);
    EXPECT_TRUE(capture_.Lines().empty());
}

TEST_F(AxisSetupTest, OneAxisSpeeds)
{
    SetUnits({{2, 0.001}});
    Expect({
        // The stop speed equals the start speed, or is of its own.
        {CALL(SpeedSet, 2, 1, 1, 2, 10, 4),
         Join({{2, 1, 2, 1}, Long(1000), Long(2000), Long(10000), Long(4000), Long(1000)})},
        {CALL(SpeedWithStopSet, 2, -1, 0.0029999, 2, 10, 4, 0.5),
         Join({{2, 1, 2, 0xFFFF}, Long(2), Long(2000), Long(10000), Long(4000), Long(500)})},
        {CALL(SpeedSetAcc, 2, 70), Join({{3, 1, 2}, Long(70000)})},
        {CALL(SpeedSetDec, 2, 80), Join({{4, 1, 2}, Long(80000)})},
    });
    Refused(-2002,
            {CALL(SpeedSet, 32, 0, 1, 1, 1, 1), CALL(SpeedSet, -1, 0, 1, 1, 1, 1),
             CALL(SpeedWithStopSet, 32, 0, 1, 1, 1, 1, 1), CALL(SpeedSetAcc, 32, 1),
             CALL(SpeedSetDec, 32, 1), CALL(SpeedGet, -1, nullptr), CALL(SpeedGet, 32, nullptr)});
}

TEST_F(AxisSetupTest, SpeedsOfManyAxesTravelNineToAFrame)
{
    SetUnits({{1, 0.5}, {3, 0.1}});
    const U16 two[] = {3, 1};
    const double rates[] = {100, 35000.45};
    const Words rows = Join({{3}, Long(1000), {1}, Long(70000)});
    Expect({
        Row(CALL(mSpeedSetAcc, 2, two, rates), Join({{3, 2}, rows})).Shows("2"),
        Row(CALL(mSpeedSetDec, 2, two, rates), Join({{4, 2}, rows})).Shows("2"),
    });
    SetUnits({{1, 1}, {3, 1}});
    const auto* axes = axes_.data();
    const auto* p = profiles_.data();
    for (const short count : std::initializer_list<short>{1, 9, 10, 32}) {
        const auto frames = static_cast<U16>(count);
        Expect({
            Row(CALL(mSpeedSet, count, axes, p, s_[0].data(), s_[1].data(), s_[2].data(),
                     s_[3].data()))
                .Frames(Frames(frames, {0, 1, 2, 3, 0}), std::to_string(count)),
            Row(CALL(mSpeedWithStopSet, count, axes, p, s_[0].data(), s_[1].data(), s_[2].data(),
                     s_[3].data(), s_[4].data()))
                .Frames(Frames(frames, {0, 1, 2, 3, 4}), std::to_string(count)),
        });
    }
}

TEST_F(AxisSetupTest, MissingArraysAreNamed)
{
    const auto* a = axes_.data();
    const auto* p = profiles_.data();
    const double* v = s_[0].data();
    const double* none = nullptr;
    for (const short count : std::initializer_list<short>{0, 33}) {
        Refused(-2004, {CALL(mSpeedSet, count, nullptr, nullptr, none, none, none, none),
                        CALL(mSpeedWithStopSet, count, a, p, none, none, none, none, none),
                        CALL(mSpeedSetAcc, count, nullptr, none),
                        CALL(mSpeedSetDec, count, nullptr, none)});
    }
    Refused(-1702, {CALL(mSpeedWithStopSet, 1, nullptr, nullptr, none, none, none, none, none),
                    CALL(mSpeedSet, 1, nullptr, nullptr, v, none, none, none),
                    CALL(mSpeedSetAcc, 1, nullptr, none), CALL(mSpeedSetDec, 1, nullptr, none)});
    Refused(-1703, {CALL(mSpeedWithStopSet, 1, a, nullptr, none, none, none, none, none),
                    CALL(mSpeedSetAcc, 1, a, none), CALL(mSpeedSetDec, 1, a, none)});
    Refused(-1704, {CALL(mSpeedWithStopSet, 1, a, p, none, none, none, none, none)});
    Refused(-1705,
            {CALL(mSpeedWithStopSet, 1, a, p, v, none, none, none, none),
             CALL(mSpeedSet, 1, a, p, none, v, v, v), CALL(mSpeedSet, 1, a, p, v, none, v, v)});
    // dec reports the number of drive, and drive is looked at last.
    Refused(-1706, {CALL(mSpeedWithStopSet, 1, a, p, v, v, none, none, none),
                    CALL(mSpeedWithStopSet, 1, a, p, v, v, none, v, v)});
    Refused(-1708, {CALL(mSpeedWithStopSet, 1, a, p, v, v, none, v, none)});
}

TEST_F(AxisSetupTest, SpeedsAreReadBack)
{
    SpeedProfile profile{};
    auto wanted = Untouched<SpeedProfile>();
    wanted.profile = 1;
    wanted.start = 50.0;
    wanted.acc = -100.0;
    wanted.drive = 35000.0;
    wanted.dec = 200.0;
    controller_.SetRegisters(0x0319,
                             Join({{1}, Long(100), Long(-200), Long(70000), Long(400), Long(500)}));
    SetUnits({{3, 0.5}});
    Expect(
        {Row(CALL(SpeedGet, 3, &profile)).Reads({{0x0319, 11}}).Shows("3").Gets(profile, wanted)});
    Refused(-1701, {CALL(SpeedGet, 31, nullptr)});
}

TEST_F(AxisSetupTest, ServoResetAndOn)
{
    const U16 axes[] = {9, 9, 40};
    const short odd[] = {1, -1};
    Expect({
        {CALL(ServoReset, 31), {0, 1, 31}},
        Row(CALL(mServoReset, 3, axes), {0, 3, 9, 9, 40}).Shows("3"),
        Row(CALL(aServoReset), {0, 8, 0, 1, 2, 3, 4, 5, 6, 7}).Line("zelQ_mServoReset(5)"),
        {CALL(ServoOn, 3, 1), {1, 1, 3, 1, 5000}},
        // For several, on is not checked.
        Row(CALL(mServoOn, 2, odd, 7), {1, 2, 1, 0xFFFF, 7, 5000}).Shows("2,7"),
    });
    Refused(-2002, {CALL(ServoReset, 32), CALL(ServoOn, 32, 2)});
    Refused(-2004, {CALL(mServoReset, 0, nullptr), CALL(mServoReset, 33, nullptr),
                    CALL(mServoOn, 0, nullptr, 1), CALL(mServoOn, 33, nullptr, 1)});
    Refused(-1702,
            {CALL(ServoOn, 31, 2), CALL(mServoReset, 1, nullptr), CALL(mServoOn, 1, nullptr, 1)});
    ConnectWith({0, 2, 3});
    Refused(-2002, {CALL(aServoReset)});
}

TEST_F(AxisSetupTest, ServoOnTimeOutIsSent)
{
    U16 read = 0;
    Expect({
        // Traced with the words swapped, and as the general time-outs.
        Row(CALL(ServoOnAfterActChkTMOSet, 1234)).Line("zelQ_ServoOnAfterChkActTMOSet(5,1234)"),
        Row(CALL(ServoOnAfterActChkTMOGet, &read)).Line("zelQ_TMOGet(5)").Gets(read, 1234),
        Row(CALL(ServoOnAfterActChkTMOGet, nullptr)).Line("zelQ_TMOGet(5)"),
        {CALL(ServoOn, 0, 0), {1, 1, 0, 0, 1234}},
        // Kept as 16 bits without sign.
        Row(CALL(ServoOnAfterActChkTMOSet, -1)).Line("zelQ_ServoOnAfterChkActTMOSet(5,-1)"),
        Row(CALL(ServoOnAfterActChkTMOGet, &read)).Line("zelQ_TMOGet(5)").Gets(read, 0xFFFF),
    });
    EXPECT_EQ(zelQ_ServoOnAfterActChkTMOSet(kNumber, 5000), 0);
}

TEST_F(AxisSetupTest, ServoOnWaitsAsLongAsItsTimeOutSays)
{
    using namespace std::chrono_literals;
    // The session gives a reply 6 times 5 ms; the servo takes longer.
    zelQ_TMOSet(kNumber, 1000, 5, 5);
    Forget();
    const short axes[] = {1};
    const auto late = [this](const Request& request) {
        Answer answer{controller_.ProperReply(request)};
        answer.pause = 150ms;
        return answer;
    };
    controller_.Then(late);
    ExpectOnce({CALL(ServoOn, 1, 1), {1, 1, 1, 1, 5000}});
    controller_.Then(late);
    ExpectOnce(Row(CALL(mServoOn, 1, axes, 1), {1, 1, 1, 1, 5000}).Shows("1,1"));
    EXPECT_EQ(controller_.Connections(), 1);
}

} // namespace

} // namespace zelq::test
