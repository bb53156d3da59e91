// What motors make of commands that ask for more than they have, and what ideal ones make of them.

#include "scenario/path_scenario.h"

#include <algorithm>
#include <cmath>

namespace zelq::test {

namespace {

enum class DriveKind { kReal, kIdeal };

/// Two axes and a map of both, with the drives of a machine or with ideal ones.
class Physics : public PathScenario, public testing::WithParamInterface<DriveKind>
{
  protected:
    Physics() : PathScenario(IsIdeal() ? Ideal(Config({}, {}, 2)) : Config({}, {}, 2)) {}

    void SetUp() override
    {
        PathScenario::SetUp();
        UseMap({0, 1});
    }

    static bool IsIdeal() { return GetParam() == DriveKind::kIdeal; }

    /// The worst of the axes, on the way to the end of all motion.
    struct Worst
    {
        double error = 0;
        double torque = 0;
    };
    Worst WatchMotors()
    {
        Worst worst;
        const auto look = [&] {
            for (const U16 axis : {U16{0}, U16{1}}) {
                const ServoStatus s = StatusOf(axis);
                worst.error = std::max(worst.error, std::abs(double{s.followingError}));
                worst.torque = std::max(worst.torque, std::abs(double{s.torque}));
            }
            return !Running();
        };
        EXPECT_TRUE(AdvanceUntil(look, 60s));
        return worst;
    }
};

INSTANTIATE_TEST_SUITE_P(With, Physics, testing::Values(DriveKind::kReal, DriveKind::kIdeal),
                         [](const auto& drives) {
                             return drives.param == DriveKind::kIdeal ? "IdealDrives"
                                                                      : "RealDrives";
                         });

TEST_P(Physics, ACornerAtFullSpeedRaisesTheAlarm)
{
    for (const short axis : {short{0}, short{1}}) {
        ASSERT_EQ(zelQ_ParamSet(kNumber, static_cast<U16>(axis), 3, 0, 200), 0);
    }
    constexpr double kSpeed = 100'000;
    Done({zelQ_CP_PreRegUseSet(kNumber, 1),
          LineTo({50'000, 0}, Speeds(0, kSpeed, kSpeed, 0, 1e6, 1e6)),
          LineTo({50'000, 50'000}, Speeds(kSpeed, kSpeed, 0, 0, 1e6, 1e6))});
    Watch();
    if (IsIdeal()) {
        Expect({.at = 50'000, .cause = kAtTarget, .alarm = 0}, 1);
        return;
    }
    Expect({.at = 50'000, .cause = kByAlarm, .servo = 0, .alarm = 1});
    U16 alarm[3]{};
    ASSERT_EQ(zelQ_AlarmListGet(kNumber, 0, 0, &alarm[0], &alarm[1], &alarm[2]), 0);
    EXPECT_EQ(alarm[0], lumosim::kFollowingErrorAlarm.number);
    EXPECT_LT(PositionOf(1), 5'000) << "the other axis stops with it";
}

TEST_P(Physics, ACircleBeyondTheTorqueIsNotFollowed)
{
    // The rated torque turns 5,000,000 pulses/s²; the lag is that of half a millisecond.
    for (const auto& [radius, times] : {std::pair{20'000.0, 1.0}, std::pair{20'000.0, 4.0}}) {
        const double speed = std::sqrt(times * 5e6 * radius);
        InterpSpeedProfile profile = Speeds(100, speed, 100, 0, 2e6, 2e6);
        const double center[] = {radius, 0};
        ASSERT_EQ(zelQ_IArc(kNumber, kMap, 1, center, 1'440, &profile), 0);
        const Worst worst = WatchMotors();
        const double lag = 0.0005 * speed;
        if (IsIdeal()) {
            EXPECT_LE(worst.error, lag + 1);
        } else if (times == 1) {
            EXPECT_LE(worst.error, lag + 25);
            EXPECT_LT(worst.torque, 150);
        } else {
            EXPECT_GT(worst.error, 3 * lag);
            EXPECT_EQ(worst.torque, 300);
        }
    }
}

TEST_P(Physics, TheMotorSettlesAfterItsCommandHasCome)
{
    for (const auto& [acceleration, speed, most] :
         {std::tuple(100'000.0, 10'000.0, 5ms), std::tuple(4e6, 200'000.0, 20ms)}) {
        SetSpeed(0, acceleration, speed, acceleration);
        ASSERT_EQ(zelQ_MoveRel(kNumber, 0, 30'000), 0);
        ASSERT_TRUE(AdvanceUntil([] { return StatusOf().inMotion == 0; }, 10s));
        const double end = PositionOf();
        Expect({.cause = kAtTarget, .inPosition = IsIdeal()});
        if (IsIdeal()) {
            Expect({.encoder = end});
        } else if (acceleration > 1e6) {
            EXPECT_GT(double{StatusOf().encoderPosition}, end + 10) << "it has run on";
        }
        EXPECT_TRUE(AdvanceUntil([] { return StatusOf().inPosition == 1; }, most));
        ExpectIn(50ms, {.at = end, .encoder = end, .torque = 0, .inPosition = 1});
    }
    // The drive may be asked to wait for longer.
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 4, 1, 100), 0);
    After(zelQ_MoveRel(kNumber, 0, 1'000), 1s, {.inPosition = 1});
    After(zelQ_MoveRel(kNumber, 0, 0), 50ms, {.moving = 0, .inPosition = IsIdeal()});
    ExpectIn(100ms, {.inPosition = 1});
}

TEST_P(Physics, ASuddenStopBrakesWithAllThatTheMotorHas)
{
    SetSpeed(0, 2e6, 200'000, 2e6);
    JogFor(500ms);
    const double here = PositionOf();
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);
    Expect({.at = here, .moving = 0, .cause = kSuddenlyStopped});
    double farthest = 0;
    for (int i = 0; i < 100; ++i) {
        ExpectIn(1ms, {.at = here});
        farthest = std::max(farthest, StatusOf().encoderPosition - here);
    }
    // 200000² / 2 / 15000000, a little less for the friction and more for the lag of the servo.
    EXPECT_NEAR(farthest, IsIdeal() ? 0 : 1'333, IsIdeal() ? 0 : 150);
    Expect({.encoder = here, .inPosition = 1});

    // The drive watches it meanwhile.
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 3, 0, 500), 0);
    JogFor(500ms);
    After(zelQ_StopSudden(kNumber, 0), 100ms, {.alarm = !IsIdeal()});
}

TEST_P(Physics, WithoutItsServoTheMotorRunsOutByFriction)
{
    SetSpeed(0, 100'000, 20'000, 100'000);
    JogFor(500ms);
    const double here = PositionOf();
    After(zelQ_ServoOn(kNumber, 0, 0), 40ms, {.at = here, .torque = 0, .moving = 0});
    if (IsIdeal()) {
        ExpectIn(1s, {.encoder = here, .velocity = 0});
        return;
    }
    EXPECT_NEAR(VelocityOf(), 10'000, 50); // 5 % of the rated torque take 250,000 pulses/s²
    ExpectIn(1s, {.at = here, .velocity = 0});
    EXPECT_NEAR(StatusOf().encoderPosition - here, 800, 15); // 20000² / 2 / 250000
    ServosOn({0});
    Expect({.at = double{StatusOf().encoderPosition}, .error = 0, .inPosition = 1});

    // A drive with an alarm brakes its motor besides.
    JogFor(500ms);
    Raise({16, 0});
    ExpectIn(1s, {.velocity = 0, .servo = 0});
    EXPECT_NEAR(-double{StatusOf().followingError}, 38, 15); // 20000² / 2 / 5250000
}

TEST_P(Physics, TheDriveTurnsAsManyPulsesAsItsParameterSays)
{
    const auto speedAt60Turns = [this] {
        After(zelQ_CT_SetTorque(kNumber, 0, 30.0, 60), 1s);
        const double speed = VelocityOf();
        Done({zelQ_StopSudden(kNumber, 0), zelQ_ServoOn(kNumber, 0, 0)});
        return speed;
    };
    EXPECT_EQ(speedAt60Turns(), 10'000);
    Done({zelQ_ParamSet(kNumber, 0, 0, 2, 2'000), zelQ_CParamValid(kNumber, 0)});
    ServosOn({0});
    EXPECT_EQ(speedAt60Turns(), 2'000);
}

} // namespace

} // namespace zelq::test
