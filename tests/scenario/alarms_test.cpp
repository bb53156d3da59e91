// What drives do about their alarms, and remember of them.

#include "scenario/scenario_test.h"

#include <array>

namespace zelq::test {

namespace {

/// Parameters of the drives' supervision, all of class 3.
enum Limit { kFollowingError = 0, kOverCurrent = 1, kOverTravel = 2 };

struct Entry
{
    U16 number;
    U16 subNumber;
    U16 seconds;

    bool operator==(const Entry&) const = default;
};

class AlarmsTest : public ScenarioTest
{
  protected:
    static Entry EntryOf(U16 axis, U16 index)
    {
        Entry entry{999, 999, 999};
        EXPECT_EQ(zelQ_AlarmListGet(kNumber, axis, index, &entry.number, &entry.subNumber,
                                    &entry.seconds),
                  0);
        return entry;
    }

    /// The alarm that a jog of axis 0 ends in.
    Entry JogIntoAlarm(U16 dir)
    {
        EXPECT_EQ(zelQ_MoveVel(kNumber, 0, dir), 0);
        EXPECT_TRUE(AdvanceUntil([] { return StatusOf(0).alarm != 0; }, seconds(10)));
        EXPECT_EQ(StatusOf(0).stopCause, kByAlarm);
        EXPECT_EQ(StatusOf(0).servoOn, 0);
        Entry entry = EntryOf(0, 0);
        entry.seconds = 0;
        return entry;
    }
};

TEST_F(AlarmsTest, AnAlarmStopsItsAxisUntilItIsReset)
{
    ServosOn({0, 1});
    ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    ASSERT_EQ(zelQ_MoveVel(kNumber, 1, 0), 0);
    Advance(seconds(2));
    Raise({16, 3}, 0);
    const ServoStatus stopped = StatusOf(0);
    EXPECT_EQ(stopped.alarm, 1);
    EXPECT_EQ(stopped.servoReady, 0);
    EXPECT_EQ(stopped.servoOn, 0);
    EXPECT_EQ(stopped.inMotion, 0);
    EXPECT_EQ(stopped.stopCause, kByAlarm);
    EXPECT_EQ(StatusOf(1).inMotion, 1) << "the other one goes on";
    EXPECT_EQ(EntryOf(0, 0), (Entry{16, 3, 2}));
    EXPECT_THAT((Results{zelQ_ServoOn(kNumber, 0, 1), zelQ_MoveVel(kNumber, 0, 0)}),
                Each(kInAlarm));

    ASSERT_EQ(zelQ_AlarmResetReq(kNumber, 0), 0);
    EXPECT_EQ(StatusOf(0).alarm, 0);
    EXPECT_EQ(StatusOf(0).servoReady, 1);
    EXPECT_EQ(zelQ_ServoOn(kNumber, 0, 1), 0);
    EXPECT_EQ(EntryOf(0, 0), (Entry{16, 3, 2})) << "the list remembers";
}

TEST_F(AlarmsTest, SomeAlarmsLastUntilThePowerGoesOff)
{
    constexpr std::array<U16, 2> kBoth = {2, 3};
    Raise({16, 0}, 2);
    Raise(lumosim::kEncoderAlarm, 3);
    EXPECT_EQ(zelQ_mAlarmResetReq(kNumber, 2, kBoth.data()), kAlarmLasts);
    EXPECT_EQ(StatusOf(2).alarm, 1) << "all or none";
    EXPECT_EQ(zelQ_AlarmResetReq(kNumber, 2), 0);
    EXPECT_EQ(zelQ_ServoReset(kNumber, 3), 0);
    EXPECT_EQ(StatusOf(3).alarm, 1);
    PowerCycle();
    EXPECT_EQ(StatusOf(3).alarm, 0);
    EXPECT_EQ(EntryOf(3, 0).number, 40) << "the list survives it";
    EXPECT_EQ(zelQ_mAlarmResetReq(kNumber, 2, kBoth.data()), 0);
}

TEST_F(AlarmsTest, TheListKeepsTheLatestFifteen)
{
    for (std::uint8_t number = 1; number <= 17; ++number) {
        Advance(seconds(1));
        Raise({number, static_cast<std::uint8_t>(200 + number)}, 4);
    }
    EXPECT_EQ(EntryOf(4, 0), (Entry{17, 217, 17})) << "newest first";
    EXPECT_EQ(EntryOf(4, 14), (Entry{3, 203, 3}));
    EXPECT_EQ(EntryOf(5, 0), (Entry{0, 0, 0})) << "every drive has its own";
    Raise({9, 8}, 5);

    // The reply of the call for several drives runs out after half of them.
    constexpr std::array<U16, 2> kGiven = {4, 5};
    std::array<U16, 2> numbers = {99, 99};
    std::array<U16, 2> subNumbers = {99, 99};
    std::array<U16, 2> data = {99, 99};
    EXPECT_EQ(zelQ_mAlarmListGet(kNumber, 2, kGiven.data(), 0, numbers.data(), subNumbers.data(),
                                 data.data()),
              ZELQ_REPLY_DATA_MISSING);
    EXPECT_EQ(numbers, (std::array<U16, 2>{17, 99}));
    EXPECT_EQ(subNumbers, (std::array<U16, 2>{217, 99}));

    ASSERT_EQ(zelQ_AlarmListClear(kNumber, 4), 0);
    EXPECT_EQ(EntryOf(4, 0), (Entry{0, 0, 0}));
    EXPECT_EQ(StatusOf(4).alarm, 1) << "the alarm itself stays";
    EXPECT_EQ(EntryOf(5, 0).number, 9);
    ASSERT_EQ(zelQ_mAlarmListClear(kNumber, 2, kGiven.data()), 0);
    EXPECT_EQ(EntryOf(5, 0).number, 0);
}

TEST_F(AlarmsTest, DrivesWatchTheFollowingError)
{
    // The motor runs half a millisecond behind: 31 pulses, rounded, at 61000 pulses/s.
    SetSpeed(0, 100'000, 100'000, 100'000);
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 3, kFollowingError, 30), 0);
    ServosOn({0});
    EXPECT_EQ(JogIntoAlarm(0), (Entry{20, 0, 0}));
    EXPECT_NEAR(PositionOf(), 18'600.0, 100.0) << "at 61000 pulses/s";
}

TEST_F(AlarmsTest, DrivesWatchTheCurrent)
{
    // 45 % of the rated torque, of which a torque limit leaves 35 %.
    SetSpeed(0, 2'000'000, 100'000, 2'000'000);
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 3, kOverCurrent, 40), 0);
    ServosOn({0});
    ASSERT_EQ(zelQ_TorqueLimitSet(kNumber, 0, 35, 35, 0, 0, 0, 0), 0);
    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 50'000.0), 0);
    Finish();
    EXPECT_EQ(StatusOf(0).alarm, 0);

