// Parameters, monitors, properties and alarms of the drives.

#include "scenario/scenario_test.h"

#include <array>

namespace zelq::test {

namespace {

constexpr short kServoIsOn = 84;

/// Parameters of the supervision, all of class 3.
enum Limit : U16 { kFollowingError = 0, kOverCurrent = 1, kOverTravel = 2 };

/// What a drive remembers of an alarm.
using Entry = std::array<U16, 3>; ///< number, sub-number, seconds

class Drives : public ScenarioTest
{
  protected:
    static int Get(U16 axis, U16 prmClass, U16 prmNo)
    {
        int value = -999;
        EXPECT_EQ(zelQ_ParamGet(kNumber, axis, prmClass, prmNo, &value), 0);
        return value;
    }

    static int Monitor(short axis, short number)
    {
        unsigned int value = 0;
        EXPECT_EQ(zelQ_MonitorRead(kNumber, axis, number, &value), 0);
        return static_cast<int>(value);
    }

    static Entry EntryOf(U16 axis, U16 index)
    {
        Entry entry{};
        EXPECT_EQ(zelQ_AlarmListGet(kNumber, axis, index, &entry[0], &entry[1], &entry[2]), 0);
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
        entry[2] = 0;
        return entry;
    }

    /// Writes a parameter of the drive's supervision.
    static void SetLimit(U16 number, int value)
    {
        ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 3, number, value), 0);
    }
};

TEST_F(Drives, OnlyWhatWasSavedSurvivesThePowerCycle)
{
    constexpr std::array<U16, 3> kGiven = {0, 2, 1};
    constexpr std::array<int, 3> kValues = {11, -22, 33};
    ASSERT_EQ(zelQ_mParamSet(kNumber, 3, kGiven.data(), 2, 2, kValues.data()), 0);
    EXPECT_EQ(Get(2, 2, 2), -22);
    EXPECT_EQ(Get(3, 2, 2), 0) << "every drive has its own";
    constexpr std::array<U16, 2> kSaved = {0, 2};
    ASSERT_EQ(zelQ_mParamWriteEeprom(kNumber, 2, kSaved.data()), 0);
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 2, 2, 44), 0);
    PowerCycle();
    std::array<int, 3> values{};
    ASSERT_EQ(zelQ_mParamGet(kNumber, 3, kGiven.data(), 2, 2, values.data()), 0);
    EXPECT_EQ(values, (std::array<int, 3>{11, -22, 0}));

    ASSERT_EQ(zelQ_ParamSet(kNumber, 1, 2, 2, -100), 0);
    ASSERT_EQ(zelQ_ParamWriteEeprom(kNumber, 1), 0);
    PowerCycle();
    EXPECT_EQ(Get(1, 2, 2), -100);
}

TEST_F(Drives, ValidationNeedsAServoThatIsOff)
{
    const auto pulsesPerTurn = [this] {
        return server_.With([](lumosim::Controller& c) {
            return c.AxisAt(0).Parameters().InForce(lumosim::DriveSetting::kPulsesPerTurn);
        });
    };
    ServosOn({0});
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 0, 2, 4096), 0);
    EXPECT_EQ(Get(0, 0, 2), 4096);
    EXPECT_EQ(pulsesPerTurn(), 10'000) << "not in force yet";
    constexpr std::array<U16, 2> kBoth = {1, 0};
    EXPECT_EQ(zelQ_mCParamValid(kNumber, 2, kBoth.data()), kServoIsOn);
    ASSERT_EQ(zelQ_ServoOn(kNumber, 0, 0), 0);
    ASSERT_EQ(zelQ_CParamValid(kNumber, 0), 0);
    EXPECT_EQ(pulsesPerTurn(), 4096);
    EXPECT_EQ(zelQ_mCParamValid(kNumber, 2, kBoth.data()), 0);
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 0, 2, 5000), 0);
    ASSERT_EQ(zelQ_ParamWriteEeprom(kNumber, 0), 0);
    PowerCycle();
    EXPECT_EQ(pulsesPerTurn(), 5000) << "what was written is saved, in force or not";
}

TEST_F(Drives, DrivesIdentifyThemselves)
{
    std::array<char, 80> id{};
    ASSERT_EQ(zelQ_ParamGetSysID(kNumber, 3, id.data()), 0);
    const auto text = [&](std::size_t field) { return std::string(&id[16 * field]); };
    EXPECT_EQ(text(0) + ", " + text(1) + ", " + text(2) + ", " + text(3) + ", " + text(4),
              "ZEL, Lumo Drive 400, D00903, Lumo Motor 400, M00903");
}

