// What the protective commands refuse, and limits that meet in one motion.

#include "core/command_channel.h"
#include "core/controller.h"
#include "core/hand_wheel.h"

#include <chrono>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace lumosim {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Words = std::vector<Word>;

ControllerConfig Servos(int count)
{
    ControllerConfig config;
    config.axes = count;
    return config;
}

class ProtectionTest : public testing::Test
{
  protected:
    ProtectionTest() : axis(controller.AxisAt(0))
    {
        // Way to stop from the drive speed: 5000² / 2 / 10000 = 1250 pulses.
        axis.SetProfile({SpeedProfile::kTrapezoid, 0, 0, 5000, 10000, 0});
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

    void SetSoftLimits(SoftwareLimit positive, SoftwareLimit negative = {})
    {
        AxisProtection protection = axis.Protection();
        protection.softPositive = positive;
        protection.softNegative = negative;
        axis.SetProtection(protection);
    }

    void SetSensor(Sensor sensor, Reaction reaction)
    {
        AxisProtection protection = axis.Protection();
        protection.sensors.at(static_cast<std::size_t>(sensor)) = reaction;
        axis.SetProtection(protection);
    }

    Result Run(const Words& block)
    {
        Reply reply;
        const Result result = controller.Run(block, reply);
        return result;
    }

    Controller controller{Servos(2)};
    Axis& axis;
};

struct RefusedCase
{
    Words block;
    Result result;
};

TEST_F(ProtectionTest, CommandsAreCheckedAsAWhole)
{
    const RefusedCase cases[] = {
        {{0x0110, 1, 0, 1, 501, 500, 0, 0, 0, 0}, Result::kOutOfRange},
        {{0x0110, 1, 0, 1, 500, 501, 0, 0, 0, 0}, Result::kOutOfRange},
        {{0x0110, 1, 0, 2, 500, 500, 0, 0, 0, 0}, Result::kOutOfRange},
        {{0x0110, 1, 2, 1, 500, 500, 0, 0, 0, 0}, Result::kNoServo},
        {{0x0110, 1, 0, 1, 500, 500, 0, 0, 0}, Result::kMalformed},
        {{0x0120, 1, 0, 3, 0, 0, 1, 0, 0}, Result::kOutOfRange},
        {{0x0120, 1, 0, 1, 0, 0, 3, 0, 0}, Result::kOutOfRange},
        {{0x0120, 1, 0, 1, 0, 0, 1, 1, 0}, Result::kOutOfRange}, // the negative one is above
        {{0x0120, 1, 0, 1, 0, 0, 1, 0}, Result::kMalformed},
        {{0x0121, 1, 0, 4, 0}, Result::kOutOfRange},
        {{0x0121, 1, 0, 3, 3}, Result::kOutOfRange},
        {{0x0121, 1, 5, 3, 2}, Result::kNoServo},
        {{0x0122, 100, 0, 2}, Result::kOutOfRange},
        {{0x0122, 100, 0}, Result::kMalformed},
        {{0x0130, 0, 3, 3, 1, 1, 1}, Result::kOutOfRange},
        {{0x0130, 0, 2, 4, 1, 1, 1}, Result::kOutOfRange},
        {{0x0130, 0, 2, 3, 2, 1, 1}, Result::kOutOfRange},
        {{0x0130, 0, 2, 3, 1, 33, 1}, Result::kOutOfRange},
        {{0x0130, 0, 2, 3, 1, 1, 0}, Result::kOutOfRange},
        {{0x0130, 9, 2, 3, 1, 1, 1}, Result::kNoServo},
        {{0x0130, 0, 2, 3, 1, 1}, Result::kMalformed},
        {{0x0141, 1, 15, 0}, Result::kOutOfRange},
        {{0x0141, 2, 0, 0, 0}, Result::kAxisTwice},
        {{0x0152, 0}, Result::kMalformed},
        {{0x0154, 1, 0}, Result::kMalformed}, // no count here
        {{0x0155, 2, 0, 0, 0}, Result::kMalformed},
        {{0x01B0, 0, 1, 5, 3, 3, 2, 0, 0}, Result::kOutOfRange},
        {{0x01B0, 0, 1, 4, 3, 3, 3, 0, 0}, Result::kOutOfRange},
        {{0x01B0, 0, 1, 4, 3, 3, 2, 0}, Result::kMalformed},
    };
    const Word counter = controller.ConfigurationCounter();
    for (const RefusedCase& refused : cases) {
        EXPECT_EQ(Run(refused.block), refused.result)
            << std::hex << refused.block.front() << ", case " << (&refused - cases);
    }
    EXPECT_EQ(controller.ConfigurationCounter(), counter);
    EXPECT_FALSE(axis.Protection().torque.on);
    EXPECT_EQ(axis.Protection().softPositive.reaction, Reaction::kNone);
}

TEST_F(ProtectionTest, TheFirstOfTwoLimitsStops)
{
    SetSoftLimits({Reaction::kDecelerate, 2000});
    AxisMechanics mechanics = axis.Mechanics();
    mechanics.positiveLimit = 3000;
    axis.SetMechanics(mechanics);
    SetSensor(Sensor::kLimitPositive, Reaction::kSudden);
    axis.Jog(1);
    Finish();
    EXPECT_EQ(axis.LastStop(), StopCause::kLimitSensor) << "a sudden one ends the braking";
    EXPECT_EQ(axis.CommandPosition(), 3000);

    SetSensor(Sensor::kLimitPositive, Reaction::kDecelerate);
    axis.MoveTo(1000);
    Finish();
    axis.Jog(1);
    Finish();
    EXPECT_EQ(axis.LastStop(), StopCause::kSoftwareLimit) << "who brakes already, goes on so";
    EXPECT_NEAR(axis.CommandPosition(), 3250, 1);
}

TEST_F(ProtectionTest, SoftwareLimitsFollowTheCounter)
{
    SetSoftLimits({Reaction::kSudden, 1000}, {Reaction::kSudden, -1000});
    axis.SetPosition(900);
    axis.MoveTo(5000);
    Finish();
    EXPECT_EQ(axis.CommandPosition(), 1000);
    EXPECT_NEAR(axis.Physical().position, 100, 0.5);
    axis.MoveTo(-5000);
    controller.Advance(milliseconds(100));
    axis.SetPosition(-700); // in the middle of the motion
    Finish();
    EXPECT_EQ(axis.CommandPosition(), -1000);
    EXPECT_EQ(axis.LastStop(), StopCause::kSoftwareLimit);
}

TEST_F(ProtectionTest, ALimitThatIsSetBehindTheAxisStopsItThereAndThen)
{
    axis.Jog(1);
    controller.Advance(seconds(1));
    SetSoftLimits({Reaction::kSudden, 2000});
    controller.Advance(microseconds(1));
    EXPECT_FALSE(axis.Moving());
    EXPECT_EQ(axis.CommandPosition(), 5000);
    EXPECT_TRUE(axis.AtSoftwareLimit(1));
    EXPECT_EQ(axis.CheckMove(1), Result::kSoftwareLimit);
    EXPECT_EQ(axis.CheckMove(-1), Result::kDone);
}

TEST_F(ProtectionTest, HomingPassesSoftwareLimits)
{
    SetSoftLimits({Reaction::kSudden, 1000});
    axis.Follow(PlanMove(axis.Profile(), axis.Physical(), 5000), MotionKind::kHoming, 5000);
    Finish();
    EXPECT_EQ(axis.CommandPosition(), 5000);
}

TEST_F(ProtectionTest, TheHomeSensorStopsWhereItStands)
{
    AxisMechanics mechanics = axis.Mechanics();
    mechanics.homeSensor = Stretch{2000, 2100};
    axis.SetMechanics(mechanics);
    axis.MoveTo(6000);
    Finish();
    EXPECT_EQ(axis.LastStop(), StopCause::kNone) << "of itself it stops nothing";
    SetSensor(Sensor::kHome, Reaction::kSudden);
    axis.MoveTo(0);
    Finish();
    EXPECT_EQ(axis.LastStop(), StopCause::kLimitSensor);
    EXPECT_EQ(axis.CommandPosition(), 2100);
    axis.MoveTo(0);
    Finish();
    EXPECT_EQ(axis.CommandPosition(), 0) << "it is on already";
}

TEST_F(ProtectionTest, ATorqueModePushesWithWhatTheLimitLeaves)
{
    const auto limitTo = [this](Word percent) {
        AxisProtection protection = axis.Protection();
        protection.torque.on = true;
        protection.torque.positive = percent;
        axis.SetProtection(protection);
    };
    limitTo(10);
    axis.PushWith(300, 1'000'000);
    controller.Advance(milliseconds(10));
    EXPECT_EQ(axis.Torque(), 100);
    EXPECT_TRUE(axis.TorqueLimited(1));
    EXPECT_EQ(axis.Velocity(), 2500) << "5 % accelerate, 5 % are friction";
    limitTo(20);
    controller.Advance(milliseconds(10));
    EXPECT_EQ(axis.Torque(), 200);
    EXPECT_EQ(axis.Velocity(), 2500 + 7500);
    limitTo(50);
    controller.Advance(milliseconds(10));
    EXPECT_EQ(axis.Torque(), 300);
    EXPECT_FALSE(axis.TorqueLimited(1));
}

TEST_F(ProtectionTest, AStopperIsNotFoundWithTooLittleTorque)
{
    for (const Word percent : {Word{60}, Word{40}}) {
        AxisProtection protection = axis.Protection();
        protection.torque.on = true;
        protection.torque.positive = percent;
        axis.SetProtection(protection);
        SpeedProfile profile = axis.Profile();
        profile.drive = 1'000'000;
        profile.acc = 10'000'000;
        axis.Run(
            profile, 1, MotionKind::kHoming,
            Watch{Signal::kStopperPositive, true, StopMode::kSudden, StopCause::kHomeFound, 500});
        Finish();
        if (percent == 60) {
            EXPECT_EQ(axis.LastStop(), StopCause::kHomeFound);
            axis.MoveTo(10'000'000);
            Finish();
        }
    }
    EXPECT_EQ(axis.LastStop(), StopCause::kAlarm);
    EXPECT_EQ(axis.Alarms().At(0).alarm.number, kFollowingErrorAlarm.number);
}

TEST_F(ProtectionTest, ALoadNeedsTorque)
{
    axis.SetLoad(-400);
    EXPECT_EQ(axis.Torque(), -400);
    AxisProtection protection = axis.Protection();
    protection.torque = {.on = true, .positive = 100, .negative = 30, .offset = 50};
    axis.SetProtection(protection);
    EXPECT_EQ(axis.Torque(), -250) << "30 % below +5 %";
    EXPECT_TRUE(axis.TorqueLimited(-1));
    EXPECT_FALSE(axis.TorqueLimited(1));
    axis.SwitchServo(false);
    EXPECT_EQ(axis.Torque(), 0) << "without current no torque";
    EXPECT_FALSE(axis.TorqueLimited(-1));
}

TEST_F(ProtectionTest, ResultsDoNotDependOnTheSteps)
{
    const auto run = [](Nanoseconds step) {
        Controller other(Servos(1));
        Axis& one = other.AxisAt(0);
        one.SetProfile({SpeedProfile::kSmooth, 0, 100'000, 100'000, 100'000, 0});
        one.Parameters().Set(DriveSetting::kFollowingErrorLimit, 30);
        one.SwitchServo(true);
        one.Jog(1);
        for (Nanoseconds passed{0}; passed < seconds(3); passed += step) {
            other.Advance(step);
        }
        EXPECT_TRUE(one.ActiveAlarm().has_value());
        return one.CommandPosition();
    };
    const std::int32_t whole = run(seconds(3));
    EXPECT_EQ(run(microseconds(730)), whole);
    EXPECT_EQ(run(milliseconds(7)), whole);
}

TEST_F(ProtectionTest, ThePowerCycleForgetsWhatIsNotSaved)
{
    EXPECT_EQ(Run({0x0120, 1, 0, 2, 100, 0, 2, 0, 0}), Result::kDone);
    EXPECT_EQ(Run({0x0110, 1, 0, 1, 100, 100, 0, 0, 0, 0}), Result::kDone);
    EXPECT_EQ(Run({0x0121, 1, 0, 0, 0}), Result::kDone);
    EXPECT_EQ(Run({0x0122, 1, 0, 1}), Result::kDone);
    EXPECT_EQ(Run({0x0130, 0, 0, 3, 0, 1, 1}), Result::kDone);
    controller.PowerCycle();
    EXPECT_EQ(axis.Protection().softPositive.reaction, Reaction::kNone);
    EXPECT_FALSE(axis.Protection().torque.on);
    EXPECT_EQ(axis.Protection().At(Sensor::kLimitPositive), Reaction::kDecelerate);

    axis.SwitchServo(true);
    EXPECT_EQ(controller.Get<HandWheel>().Turn(100), Result::kDone);
    EXPECT_FALSE(axis.Moving()) << "the wheel is off";
    axis.Jog(1);
    controller.HostConnected();
    controller.HostDisconnected();
    controller.Advance(seconds(1));
    EXPECT_TRUE(axis.Moving()) << "and so is the watch over the host";
}

TEST_F(ProtectionTest, TheLastHostCounts)
{
    EXPECT_EQ(Run({0x0122, 100, 0, 0}), Result::kDone);
    axis.Jog(1);
    controller.Advance(seconds(1));
    EXPECT_TRUE(axis.Moving()) << "there never was a host";
    controller.HostConnected();
    controller.HostConnected();
    controller.HostDisconnected();
    controller.Advance(seconds(1));
    EXPECT_TRUE(axis.Moving()) << "one is left";
    controller.HostDisconnected();
    controller.Advance(milliseconds(200));
    EXPECT_LT(axis.Velocity(), 5000) << "it brakes";
    Finish();
    EXPECT_EQ(axis.LastStop(), StopCause::kConnectionLost);
    axis.Jog(1);
    controller.Advance(seconds(1));
    EXPECT_TRUE(axis.Moving()) << "one loss stops once";
}

} // namespace
} // namespace lumosim
