// One axis on its controller: servo, moves in time, limits, stops, alarms, counters.

#include "core/controller.h"

#include <chrono>
#include <gtest/gtest.h>
#include <vector>

namespace lumosim {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;

ControllerConfig OneAxis(std::int64_t travel = 10'000'000)
{
    ControllerConfig config;
    config.axes = 1;
    config.mechanics.negativeLimit = -travel;
    config.mechanics.positiveLimit = travel;
    return config;
}

class AxisTest : public testing::Test
{
  protected:
    AxisTest() : AxisTest(OneAxis()) {}
    explicit AxisTest(const ControllerConfig& config)
        : controller(config), axis(controller.AxisAt(0))
    {
        axis.SetProfile({SpeedProfile::kTrapezoid, 0, 20000, 5000, 10000, 0});
        axis.SwitchServo(true);
        controller.Advance(Axis::kServoOnTime);
    }

    void Finish()
    {
        for (int i = 0; i < 1000 && axis.Moving(); ++i) {
            controller.Advance(milliseconds(100));
        }
        ASSERT_FALSE(axis.Moving());
    }

    Controller controller;
    Axis& axis;
};

TEST(Axis, ServoOnTakesItsTimeAndAMoveWaitsForIt)
{
    Controller controller(OneAxis());
    Axis& axis = controller.AxisAt(0);
    EXPECT_EQ(axis.CheckMove(0), Result::kServoOff);

    axis.SwitchServo(true);
    EXPECT_FALSE(axis.ServoOn());
    EXPECT_EQ(axis.CheckMove(0), Result::kDone);
    axis.Jog(1);
    controller.Advance(Axis::kServoOnTime - microseconds(1));
    EXPECT_FALSE(axis.ServoOn());
    EXPECT_EQ(axis.Physical().position, 0);
    EXPECT_EQ(axis.Velocity(), 0);
    controller.Advance(milliseconds(10));
    EXPECT_TRUE(axis.ServoOn());
    EXPECT_GT(axis.Physical().position, 0);
}

TEST_F(AxisTest, ThePathDoesNotDependOnTheSteps)
{
    Controller small(OneAxis());
    Axis& other = small.AxisAt(0);
    other.SetProfile(axis.Profile());
    other.SwitchServo(true);
    small.Advance(Axis::kServoOnTime);
    axis.MoveTo(7001);
    other.MoveTo(7001);

    controller.Advance(milliseconds(777));
    for (int i = 0; i < 777'000; i += 100) {
        small.Advance(microseconds(100));
    }
    EXPECT_EQ(axis.Physical().position, other.Physical().position);
    EXPECT_EQ(axis.Velocity(), other.Velocity());
    EXPECT_EQ(axis.EncoderPosition(), other.EncoderPosition());

    controller.Advance(seconds(1000));
    EXPECT_EQ(axis.CommandPosition(), 7001);
    EXPECT_EQ(axis.EncoderPosition(), 7001);
    EXPECT_EQ(axis.LastStop(), StopCause::kNone);
    EXPECT_TRUE(axis.InPosition());
}

TEST_F(AxisTest, EncoderRunsALittleBehindTheCommand)
{
    axis.Jog(1);
    controller.Advance(seconds(1));
    EXPECT_EQ(axis.Velocity(), 5000);
    EXPECT_GT(axis.FollowingError(), 0);
    EXPECT_LT(axis.FollowingError(), 10);
    EXPECT_EQ(axis.CommandPosition() - axis.EncoderPosition(), axis.FollowingError());
    EXPECT_FALSE(axis.InPosition());
}

TEST_F(AxisTest, TorqueGoesWithTheAcceleration)
{
    axis.MoveTo(5000);
    controller.Advance(milliseconds(100));
    const std::int32_t speedingUp = axis.Torque();
    controller.Advance(milliseconds(300));
    const std::int32_t cruising = axis.Torque();
    controller.Advance(milliseconds(700));
    const std::int32_t braking = axis.Torque();
    EXPECT_GT(speedingUp, cruising);
    EXPECT_GT(cruising, braking);
    EXPECT_GT(cruising, 0);
    Finish();
    EXPECT_EQ(axis.Torque(), 0);
}

TEST_F(AxisTest, NewMovesReplaceTheRunningOneWithoutAJump)
{
    axis.Jog(1);
    controller.Advance(seconds(1));
    axis.MoveBy(-3000);
    EXPECT_EQ(axis.Kind(), MotionKind::kRelative);
    EXPECT_EQ(axis.Velocity(), 5000);
    const std::int32_t target = axis.TargetPosition();
    EXPECT_EQ(target, axis.CommandPosition() - 3000);
    Finish();
    EXPECT_EQ(axis.CommandPosition(), target);
    axis.MoveTo(12);
    Finish();
    EXPECT_EQ(axis.CommandPosition(), 12);
    axis.MoveTo(12);
    EXPECT_FALSE(axis.Moving()) << "there is no way to go";
}

struct StopCase
{
    StopMode mode;
    StopCause cause;
    std::int32_t way; // behind the stop
};

TEST_F(AxisTest, StopsWithAndWithoutDeceleration)
{
    for (const auto& [mode, cause, way] :
         {StopCase{StopMode::kDecelerate, StopCause::kStopCommand, 1250},
          StopCase{StopMode::kSudden, StopCause::kSuddenStopCommand, 0}}) {
        axis.Jog(1);
        controller.Advance(seconds(1));
        const std::int32_t here = axis.CommandPosition();
        axis.Stop(mode, cause);
        EXPECT_EQ(axis.Moving(), mode == StopMode::kDecelerate);
        Finish();
        EXPECT_NEAR(axis.CommandPosition(), here + way, 1);
        EXPECT_EQ(axis.LastStop(), cause);
    }
    axis.SetProfile({SpeedProfile::kTrapezoid, 0, 0, 5000, 0, 0});
    axis.Jog(1);
    axis.Stop(StopMode::kDecelerate, StopCause::kStopCommand);
    EXPECT_FALSE(axis.Moving()) << "a deceleration of 0 stops at once";
    EXPECT_EQ(axis.LastStop(), StopCause::kStopCommand);
}

TEST_F(AxisTest, FamiliesMayFollowAnyPathAndSingleMovesKeepOffIt)
{
    axis.Follow(PlanMove(axis.Profile(), axis.Physical(), 400), MotionKind::kLinear, 400);
    EXPECT_EQ(axis.CheckMove(1), Result::kBusy);
    Finish();
    EXPECT_EQ(axis.CommandPosition(), 400);
    EXPECT_EQ(axis.CheckMove(1), Result::kDone);
}

TEST_F(AxisTest, ServoOffAlarmAndEmergencyStopEndAMotion)
{
    axis.Jog(1);
    controller.Advance(seconds(1));
    axis.SwitchServo(false);
    EXPECT_EQ(axis.LastStop(), StopCause::kServoOff);
    EXPECT_EQ(axis.Velocity(), 0);

    axis.SwitchServo(true);
    axis.Jog(1);
    controller.Advance(seconds(1));
    axis.RaiseAlarm({16, 0});
    EXPECT_EQ(axis.LastStop(), StopCause::kAlarm);
    EXPECT_FALSE(axis.ServoOn());
    EXPECT_EQ(axis.CheckServoOn(), Result::kAlarm);
    EXPECT_EQ(axis.CheckMove(1), Result::kAlarm);
    axis.Reset();
    EXPECT_EQ(axis.CheckServoOn(), Result::kDone);
    EXPECT_FALSE(axis.ServoOn());

    SlaveProperties properties;
    properties.inputIsStop = true;
    controller.SetProperties(0, properties);
    axis.SwitchServo(true);
    axis.Jog(1);
    controller.Advance(seconds(1));
    AxisInputs inputs;
    inputs.configurable = true;
    axis.SetInputs(inputs);
    EXPECT_EQ(axis.LastStop(), StopCause::kEmergencyStop);
    EXPECT_EQ(axis.CheckMove(1), Result::kEmergencyStop);
    axis.SetInputs({});
    EXPECT_EQ(axis.CheckMove(1), Result::kDone);
}

TEST_F(AxisTest, CountersAreSetWithoutMovingTheMotor)
{
    axis.MoveTo(700);
    Finish();
    axis.SetPosition(-20);
    EXPECT_EQ(axis.CommandPosition(), -20);
    EXPECT_EQ(axis.EncoderPosition(), -20);
    EXPECT_EQ(axis.TargetPosition(), -20);
    EXPECT_EQ(axis.Physical().position, 700);
    axis.MoveTo(80);
    Finish();
    EXPECT_EQ(axis.CommandPosition(), 80);
    EXPECT_EQ(axis.Physical().position, 800);
}

TEST_F(AxisTest, CountersRunOverAtThirtyTwoBits)
{
    axis.SetPosition(2'147'483'600);
    axis.MoveBy(100);
    Finish();
    EXPECT_EQ(axis.CommandPosition(), -2'147'483'596);
    EXPECT_EQ(axis.Physical().position, 100);
}

TEST_F(AxisTest, AMotorTurnedByHandIsFoundAgainAtServoOn)
{
    axis.PushByHand(50);
    EXPECT_EQ(axis.EncoderPosition(), 0) << "a servo that is on holds";
    axis.SwitchServo(false);
    axis.PushByHand(50);
    EXPECT_EQ(axis.CommandPosition(), 0);
    EXPECT_EQ(axis.EncoderPosition(), 50);
    EXPECT_EQ(axis.FollowingError(), -50);
    axis.SwitchServo(true);
    EXPECT_EQ(axis.CommandPosition(), 50);
    EXPECT_EQ(axis.EncoderPosition(), 50);
}

class ShortAxisTest : public AxisTest
{
  protected:
    ShortAxisTest() : AxisTest(OneAxis(2000)) {}
};

TEST_F(ShortAxisTest, TheLimitSwitchStopsAndBlocksItsDirection)
{
    for (const int direction : {1, -1}) {
        ASSERT_EQ(axis.CheckMove(direction), Result::kDone);
        axis.Jog(direction);
        // One long step: the switch is met at its own moment inside it.
        controller.Advance(seconds(30));
        EXPECT_FALSE(axis.Moving());
        EXPECT_EQ(axis.LastStop(), StopCause::kLimitSensor);
        EXPECT_NEAR(axis.CommandPosition(), direction * (2000 + 1250), 1);
        EXPECT_TRUE(axis.LimitActive(direction));
        EXPECT_FALSE(axis.LimitActive(-direction));
        EXPECT_EQ(axis.CheckMove(direction), Result::kLimitBlocks);

        axis.MoveTo(0);
        Finish();
        EXPECT_EQ(axis.CommandPosition(), 0) << "the way back is free";
        EXPECT_FALSE(axis.LimitActive(direction));
    }
}

TEST_F(ShortAxisTest, TheSwitchStaysWhereItIsWhenCountersAreSet)
{
    axis.SetPosition(100'000);
    axis.Jog(1);
    controller.Advance(seconds(30));
    EXPECT_NEAR(axis.CommandPosition(), 100'000 + 2000 + 1250, 1);
}

TEST_F(ShortAxisTest, ALimitInputFromOutsideStopsAtOnceOnTheWay)
{
    axis.MoveTo(-1500);
    controller.Advance(milliseconds(150));
    const std::int32_t here = axis.CommandPosition();
    AxisInputs inputs;
    inputs.limitPositive = true;
    axis.SetInputs(inputs);
    controller.Advance(milliseconds(1));
    EXPECT_EQ(axis.LastStop(), StopCause::kNone) << "the other direction's switch";
    inputs.limitNegative = true;
    axis.SetInputs(inputs);
    Finish();
    EXPECT_EQ(axis.LastStop(), StopCause::kLimitSensor);
    EXPECT_GT(axis.CommandPosition(), -1500);
    EXPECT_LT(axis.CommandPosition(), here);
}

} // namespace
} // namespace lumosim