    ASSERT_EQ(zelQ_TorqueLimitFree(kNumber, 0, 0), 0);
    EXPECT_EQ(JogIntoAlarm(1), (Entry{10, 0, 0}));
    EXPECT_EQ(PositionOf(), 50'000.0) << "as soon as it wanted to move";
}

TEST_F(AlarmsTest, DrivesWatchTheTravel)
{
    ChangeMachine([](lumosim::AxisMechanics& mechanics) {
        mechanics.negativeLimit = -5000;
        mechanics.positiveLimit = 5000;
    });
    ASSERT_EQ(zelQ_StopModeSensorOn(kNumber, 0, 0, 0), 0);
    ASSERT_EQ(zelQ_StopModeSensorOn(kNumber, 0, 1, 0), 0);
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 3, kOverTravel, 700), 0);
    ServosOn({0});
    EXPECT_EQ(JogIntoAlarm(0), (Entry{30, 0, 0}));
    EXPECT_NEAR(PositionOf(), 5700.0, 15.0);

    ASSERT_EQ(zelQ_AlarmResetReq(kNumber, 0), 0);
    ServosOn({0});
    EXPECT_EQ(JogIntoAlarm(1), (Entry{30, 1, 0})) << "the way back is free, to the other side";
    EXPECT_NEAR(PositionOf(), -5700.0, 15.0);
}

} // namespace

} // namespace zelq::test
