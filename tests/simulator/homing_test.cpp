// Homing runs of all kinds.

#include "one_axis.h"

#include <algorithm>
#include <array>
#include <vector>

namespace lumosim {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

enum Kind : Word { kLimit = 0, kHome = 1, kZ = 2, kStopper = 3 };

// The fields of a homing command.
struct Homing
{
    Word direction;
    Kind kind;
    Word option = 0;
    Word zSearch = 2;
    Word select = 0;
    Word word = 0;
    std::int32_t position = 0;
};

class HomingTest : public OneAxisTest
{
  protected:
    // Search 6000, back off 3000, approach 700, the last ways 1500; 60000 pulses/s².
    void SetSpeeds()
    {
        std::vector<Word> block = {0x61, 0};
        for (const Word drive : std::array<Word, 4>{6000, 3000, 700, 1500}) {
            const std::array<Word, 9> phase = {0, 100, 0, 60'000, 0, drive, 0, 60'000, 0};
            block.insert(block.end(), phase.begin(), phase.end());
        }
        Reply reply;
        ASSERT_EQ(controller.Run(block, reply), Result::kDone);
    }

    Result Start(const Homing& homing)
    {
        std::vector<Word> block = {0x60,          0, homing.direction, homing.kind, homing.option,
                                   homing.zSearch};
        if (homing.kind == kLimit || homing.kind == kStopper) block.push_back(2);
        for (const Word word :
             {homing.select, homing.word, Low(homing.position), High(homing.position)}) {
            block.push_back(word);
        }
        Reply reply;
        return controller.Run(block, reply);
    }

    // Runs it to its end; where the motor stands then.
    double PlaceAfter(const Homing& homing)
    {
        EXPECT_EQ(Start(homing), Result::kDone);
        EXPECT_EQ(axis.Kind(), MotionKind::kHoming);
        EXPECT_FALSE(axis.HomeDone());
        Finish();
        return axis.Physical().position;
    }

