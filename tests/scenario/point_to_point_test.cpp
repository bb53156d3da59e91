// Servo, moves, stops, searches, overrides and drive modes, from the call to the motor.

#include "scenario/scenario_test.h"

#include <cmath>
#include <tuple>

namespace zelq::test {

namespace {

constexpr short kPair[] = {0, 1};
constexpr U16 kPairList[] = {0, 1};
constexpr double kRates[] = {5'000, 5'000};

enum MotionKind : U16 { kRelative = 3, kSearch, kTorque = 10, kVelocity, kProfilePosition };

/// Two axes at 5000 pulses/s, which they brake from on 1250 pulses; the second one in half pulses.
class PointToPoint : public ScenarioTest
{
  protected:
    PointToPoint() : ScenarioTest(Ideal(Config({}, SmallMachine()))) {}

    void SetUp() override
    {
        ScenarioTest::SetUp();
        ASSERT_EQ(zelQ_UnitPerPulseSet(kNumber, 1, 0.5), 0);
        SetSpeed(0, 20'000, 5'000, 10'000);
        SetSpeed(1, 10'000, 2'500, 5'000);
        ServosOn({0, 1});
    }

    /// Code, flag, mode and position.
    static std::vector<double> Search()
    {
        const auto s = Got<SearchStatus>(zelQ_SearchGetStatus, U16{0});
        return {1.0 * s.code, 1.0 * s.flag, 1.0 * s.mode, s.pos};
    }

    /// To the end of the motion, at a place; the speed may change by 20,000 pulses/s² at most.
    void FinishSmoothly(double place)
    {
        const auto speed = [](lumosim::Axis& axis) { return axis.Physical().velocity; };
        double before = WithAxis(0, speed);
        while (Moving()) {
            Advance(1ms);
            const double now = WithAxis(0, speed);
            ASSERT_LE(std::abs(now - before), 20 + 1e-6);
            before = now;
        }
        EXPECT_EQ(PositionOf(), place);
    }
};

TEST_F(PointToPoint, AMoveWaitsForItsServoAndShowsInTheStatusToItsEnd)
{
    EXPECT_EQ(zelQ_MoveVel(kNumber, 2, 0), kServoOff);
    After({zelQ_ServoOn(kNumber, 2, 1), zelQ_MoveVel(kNumber, 2, 0)},
          lumosim::Axis::kServoOnTime - 1us, {.at = 0, .velocity = 0, .servo = 0}, 2);
    ExpectIn(10ms, {.servo = 1}, 2);
    EXPECT_GT(PositionOf(2), 0);

    MoveTo(-5'000);
    ExpectIn(100ms, {.torque = -5.4}); // speeding up
    ExpectIn(300ms, {.velocity = -5'000, .torque = -5, .error = -3, .inPosition = 0});
    EXPECT_EQ(double{StatusOf().encoderPosition}, PositionOf() + 3) << "it is behind";
    ExpectIn(700ms, {.torque = -4.8}); // braking
    ExpectEnd(-5'000, kAtTarget);
    Expect({.encoder = -5'000, .torque = 0, .kind = 0, .inPosition = 1});
}

TEST_F(PointToPoint, ANewMoveReplacesTheRunningOneWithoutAJump)
{
    JogFor(1s);
    const double here = PositionOf();
    After(zelQ_MoveRel(kNumber, 0, -3'000), 0ms, {.velocity = 5'000, .kind = kRelative});
    FinishSmoothly(here - 3'000);
    StandAt(12);
    MoveTo(12);
    Expect({.moving = 0}); // no way to go
    ASSERT_EQ(zelQ_mMoveRel(kNumber, 2, kPair, Listed({-12.0, 30.0})), 0);
    ExpectEachIn(1s, PositionOf, {0, 30});
    EXPECT_EQ(PlaceOf(1), 60);
    ASSERT_EQ(zelQ_mMoveAbs(kNumber, 2, kPair, Listed({-12.0, 30.0})), 0);
    ExpectEachIn(1s, PositionOf, {-12, 30});
}

TEST_F(PointToPoint, StopsOfOneAndOfSeveralAxes)
{
    for (const auto& [stop, cause, way] : {std::tuple(&zelQ_StopDec, kStopped, 1'250),
                                           std::tuple(&zelQ_StopSudden, kSuddenlyStopped, 0)}) {
        JogFor(1s);
        const double here = PositionOf();
        ASSERT_EQ(stop(kNumber, 0), 0);
        EXPECT_EQ(Moving(), way > 0);
        ExpectEnd(here + way, cause, 1);
    }
    SetSpeed(0, 0, 5'000, 0);
    JogFor(10ms);
    After(zelQ_StopDec(kNumber, 0), 0ms, {.moving = 0}); // a deceleration of 0 stops at once
    for (const U16 mode : {U16{0}, U16{1}}) {
        After(zelQ_mMoveVel(kNumber, 2, kPairList, 1), 1s, {.velocity = -2'500}, 1);
        After(zelQ_mStop(kNumber, 2, kPairList, mode), 0ms, {.moving = 0});
        Expect({.moving = mode}, 1);
        Finish(1);
    }
    EXPECT_EQ(zelQ_mStop(kNumber, 2, kPairList, 1), 0) << "they stand already";
}

TEST_F(PointToPoint, WhatTakesTheServoEndsAMotion)
{
    JogFor(1s);
    After(zelQ_ServoOn(kNumber, 0, 0), 0ms, {.velocity = 0, .cause = kByServoOff});
    ASSERT_EQ(zelQ_ServoPropertyCfg(kNumber, 0, 0, 1, 0, 0, 2, 0), 0) << "the input is the stop";
    ServosOn({0});
    JogFor(1s);
    SetInputs({.configurable = true});
    Expect({.moving = 0, .cause = kByEmergencyStop});
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kEmergencyStopped);
    SetInputs({});
    After({zelQ_MoveVel(kNumber, 0, 0), zelQ_ServoReset(kNumber, 0)}, 0ms, {.cause = kByServoOff});
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kServoOff);
}

TEST_F(PointToPoint, LimitSwitchesStopAndBlockTheirDirection)
{
    ChangeMachine([](lumosim::AxisMechanics& m) { m.stopperGap = 50'000; });
    ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 20'000), 0) << "the switches stay where they are";
    for (const U16 dir : {U16{0}, U16{1}}) {
        JogFor(100s, dir); // in one step: the switch is met at its own moment
        Expect({.moving = 0, .cause = kAtLimitSensor});
        EXPECT_NEAR(PlaceOf(), dir == 0 ? 101'250 : -101'250, 1);
        EXPECT_EQ(zelQ_MoveVel(kNumber, 0, dir), kLimitBlocks);
        StandAt(20'000); // the way back is free
        EXPECT_EQ(PlaceOf(), 0);
    }
}

TEST_F(PointToPoint, CountersAreSetAtRestAndTakenFromTheEncoder)
{
    JogFor(10ms);
    Refused(kBusy, {zelQ_CmdEncPosSet(kNumber, 0, 5), zelQ_EncToCmdPos(kNumber, 0)});
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);
    const double place = PlaceOf();
    After(zelQ_mCmdEncPosSet(kNumber, 2, kPair, Listed({-70'000.0, -7.0})), 0ms, {.at = -70'000});
    Expect({.encoder = -7}, 1);
    EXPECT_EQ(PlaceOf(), place) << "the motor has not moved";
    StandAt(-70'080);
    EXPECT_EQ(PlaceOf(), place - 80);

    // Turned by hand, which a servo that is on does not let happen.
    const auto push = [this] { WithAxis(0, [](lumosim::Axis& axis) { axis.PushByHand(42); }); };
    push();
    Expect({.encoder = -70'080});
    ASSERT_EQ(zelQ_ServoOn(kNumber, 0, 0), 0);
    push();
    Expect({.at = -70'080, .error = -42});
    After(zelQ_mEncToCmdPos(kNumber, 2, kPairList), 0ms, {.at = -70'038});
    push();
    ServosOn({0});
    Expect({.at = -69'996, .encoder = -69'996, .inPosition = 1}); // found again at servo-on
    push();

    // Position counters run over.
    Done({zelQ_CmdEncPosSet(kNumber, 0, 2'147'483'600), zelQ_MoveRel(kNumber, 0, 100)});
    ExpectEnd(-2'147'483'596.0, kAtTarget);
}

TEST_F(PointToPoint, TurnsOfAbsoluteEncodersAreCleared)
{
    EXPECT_EQ(zelQ_AbsEncMultiTurnClear(kNumber, 0), kNoAbsoluteEncoder);
    ASSERT_EQ(zelQ_ServoPropertyCfg(kNumber, 0, 1, 1, 0, 0, 0, 0), 0);
    WithAxis(0, [](lumosim::Axis& axis) { axis.SetHomeDone(true); });
    for (const auto& [before, after] : {std::pair{7'250, 250}, std::pair{-250, 750}}) {
        After({zelQ_CmdEncPosSet(kNumber, 0, before), zelQ_AbsEncMultiTurnClear(kNumber, 0)}, 0ms,
              {.at = after, .encoder = after, .homeDone = 0});
    }
    PowerCycle();
    ExpectEachIn(0s, PositionOf, {750, 0}); // the encoder knows it
}

TEST_F(PointToPoint, SearchesLatchEverySignalAtItsPlace)
{
    struct Case
    {
        const char* name;
        U16 dir, signal, edge;
        double place;
    };
    EXPECT_EQ(Search()[0], 0);
    for (const Case& search :
         {Case{"probe comes on", 0, 0, 0, 4'000}, Case{"probe goes off", 0, 0, 1, 4'201},
          Case{"home sensor from above", 1, 1, 0, -2'500},
          Case{"home sensor left", 1, 1, 1, -3'001}, Case{"Z phase", 0, 2, 0, 300},
          Case{"Z phase the other way", 1, 2, 0, -700}}) {
        SCOPED_TRACE(search.name);
        StandAt(0);
        After(zelQ_SearchMove(kNumber, 0, search.dir, search.signal, search.edge, 1), 0ms,
              {.kind = kSearch});
        EXPECT_THAT(Search(), ElementsAre(1, 0, search.signal, 0));
        ExpectEnd(search.place, kLatched); // stopped at once
        EXPECT_THAT(Search(), ElementsAre(2, 1, search.signal, search.place));
    }
    StandAt(0);
    Done({zelQ_CmdEncPosSet(kNumber, 0, -70'000), zelQ_SearchMove(kNumber, 0, 0, 0, 0, 0),
          zelQ_OverrideDriveSpeed(kNumber, 0, 4'000)}); // it keeps its signal
    ASSERT_TRUE(AdvanceUntil([] { return Search()[0] == 2; }, 2s));
    Expect({.moving = 1}); // latched while it still brakes
    Finish();
    SearchStatus both[2]{};
    ASSERT_EQ(zelQ_mSearchGetStatus(kNumber, 2, kPair, both), 0);
    EXPECT_EQ(double{both[0].pos}, -66'000) << "in counter values";
    Expect({.at = -66'000 + 800, .within = 1});
    EXPECT_EQ(both[1].code, 0);
}

TEST_F(PointToPoint, SearchesTakeInputsFromOutsideAndEndWithoutTheirSignal)
{
    enum Edge : U16 { kComesOn, kGoesOff };
    const auto search = [](U16 edge) { return zelQ_SearchMove(kNumber, 0, 1, 3, edge, 1); };
    const auto searching = [] { return Search()[0] == 1; };
    ASSERT_EQ(search(kComesOn), 0);
    EXPECT_EQ(search(kComesOn), kBusy);
    Advance(500ms);
    const double here = PositionOf();
    SetInputs({.probe = true});
    EXPECT_TRUE(searching()) << "another signal";
    SetInputs({.configurable = true, .probe = true});
    Expect({.moving = 0});
    EXPECT_EQ(Search()[3], here);
    After(search(kGoesOff), 100ms);
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
    const auto probe = [](U16 dir) { return zelQ_SearchMove(kNumber, 0, dir, 0, 0, 1); };
    ASSERT_EQ(probe(1), 0);
    ExpectEnd(-101'250, kAtLimitSensor, 1);
    EXPECT_EQ(Search()[0], 3);
    EXPECT_EQ(StatusOf().limitNegative, 1);
    Refused(kLimitBlocks, {probe(1), zelQ_MoveRel(kNumber, 0, -1)});
    ASSERT_EQ(probe(0), 0) << "the way back is free";
    Advance(1s);
    ASSERT_EQ(zelQ_StopDec(kNumber, 0), 0);
    EXPECT_TRUE(searching());
    Finish();
    EXPECT_EQ(Search()[0], 3);
    PowerCycle();
    EXPECT_EQ(Search()[0], 0);
}

TEST_F(PointToPoint, OverridesGiveTheRunningMotionItsSpeed)
{
    const auto drive = [](double speed) { return zelQ_OverrideDriveSpeed(kNumber, 0, speed); };
    MoveTo(20'000);
    Advance(1s);
    ASSERT_EQ(drive(2'000), 0);
    Expect({.velocity = 5'000});                         // no jump
    ExpectIn(290ms, {.velocity = 2'100, .within = 0.5}); // braking with the deceleration
    ExpectIn(10ms, {.velocity = 2'000});
    ASSERT_EQ(drive(8'000), 0);
    FinishSmoothly(20'000);
    EXPECT_EQ(double{Got<SpeedProfile>(zelQ_SpeedGet, short{0}).drive}, 5'000)
        << "for the running motion only";

    JogFor(1s, 1);
    After(zelQ_OverrideSpeed(kNumber, 0, 1'000, 6'000, 30'000), 500ms, {.velocity = -5'500});
    ExpectIn(1s, {.velocity = -6'000});
    ASSERT_EQ(drive(3'000), 0) << "the rest stays as it was given";
    ExpectIn(100ms, {.velocity = -3'000});
    After(zelQ_StopDec(kNumber, 0), 101ms, {.moving = 0});

    ASSERT_EQ(zelQ_mMoveVel(kNumber, 2, kPairList, 0), 0);
    ASSERT_EQ(zelQ_mOverrideDriveSpeed(kNumber, 2, kPair, Listed({6'000.0, 1'000.0})), 0);
    ExpectEachIn(1s, VelocityOf, {6'000, 1'000});
    ASSERT_EQ(zelQ_mOverrideSpeed(kNumber, 2, kPair, kRates, Listed({2'000.0, 2'000.0}), kRates),
              0);
    ExpectEachIn(100ms, VelocityOf, {5'500, 1'500});
}

TEST_F(PointToPoint, ANewTargetMayLieAnywhere)
{
    for (const double target : {20'000, 5'500, -4'000}) {
        StandAt(0);
        MoveTo(10'000);
        Advance(1'100ms);
        ASSERT_EQ(zelQ_OverrideAbs(kNumber, 0, target), 0);
        FinishSmoothly(target);
    }
    const auto targets = {40.0, 10.0};
    Done({zelQ_mMoveRel(kNumber, 2, kPair, targets.begin()),
          zelQ_mOverrideAbs(kNumber, 2, kPair, targets.begin())});
    ExpectEachIn(10s, PositionOf, {40, 10});
}

TEST_F(PointToPoint, WhatCannotBeOverriddenSaysSo)
{
    const auto speed = [] { return zelQ_OverrideDriveSpeed(kNumber, 0, 2'000); };
    Refused(kStandingStill, {speed(), zelQ_OverrideSpeed(kNumber, 0, 1, 1, 1),
                             zelQ_OverrideAbs(kNumber, 0, 2'000)});
    JogFor(1s);
    EXPECT_EQ(zelQ_OverrideAbs(kNumber, 0, 2'000), kNoOverride) << "no target";
    EXPECT_EQ(zelQ_OverrideDriveSpeed(kNumber, 0, 0), kOutOfRange);
    Expect({.velocity = 5'000});
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
    After(set(25, 600), 5ms, {.velocity = 5'000, .torque = 25, .kind = kTorque});
    ExpectIn(100ms, {.velocity = 10'000, .torque = 5}); // at the limit only friction is left
    After(set(25, 480), 1ms, {.velocity = 8'000});      // the peak torque brakes what is too fast
    ASSERT_EQ(set(-25, 600), 0); // against the motion: braked by it and friction
    ExpectIn(2ms, {.velocity = 5'000, .torque = -25});
    ExpectIn(100ms, {.velocity = -10'000});
    ASSERT_EQ(set(-3, 600), 0); // less than friction: it runs out
    ExpectIn(50ms, {.velocity = -5'000});
    ExpectIn(1s, {.velocity = 0, .torque = -3, .moving = 1}); // the mode lasts until it is stopped
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kBusy);
    After(zelQ_StopDec(kNumber, 0), 0ms, {.torque = 0, .moving = 0});
    EXPECT_EQ(set(25, -1), kOutOfRange);

    ASSERT_EQ(zelQ_mCT_SetTorque(kNumber, 2, kPair, Listed({4.0, 20.0}), Listed<U16>({60, 60})), 0);
    ExpectEachIn(1s, VelocityOf, {0, 500});
    // The motor's own speed is too high to stop between the switch and the stopper.
    After(set(25, 0), 100s);
    EXPECT_EQ(set(25, 0), kInAlarm);
}

TEST_F(PointToPoint, AStopperHoldsATorqueAndAlarmsAPosition)
{
    ChangeMachine([](lumosim::AxisMechanics& m) { m.stopperGap = -90'000; }); // at 10,000
    After(zelQ_CT_SetTorque(kNumber, 0, 25.0, 600), 10s,
          {.at = 10'000, .encoder = 10'000, .velocity = 0, .torque = 25, .kind = kTorque});
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);

    // A position a little behind it: the motor presses, the encoder stays.
    StandAt(10'100);
    Expect({.encoder = 10'000, .torque = 50, .error = 100, .inPosition = 0});
    After(zelQ_EncToCmdPos(kNumber, 0), 0ms, {.at = 10'000, .torque = 0});

    MoveTo(50'000);
    ExpectIn(10s, {.encoder = 10'000, .servo = 0, .alarm = 1});
}

TEST_F(PointToPoint, AVelocityIsRampedTo)
{
    const auto set = [](double velocity) {
        return zelQ_CV_SetVelocity(kNumber, 0, velocity, 10'000, 20'000, 0);
    };
    After(set(4'000), 200ms, {.velocity = 2'000, .kind = kVelocity});
    Advance(1s);
    ASSERT_EQ(set(-4'000), 0);
    ExpectIn(100ms, {.velocity = 2'000});  // braking
    ExpectIn(300ms, {.velocity = -2'000}); // the other way
    Advance(1s);
    After(set(0), 150ms, {.velocity = -1'000});
    ExpectIn(51ms, {.moving = 0, .cause = kAtTarget}); // velocity 0 ends the mode
    Refused(kOutOfRange, {set(-2'147'483'648.0), zelQ_CV_SetVelocity(kNumber, 0, 1, 1, 1, 2)});
    EXPECT_EQ(set(0), 0) << "nothing to do at rest";

    ASSERT_EQ(
        zelQ_mCV_SetVelocity(kNumber, 2, kPair, Listed({1'500.0, -200.0}), kRates, kRates, kPair),
        0);
    ExpectEachIn(1s, VelocityOf, {1'500, -200});
    Refused(kBusy, {zelQ_CT_SetTorque(kNumber, 0, 10, 60), // another mode
                    zelQ_PP_SetTPosSpeed(kNumber, 0, 10, 60)});
}

TEST_F(PointToPoint, AProfilePositionHasItsOwnSpeed)
{
    After(zelQ_PP_SetTPosSpeed(kNumber, 0, 10'000, 2'000), 1s,
          {.velocity = 2'000, .kind = kProfilePosition});
    ASSERT_EQ(zelQ_PP_SetTPosSpeed(kNumber, 0, -300, 8'000), 0) << "another target on the way";
    Expect({.velocity = 2'000});
    ExpectEnd(-300, kAtTarget);
    JogFor(1s);
    Expect({.velocity = 5'000}); // the axis keeps its own
    EXPECT_EQ(zelQ_PP_SetTPosSpeed(kNumber, 0, 0, 0), kOutOfRange);
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);
    ASSERT_EQ(zelQ_mPP_SetTPosSpeed(kNumber, 2, kPair, Listed({100.0, 60.0}), kRates), 0);
    ExpectEachIn(10s, PositionOf, {100, 60});
}

} // namespace

} // namespace zelq::test
