// Parameters, monitors, properties and alarms of the drives.

#include "scenario/scenario_test.h"

#include <array>

namespace zelq::test {

namespace {

/// Parameters of the supervision, all of class 3.
enum Limit : U16 { kFollowingError = 0, kOverCurrent = 1, kOverTravel = 2 };

/// What a drive remembers of an alarm.
using Entry = std::array<U16, 3>; ///< number, sub-number, seconds

class Drives : public ScenarioTest
{
  protected:
    static int Get(U16 axis, U16 group, U16 no) { return Got<int>(zelQ_ParamGet, axis, group, no); }
    static unsigned Monitor(short no) { return Got<unsigned>(zelQ_MonitorRead, short{1}, no); }
    static Entry EntryOf(U16 axis, U16 index = 0)
    {
        Entry entry{};
        EXPECT_EQ(zelQ_AlarmListGet(kNumber, axis, index, &entry[0], &entry[1], &entry[2]), 0);
        return entry;
    }

    /// The alarm that a jog of axis 0 ends in, which gets ready before.
    Entry JogIntoAlarm(U16 dir)
    {
        EXPECT_EQ(zelQ_AlarmResetReq(kNumber, 0), 0);
        ServosOn({0});
        Jog(dir);
        EXPECT_TRUE(AdvanceUntil([] { return StatusOf().alarm != 0; }, 10s));
        Expect({.cause = kByAlarm, .servo = 0});
        Entry entry = EntryOf(0);
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
    const U16 given[] = {0, 2, 1};
    ASSERT_EQ(zelQ_mParamSet(kNumber, 3, given, 2, 2, Listed({11, -22, 33})), 0);
    EXPECT_EQ(Get(2, 2, 2), -22);
    EXPECT_EQ(Get(3, 2, 2), 0) << "every drive has its own";
    Done({zelQ_mParamWriteEeprom(kNumber, 2, given), zelQ_ParamSet(kNumber, 0, 2, 2, 44)});
    PowerCycle();
    std::array<int, 3> values{};
    ASSERT_EQ(zelQ_mParamGet(kNumber, 3, given, 2, 2, values.data()), 0);
    EXPECT_THAT(values, ElementsAre(11, -22, 0));
    Done({zelQ_ParamSet(kNumber, 1, 2, 2, -100), zelQ_ParamWriteEeprom(kNumber, 1)});
    PowerCycle();
    EXPECT_EQ(Get(1, 2, 2), -100);
}

TEST_F(Drives, ValidationNeedsAServoThatIsOff)
{
    constexpr short kServoIsOn = 84;
    const auto pulsesPerTurn = [this] {
        return WithAxis(0, [](lumosim::Axis& axis) {
            return axis.Parameters().InForce(lumosim::DriveSetting::kPulsesPerTurn);
        });
    };
    const auto validateBoth = [] { return zelQ_mCParamValid(kNumber, 2, Listed<U16>({1, 0})); };
    ServosOn({0});
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 0, 2, 4096), 0);
    EXPECT_EQ(Get(0, 0, 2), 4096);
    EXPECT_EQ(pulsesPerTurn(), 10'000) << "not in force yet";
    EXPECT_EQ(validateBoth(), kServoIsOn);
    Done({zelQ_ServoOn(kNumber, 0, 0), zelQ_CParamValid(kNumber, 0)});
    EXPECT_EQ(pulsesPerTurn(), 4096);
    Done(
        {validateBoth(), zelQ_ParamSet(kNumber, 0, 0, 2, 5000), zelQ_ParamWriteEeprom(kNumber, 0)});
    PowerCycle();
    EXPECT_EQ(pulsesPerTurn(), 5000) << "what was written is saved, in force or not";
}

TEST_F(Drives, MonitorsAndIdentificationShowTheDrive)
{
    const unsigned cold = Monitor(5);
    ServosOn({1});
    EXPECT_GT(Monitor(5), cold);
    JogFor(1s, 1, 1);
    std::array<unsigned, 6> values{};
    ASSERT_EQ(zelQ_mMonitorRead(kNumber, 6, Listed<short>({1, 1, 1, 1, 1, 0}),
                                Listed<U16>({0, 1, 2, 3, 4, 3}), values.data()),
              0);
    const std::vector<int> v(values.begin(), values.end());
    EXPECT_THAT(v, ElementsAre(v[0], v[1], v[2], -10'000, -50 /* friction */, 0));
    Expect({.at = v[0], .encoder = v[1], .velocity = -10'000, .error = v[2]}, 1);
    EXPECT_EQ(Monitor(5), 250U + 120 + 7) << "drive: at rest, switched on, by its load";
    EXPECT_EQ(Monitor(6), 250U + 60 + 17) << "motor";
    EXPECT_EQ(Monitor(7), 3250U - 10 - 6) << "bus";

    std::array<char, 80> id{};
    ASSERT_EQ(zelQ_ParamGetSysID(kNumber, 3, id.data()), 0);
    std::string texts;
    for (std::size_t field = 0; field < id.size(); field += 16) {
        texts += std::string(&id[field]) + ", ";
    }
    EXPECT_EQ(texts, "ZEL, Lumo Drive 400, D00903, Lumo Motor 400, M00903, ");
}

TEST_F(Drives, PropertiesAndSlavesShowInTheTypeWords)
{
    Got<ControllerStatus>(zelQ_GetAllStatus);
    ASSERT_EQ(zelQ_ServoPropertyCfg(kNumber, 2, 1, 4, 3, 2, 2, 131'072), 0);
    auto p = Got<SlaveProperty>(zelQ_SlavePropertyGet, short{2});
    EXPECT_THAT((std::vector<U16>{p.axis, p.type, p.seriesCode, p.limitLogic, p.homeLogic,
                                  p.inputUse, p.absoluteEncoder}),
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
    const auto all = Got<ControllerStatus>(zelQ_GetAllStatus); // the counter has moved
    EXPECT_EQ(all.servo[2].emergencyStop, 1);
    EXPECT_EQ(all.servo[2].seriesCode, 4);

    ServosOn({0});
    Jog();
    EXPECT_EQ(zelQ_ServoPropertyCfg(kNumber, 0, 0, 1, 0, 0, 0, 0), kBusy);
    EXPECT_EQ(zelQ_SlavePropertyGet(kNumber, 20, &p), ZELQ_BAD_AXIS);

    // A change of the slaves is seen.
    server_.With([](lumosim::Controller& c) {
        c.SetSlave({30, lumosim::SlaveType::kInput, {}});
        c.SetSlave({7, lumosim::SlaveType::kNone, {}});
    });
    std::array<SlaveProperty, 32> slaves{};
    ASSERT_EQ(zelQ_SlavePropertyGetAll(kNumber, slaves.data()), 0);
    EXPECT_EQ(slaves[6].axis, 6);
    EXPECT_EQ(slaves[7].axis, 0xFFFF);
    EXPECT_EQ(slaves[30].type, 2);
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 7, 1.0), ZELQ_NOT_A_SERVO);
    const auto status = Got<ControllerStatus>(zelQ_GetAllStatus);
    EXPECT_EQ(status.servoCount, 7);
    EXPECT_EQ(status.inputCount, 1);
}

TEST_F(Drives, AnAlarmStopsItsAxisUntilItIsReset)
{
    ServosOn({0, 1});
    Jog();
    JogFor(2s, 0, 1);
    Raise({16, 3}, 0);
    Expect({.moving = 0, .cause = kByAlarm, .servo = 0, .alarm = 1});
    EXPECT_EQ(StatusOf().servoReady, 0);
    Expect({.moving = 1}, 1); // the other one goes on
    EXPECT_EQ(EntryOf(0), (Entry{16, 3, 2}));
    Refused(kInAlarm, {zelQ_ServoOn(kNumber, 0, 1), zelQ_MoveVel(kNumber, 0, 0)});

    WithAxis(0, [](lumosim::Axis& axis) { axis.SetWarning(true); });
    After(zelQ_AlarmResetReq(kNumber, 0), 0ms, {.alarm = 0});
    EXPECT_EQ(StatusOf().servoReady, 1);
    EXPECT_EQ(StatusOf().warning, 1);
    Done({zelQ_ServoOn(kNumber, 0, 1), zelQ_ServoReset(kNumber, 0)});
    EXPECT_EQ(StatusOf().warning, 0);
    EXPECT_EQ(EntryOf(0), (Entry{16, 3, 2})) << "the list remembers";
}

TEST_F(Drives, SomeAlarmsLastUntilThePowerGoesOff)
{
    const auto resetBoth = [] { return zelQ_mAlarmResetReq(kNumber, 2, Listed<U16>({2, 3})); };
    Raise({16, 0}, 2);
    Raise(lumosim::kEncoderAlarm, 3);
    EXPECT_EQ(resetBoth(), kAlarmLasts);
    Expect({.alarm = 1}, 2); // all or none
    After({zelQ_AlarmResetReq(kNumber, 2), zelQ_ServoReset(kNumber, 3)}, 0ms, {.alarm = 1}, 3);
    PowerCycle();
    Expect({.alarm = 0}, 3);
    EXPECT_EQ(EntryOf(3)[0], 40) << "the list survives it";
    EXPECT_EQ(resetBoth(), 0);
}

TEST_F(Drives, TheListKeepsTheLatestFifteen)
{
    for (std::uint8_t number = 1; number <= 17; ++number) {
        Advance(1s);
        Raise({number, static_cast<std::uint8_t>(200 + number)}, 4);
    }
    EXPECT_EQ(EntryOf(4), (Entry{17, 217, 17})) << "newest first";
    EXPECT_EQ(EntryOf(4, 14), (Entry{3, 203, 3}));
    EXPECT_EQ(EntryOf(5), Entry()) << "every drive has its own";
    Raise({9, 8}, 5);

    // The reply of the call for several drives runs out after half of them.
    const U16 given[] = {4, 5};
    std::array<U16, 2> numbers = {99, 99};
    std::array<U16, 2> subNumbers = {99, 99};
    std::array<U16, 2> data{};
    EXPECT_EQ(
        zelQ_mAlarmListGet(kNumber, 2, given, 0, numbers.data(), subNumbers.data(), data.data()),
        ZELQ_REPLY_DATA_MISSING);
    EXPECT_THAT(numbers, ElementsAre(17, 99));
    EXPECT_THAT(subNumbers, ElementsAre(217, 99));

    ASSERT_EQ(zelQ_AlarmListClear(kNumber, 4), 0);
    EXPECT_EQ(EntryOf(4), Entry());
    Expect({.alarm = 1}, 4); // the alarm itself stays
    EXPECT_EQ(EntryOf(5)[0], 9);
    ASSERT_EQ(zelQ_mAlarmListClear(kNumber, 2, given), 0);
    EXPECT_EQ(EntryOf(5)[0], 0);
}

TEST_F(Drives, DrivesWatchTheFollowingError)
{
    // The motor runs half a millisecond behind: 31 pulses, rounded, at a little under 61000
    // pulses/s, for the acceleration takes a part of one.
    SetSpeed(0, 100'000, 100'000, 100'000);
    SetLimit(kFollowingError, 30);
    EXPECT_EQ(JogIntoAlarm(0), (Entry{20, 0, 0}));
    Expect({.at = 18'180, .within = 100});
    SetLimit(kFollowingError, 0);
    ASSERT_EQ(zelQ_AlarmResetReq(kNumber, 0), 0);
    ServosOn({0});
    Jog();
    ExpectIn(2s, {.velocity = 100'000}); // 0 is no limit
}

TEST_F(Drives, DrivesWatchTheCurrent)
{
    // 45 % of the rated torque, of which a torque limit leaves 35 %.
    SetSpeed(0, 2'000'000, 100'000, 2'000'000);
    SetLimit(kOverCurrent, 40);
    ServosOn({0});
    ASSERT_EQ(zelQ_TorqueLimitSet(kNumber, 0, 35, 35, 0, 0, 0, 0), 0);
    StandAt(50'000);
    Expect({.alarm = 0});
    ASSERT_EQ(zelQ_TorqueLimitFree(kNumber, 0, 0), 0);
    EXPECT_EQ(JogIntoAlarm(1), (Entry{10, 0, 0}));
    Expect({.at = 50'000, .within = 10}); // as soon as the torque had risen
}

TEST_F(Drives, DrivesWatchTheTravel)
{
    ChangeMachine([](lumosim::AxisMechanics& mechanics) {
        mechanics.negativeLimit = -5000;
        mechanics.positiveLimit = 5000;
    });
    Done({zelQ_StopModeSensorOn(kNumber, 0, 0, 0), zelQ_StopModeSensorOn(kNumber, 0, 1, 0)});
    SetLimit(kOverTravel, 700);
    EXPECT_EQ(JogIntoAlarm(0), (Entry{30, 0, 0}));
    Expect({.at = 5700, .within = 15});
    EXPECT_EQ(JogIntoAlarm(1), (Entry{30, 1, 0})) << "the way back is free, to the other side";
    Expect({.at = -5700, .within = 15});
}

} // namespace

} // namespace zelq::test
