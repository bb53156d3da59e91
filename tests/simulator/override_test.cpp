// Overrides of running motion, and stops.

#include "core/stop.h"
#include "one_axis.h"

#include <cmath>

namespace lumosim {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class OverrideTest : public OneAxisTest
{
  protected:
    // Follows the axis to its end; its speed may change no faster than by `rate`, pulses/s².
    void FinishSmoothly(double rate)
    {
        double speed = axis.Physical().velocity;
        for (int i = 0; i < 100'000 && axis.Moving(); ++i) {
            controller.Advance(milliseconds(1));
            const double now = axis.Physical().velocity;
            ASSERT_LE(std::abs(now - speed), rate / 1000 + 1e-6) << "at " << i << " ms";
            speed = now;
        }
        ASSERT_FALSE(axis.Moving());
    }
};

TEST_F(OverrideTest, ANewSpeedHoldsForTheRunningMotionOnly)
{
    axis.MoveTo(20'000);
    controller.Advance(seconds(1));
    ASSERT_EQ(axis.Velocity(), 5000);
    ASSERT_EQ(controller.Execute({0x20, 1, 0, 2000, 0}), Result::kDone);
    EXPECT_EQ(axis.Velocity(), 5000) << "no jump";
    controller.Advance(milliseconds(400));
    EXPECT_EQ(axis.Velocity(), 2000) << "braked with the deceleration";
    ASSERT_EQ(controller.Execute({0x20, 1, 0, 8000, 0}), Result::kDone);
    FinishSmoothly(20'000);
    EXPECT_EQ(axis.CommandPosition(), 20'000);
    EXPECT_EQ(axis.Kind(), MotionKind::kIdle);
    EXPECT_EQ(axis.Profile().drive, 5000);
}

TEST_F(OverrideTest, AJogTakesAWholeProfile)
{
    axis.Jog(-1);
    controller.Advance(seconds(1));
    // acceleration 1000, drive 6000, deceleration 30000
    ASSERT_EQ(controller.Execute({0x21, 1, 0, 1000, 0, 6000, 0, 30'000, 0}), Result::kDone);
    controller.Advance(milliseconds(500));
    EXPECT_EQ(axis.Velocity(), -5500);
    controller.Advance(seconds(1));
    EXPECT_EQ(axis.Velocity(), -6000);
    axis.Stop(StopMode::kDecelerate, StopCause::kStopCommand);
    controller.Advance(milliseconds(200));
    EXPECT_FALSE(axis.Moving()) << "stopped by the deceleration it was given";
}

TEST_F(OverrideTest, ANewTargetMayLieAnywhere)
{
    for (const std::int32_t target : {20'000, 5'500, -4'000}) {
        PlaceAt(0);
        axis.MoveTo(10'000);
        controller.Advance(milliseconds(1100));
        ASSERT_EQ(axis.Velocity(), 5000);
        ASSERT_EQ(controller.Execute({0x22, 1, 0, Low(target), High(target)}), Result::kDone);
        EXPECT_EQ(axis.TargetPosition(), target);
        EXPECT_EQ(axis.Kind(), MotionKind::kAbsolute);
        FinishSmoothly(20'000);
        EXPECT_EQ(axis.CommandPosition(), target);
    }
}

TEST_F(OverrideTest, WhatCannotBeOverriddenSaysSo)
{
    EXPECT_EQ(controller.Execute({0x20, 1, 0, 2000, 0}), Result::kStandingStill);
    EXPECT_EQ(controller.Execute({0x21, 1, 0, 1, 0, 1, 0, 1, 0}), Result::kStandingStill);
    EXPECT_EQ(controller.Execute({0x22, 1, 0, 2000, 0}), Result::kStandingStill);
    axis.Jog(1);
    controller.Advance(seconds(1));
    EXPECT_EQ(controller.Execute({0x22, 1, 0, 2000, 0}), Result::kNoOverride) << "no target";
    EXPECT_EQ(controller.Execute({0x20, 1, 0, 0, 0}), Result::kOutOfRange);
    EXPECT_EQ(axis.Velocity(), 5000);
    axis.Stop(StopMode::kDecelerate, StopCause::kStopCommand);
    EXPECT_EQ(controller.Execute({0x20, 1, 0, 2000, 0}), Result::kNoOverride) << "it is stopping";
    Finish();
    axis.PushWith(200, 1000);
    EXPECT_EQ(controller.Execute({0x20, 1, 0, 2000, 0}), Result::kNoOverride) << "no speed";
}

TEST_F(OverrideTest, ASearchKeepsItsSignal)
{
    ASSERT_EQ(controller.Execute({0x13, 0, 0, 0, 1, 1, 0}), Result::kDone);
    ASSERT_EQ(controller.Execute({0x20, 1, 0, 900, 0}), Result::kDone);
    Finish();
    EXPECT_EQ(axis.Latched(), 4'000);
}

TEST_F(OverrideTest, StopsOfAxes)
{
    EXPECT_EQ(controller.Execute({0x40, 0, 1, 0}), Result::kDone) << "an axis at rest is stopped";
    axis.Jog(1);
    controller.Advance(seconds(1));
    EXPECT_EQ(controller.Execute({0x40, 2, 1, 0}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x40, 1, 1, 1}), Result::kNoServo);
    ASSERT_EQ(controller.Execute({0x40, 1, 1, 0}), Result::kDone);
    EXPECT_TRUE(axis.Stopping());
    ASSERT_EQ(controller.Execute({0x40, 0, 1, 0}), Result::kDone);
    EXPECT_FALSE(axis.Moving());
    EXPECT_EQ(axis.LastStop(), StopCause::kSuddenStopCommand);
}

TEST_F(OverrideTest, MapsAreStoppedByWhoKeepsThem)
{
    EXPECT_EQ(controller.Execute({0x41, 3, 1}), Result::kEmptyMap);
    Word stopped = 0xFFFF;
    StopMode how = StopMode::kSudden;
    controller.Get<Stops>().SetPathStopper([&](Word map, StopMode mode) {
        stopped = map;
        how = mode;
        return Result::kDone;
    });
    EXPECT_EQ(controller.Execute({0x41, 16, 1}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x41, 3, 2}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x41, 3}), Result::kMalformed);
    EXPECT_EQ(stopped, 0xFFFF);
    EXPECT_EQ(controller.Execute({0x41, 15, 1}), Result::kDone);
    EXPECT_EQ(stopped, 15);
    EXPECT_EQ(how, StopMode::kDecelerate);
}

} // namespace
} // namespace lumosim
