// Servo, moves, stops, searches, overrides and drive modes, from the call to the motor.

#include "scenario/scenario_test.h"

#include <array>
#include <cmath>

namespace zelq::test {

namespace {

constexpr std::array<short, 2> kPair = {0, 1};
constexpr std::array<U16, 2> kPairList = {0, 1};

enum MotionKind : U16 {
    kJog = 1,
    kRelative = 3,
    kSearch = 4,
    kTorque = 10,
    kVelocity = 11,
    kProfilePosition = 12
};

/// Two axes at 5000 pulses/s, which they brake from on 1250 pulses; the second one in half pulses.
class PointToPoint : public ScenarioTest
{
  protected:
    PointToPoint() : ScenarioTest(Config({}, SmallMachine())) {}

    void SetUp() override
    {
        ScenarioTest::SetUp();
        ASSERT_EQ(zelQ_UnitPerPulseSet(kNumber, 1, 0.5), 0);
        SetSpeed(0, 20'000, 5'000, 10'000);
        SetSpeed(1, 10'000, 2'500, 5'000);
        ServosOn({0, 1});
    }

    void JogFor(std::chrono::nanoseconds time, U16 dir = 0)
    {
        ASSERT_EQ(zelQ_MoveVel(kNumber, 0, dir), 0);
        Advance(time);
    }

    void PlaceAt(double place)
    {
        ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, place), 0);
        ASSERT_EQ(PositionAtRest(), place);
    }

    /// Code, flag, mode and position.
    static std::vector<double> Search()
    {
        SearchStatus s{};
        EXPECT_EQ(zelQ_SearchGetStatus(kNumber, 0, &s), 0);
        return {1.0 * s.code, 1.0 * s.flag, 1.0 * s.mode, s.pos};
    }

