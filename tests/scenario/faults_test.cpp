// What a program sees when something goes wrong with the machine, and when it is well again.

#include "faults/machine_faults.h"
#include "scenario/scenario_test.h"

#include <set>
#include <stdexcept>

namespace zelq::test {

namespace {

constexpr U16 kInputs = 30;
constexpr U16 kOutputs = 31;

class Faults : public ScenarioTest
{
  protected:
    Faults()
        : ScenarioTest(Config({{kInputs, lumosim::SlaveType::kInput, {}},
                               {kOutputs, lumosim::SlaveType::kOutput, {}}}))
    {
        server_.With([this](auto& controller) { AddMachineFaults(registry_, controller); });
    }

    void SetUp() override
    {
        ScenarioTest::SetUp();
        SetSpeed(0, 1e6, 100'000, 1e6);
        ServosOn({0});
    }

    void Apply(const std::string& name, const lumosim::FaultValues& values = {})
    {
        server_.With([&](auto&) { registry_.Apply(name, values); });
        seen_.insert(name);
    }
    void Clear(const std::string& name)
    {
        server_.With([&](auto&) { registry_.Clear(name); });
    }

    /// The worst following error while a move by 20,000 pulses runs and settles.
    double WorstErrorOfAMove()
    {
        EXPECT_EQ(zelQ_MoveRel(kNumber, 0, 20'000), 0);
        double worst = 0;
        for (int i = 0; i < 500; ++i) {
            Advance(1ms);
            worst = std::max(worst, std::abs(double{StatusOf().followingError}));
        }
        return worst;
    }

    lumosim::FaultRegistry registry_;
    std::set<std::string> seen_;
};

TEST_F(Faults, AlarmsLastUntilTheirCauseIsGone)
{
    struct Case
    {
        const char* name;
        lumosim::FaultValues values;
        U16 number, subNumber;
        bool lasts;
    };
    for (const Case& fault :
         {Case{"over-current", {}, 10, 0, false}, Case{"following-error", {}, 20, 0, false},
          Case{"over-travel", {{"direction", 1}}, 30, 1, false},
          Case{"drive-alarm", {{"number", 99}, {"sub-number", 3}}, 99, 3, false},
          Case{"encoder-failure", {}, 40, 0, true}}) {
        SCOPED_TRACE(fault.name);
        JogFor(100ms);
        Apply(fault.name, fault.values);
        ExpectIn(100ms, {.velocity = 0, .moving = 0, .cause = kByAlarm, .servo = 0, .alarm = 1});
        U16 alarm[3]{};
        ASSERT_EQ(zelQ_AlarmListGet(kNumber, 0, 0, &alarm[0], &alarm[1], &alarm[2]), 0);
        EXPECT_EQ(alarm[0], fault.number);
        EXPECT_EQ(alarm[1], fault.subNumber);
        EXPECT_EQ(zelQ_AlarmResetReq(kNumber, 0), kAlarmLasts);
        Clear(fault.name);
        EXPECT_EQ(zelQ_AlarmResetReq(kNumber, 0), fault.lasts ? kAlarmLasts : 0);
        if (!fault.lasts) ServosOn({0});
    }
    PowerCycle();
    Expect({.alarm = 0});
}

TEST_F(Faults, SensorsAndSwitchesDoNotChange)
{
    const auto home = [] { return StatusOf().homeSensor; };
    StandAt(-20'500);
    EXPECT_EQ(home(), 1);
    Apply("sensor-stuck-off");
    EXPECT_EQ(home(), 0);
    Apply("sensor-stuck-on");
    StandAt(0);
    EXPECT_EQ(home(), 1);
    Clear("sensor-stuck-on");
    EXPECT_EQ(home(), 0);

    // A limit switch that does not come on lets the axis run to its stopper.
    Apply("sensor-stuck-off", {{"input", 0}});
    SetSpeed(0, 1e6, 500'000, 1e6);
    Jog();
    Finish();
    Expect({.encoder = 10'050'000, .cause = kByAlarm});
    Clear("sensor-stuck-off");
    EXPECT_EQ(StatusOf().limitPositive, 1);
}

TEST_F(Faults, SwitchesThatAreHeldStop)
{
    JogFor(100ms);
    Apply("limit-pressed", {{"direction", 1}});
    ExpectIn(10ms, {.moving = 1}); // the other way
    Apply("limit-pressed");
    Finish();
    Expect({.cause = kAtLimitSensor});
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kLimitBlocks);
    Clear("limit-pressed");

    JogFor(100ms);
    Apply("emergency-stop");
    Expect({.moving = 0, .cause = kByEmergencyStop});
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kEmergencyStopped);
    Clear("emergency-stop");
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
}

TEST_F(Faults, LoadsTakeTorqueAndThenFollowing)
{
    const double well = WorstErrorOfAMove();
    EXPECT_LT(well, 70);
    Apply("heavy-load", {{"factor", 10}}); // 200 % to speed up with
    EXPECT_LT(WorstErrorOfAMove(), 100);
    Apply("heavy-load", {{"factor", 20}}); // 400 %
    EXPECT_GT(WorstErrorOfAMove(), 500);
    ExpectIn(500ms, {.error = 0, .inPosition = 1});
    Clear("heavy-load");

    Apply("weight", {{"torque", -40}});
    ExpectIn(50ms, {.torque = -40, .error = 0});
    Apply("weight", {{"torque", 350 - 60}}); // with 25 % for the motion more than there is
    EXPECT_GT(WorstErrorOfAMove(), 70);
    Clear("weight");

    Apply("jam", {{"torque", 200}});
    EXPECT_LT(WorstErrorOfAMove(), 70);
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 3, 0, 5'000), 0);
    Apply("jam");
    WorstErrorOfAMove();
    Expect({.cause = kByAlarm, .alarm = 1});
    Clear("jam");
}

TEST_F(Faults, ABrakeThatStaysShutHoldsTheMotor)
{
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 3, 0, 5'000), 0);
    JogFor(100ms);
    Apply("brake-stuck");
    Advance(2ms);
    const double here = StatusOf().encoderPosition;
    ExpectIn(500ms, {.encoder = here, .velocity = 0, .cause = kByAlarm, .alarm = 1});
    Clear("brake-stuck");
    ASSERT_EQ(zelQ_AlarmResetReq(kNumber, 0), 0);
    ServosOn({0});
    EXPECT_LT(WorstErrorOfAMove(), 70);
}

TEST_F(Faults, ASlipMovesTheMachineAgainstItsCounters)
{
    ChangeMachine([](lumosim::AxisMechanics& m) { m.homeSensor = {1'000, 1'100}; });
    StandAt(1'050);
    EXPECT_EQ(StatusOf().homeSensor, 1);
    Apply("encoder-slip", {{"pulses", 300}});
    Expect({.at = 1'050, .error = 300, .inPosition = 0});
    ExpectIn(50ms, {.at = 1'050, .encoder = 1'050, .inPosition = 1});
    EXPECT_EQ(StatusOf().homeSensor, 0);
    StandAt(750);
    EXPECT_EQ(StatusOf().homeSensor, 1);
}

TEST_F(Faults, WhatTheEepromDoesNotKeepIsGoneWithThePower)
{
    const auto kept = [this] {
        Done({zelQ_ParamSet(kNumber, 0, 2, 2, 44), zelQ_ParamWriteEeprom(kNumber, 0)});
        Apply("power-cycle");
        Expect({.servo = 0});
        return Got<int>(zelQ_ParamGet, U16{0}, U16{2}, U16{2}) == 44;
    };
    Apply("eeprom-worn");
    EXPECT_FALSE(kept());
    Clear("eeprom-worn");
    EXPECT_TRUE(kept());
    EXPECT_EQ(Got<ControllerStatus>(zelQ_GetAllStatus).servo[0].homeDone, 0);
}

TEST_F(Faults, SlavesLeaveTheNetworkAndComeBack)
{
    const auto counts = [] {
        const auto all = Got<ControllerStatus>(zelQ_GetAllStatus);
        return std::array<int, 3>{all.servoCount, all.inputCount, all.outputCount};
    };
    EXPECT_THAT(counts(), ElementsAre(8, 1, 1));
    Apply("drive-lost", {{"axis", 2}});
    EXPECT_THAT(counts(), ElementsAre(7, 1, 1));
    Apply("drive-lost", {{"axis", 3}}); // the other one is back
    Apply("input-slave-lost", {{"station", kInputs}});
    Apply("output-slave-lost", {{"station", kOutputs}});
    EXPECT_THAT(counts(), ElementsAre(7, 0, 0));
    EXPECT_EQ(zelQ_ServoOn(kNumber, 2, 1), 0);
    EXPECT_THROW(Apply("drive-lost", {{"axis", 30}}), std::invalid_argument);
    server_.With([this](auto&) { registry_.ClearAll(); });
    EXPECT_THAT(counts(), ElementsAre(8, 1, 1));
}

TEST_F(Faults, AFailedNetworkLeavesEveryAxisAlone)
{
    constexpr short kNetworkDown = 101;
    JogFor(100ms);
    Apply("network-down");
    ExpectIn(500ms, {.velocity = 0, .cause = kByServoOff, .servo = 0});
    Apply("power-cycle"); // it does not mend it
    Refused(kNetworkDown, {zelQ_ServoOn(kNumber, 0, 1)});
    Clear("network-down");
    ServosOn({0});
    Expect({.servo = 1});
}

} // namespace

} // namespace zelq::test
