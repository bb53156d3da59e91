// What keeps axes from going too far or pushing too hard, and the hand wheel.

#include "core/hand_wheel.h"
#include "scenario/scenario_test.h"

#include <array>

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

    static void MoveTo(double target) { ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, target), 0); }
    static void Jog(U16 dir = 0) { ASSERT_EQ(zelQ_MoveVel(kNumber, 0, dir), 0); }

    static void SetSoftLimits(U16 mode1, double pos1, U16 mode2, double pos2)
    {
        ASSERT_EQ(zelQ_StopModeSwLimit(kNumber, 0, mode1, pos1, mode2, pos2), 0);
    }
    static void SetSensor(Sensor sensor, Mode mode)
    {
        ASSERT_EQ(zelQ_StopModeSensorOn(kNumber, 0, sensor, mode), 0);
    }
    static void LimitTorque(U16 positive, U16 negative = 500, short offset = 0)
    {
        ASSERT_EQ(zelQ_TorqueLimitSet(kNumber, 0, positive, negative, offset, 1, 2, 70'000), 0);
    }
    static TorqueLimitStatus LimitOf()
    {
        TorqueLimitStatus status{};
        EXPECT_EQ(zelQ_TorqueLimitGetStatus(kNumber, 0, &status), 0);
        return status;
    }

    bool Moving()
    {
        return WithAxis(0, [](lumosim::Axis& axis) { return axis.Moving(); });
    }
    lumosim::Result TurnWheel(std::int32_t notches)
    {
        return server_.With(
            [&](lumosim::Controller& c) { return c.Get<lumosim::HandWheel>().Turn(notches); });
    }
};

TEST_F(Protection, SoftwareLimitsStopByTheirModes)
{
    SetSoftLimits(kSudden, 5'000, kDecelerate, -2'000);
    MoveTo(7'000);
    ExpectEnd(5'000, kAtSoftwareLimit);
    EXPECT_EQ(StatusOf(0).softLimit, 1);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kSoftwareLimitBlocks);
    MoveTo(4'900); // the way back is free
    ExpectEnd(4'900, kAtTarget);
    EXPECT_EQ(StatusOf(0).softLimit, 0);
    MoveTo(5'000); // a move may end on the limit
    ExpectEnd(5'000, kAtTarget);
    Jog(1);
    ExpectEnd(-2'500, kAtSoftwareLimit, 1);
    SetSoftLimits(kOff, 5'000, kOff, -2'000);
    MoveTo(-4'000);
    ExpectEnd(-4'000, kAtTarget);

    // They follow the counter, also when it is set on the way.
    SetSoftLimits(kSudden, 1'000, kSudden, -1'000);
    ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 900), 0);
    MoveTo(5'000);
    ExpectEnd(1'000, kAtSoftwareLimit);
    EXPECT_EQ(PlaceOf(), -3'900);
    MoveTo(-5'000);
    Advance(milliseconds(100));
    WithAxis(0, [](lumosim::Axis& axis) { axis.SetPosition(-700); });
    ExpectEnd(-1'000, kAtSoftwareLimit);

    // One that is set behind a running axis stops it there and then.
    SetSoftLimits(kOff, 0, kOff, 0);
    Jog();
    EXPECT_EQ(PositionIn(milliseconds(1'050)), 9'000);
    SetSoftLimits(kSudden, 2'000, kOff, 0);
    Advance(microseconds(1));
    ExpectEnd(9'000, kAtSoftwareLimit);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kSoftwareLimitBlocks);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 1), 0);
}

TEST_F(Protection, SoftwareLimitsAreReadBack)
{
    SetSoftLimits(kSudden, 70'007.9, kDecelerate, -3);
    constexpr std::array<U16, 2> kGiven = {3, 0};
    std::array<U16, 2> mode1{};
    std::array<U16, 2> mode2{};
    std::array<double, 2> pos1{};
    std::array<double, 2> pos2{};
    ASSERT_EQ(zelQ_mSwLimitGet(kNumber, 2, kGiven.data(), mode1.data(), pos1.data(), mode2.data(),
                               pos2.data()),
              0);
    EXPECT_EQ(mode1, (std::array<U16, 2>{kOff, kSudden}));
    EXPECT_EQ(pos1, (std::array<double, 2>{0, 70'007}));
    EXPECT_EQ(mode2, (std::array<U16, 2>{kOff, kDecelerate}));
    EXPECT_EQ(pos2, (std::array<double, 2>{0, -3}));
    ASSERT_EQ(zelQ_SwLimitGet(kNumber, 0, mode1.data(), pos1.data(), mode2.data(), pos2.data()), 0);
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
    MoveTo(1'000);
    Finish();
    Jog();
    ExpectEnd(2'500, kAtSoftwareLimit, 1); // who brakes already, goes on so
}

TEST_F(Protection, SensorsStopByTheirModes)
{
    const auto jogInto = [this](const lumosim::AxisInputs& inputs) {
        SetInputs({});
        Jog();
        Advance(seconds(1));
        SetInputs(inputs);
        Advance(milliseconds(1));
    };
    jogInto({.limitNegative = true});
    EXPECT_TRUE(Moving()) << "the other direction's";
    SetInputs({.limitPositive = true, .limitNegative = true});
    Advance(milliseconds(1));
    EXPECT_TRUE(Moving()) << "it brakes, of itself";
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
            Advance(milliseconds(100));
            EXPECT_EQ(Moving(), mode == kOff);
            EXPECT_TRUE(mode == kOff || StatusOf(0).stopCause == kAtLimitSensor);
            ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);
        }
    }
    SetSensor(kPositive, kSudden);
    jogInto({.limitPositive = true});
    EXPECT_EQ(StatusOf(0).limitPositive, 1);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kLimitBlocks);
}

TEST_F(Protection, TheHomeSensorStopsWhereItStands)
{
    ChangeMachine([](lumosim::AxisMechanics& m) { m.homeSensor = {2'000, 2'100}; });
    MoveTo(6'000);
    ExpectEnd(6'000, kAtTarget); // of itself it stops nothing
    SetSensor(kHome, kSudden);
    MoveTo(0);
    ExpectEnd(2'100, kAtLimitSensor);
    MoveTo(0);
    ExpectEnd(0, kAtTarget); // it is on already
    SetInputs({.homeSensor = true});
    MoveTo(6'000);
    ExpectEnd(6'000, kAtTarget); // the same for one that is held on
}

TEST_F(Protection, ALostHostStopsTheAxesAfterItsTime)
{
    ASSERT_EQ(zelQ_StopModeDisconnected(kNumber, 500, 1), 0);
    Jog();
    Advance(seconds(2));
    EXPECT_TRUE(Moving()) << "a host that is silent is not lost";
    server_.DropConnections();
    Advance(milliseconds(499));
    EXPECT_TRUE(Moving());
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    Advance(seconds(2));
    EXPECT_TRUE(Moving()) << "it came back in time";

    server_.With([](lumosim::Controller& c) { c.HostConnected(); });
    server_.DropConnections();
    Advance(seconds(2));
    EXPECT_TRUE(Moving()) << "another one is left";
    server_.With([](lumosim::Controller& c) { c.HostDisconnected(); });
    Advance(milliseconds(501));
    EXPECT_FALSE(Moving());
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    EXPECT_EQ(StatusOf(0).stopCause, kByLostHost);

    ASSERT_EQ(zelQ_StopModeDisconnected(kNumber, 500, 0), 0);
    Jog();
    server_.DropConnections();
    Advance(milliseconds(501));
    EXPECT_TRUE(Moving()) << "it brakes";
    Advance(milliseconds(100));
    EXPECT_FALSE(Moving());
    WithAxis(0, [](lumosim::Axis& axis) { axis.Jog(1); });
    Advance(seconds(1));
    EXPECT_TRUE(Moving()) << "one loss stops once";
}

TEST_F(Protection, TheHandWheelTurnsItsAxis)
{
    // Four edges a notch, both directions, times 3, divided by 8: one and a half pulses a notch.
    ASSERT_EQ(zelQ_MPGSetCfg(kNumber, 0, 2, 3, 0, 3, 8), 0);
    EXPECT_EQ(TurnWheel(101), lumosim::Result::kDone);
    EXPECT_EQ(StatusOf(0).motionKind, 13);
    Advance(milliseconds(10));
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
    // The acceleration takes 20 % of the rated torque, friction 5 %.
    SetSpeed(0, 1'000'000, 500'000, 1'000'000);
    LimitTorque(15, 30, -10);
    Jog();
    Advance(milliseconds(100));
    EXPECT_NEAR(TorqueOf(), 14.0, 1e-9) << "15 % around -1 %";
    EXPECT_EQ(StatusOf(0).torqueLimited, 1);
    TorqueLimitStatus status = LimitOf();
    EXPECT_EQ(status.active, 1);
    EXPECT_EQ(status.flag1, 1);
    EXPECT_EQ(status.flag2, 0);
    EXPECT_EQ(status.word1, 15);
    EXPECT_EQ(status.word2, 30);
    EXPECT_EQ(status.word3, 0xFFF6);
    EXPECT_EQ(status.word4, 0x0102);
    EXPECT_EQ(status.value5, 140U);
    EXPECT_EQ(status.value6, 70'000U);
    ASSERT_EQ(zelQ_TorqueLimitFree(kNumber, 0, 1), 0);
    EXPECT_NEAR(TorqueOf(), 25.0, 1e-9);
    EXPECT_EQ(StatusOf(0).torqueLimited, 0);
    EXPECT_EQ(LimitOf().active, 0);
    constexpr std::array<short, 2> kGiven = {0, 1};
    constexpr std::array<unsigned, 2> kValues = {0, 0};
    ASSERT_EQ(zelQ_mTorqueLimitFree(kNumber, 2, kGiven.data(), kValues.data()), 0);
    EXPECT_EQ(LimitOf().active, 1) << "on, but holding nothing back";
    EXPECT_EQ(LimitOf().flag1, 0);
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);

    LimitTorque(500, 15);
    Jog(1);
    Advance(milliseconds(100));
    EXPECT_NEAR(TorqueOf(), -15.0, 1e-9);
    EXPECT_EQ(StatusOf(0).torqueLimited, 1);
    status = LimitOf();
    EXPECT_EQ(status.flag1, 0);
    EXPECT_EQ(status.flag2, 1);
    EXPECT_EQ(status.value5, 150U) << "without its sign";
}

TEST_F(Protection, ATorqueModePushesWithWhatTheLimitLeaves)
{
    LimitTorque(10);
    ASSERT_EQ(zelQ_CT_SetTorque(kNumber, 0, 30.0, 6'000), 0);
    Advance(milliseconds(10));
    EXPECT_NEAR(TorqueOf(), 10.0, 1e-9);
    EXPECT_EQ(VelocityOf(), 2'500) << "5 % accelerate, 5 % are friction";
    LimitTorque(20);
    Advance(milliseconds(10));
    EXPECT_NEAR(TorqueOf(), 20.0, 1e-9);
    EXPECT_EQ(VelocityOf(), 2'500 + 7'500);
    LimitTorque(50);
    Advance(milliseconds(10));
    EXPECT_NEAR(TorqueOf(), 30.0, 1e-9);
    EXPECT_EQ(StatusOf(0).torqueLimited, 0);
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);

    // A weight needs torque at rest, as long as there is current.
    WithAxis(0, [](lumosim::Axis& axis) { axis.SetLoad(-400); });
    EXPECT_NEAR(TorqueOf(), -40.0, 1e-9);
    LimitTorque(100, 30, 50);
    EXPECT_NEAR(TorqueOf(), -25.0, 1e-9) << "30 % below +5 %";
    ASSERT_EQ(zelQ_ServoOn(kNumber, 0, 0), 0);
    EXPECT_EQ(TorqueOf(), 0);
    EXPECT_EQ(StatusOf(0).torqueLimited, 0);
}

TEST_F(Protection, ThePowerCycleForgetsWhatIsNotSaved)
{
    SetSoftLimits(kSudden, 100, kSudden, 0);
    LimitTorque(1);
    SetSensor(kPositive, kOff);
    ASSERT_EQ(zelQ_StopModeDisconnected(kNumber, 1, 1), 0);
    ASSERT_EQ(zelQ_MPGSetCfg(kNumber, 0, 0, 3, 0, 1, 1), 0);
    PowerCycle();
    EXPECT_EQ(LimitOf().active, 0);
    SpeedProfile profile{};
    ASSERT_EQ(zelQ_SpeedGet(kNumber, 0, &profile), 0);
    EXPECT_EQ(double{profile.acc}, lumosim::SpeedProfile().acc);
    ServosOn({0});
    EXPECT_EQ(TurnWheel(100), lumosim::Result::kDone);
    EXPECT_FALSE(Moving()) << "the wheel is off";
    Jog();
    server_.DropConnections();
    Advance(seconds(1));
    EXPECT_TRUE(Moving()) << "and so are software limits and the watch over the host";
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    SetInputs({.limitPositive = true});
    Finish();
    EXPECT_EQ(StatusOf(0).stopCause, kAtLimitSensor);
}

} // namespace

} // namespace zelq::test