TEST_F(Drives, MonitorsShowTheDrive)
{
    const int cold = Monitor(1, 5);
    ServosOn({1});
    EXPECT_GT(Monitor(1, 5), cold);
    ASSERT_EQ(zelQ_MoveVel(kNumber, 1, 1), 0);
    Advance(seconds(1));
    constexpr std::array<short, 6> kItems = {1, 1, 1, 1, 1, 0};
    constexpr std::array<U16, 6> kMonitors = {0, 1, 2, 3, 4, 3};
    std::array<unsigned int, 6> values{};
    ASSERT_EQ(zelQ_mMonitorRead(kNumber, 6, kItems.data(), kMonitors.data(), values.data()), 0);
    const ServoStatus status = StatusOf(1);
    EXPECT_EQ(static_cast<int>(values[0]), double{status.commandPosition});
    EXPECT_EQ(static_cast<int>(values[1]), double{status.encoderPosition});
    EXPECT_EQ(static_cast<int>(values[2]), double{status.followingError});
    EXPECT_EQ(static_cast<int>(values[3]), -10'000);
    EXPECT_EQ(static_cast<int>(values[4]), -50) << "friction";
    EXPECT_EQ(values[5], 0U);
    EXPECT_EQ(Monitor(1, 5), 250 + 120 + 7) << "drive: at rest, switched on, by its load";
    EXPECT_EQ(Monitor(1, 6), 250 + 60 + 17) << "motor";
    EXPECT_EQ(Monitor(1, 7), 3250 - 10 - 6) << "bus";
}

TEST_F(Drives, PropertiesShowInTheTypeWord)
{
    ControllerStatus before{};
    ASSERT_EQ(zelQ_GetAllStatus(kNumber, &before), 0);
    ASSERT_EQ(zelQ_ServoPropertyCfg(kNumber, 2, 1, 4, 3, 2, 2, 131'072), 0);

    SlaveProperty property{};
    ASSERT_EQ(zelQ_SlavePropertyGet(kNumber, 2, &property), 0);
    EXPECT_THAT(
        (std::vector<U16>{property.axis, property.type, property.seriesCode, property.limitLogic,
                          property.homeLogic, property.inputUse, property.absoluteEncoder}),
        ElementsAre(2, 1, 4, 3, 2, 2, 1));
    EXPECT_EQ(Get(2, 0, 2), 131'072) << "pulses of a turn";
    const auto counter = [this] {
        return server_.With([](lumosim::Controller& c) { return c.ConfigurationCounter(); });
    };
    const lumosim::Word moved = counter();
    ASSERT_EQ(zelQ_ServoPropertyCfg(kNumber, 2, 1, 4, 3, 2, 2, 0), 0);
    EXPECT_EQ(counter(), moved) << "nothing has changed";
    EXPECT_EQ(Get(2, 0, 2), 131'072);

    // The configurable input is the emergency stop now.
    SetInputs({.configurable = true}, 2);
    ControllerStatus after{};
    ASSERT_EQ(zelQ_GetAllStatus(kNumber, &after), 0) << "the counter has moved";
    EXPECT_EQ(after.servo[2].emergencyStop, 1);
    EXPECT_EQ(after.servo[2].seriesCode, 4);

    ServosOn({0});
    ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    EXPECT_EQ(zelQ_ServoPropertyCfg(kNumber, 0, 0, 1, 0, 0, 0, 0), kBusy);
    EXPECT_EQ(zelQ_SlavePropertyGet(kNumber, 20, &property), ZELQ_BAD_AXIS);
}

TEST_F(Drives, AChangeOfTheSlavesIsSeen)
{
    server_.With([](lumosim::Controller& c) {
        c.SetSlave({30, lumosim::SlaveType::kInput, {}});
        c.SetSlave({7, lumosim::SlaveType::kNone, {}});
    });
    std::array<SlaveProperty, 32> all{};
    ASSERT_EQ(zelQ_SlavePropertyGetAll(kNumber, all.data()), 0);
    EXPECT_EQ(all[6].axis, 6);
    EXPECT_EQ(all[7].axis, 0xFFFF);
    EXPECT_EQ(all[30].type, 2);
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 7, 1.0), ZELQ_NOT_A_SERVO);
    ControllerStatus status{};
    ASSERT_EQ(zelQ_GetAllStatus(kNumber, &status), 0);
    EXPECT_EQ(status.servoCount, 7);
    EXPECT_EQ(status.inputCount, 1);
}

TEST_F(Drives, AnAlarmStopsItsAxisUntilItIsReset)
{
    ServosOn({0, 1});
    ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    ASSERT_EQ(zelQ_MoveVel(kNumber, 1, 0), 0);
    Advance(seconds(2));
    Raise({16, 3}, 0);
    const ServoStatus stopped = StatusOf(0);
    EXPECT_THAT(
        (std::vector<U16>{stopped.alarm, stopped.servoReady, stopped.servoOn, stopped.inMotion}),
        ElementsAre(1, 0, 0, 0));
    EXPECT_EQ(stopped.stopCause, kByAlarm);
    EXPECT_EQ(StatusOf(1).inMotion, 1) << "the other one goes on";
    EXPECT_EQ(EntryOf(0, 0), (Entry{16, 3, 2}));
    EXPECT_THAT((Results{zelQ_ServoOn(kNumber, 0, 1), zelQ_MoveVel(kNumber, 0, 0)}),
                Each(kInAlarm));

    WithAxis(0, [](lumosim::Axis& axis) { axis.SetWarning(true); });
    ASSERT_EQ(zelQ_AlarmResetReq(kNumber, 0), 0);
    EXPECT_EQ(StatusOf(0).alarm, 0);
    EXPECT_EQ(StatusOf(0).servoReady, 1);
    EXPECT_EQ(StatusOf(0).warning, 1);
    EXPECT_EQ(zelQ_ServoOn(kNumber, 0, 1), 0);
    ASSERT_EQ(zelQ_ServoReset(kNumber, 0), 0);
    EXPECT_EQ(StatusOf(0).warning, 0);
    EXPECT_EQ(EntryOf(0, 0), (Entry{16, 3, 2})) << "the list remembers";
}

TEST_F(Drives, SomeAlarmsLastUntilThePowerGoesOff)
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
    EXPECT_EQ(EntryOf(3, 0)[0], 40) << "the list survives it";
    EXPECT_EQ(zelQ_mAlarmResetReq(kNumber, 2, kBoth.data()), 0);
}

TEST_F(Drives, TheListKeepsTheLatestFifteen)
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
    EXPECT_EQ(EntryOf(5, 0)[0], 9);
    ASSERT_EQ(zelQ_mAlarmListClear(kNumber, 2, kGiven.data()), 0);
    EXPECT_EQ(EntryOf(5, 0)[0], 0);
}

TEST_F(Drives, DrivesWatchTheFollowingError)
{
    // The motor runs half a millisecond behind: 31 pulses, rounded, at 61000 pulses/s.
    SetSpeed(0, 100'000, 100'000, 100'000);
    SetLimit(kFollowingError, 30);
    ServosOn({0});
    EXPECT_EQ(JogIntoAlarm(0), (Entry{20, 0, 0}));
    EXPECT_NEAR(PositionOf(), 18'600.0, 100.0) << "at 61000 pulses/s";
    SetLimit(kFollowingError, 0);
    ASSERT_EQ(zelQ_AlarmResetReq(kNumber, 0), 0);
    ServosOn({0});
    ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    EXPECT_EQ(VelocityIn(seconds(2)), 100'000) << "0 is no limit";
}

TEST_F(Drives, DrivesWatchTheCurrent)
{
    // 45 % of the rated torque, of which a torque limit leaves 35 %.
    SetSpeed(0, 2'000'000, 100'000, 2'000'000);
    SetLimit(kOverCurrent, 40);
    ServosOn({0});
    ASSERT_EQ(zelQ_TorqueLimitSet(kNumber, 0, 35, 35, 0, 0, 0, 0), 0);
    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 50'000.0), 0);
    Finish();
    EXPECT_EQ(StatusOf(0).alarm, 0);

    ASSERT_EQ(zelQ_TorqueLimitFree(kNumber, 0, 0), 0);
    EXPECT_EQ(JogIntoAlarm(1), (Entry{10, 0, 0}));
    EXPECT_EQ(PositionOf(), 50'000.0) << "as soon as it wanted to move";
}

TEST_F(Drives, DrivesWatchTheTravel)
{
    ChangeMachine([](lumosim::AxisMechanics& mechanics) {
        mechanics.negativeLimit = -5000;
        mechanics.positiveLimit = 5000;
    });
    ASSERT_EQ(zelQ_StopModeSensorOn(kNumber, 0, 0, 0), 0);
    ASSERT_EQ(zelQ_StopModeSensorOn(kNumber, 0, 1, 0), 0);
    SetLimit(kOverTravel, 700);
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
