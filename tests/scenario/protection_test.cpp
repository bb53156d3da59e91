// What keeps axes from going too far or pushing too hard, and the hand wheel.

#include "core/hand_wheel.h"
#include "scenario/scenario_test.h"

namespace zelq::test {

namespace {

enum Mode : U16 { kOff = 0, kDecelerate = 1, kSudden = 2 };
enum Sensor : U16 { kPositive = 0, kNegative = 1, kHome = 2, kConfigurable = 3 };

/// One axis that stops from its speed on 10000² / 2 / 100000 = 500 pulses.
class Protection : public ScenarioTest
{
  protected:
    void SetUp() override
    {
        ScenarioTest::SetUp();
        SetSpeed(0, 100'000, 10'000, 100'000);
        ServosOn({0});
    }

    static void SetSoftLimits(U16 mode1, double pos1, U16 mode2, double pos2)
    {
        ASSERT_EQ(zelQ_StopModeSwLimit(kNumber, 0, mode1, pos1, mode2, pos2), 0);
    }
    static void SetSensor(Sensor s, Mode mode)
    {
        Done({zelQ_StopModeSensorOn(kNumber, 0, s, mode)});
    }
    static void LimitTorque(U16 positive, U16 negative = 500, short offset = 0)
    {
        ASSERT_EQ(zelQ_TorqueLimitSet(kNumber, 0, positive, negative, offset, 1, 2, 70'000), 0);
    }
    static auto LimitOf() { return Got<TorqueLimitStatus>(zelQ_TorqueLimitGetStatus, U16{0}); }

    lumosim::Result TurnWheel(std::int32_t notches)
    {
        return Family<lumosim::HandWheel>([=](auto& wheel) { return wheel.Turn(notches); });
    }
};

TEST_F(Protection, SoftwareLimitsStopByTheirModesAndAreReadBack)
{
    SetSoftLimits(kSudden, 5'000, kDecelerate, -2'000);
    MoveTo(7'000);
    ExpectEnd(5'000, kAtSoftwareLimit);
    EXPECT_EQ(StatusOf().softLimit, 1);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kSoftwareLimitBlocks);
    StandAt(4'900); // the way back is free
    EXPECT_EQ(StatusOf().softLimit, 0);
    StandAt(5'000); // a move may end on the limit
    Jog(1);
    ExpectEnd(-2'500, kAtSoftwareLimit, 1);
    SetSoftLimits(kOff, 5'000, kOff, -2'000);
    StandAt(-4'000);

    // They follow the counter, also when it is set on the way.
    SetSoftLimits(kSudden, 1'000, kSudden, -1'000);
    ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 900), 0);
    MoveTo(5'000);
    ExpectEnd(1'000, kAtSoftwareLimit);
    EXPECT_EQ(PlaceOf(), -3'900);
    MoveTo(-5'000);
    Advance(100ms);
    WithAxis(0, [](lumosim::Axis& axis) { axis.SetPosition(-700); });
    ExpectEnd(-1'000, kAtSoftwareLimit);

    // One that is set behind a running axis stops it there and then.
    SetSoftLimits(kOff, 0, kOff, 0);
    Jog();
    ExpectIn(1'050ms, {.at = 9'000});
    SetSoftLimits(kSudden, 2'000, kOff, 0);
    Advance(1us);
    ExpectEnd(9'000, kAtSoftwareLimit);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kSoftwareLimitBlocks);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 1), 0);

    // They are read back.
    SetSoftLimits(kSudden, 70'007.9, kDecelerate, -3);
    U16 mode1[2], mode2[2];
    double pos1[2], pos2[2];
    const U16 given[] = {3, 0};
    ASSERT_EQ(zelQ_mSwLimitGet(kNumber, 2, given, mode1, pos1, mode2, pos2), 0);
    EXPECT_THAT(mode1, ElementsAre(kOff, kSudden));
    EXPECT_THAT(pos1, ElementsAre(0, 70'007));
    EXPECT_THAT(mode2, ElementsAre(kOff, kDecelerate));
    EXPECT_THAT(pos2, ElementsAre(0, -3));
    ASSERT_EQ(zelQ_SwLimitGet(kNumber, 0, mode1, pos1, mode2, pos2), 0);
    EXPECT_EQ(pos1[0], 70'007);
}

TEST_F(Protection, TheFirstOfTwoLimitsStops)
{
    SetSoftLimits(kDecelerate, 2'000, kOff, 0);
    ChangeMachine([](lumosim::AxisMechanics& m) { m.positiveLimit = 2'400; });
    SetSensor(kPositive, kSudden);
    Jog();
    ExpectEnd(2'400, kAtLimitSensor); // a sudden one ends the braking
    SetSensor(kPositive, kDecelerate);
    StandAt(1'000);
    Jog();
    ExpectEnd(2'500, kAtSoftwareLimit, 1); // who brakes already, goes on so
}

TEST_F(Protection, SensorsStopByTheirModes)
{
    const auto jogInto = [this](const lumosim::AxisInputs& inputs) {
        SetInputs({});
        JogFor(1s);
        SetInputs(inputs);
        Advance(1ms);
    };
    jogInto({.limitNegative = true});
    EXPECT_TRUE(Moving()) << "the other direction's";
    SetInputs({.limitPositive = true, .limitNegative = true});
    ExpectIn(1ms, {.moving = 1}); // it brakes, of itself
    Finish();
    for (const auto& [sensor, inputs] :
         {std::pair{kPositive, lumosim::AxisInputs{.limitPositive = true}},
          std::pair{kHome, lumosim::AxisInputs{.homeSensor = true}},
          std::pair{kConfigurable, lumosim::AxisInputs{.configurable = true}}}) {
        for (const Mode mode : {kSudden, kDecelerate, kOff}) {
            SCOPED_TRACE(testing::Message() << "sensor " << sensor << ", mode " << mode);
            SetSensor(sensor, mode);
            jogInto(inputs);
            EXPECT_EQ(Moving(), mode != kSudden);
            ExpectIn(100ms, {.moving = mode == kOff});
            EXPECT_TRUE(mode == kOff || StatusOf().stopCause == kAtLimitSensor);
            ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);
        }
    }
    SetSensor(kPositive, kSudden);
    jogInto({.limitPositive = true});
    EXPECT_EQ(StatusOf().limitPositive, 1);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kLimitBlocks);
}

TEST_F(Protection, TheHomeSensorStopsWhereItStands)
{
    ChangeMachine([](lumosim::AxisMechanics& m) { m.homeSensor = {2'000, 2'100}; });
    StandAt(6'000); // of itself it stops nothing
    SetSensor(kHome, kSudden);
    MoveTo(0);
    ExpectEnd(2'100, kAtLimitSensor);
    StandAt(0); // it is on already
    SetInputs({.homeSensor = true});
    StandAt(6'000); // the same for one that is held on
}

TEST_F(Protection, ALostHostStopsTheAxesAfterItsTime)
{
    const auto movesIn = [this](nanoseconds time) {
        Advance(time);
        return Moving();
    };
    const auto connect = [] { ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0); };
    ASSERT_EQ(zelQ_StopModeDisconnected(kNumber, 500, 1), 0);
    Jog();
    EXPECT_TRUE(movesIn(2s)) << "a host that is silent is not lost";
    server_.DropConnections();
    EXPECT_TRUE(movesIn(499ms));
    connect();
    EXPECT_TRUE(movesIn(2s)) << "it came back in time";

    server_.With([](lumosim::Controller& c) { c.HostConnected(); });
    server_.DropConnections();
    EXPECT_TRUE(movesIn(2s)) << "another one is left";
    server_.With([](lumosim::Controller& c) { c.HostDisconnected(); });
    EXPECT_FALSE(movesIn(501ms));
    connect();
    Expect({.cause = kByLostHost});

    ASSERT_EQ(zelQ_StopModeDisconnected(kNumber, 500, 0), 0);
    Jog();
    server_.DropConnections();
    EXPECT_TRUE(movesIn(501ms)) << "it brakes";
    EXPECT_FALSE(movesIn(100ms));
    WithAxis(0, [](lumosim::Axis& axis) { axis.Jog(1); });
    EXPECT_TRUE(movesIn(1s)) << "one loss stops once";
}

TEST_F(Protection, TheHandWheelTurnsItsAxis)
{
    // Four edges a notch, both directions, times 3, divided by 8: one and a half pulses a notch.
    ASSERT_EQ(zelQ_MPGSetCfg(kNumber, 0, 2, 3, 0, 3, 8), 0);
    EXPECT_EQ(TurnWheel(101), lumosim::Result::kDone);
    Expect({.kind = 13});
    Advance(10ms);
    EXPECT_EQ(TurnWheel(1), lumosim::Result::kDone) << "while the axis still moves";
    ExpectEnd(153, kAtTarget); // the half pulses add up
    ASSERT_EQ(zelQ_MPGSetCfg(kNumber, 0, 0, 2, 1, 1, 1), 0) << "reversed, negative only";
    TurnWheel(-100);
    ExpectEnd(153, kAtTarget);
    TurnWheel(100);
    ExpectEnd(53, kAtTarget);
    Jog();
    EXPECT_EQ(TurnWheel(100), lumosim::Result::kBusy) << "another motion is not disturbed";
    ASSERT_EQ(zelQ_MPGSetCfg(kNumber, 0, 0, 0, 0, 1, 1), 0);
    EXPECT_EQ(TurnWheel(100), lumosim::Result::kDone) << "switched off it does nothing";
}

TEST_F(Protection, TorqueLimitsShowInTheStatus)
{
    // Active, upper and lower one reached, the three settings, two codes, torque, time.
    const auto limit = [] {
        const TorqueLimitStatus s = LimitOf();
        return std::vector<unsigned>{s.active, s.flag1, s.flag2,  s.word1, s.word2,
                                     s.word3,  s.word4, s.value5, s.value6};
    };
    // The acceleration takes 20 % of the rated torque, friction 5 %.
    SetSpeed(0, 1'000'000, 500'000, 1'000'000);
    LimitTorque(15, 30, -10);
    Jog();
    ExpectIn(100ms, {.torque = 14, .torqueLimited = 1}); // 15 % around -1 %
    EXPECT_THAT(limit(), ElementsAre(1, 1, 0, 15, 30, 0xFFF6, 0x0102, 140, 70'000));
    // It has fallen behind, and catches up with all that the motor has.
    After(zelQ_TorqueLimitFree(kNumber, 0, 1), 2ms, {.torque = 300, .torqueLimited = 0});
    ExpectIn(100ms, {.torque = 25});
    EXPECT_EQ(LimitOf().active, 0);
    ASSERT_EQ(zelQ_mTorqueLimitFree(kNumber, 2, Listed<short>({0, 1}), Listed({0U, 0U})), 0);
    EXPECT_EQ(LimitOf().active, 1) << "on, but holding nothing back";
    EXPECT_EQ(LimitOf().flag1, 0);
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);

    LimitTorque(500, 15);
    Jog(1);
    ExpectIn(100ms, {.torque = -15, .torqueLimited = 1});
    EXPECT_THAT(limit(), ElementsAre(1, 0, 1, 500, 15, 0, 0x0102, 150, 70'000)) << "no sign";
}

TEST_F(Protection, ATorqueModePushesWithWhatTheLimitLeaves)
{
    LimitTorque(10);
    After(zelQ_CT_SetTorque(kNumber, 0, 30.0, 6'000), 10ms,
          {.velocity = 2'500, .torque = 10}); // 5 % accelerate, 5 % are friction
    LimitTorque(20);
    ExpectIn(10ms, {.velocity = 2'500 + 7'500, .torque = 20});
    LimitTorque(50);
    ExpectIn(10ms, {.torque = 30, .torqueLimited = 0});
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);

    // A weight needs torque at rest, as long as there is current.
    WithAxis(0, [](lumosim::Axis& axis) { axis.SetLoad(-400); });
    ExpectIn(100ms, {.torque = -40});
    LimitTorque(100, 30, 50);
    ExpectIn(2ms, {.torque = -25}); // 30 % below +5 %
    After(zelQ_ServoOn(kNumber, 0, 0), 0ms, {.torque = 0, .torqueLimited = 0});
}

TEST_F(Protection, ThePowerCycleForgetsWhatIsNotSaved)
{
    SetSoftLimits(kSudden, 100, kSudden, 0);
    LimitTorque(1);
    SetSensor(kPositive, kOff);
    Done({zelQ_StopModeDisconnected(kNumber, 1, 1), zelQ_MPGSetCfg(kNumber, 0, 0, 3, 0, 1, 1)});
    PowerCycle();
    EXPECT_EQ(LimitOf().active, 0);
    EXPECT_EQ(double{Got<SpeedProfile>(zelQ_SpeedGet, short{0}).acc}, lumosim::SpeedProfile().acc);
    ServosOn({0});
    EXPECT_EQ(TurnWheel(100), lumosim::Result::kDone);
    EXPECT_FALSE(Moving()) << "the wheel is off";
    Jog();
    server_.DropConnections();
    Advance(1s);
    EXPECT_TRUE(Moving()) << "and so are software limits and the watch over the host";
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    SetInputs({.limitPositive = true});
    Finish();
    Expect({.cause = kAtLimitSensor});
}

} // namespace

} // namespace zelq::test