    /// To the end of the motion; the speed may change no faster than by `rate`, pulses/s².
    void FinishSmoothly(double rate)
    {
        const auto speed = [](lumosim::Axis& axis) { return axis.Physical().velocity; };
        double before = WithAxis(0, speed);
        while (WithAxis(0, [](lumosim::Axis& axis) { return axis.Moving(); })) {
            Advance(milliseconds(1));
            const double now = WithAxis(0, speed);
            ASSERT_LE(std::abs(now - before), rate / 1000 + 1e-6);
            before = now;
        }
    }
};

TEST_F(PointToPoint, AServoTakesItsTimeAndAMoveWaitsForIt)
{
    EXPECT_EQ(zelQ_MoveVel(kNumber, 2, 0), kServoOff);
    ASSERT_EQ(zelQ_ServoOn(kNumber, 2, 1), 0);
    ASSERT_EQ(zelQ_MoveVel(kNumber, 2, 0), 0);
    Advance(lumosim::Axis::kServoOnTime - microseconds(1));
    EXPECT_EQ(StatusOf(2).servoOn, 0);
    EXPECT_EQ(PositionOf(2), 0);
    EXPECT_EQ(VelocityOf(2), 0);
    Advance(milliseconds(10));
    EXPECT_EQ(StatusOf(2).servoOn, 1);
    EXPECT_GT(PositionOf(2), 0);
}

TEST_F(PointToPoint, AMoveShowsInTheStatusFromBeginToEnd)
{
    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, -5'000), 0);
    Advance(milliseconds(100));
    EXPECT_NEAR(TorqueOf(), -5.4, 1e-9) << "speeding up";
    Advance(milliseconds(300));
    ServoStatus status = StatusOf(0);
    EXPECT_NEAR(status.torque, -5.0, 1e-9) << "friction";
    EXPECT_EQ(double{status.velocity}, -5'000);
    EXPECT_EQ(double{status.followingError}, -3) << "the encoder is behind";
    EXPECT_EQ(double{status.encoderPosition}, status.commandPosition + 3);
    EXPECT_EQ(status.inPosition, 0);
    Advance(milliseconds(700));
    EXPECT_NEAR(TorqueOf(), -4.8, 1e-9) << "braking";
    ExpectEnd(-5'000, kAtTarget);
    EXPECT_EQ(EncoderOf(), -5'000);
    EXPECT_EQ(TorqueOf(), 0);
    EXPECT_EQ(StatusOf(0).inPosition, 1);
    EXPECT_EQ(StatusOf(0).motionKind, 0);
}

TEST_F(PointToPoint, ANewMoveReplacesTheRunningOneWithoutAJump)
{
    JogFor(seconds(1));
    const double here = PositionOf();
    ASSERT_EQ(zelQ_MoveRel(kNumber, 0, -3'000), 0);
    EXPECT_EQ(StatusOf(0).motionKind, kRelative);
    EXPECT_EQ(VelocityOf(), 5'000);
    FinishSmoothly(20'000);
    EXPECT_EQ(PositionOf(), here - 3'000);
    PlaceAt(12);
    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 12), 0);
    EXPECT_EQ(StatusOf(0).inMotion, 0) << "no way to go";

    constexpr std::array<double, 2> kWays = {-12, 30};
    ASSERT_EQ(zelQ_mMoveRel(kNumber, 2, kPair.data(), kWays.data()), 0);
    EXPECT_EQ(PositionIn(seconds(1), 0), 0);
    EXPECT_EQ(PositionOf(1), 30);
    EXPECT_EQ(PlaceOf(1), 60);
    ASSERT_EQ(zelQ_mMoveAbs(kNumber, 2, kPair.data(), kWays.data()), 0);
    EXPECT_EQ(PositionAtRest(0), -12);
    EXPECT_EQ(PositionOf(1), 30);
}

TEST_F(PointToPoint, StopsOfOneAndOfSeveralAxes)
{
    struct Stop
    {
        short (*call)(short, U16);
        StopCause cause;
        double way;
    };
    for (const Stop& stop :
         {Stop{zelQ_StopDec, kStopped, 1'250}, Stop{zelQ_StopSudden, kSuddenlyStopped, 0}}) {
        JogFor(seconds(1));
        const double here = PositionOf();
        ASSERT_EQ(stop.call(kNumber, 0), 0);
        EXPECT_EQ(StatusOf(0).inMotion, stop.way > 0);
        ExpectEnd(here + stop.way, stop.cause, 1);
    }
    SetSpeed(0, 0, 5'000, 0);
    JogFor(milliseconds(10));
    ASSERT_EQ(zelQ_StopDec(kNumber, 0), 0);
    EXPECT_EQ(StatusOf(0).inMotion, 0) << "a deceleration of 0 stops at once";

    for (const U16 mode : {U16{0}, U16{1}}) {
        ASSERT_EQ(zelQ_mMoveVel(kNumber, 2, kPairList.data(), 1), 0);
        EXPECT_EQ(VelocityIn(seconds(1), 1), -2'500);
        ASSERT_EQ(zelQ_mStop(kNumber, 2, kPairList.data(), mode), 0);
        EXPECT_EQ(StatusOf(0).inMotion, 0);
        EXPECT_EQ(StatusOf(1).inMotion, mode);
        Finish(1);
    }
    EXPECT_EQ(zelQ_mStop(kNumber, 2, kPairList.data(), 1), 0) << "they stand already";
}

TEST_F(PointToPoint, WhatTakesTheServoEndsAMotion)
{
    JogFor(seconds(1));
    ASSERT_EQ(zelQ_ServoOn(kNumber, 0, 0), 0);
    EXPECT_EQ(StatusOf(0).stopCause, kByServoOff);
    EXPECT_EQ(VelocityOf(), 0);

    ASSERT_EQ(zelQ_ServoPropertyCfg(kNumber, 0, 0, 1, 0, 0, 2, 0), 0) << "the input is the stop";
    ServosOn({0});
    JogFor(seconds(1));
    SetInputs({.configurable = true});
    EXPECT_EQ(StoppedBy(0), kByEmergencyStop);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kEmergencyStopped);
    SetInputs({});
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    ASSERT_EQ(zelQ_ServoReset(kNumber, 0), 0);
    EXPECT_EQ(StatusOf(0).stopCause, kByServoOff);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kServoOff);
}

TEST_F(PointToPoint, LimitSwitchesStopAndBlockTheirDirection)
{
    ChangeMachine([](lumosim::AxisMechanics& m) { m.stopperGap = 50'000; });
    ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 20'000), 0) << "the switches stay where they are";
    for (const U16 dir : {U16{0}, U16{1}}) {
        JogFor(seconds(100), dir); // in one step: the switch is met at its own moment
        EXPECT_EQ(StoppedBy(0), kAtLimitSensor);
        EXPECT_NEAR(PlaceOf(), dir == 0 ? 101'250 : -101'250, 1);
        EXPECT_EQ(zelQ_MoveVel(kNumber, 0, dir), kLimitBlocks);
        PlaceAt(20'000); // the way back is free
        EXPECT_EQ(PlaceOf(), 0);
    }
}

TEST_F(PointToPoint, CountersAreSetAtRestAndTakenFromTheEncoder)
{
    JogFor(milliseconds(10));
    EXPECT_THAT((Results{zelQ_CmdEncPosSet(kNumber, 0, 5), zelQ_EncToCmdPos(kNumber, 0)}),
                Each(kBusy));
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);
    const double place = PlaceOf();
    constexpr std::array<double, 2> kPositions = {-70'000, -7};
    ASSERT_EQ(zelQ_mCmdEncPosSet(kNumber, 2, kPair.data(), kPositions.data()), 0);
    EXPECT_EQ(PositionOf(), -70'000);
    EXPECT_EQ(EncoderOf(1), -7);
    EXPECT_EQ(PlaceOf(), place) << "the motor has not moved";
    PlaceAt(-70'080);
    EXPECT_EQ(PlaceOf(), place - 80);

    // Turned by hand, which a servo that is on does not let happen.
    const auto push = [this] { WithAxis(0, [](lumosim::Axis& axis) { axis.PushByHand(42); }); };
    push();
    EXPECT_EQ(EncoderOf(), -70'080);
    ASSERT_EQ(zelQ_ServoOn(kNumber, 0, 0), 0);
    push();
    EXPECT_EQ(PositionOf(), -70'080);
    EXPECT_EQ(double{StatusOf(0).followingError}, -42);
    ASSERT_EQ(zelQ_mEncToCmdPos(kNumber, 2, kPairList.data()), 0);
    EXPECT_EQ(PositionOf(), -70'038);
    push();
    ServosOn({0});
    EXPECT_EQ(PositionOf(), -69'996) << "found again at servo-on";
    EXPECT_EQ(EncoderOf(), -69'996);
    EXPECT_EQ(StatusOf(0).inPosition, 1);
    push();

    // Position counters run over.
    ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 2'147'483'600), 0);
    ASSERT_EQ(zelQ_MoveRel(kNumber, 0, 100), 0);
    EXPECT_EQ(PositionAtRest(), -2'147'483'596.0);
}

TEST_F(PointToPoint, TurnsOfAbsoluteEncodersAreCleared)
{
    EXPECT_EQ(zelQ_AbsEncMultiTurnClear(kNumber, 0), kNoAbsoluteEncoder);
    ASSERT_EQ(zelQ_ServoPropertyCfg(kNumber, 0, 1, 1, 0, 0, 0, 0), 0);
    WithAxis(0, [](lumosim::Axis& axis) { axis.SetHomeDone(true); });
    for (const auto& [before, after] : {std::pair{7'250, 250}, std::pair{-250, 750}}) {
        ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, before), 0);
        ASSERT_EQ(zelQ_AbsEncMultiTurnClear(kNumber, 0), 0);
        EXPECT_EQ(PositionOf(), after);
        EXPECT_EQ(EncoderOf(), after);
    }
    EXPECT_EQ(StatusOf(0).homeDone, 0);
    PowerCycle();
    EXPECT_EQ(PositionOf(0), 750) << "the encoder knows it";
    EXPECT_EQ(PositionOf(1), 0);
}

TEST_F(PointToPoint, SearchesLatchEverySignalAtItsPlace)
{
    struct Case
    {
        const char* name;
        U16 dir;
        U16 signal;
        U16 edge;
        double place;
    };
    EXPECT_EQ(Search()[0], 0);
    for (const Case& search :
         {Case{"probe comes on", 0, 0, 0, 4'000}, Case{"probe goes off", 0, 0, 1, 4'201},
          Case{"home sensor from above", 1, 1, 0, -2'500},
          Case{"home sensor left", 1, 1, 1, -3'001}, Case{"Z phase", 0, 2, 0, 300},
          Case{"Z phase the other way", 1, 2, 0, -700}}) {
        SCOPED_TRACE(search.name);
        PlaceAt(0);
        ASSERT_EQ(zelQ_SearchMove(kNumber, 0, search.dir, search.signal, search.edge, 1), 0);
        EXPECT_EQ(StatusOf(0).motionKind, kSearch);
        EXPECT_THAT(Search(), ElementsAre(1, 0, search.signal, 0));
        ExpectEnd(search.place, kLatched); // stopped at once
        EXPECT_THAT(Search(), ElementsAre(2, 1, search.signal, search.place));
    }
    PlaceAt(0);
    ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, -70'000), 0);
    ASSERT_EQ(zelQ_SearchMove(kNumber, 0, 0, 0, 0, 0), 0);
    ASSERT_EQ(zelQ_OverrideDriveSpeed(kNumber, 0, 4'000), 0) << "it keeps its signal";
    ASSERT_TRUE(AdvanceUntil([] { return Search()[0] == 2; }, seconds(2)));
    EXPECT_EQ(StatusOf(0).inMotion, 1) << "latched while it still brakes";
    Finish();
    std::array<SearchStatus, 2> both{};
    ASSERT_EQ(zelQ_mSearchGetStatus(kNumber, 2, kPair.data(), both.data()), 0);
    EXPECT_EQ(double{both[0].pos}, -66'000) << "in counter values";
    EXPECT_NEAR(PositionOf(), -66'000 + 800, 1);
    EXPECT_EQ(both[1].code, 0);
}

TEST_F(PointToPoint, SearchesTakeInputsFromOutsideAndEndWithoutTheirSignal)
{
    enum Edge : U16 { kComesOn, kGoesOff };
    const auto search = [](U16 edge) { return zelQ_SearchMove(kNumber, 0, 1, 3, edge, 1); };
    const auto searching = [] { return Search()[0] == 1; };
    ASSERT_EQ(search(kComesOn), 0);
    EXPECT_EQ(search(kComesOn), kBusy);
    Advance(milliseconds(500));
    const double here = PositionOf();
    SetInputs({.probe = true});
    EXPECT_TRUE(searching()) << "another signal";
    SetInputs({.configurable = true, .probe = true});
    EXPECT_EQ(StatusOf(0).inMotion, 0);
    EXPECT_EQ(Search()[3], here);
    ASSERT_EQ(search(kGoesOff), 0);
    Advance(milliseconds(100));
    EXPECT_TRUE(searching());
    SetInputs({});
    EXPECT_FALSE(searching());
    SetInputs({.configurable = true});
    ASSERT_EQ(search(kComesOn), 0);
    SetInputs({});
    EXPECT_TRUE(searching()) << "it has gone off first";
    SetInputs({.configurable = true});
    EXPECT_FALSE(searching());

    ChangeMachine([](lumosim::AxisMechanics& m) { m.stopperGap = 50'000; });
    ASSERT_EQ(zelQ_SearchMove(kNumber, 0, 1, 0, 0, 1), 0);
    Finish();
    EXPECT_EQ(Search()[0], 3);
    EXPECT_EQ(StatusOf(0).stopCause, kAtLimitSensor);
    EXPECT_NEAR(PlaceOf(), -101'250, 1);
    EXPECT_EQ(StatusOf(0).limitNegative, 1);
    EXPECT_EQ(zelQ_SearchMove(kNumber, 0, 1, 0, 0, 1), kLimitBlocks);
    EXPECT_EQ(zelQ_MoveRel(kNumber, 0, -1), kLimitBlocks);
    ASSERT_EQ(zelQ_SearchMove(kNumber, 0, 0, 0, 0, 1), 0) << "the way back is free";
    Advance(seconds(1));
    ASSERT_EQ(zelQ_StopDec(kNumber, 0), 0);
    EXPECT_TRUE(searching());
    Finish();
    EXPECT_EQ(Search()[0], 3);
    PowerCycle();
    EXPECT_EQ(Search()[0], 0);
}

TEST_F(PointToPoint, OverridesGiveTheRunningMotionItsSpeed)
{
    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 20'000), 0);
    Advance(seconds(1));
    ASSERT_EQ(zelQ_OverrideDriveSpeed(kNumber, 0, 2'000), 0);
    EXPECT_EQ(VelocityOf(), 5'000) << "no jump";
    EXPECT_NEAR(VelocityIn(milliseconds(290)), 2'100, 0.5) << "braking with the deceleration";
    EXPECT_EQ(VelocityIn(milliseconds(10)), 2'000);
    ASSERT_EQ(zelQ_OverrideDriveSpeed(kNumber, 0, 8'000), 0);
    FinishSmoothly(20'000);
    EXPECT_EQ(PositionOf(), 20'000);
    SpeedProfile profile{};
    ASSERT_EQ(zelQ_SpeedGet(kNumber, 0, &profile), 0);
    EXPECT_EQ(double{profile.drive}, 5'000) << "for the running motion only";

    JogFor(seconds(1), 1);
    ASSERT_EQ(zelQ_OverrideSpeed(kNumber, 0, 1'000, 6'000, 30'000), 0);
    EXPECT_EQ(VelocityIn(milliseconds(500)), -5'500);
    EXPECT_EQ(VelocityIn(seconds(1)), -6'000);
    ASSERT_EQ(zelQ_OverrideDriveSpeed(kNumber, 0, 3'000), 0) << "the rest stays as it was given";
    EXPECT_EQ(VelocityIn(milliseconds(100)), -3'000);
    ASSERT_EQ(zelQ_StopDec(kNumber, 0), 0);
    EXPECT_EQ(InMotionIn(milliseconds(101), 0), 0);

    ASSERT_EQ(zelQ_mMoveVel(kNumber, 2, kPairList.data(), 0), 0);
    constexpr std::array<double, 2> kRates = {5'000, 5'000};
    constexpr std::array<double, 2> kSpeeds = {6'000, 1'000};
    ASSERT_EQ(zelQ_mOverrideDriveSpeed(kNumber, 2, kPair.data(), kSpeeds.data()), 0);
    EXPECT_EQ(VelocityIn(seconds(1), 0), 6'000);
    EXPECT_EQ(VelocityOf(1), 1'000);
    constexpr std::array<double, 2> kOthers = {2'000, 2'000};
    ASSERT_EQ(
        zelQ_mOverrideSpeed(kNumber, 2, kPair.data(), kRates.data(), kOthers.data(), kRates.data()),
        0);
    EXPECT_EQ(VelocityIn(milliseconds(100), 0), 5'500);
    EXPECT_EQ(VelocityOf(1), 1'500);
}

TEST_F(PointToPoint, ANewTargetMayLieAnywhere)
{
    for (const double target : {20'000, 5'500, -4'000}) {
        PlaceAt(0);
        ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 10'000), 0);
        Advance(milliseconds(1'100));
        ASSERT_EQ(zelQ_OverrideAbs(kNumber, 0, target), 0);
        FinishSmoothly(20'000);
        EXPECT_EQ(PositionOf(), target);
    }
    constexpr std::array<double, 2> kTargets = {40, 10};
    ASSERT_EQ(zelQ_mMoveRel(kNumber, 2, kPair.data(), kTargets.data()), 0);
    ASSERT_EQ(zelQ_mOverrideAbs(kNumber, 2, kPair.data(), kTargets.data()), 0);
    EXPECT_EQ(PositionAtRest(0), 40);
    EXPECT_EQ(PositionOf(1), 10);
}

TEST_F(PointToPoint, WhatCannotBeOverriddenSaysSo)
{
    const auto speed = [] { return zelQ_OverrideDriveSpeed(kNumber, 0, 2'000); };
    EXPECT_THAT((Results{speed(), zelQ_OverrideSpeed(kNumber, 0, 1, 1, 1),
                         zelQ_OverrideAbs(kNumber, 0, 2'000)}),
                Each(kStandingStill));
    JogFor(seconds(1));
    EXPECT_EQ(zelQ_OverrideAbs(kNumber, 0, 2'000), kNoOverride) << "no target";
    EXPECT_EQ(zelQ_OverrideDriveSpeed(kNumber, 0, 0), kOutOfRange);
    EXPECT_EQ(VelocityOf(), 5'000);
    ASSERT_EQ(zelQ_StopDec(kNumber, 0), 0);
    EXPECT_EQ(speed(), kNoOverride) << "it is stopping";
    Finish();
    ASSERT_EQ(zelQ_CT_SetTorque(kNumber, 0, 20.0, 60), 0);
    EXPECT_EQ(speed(), kNoOverride) << "no speed";
}

TEST_F(PointToPoint, ATorqueAcceleratesUpToItsSpeedLimit)
{
    const auto set = [](double torque, short turns) {
        return zelQ_CT_SetTorque(kNumber, 0, torque, turns);
    };
    // 25 % less 5 % friction: 1,000,000 pulses/s²; 600 turns a minute: 10,000 pulses/s.
    ASSERT_EQ(set(25.0, 600), 0);
    EXPECT_EQ(StatusOf(0).motionKind, kTorque);
    EXPECT_EQ(VelocityIn(milliseconds(5)), 5'000);
    EXPECT_NEAR(TorqueOf(), 25.0, 1e-9);
    EXPECT_EQ(VelocityIn(milliseconds(100)), 10'000);
    EXPECT_NEAR(TorqueOf(), 5.0, 1e-9) << "at the limit only friction is left";
    ASSERT_EQ(set(25.0, 480), 0);
    EXPECT_EQ(VelocityIn(milliseconds(1)), 8'000) << "the peak torque brakes what is too fast";
    ASSERT_EQ(set(-25.0, 600), 0); // against the motion: braked by it and friction
    EXPECT_EQ(VelocityIn(milliseconds(2)), 5'000);
    EXPECT_NEAR(TorqueOf(), -25.0, 1e-9);
    EXPECT_EQ(VelocityIn(milliseconds(100)), -10'000);
    ASSERT_EQ(set(-3.0, 600), 0); // less than friction: it runs out
    EXPECT_EQ(VelocityIn(milliseconds(50)), -5'000);
    EXPECT_EQ(VelocityIn(seconds(1)), 0);
    EXPECT_NEAR(TorqueOf(), -3.0, 1e-9);
    EXPECT_EQ(StatusOf(0).inMotion, 1) << "the mode lasts until it is stopped";
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kBusy);
    ASSERT_EQ(zelQ_StopDec(kNumber, 0), 0);
    EXPECT_EQ(StatusOf(0).inMotion, 0);
    EXPECT_EQ(TorqueOf(), 0);
    EXPECT_EQ(set(25.0, -1), kOutOfRange);

    constexpr std::array<double, 2> kTorques = {4.0, 20.0};
    constexpr std::array<U16, 2> kLimits = {60, 60};
    ASSERT_EQ(zelQ_mCT_SetTorque(kNumber, 2, kPair.data(), kTorques.data(), kLimits.data()), 0);
    EXPECT_EQ(VelocityIn(seconds(1), 0), 0);
    EXPECT_EQ(VelocityOf(1), 500);
    // The motor's own speed is too high to stop between the switch and the stopper.
    ASSERT_EQ(set(25.0, 0), 0);
    Advance(seconds(100));
    EXPECT_EQ(set(25.0, 0), kInAlarm);
}

TEST_F(PointToPoint, AStopperHoldsATorqueAndAlarmsAPosition)
{
    ChangeMachine([](lumosim::AxisMechanics& m) { m.stopperGap = -90'000; }); // at 10,000
    ASSERT_EQ(zelQ_CT_SetTorque(kNumber, 0, 25.0, 600), 0);
    EXPECT_EQ(PositionIn(seconds(10)), 10'000);
    EXPECT_EQ(EncoderOf(), 10'000);
    EXPECT_EQ(VelocityOf(), 0);
    EXPECT_NEAR(TorqueOf(), 25.0, 1e-9);
    EXPECT_EQ(StatusOf(0).motionKind, kTorque);
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);

    // A position a little behind it: the motor presses, the encoder stays.
    PlaceAt(10'100);
    EXPECT_EQ(EncoderOf(), 10'000);
    EXPECT_EQ(double{StatusOf(0).followingError}, 100);
    EXPECT_NEAR(TorqueOf(), 50.0, 1e-9);
    EXPECT_EQ(StatusOf(0).inPosition, 0);
    ASSERT_EQ(zelQ_EncToCmdPos(kNumber, 0), 0);
    EXPECT_EQ(PositionOf(), 10'000);
    EXPECT_EQ(TorqueOf(), 0);

    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 50'000), 0);
    Advance(seconds(10));
    EXPECT_EQ(StatusOf(0).alarm, 1);
    EXPECT_EQ(EncoderOf(), 10'000);
    EXPECT_EQ(StatusOf(0).servoOn, 0);
}

TEST_F(PointToPoint, AVelocityIsRampedTo)
{
    const auto set = [](double velocity) {
        return zelQ_CV_SetVelocity(kNumber, 0, velocity, 10'000, 20'000, 0);
    };
    ASSERT_EQ(set(4'000), 0);
    EXPECT_EQ(VelocityIn(milliseconds(200)), 2'000);
    EXPECT_EQ(StatusOf(0).motionKind, kVelocity);
    Advance(seconds(1));
    ASSERT_EQ(set(-4'000), 0);
    EXPECT_EQ(VelocityIn(milliseconds(100)), 2'000) << "braking";
    EXPECT_EQ(VelocityIn(milliseconds(300)), -2'000) << "the other way";
    Advance(seconds(1));
    ASSERT_EQ(set(0), 0);
    EXPECT_EQ(VelocityIn(milliseconds(150)), -1'000);
    EXPECT_EQ(InMotionIn(milliseconds(51), 0), 0) << "velocity 0 ends the mode";
    EXPECT_EQ(StatusOf(0).stopCause, kAtTarget);
    EXPECT_EQ(set(-2'147'483'648.0), kOutOfRange);
    EXPECT_EQ(zelQ_CV_SetVelocity(kNumber, 0, 1, 1, 1, 2), kOutOfRange);
    EXPECT_EQ(set(0), 0) << "nothing to do at rest";

    constexpr std::array<double, 2> kVelocities = {1'500, -200};
    constexpr std::array<double, 2> kRates = {5'000, 5'000};
    constexpr std::array<short, 2> kShapes = {0, 1};
    ASSERT_EQ(zelQ_mCV_SetVelocity(kNumber, 2, kPair.data(), kVelocities.data(), kRates.data(),
                                   kRates.data(), kShapes.data()),
              0);
    EXPECT_EQ(VelocityIn(seconds(1), 0), 1'500);
    EXPECT_EQ(VelocityOf(1), -200);
    EXPECT_EQ(zelQ_CT_SetTorque(kNumber, 0, 10, 60), kBusy) << "another mode";
    EXPECT_EQ(zelQ_PP_SetTPosSpeed(kNumber, 0, 10, 60), kBusy);
}

TEST_F(PointToPoint, AProfilePositionHasItsOwnSpeed)
{
    ASSERT_EQ(zelQ_PP_SetTPosSpeed(kNumber, 0, 10'000, 2'000), 0);
    EXPECT_EQ(VelocityIn(seconds(1)), 2'000);
    EXPECT_EQ(StatusOf(0).motionKind, kProfilePosition);
    ASSERT_EQ(zelQ_PP_SetTPosSpeed(kNumber, 0, -300, 8'000), 0) << "another target on the way";
    EXPECT_EQ(VelocityOf(), 2'000);
    ExpectEnd(-300, kAtTarget);
    JogFor(seconds(1));
    EXPECT_EQ(VelocityOf(), 5'000) << "the axis keeps its own";
    EXPECT_EQ(zelQ_PP_SetTPosSpeed(kNumber, 0, 0, 0), kOutOfRange);
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);
    constexpr std::array<double, 2> kTargets = {100, 60};
    constexpr std::array<double, 2> kSpeeds = {1'000, 500};
    ASSERT_EQ(zelQ_mPP_SetTPosSpeed(kNumber, 2, kPair.data(), kTargets.data(), kSpeeds.data()), 0);
    Finish(0);
    Finish(1);
    EXPECT_EQ(PositionOf(0), 100);
    EXPECT_EQ(PositionOf(1), 60);
}

} // namespace

} // namespace zelq::test
