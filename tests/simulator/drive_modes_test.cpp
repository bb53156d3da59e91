// Torque, velocity and profile position; position counters; stoppers.

#include "one_axis.h"

namespace lumosim {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

using DriveModesTest = OneAxisTest;

TEST_F(DriveModesTest, TorqueAcceleratesUpToTheSpeedLimit)
{
    // 25 % less 5 % friction: 1,000,000 pulses/s²; 600 turns a minute: 10,000 pulses/s.
    ASSERT_EQ(controller.Execute({0x30, 1, 0, 250, 600}), Result::kDone);
    EXPECT_EQ(axis.Kind(), MotionKind::kTorque);
    controller.Advance(milliseconds(5));
    EXPECT_EQ(axis.Velocity(), 5'000);
    EXPECT_EQ(axis.Torque(), 250);
    controller.Advance(milliseconds(100));
    EXPECT_EQ(axis.Velocity(), 10'000);
    EXPECT_EQ(axis.Torque(), 50) << "at the limit only friction is left";

    // Against the motion: 25 % and friction brake it, then it runs the other way.
    ASSERT_EQ(controller.Execute({0x30, 1, 0, static_cast<Word>(-250), 600}), Result::kDone);
    controller.Advance(milliseconds(5));
    EXPECT_EQ(axis.Velocity(), 2'500);
    EXPECT_EQ(axis.Torque(), -250);
    controller.Advance(milliseconds(100));
    EXPECT_EQ(axis.Velocity(), -10'000);

    // Less than friction: it runs out.
    ASSERT_EQ(controller.Execute({0x30, 1, 0, static_cast<Word>(-30), 600}), Result::kDone);
    controller.Advance(milliseconds(50));
    EXPECT_EQ(axis.Velocity(), -5'000);
    controller.Advance(seconds(1));
    EXPECT_EQ(axis.Velocity(), 0);
    EXPECT_EQ(axis.Torque(), -30);
    EXPECT_TRUE(axis.Moving()) << "the mode lasts until it is stopped";
    EXPECT_EQ(axis.CheckMove(1), Result::kBusy);
    ASSERT_EQ(controller.Execute({0x40, 1, 1, 0}), Result::kDone);
    EXPECT_FALSE(axis.Moving());
    EXPECT_EQ(axis.Torque(), 0);
}

TEST_F(DriveModesTest, LimitSwitchesEndATorqueMode)
{
    ASSERT_EQ(controller.Execute({0x30, 1, 0, 250, 0}), Result::kDone);
    controller.Advance(seconds(100));
    EXPECT_FALSE(axis.Moving());
    EXPECT_EQ(controller.Execute({0x30, 1, 0, 250, 0}), Result::kAlarm)
        << "too fast to stop in front of the stopper";
}

TEST_F(DriveModesTest, AStopperHoldsATorqueAndAlarmsAPosition)
{
    AxisMechanics mechanics = axis.Mechanics();
    mechanics.stopperGap = -90'000; // at 10,000, before the switches
    axis.SetMechanics(mechanics);
    ASSERT_EQ(controller.Execute({0x30, 1, 0, 250, 600}), Result::kDone);
    controller.Advance(seconds(10));
    EXPECT_EQ(axis.CommandPosition(), 10'000);
    EXPECT_EQ(axis.EncoderPosition(), 10'000);
    EXPECT_EQ(axis.Velocity(), 0);
    EXPECT_EQ(axis.Torque(), 250);
    EXPECT_EQ(axis.Kind(), MotionKind::kTorque);
    axis.Stop(StopMode::kSudden, StopCause::kStopCommand);

    // A position that lies a little behind it: the motor presses, the encoder stays.
    axis.MoveTo(10'100);
    Finish();
    EXPECT_EQ(axis.EncoderPosition(), 10'000);
    EXPECT_EQ(axis.FollowingError(), 100);
    EXPECT_EQ(axis.Torque(), 500);
    EXPECT_FALSE(axis.InPosition());
    ASSERT_EQ(controller.Execute({0x50, 1, 1, 0}), Result::kDone);
    EXPECT_EQ(axis.CommandPosition(), 10'000);
    EXPECT_EQ(axis.Torque(), 0);

    axis.MoveTo(50'000);
    controller.Advance(seconds(10));
    ASSERT_TRUE(axis.ActiveAlarm());
    EXPECT_EQ(axis.ActiveAlarm()->number, kFollowingErrorAlarm.number);
    EXPECT_EQ(axis.EncoderPosition(), 10'000);
    EXPECT_FALSE(axis.ServoOn());
}

TEST_F(DriveModesTest, VelocityRampsToWhatItIsTold)
{
    const auto set = [this](std::int32_t velocity, Word shape = 0) {
        return controller.Execute(
            {0x32, 1, 0, Low(velocity), High(velocity), 10'000, 0, 20'000, 0, shape, 0});
    };
    ASSERT_EQ(set(4'000), Result::kDone);
    controller.Advance(milliseconds(200));
    EXPECT_EQ(axis.Velocity(), 2'000);
    controller.Advance(seconds(1));
    EXPECT_EQ(axis.Velocity(), 4'000);
    EXPECT_EQ(axis.Kind(), MotionKind::kVelocity);
    ASSERT_EQ(set(-4'000), Result::kDone);
    controller.Advance(milliseconds(100));
    EXPECT_EQ(axis.Velocity(), 2'000) << "braking";
    controller.Advance(milliseconds(300));
    EXPECT_EQ(axis.Velocity(), -2'000) << "the other way";
    ASSERT_EQ(set(0), Result::kDone);
    controller.Advance(seconds(1));
    EXPECT_FALSE(axis.Moving()) << "velocity 0 ends the mode";
    EXPECT_EQ(axis.LastStop(), StopCause::kNone);

    EXPECT_EQ(set(INT32_MIN), Result::kOutOfRange);
    EXPECT_EQ(set(1, 2), Result::kOutOfRange);
    EXPECT_EQ(set(0), Result::kDone) << "nothing to do at rest";
    axis.Jog(1);
    EXPECT_EQ(set(100), Result::kBusy);
}

TEST_F(DriveModesTest, ProfilePositionHasItsOwnSpeed)
{
    ASSERT_EQ(controller.Execute({0x2000, 1, 0, 10'000, 0, 2'000, 0}), Result::kDone);
    controller.Advance(seconds(1));
    EXPECT_EQ(axis.Velocity(), 2'000);
    EXPECT_EQ(axis.Kind(), MotionKind::kProfilePosition);
    EXPECT_EQ(axis.TargetPosition(), 10'000);
    // On the way another target and speed.
    ASSERT_EQ(controller.Execute({0x2000, 1, 0, Low(-300), High(-300), 8'000, 0}), Result::kDone);
    EXPECT_EQ(axis.Velocity(), 2'000);
    Finish();
    EXPECT_EQ(axis.CommandPosition(), -300);
    EXPECT_EQ(axis.LastStop(), StopCause::kNone);
    EXPECT_EQ(axis.Profile().drive, 5'000);
    EXPECT_EQ(controller.Execute({0x2000, 1, 0, 0, 0, 0, 0}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x2000, 1, 0, 0, 0, 1}), Result::kMalformed);
}

TEST_F(DriveModesTest, TorqueCommandsAreChecked)
{
    EXPECT_EQ(controller.Execute({0x30, 1, 0, 5001, 0}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x30, 1, 0, 100, static_cast<Word>(-1)}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x30, 1, 0, 100}), Result::kMalformed);
    axis.SwitchServo(false);
    EXPECT_EQ(controller.Execute({0x30, 1, 0, 100, 0}), Result::kServoOff);
}

TEST_F(DriveModesTest, CountersAreSetAtRest)
{
    axis.Jog(1);
    EXPECT_EQ(controller.Execute({0x50, 0, 1, 0, 5, 0}), Result::kBusy);
    EXPECT_EQ(controller.Execute({0x50, 1, 1, 0}), Result::kBusy);
    axis.Stop(StopMode::kSudden, StopCause::kStopCommand);
    EXPECT_EQ(controller.Execute({0x50, 2, 1, 0}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x50, 0, 1, 0, 5}), Result::kMalformed);
    ASSERT_EQ(controller.Execute({0x50, 0, 1, 0, Low(-70'000), High(-70'000)}), Result::kDone);
    EXPECT_EQ(axis.CommandPosition(), -70'000);
    EXPECT_EQ(axis.EncoderPosition(), -70'000);

    // A motor that was turned by hand is behind its command until the command takes over.
    axis.SwitchServo(false);
    axis.PushByHand(7);
    EXPECT_EQ(axis.CommandPosition(), -70'000);
    ASSERT_EQ(controller.Execute({0x50, 1, 1, 0}), Result::kDone);
    EXPECT_EQ(axis.CommandPosition(), -69'993);
    EXPECT_EQ(axis.FollowingError(), 0);
}

TEST_F(DriveModesTest, TurnsOfAbsoluteEncodersAreCleared)
{
    EXPECT_EQ(controller.Execute({0x51, 1, 0}), Result::kNoAbsoluteEncoder);
    SlaveProperties properties;
    properties.absoluteEncoder = true;
    controller.SetProperties(0, properties);
    axis.SetHomeDone(true);
    for (const auto& [before, after] : {std::pair{7'250, 250}, std::pair{-250, 750}}) {
        axis.SetPosition(before);
        ASSERT_EQ(controller.Execute({0x51, 1, 0}), Result::kDone);
        EXPECT_EQ(axis.CommandPosition(), after);
        EXPECT_EQ(axis.EncoderPosition(), after);
    }
    EXPECT_FALSE(axis.HomeDone());
}

} // namespace
} // namespace lumosim