    [[nodiscard]] unsigned StatusBit(unsigned bit) const
    {
        return static_cast<unsigned>(controller.ReadRegister(10)) >> bit & 1U;
    }
};

struct HomingCase
{
    const char* name;
    Homing homing;
    std::int32_t from;
    double place; // of home
};

TEST_F(HomingTest, EveryKindFindsItsPlace)
{
    SetSpeeds();
    for (const HomingCase& run : {
             HomingCase{"home sensor from above", {1, kHome}, 5'000, -2'500},
             HomingCase{"home sensor from below", {0, kHome}, -5'000, -3'000},
             HomingCase{"home sensor, search stopped at once", {1, kHome, 1}, 5'000, -2'500},
             HomingCase{"on the sensor already", {1, kHome}, -2'700, -2'500},
             HomingCase{"sensor behind: turns round at the limit", {0, kHome}, 90'000, -3'000},
             HomingCase{"sensor, then the Z phase below", {1, kHome, 0, 1}, 5'000, -2'700},
             HomingCase{"sensor, then the Z phase above", {1, kHome, 0, 0}, 5'000, -1'700},
             HomingCase{"Z phase", {0, kZ, 1}, 400, 1'300},
             HomingCase{"Z phase downwards", {1, kZ, 1}, 400, 300},
             HomingCase{"limit", {0, kLimit}, 95'000, 100'000},
             HomingCase{"limit below", {1, kLimit}, -95'000, -100'000},
             HomingCase{"limit, then the Z phase away from it", {0, kLimit, 0, 1}, 95'000, 99'300},
             HomingCase{"stopper behind the limit", {0, kStopper}, 95'000, 101'000},
             HomingCase{"stopper below, then Z", {1, kStopper, 0, 0}, -95'000, -100'700},
         }) {
        SCOPED_TRACE(run.name);
        axis.SetPosition(static_cast<std::int32_t>(axis.Physical().position));
        PlaceAt(run.from);
        Homing homing = run.homing;
        homing.position = -700;
        EXPECT_EQ(PlaceAfter(homing), run.place);
        EXPECT_EQ(axis.CommandPosition(), -700) << "home gets the position";
        EXPECT_EQ(axis.EncoderPosition(), -700);
        EXPECT_TRUE(axis.HomeDone());
        EXPECT_EQ(axis.LastStop(), StopCause::kHomeFound);
    }
}

TEST_F(HomingTest, TheFourSpeedsAreUsedInTurn)
{
    SetSpeeds();
    PlaceAt(5'000);
    ASSERT_EQ(Start({1, kHome, 0, 0}), Result::kDone);
    EXPECT_EQ(StatusBit(13), 1U);
    std::vector<std::int32_t> speeds;
    while (axis.Moving()) {
        controller.Advance(milliseconds(1));
        const std::int32_t speed = axis.Velocity();
        const bool cruising = axis.Physical().acceleration == 0 && speed != 0;
        if (cruising && (speeds.empty() || speeds.back() != speed)) speeds.push_back(speed);
    }
    EXPECT_EQ(speeds, (std::vector<std::int32_t>{-6000, 3000, -700, 1500}));
    EXPECT_EQ(StatusBit(13), 0U);
    EXPECT_EQ(StatusBit(12), 1U);
    EXPECT_EQ(StatusBit(10), 1U) << "it stands on the Z phase";
}

TEST_F(HomingTest, ItMayMoveOnToTheZeroPoint)
{
    SetSpeeds();
    PlaceAt(5'000);
    EXPECT_EQ(PlaceAfter({1, kHome, 0, 2, 1, 0, 4'000}), 1'500);
    EXPECT_EQ(axis.CommandPosition(), 0);
    EXPECT_EQ(axis.LastStop(), StopCause::kHomeFound);
    EXPECT_EQ(PlaceAfter({1, kHome, 0, 2, 1, 0, 0}), -2'500) << "no way to go";
    EXPECT_EQ(axis.CommandPosition(), 0);
}

TEST_F(HomingTest, ItMayPauseBetweenThePhases)
{
    SetSpeeds();
    PlaceAt(-2'700);
    ASSERT_EQ(Start({1, kHome, 0, 2, 0, 800}), Result::kDone);
    controller.Advance(milliseconds(400)); // off the sensor, at rest
    EXPECT_EQ(axis.Velocity(), 0);
    EXPECT_EQ(axis.Kind(), MotionKind::kHoming);
    controller.Advance(milliseconds(500));
    EXPECT_EQ(axis.Kind(), MotionKind::kHoming);
    Finish();
    EXPECT_TRUE(axis.HomeDone());
}

TEST_F(HomingTest, AStopperIsFoundByItsTorque)
{
    SetSpeeds();
    PlaceAt(95'000);
    ASSERT_EQ(Start({0, kStopper, 0, 2, 0, 800}), Result::kDone);
    std::int32_t highest = 0;
    std::int32_t furthest = 0;
    while (axis.Moving()) {
        controller.Advance(milliseconds(1));
        if (axis.Physical().acceleration == 0) highest = std::max(highest, axis.Torque());
        furthest = std::max(furthest, axis.EncoderPosition());
    }
    EXPECT_GT(highest, 700);
    EXPECT_LE(highest, 800);
    EXPECT_EQ(furthest, 101'000) << "the encoder gets no further than the stopper";
}

TEST_F(HomingTest, WhatInterruptsARunLeavesTheAxisUnhomed)
{
    SetSpeeds();
    axis.SetHomeDone(true);
    PlaceAt(5'000);
    ASSERT_EQ(Start({1, kHome}), Result::kDone);
    EXPECT_FALSE(axis.HomeDone()) << "from the start of a run";
    EXPECT_EQ(Start({1, kHome}), Result::kBusy);
    EXPECT_EQ(axis.CheckMove(1), Result::kBusy);
    controller.Advance(milliseconds(300));
    axis.Stop(StopMode::kDecelerate, StopCause::kStopCommand);
    Finish();
    controller.Advance(seconds(20));
    EXPECT_FALSE(axis.HomeDone());
    EXPECT_EQ(axis.LastStop(), StopCause::kStopCommand);

    // No sensor at all: from the one limit to the other.
    AxisMechanics mechanics = axis.Mechanics();
    mechanics.homeSensor.reset();
    axis.SetMechanics(mechanics);
    ASSERT_EQ(Start({1, kHome}), Result::kDone);
    Finish();
    EXPECT_TRUE(axis.LimitActive(1));
    EXPECT_FALSE(axis.HomeDone());
    EXPECT_EQ(axis.LastStop(), StopCause::kLimitSensor);
}

TEST_F(HomingTest, HomingDoneIsCancelled)
{
    axis.SetHomeDone(true);
    EXPECT_EQ(controller.Execute({0x62, 1, 1}), Result::kNoServo);
    EXPECT_TRUE(axis.HomeDone());
    EXPECT_EQ(controller.Execute({0x62, 1, 0}), Result::kDone);
    EXPECT_FALSE(axis.HomeDone());
    axis.SetHomeDone(true);
    controller.PowerCycle();
    EXPECT_FALSE(axis.HomeDone());
}

TEST_F(HomingTest, CommandsAreChecked)
{
    EXPECT_EQ(Start({2, kHome}), Result::kOutOfRange);
    EXPECT_EQ(Start({0, kHome, 2}), Result::kOutOfRange);
    EXPECT_EQ(Start({0, kHome, 0, 3}), Result::kOutOfRange);
    EXPECT_EQ(Start({0, kHome, 0, 2, 2}), Result::kOutOfRange);
    EXPECT_EQ(Start({0, kHome, 0, 2, 0, 0xFFFF}), Result::kOutOfRange);
    EXPECT_EQ(Start({0, kStopper, 0, 2, 0, 3001}), Result::kOutOfRange);
    // Eleven registers are a home-sensor run, twelve a limit run; neither is taken for the other.
    EXPECT_EQ(controller.Execute({0x60, 0, 0, 1, 0, 2, 2, 0, 0, 0, 0}), Result::kMalformed);
    EXPECT_EQ(controller.Execute({0x60, 0, 0, 0, 0, 2, 0, 0, 0, 0}), Result::kMalformed);
    EXPECT_EQ(controller.Execute({0x60, 1, 0, 1, 0, 2, 0, 0, 0, 0}), Result::kNoServo);
    EXPECT_EQ(controller.Execute({0x61, 0, 0}), Result::kMalformed);
    axis.SwitchServo(false);
    EXPECT_EQ(Start({0, kHome}), Result::kServoOff);
}

} // namespace
} // namespace lumosim
