// Sequence programs: filled by calls, run by the controller.

#include "scenario/scenario_test.h"

namespace zelq::test {

namespace {

// clang-format off
enum State : U16 {
    kNotFilled, kFilling, kReady, kRunning, kPaused, kFinished, kBrokenOff, kFaulted,
};
// clang-format on
enum Kind : U16 { kNone, kMotion, kInput, kDelay }; ///< of the record that is waited for
enum SequenceRefusal : short {
    kRuns = 70,
    kNoEnd,
    kClosed,
    kFull,
    kNoFocus,
    kNotRunning,
    kNotReached
};

/// Four axes that reach 1000 pulses/s at once, and an input slave.
class SequencesScenario : public ScenarioTest
{
  protected:
    static constexpr U16 kInputSlave = 30;

    SequencesScenario() : ScenarioTest(Config({{kInputSlave, lumosim::SlaveType::kInput, {}}})) {}

    void SetUp() override
    {
        ScenarioTest::SetUp();
        ServosOn({0, 1, 2, 3});
        for (short axis = 0; axis < 4; ++axis) {
            ASSERT_EQ(zelQ_SpeedSet(kNumber, axis, 0, 1000.0, 0.0, 1000.0, 0.0), 0);
        }
    }

    /// Empties a program and gives it the focus: the calls behind it go into it.
    short Focus(U16 seq = 0)
    {
        focused_ = seq;
        Done({zelQ_SeqFuncBufClear(kNumber, seq)});
        return zelQ_SeqSetFocus(kNumber, seq);
    }
    /// Starts the program that has the focus, which these calls, made by now, have filled.
    void Start(const Results& records)
    {
        Done(records);
        Done({zelQ_SeqKillFocus(kNumber), zelQ_SeqFuncAddEnd(kNumber, focused_)});
        EXPECT_EQ(Program(focused_).state, kReady);
        ASSERT_EQ(zelQ_SeqStart(kNumber, focused_), 0);
    }

    static SeqStatus Program(U16 seq = 0) { return Got<SeqStatus>(zelQ_SeqGetStatus, seq); }

    /// State, record and what it waits for, so much later.
    void ExpectAt(nanoseconds in, State state, unsigned record, Kind waitsFor = kNone, U16 seq = 0)
    {
        Advance(in);
        const SeqStatus status = Program(seq);
        EXPECT_EQ(status.state, state);
        EXPECT_EQ(status.long1, record);
        EXPECT_EQ(status.bit5, waitsFor != kNone);
        EXPECT_EQ(status.bits6_7, waitsFor);
    }

    static short WaitFor(U16 axis) { return zelQ_SeqFuncWaitMovDone(kNumber, 0, 1, &axis); }

    void ExpectPositionsIn(nanoseconds in, std::initializer_list<double> wanted,
                           Here here = Here::Current())
    {
        ExpectEachIn(in, PositionOf, wanted, 2, here);
    }

    void SetMainInputs(U16 in)
    {
        server_.With([in](auto& c) { c.SetMainInputs(in); });
    }
    void SetSlaveInputs(unsigned in)
    {
        server_.With([in](auto& c) { c.SetSlaveInputs(30, in); });
    }

    U16 focused_ = 0;
};

TEST_F(SequencesScenario, CallsGoIntoTheProgramThatHasTheFocusAndRunInOrder)
{
    ASSERT_EQ(zelQ_SeqSetFocus(kNumber, 0), 0);
    EXPECT_EQ(Program().bit4, 1);
    EXPECT_EQ(Program().state, kNotFilled);
    Done({zelQ_MoveAbs(kNumber, 0, 100), WaitFor(0), zelQ_SeqFuncDelay(kNumber, 200),
          zelQ_MoveAbs(kNumber, 1, -50), WaitFor(1)});
    EXPECT_EQ(Program().state, kFilling);
    EXPECT_EQ(zelQ_ServoOn(kNumber, 3, 0), 0) << "what is no motion is executed as ever";
    Expect({.servo = 0}, 3);
    Done({zelQ_SeqKillFocus(kNumber), zelQ_MoveAbs(kNumber, 2, 50)});
    ExpectPositionsIn(100ms, {0, 0, 50});
    ASSERT_EQ(zelQ_SeqFuncAddEnd(kNumber, 0), 0);
    EXPECT_EQ(Program().bit8, 1);
    ASSERT_EQ(zelQ_SeqStart(kNumber, 0), 0);
    ExpectAt(50ms, kRunning, 2, kMotion);
    ExpectAt(100ms, kRunning, 3, kDelay);
    ExpectPositionsIn(175ms, {100, -25});
    ExpectAt(100ms, kFinished, 6);
    EXPECT_EQ(Program().long3, 5U) << "records passed";
    EXPECT_EQ(zelQ_SeqStart(kNumber, 0), 0) << "it can be run again";
    EXPECT_EQ(Program().long3, 0U);
}

TEST_F(SequencesScenario, EveryInputIsWaitedForByPinAndByMask)
{
    SetSlaveInputs(0x80000000U);
    Start({Focus(), zelQ_SeqFuncWaitMDIpin(kNumber, 7, 1),
           zelQ_SeqFuncWaitMDIpins(kNumber, 0x0F, 0xF5),
           zelQ_SeqFuncWaitRDIpin(kNumber, kInputSlave, 31, 0),
           zelQ_SeqFuncWaitRDIpins(kNumber, kInputSlave, 0x10001U, 0x0001U),
           zelQ_SeqFuncWaitSDIpin(kNumber, 1, 2, 1),
           zelQ_SeqFuncWaitSDIpins(kNumber, 1, 0x0B, 0x0A)});
    unsigned record = 1;
    for (const auto& happen : std::initializer_list<std::function<void()>>{
             [this] { SetMainInputs(0x80); }, [this] { SetMainInputs(0x35); },
             [this] { SetSlaveInputs(0); }, [this] { SetSlaveInputs(0xFFFE0001U); },
             [this] { SetInputs({.homeSensor = true}, 1); },
             [this] { SetInputs({.limitNegative = true, .configurable = true}, 1); }}) {
        ExpectAt(10ms, kRunning, record++, kInput);
        happen();
        Advance(2ms);
    }
    ExpectAt(0ms, kFinished, record);
}

TEST_F(SequencesScenario, ProgramsRunSideBySideInTheOrderOfTheirInputs)
{
    Start({Focus(), zelQ_SeqFuncWaitMDIpin(kNumber, 0, 1), zelQ_MoveAbs(kNumber, 0, 100),
           WaitFor(0)});
    Start({Focus(1), zelQ_SeqFuncWaitRDIpin(kNumber, kInputSlave, 17, 1),
           zelQ_MoveRel(kNumber, 1, -200), WaitFor(1)});
    Start({Focus(2), zelQ_SeqFuncWaitSDIpin(kNumber, 2, 3, 1), zelQ_MoveVel(kNumber, 2, 0),
           zelQ_SeqFuncWaitSDIpin(kNumber, 2, 3, 0), zelQ_StopDec(kNumber, 2), WaitFor(2)});
    Start({Focus(3), zelQ_SeqFuncWaitMDIpin(kNumber, 7, 1),
           zelQ_mMoveAbs(kNumber, 1, Listed<short>({3}), Listed({-70.0})), WaitFor(3)});
    SetSlaveInputs(1U << 17U);
    Advance(50ms);
    SetInputs({.configurable = true}, 2);
    Advance(50ms);
    SetMainInputs(0x81); // for two programs at once
    ExpectPositionsIn(50ms, {50, -150, 100, -50});
    SetInputs({}, 2);
    ExpectPositionsIn(1s, {100, -200, 100, -70});
    const auto all = Got<SeqAllStatus>(zelQ_SeqGetAllStatus);
    for (const SeqStatus& program : all.program) {
        EXPECT_EQ(program.state, kFinished) << "a stop by command is no fault";
        EXPECT_EQ(program.bits9_13, 1);
    }
}

TEST_F(SequencesScenario, WaitsForAllAxesOrAny)
{
    const U16 both[] = {0, 1};
    Start({Focus(), zelQ_MoveAbs(kNumber, 0, 100), zelQ_MoveAbs(kNumber, 1, 300),
           zelQ_SeqFuncWaitMovDone(kNumber, 1, 2, both),
           zelQ_SeqFuncWaitMovDone(kNumber, 0, 2, both)});
    ExpectAt(99ms, kRunning, 3, kMotion);
    ExpectAt(4ms, kRunning, 4, kMotion);
    ExpectAt(190ms, kRunning, 4, kMotion);
    ExpectAt(15ms, kFinished, 5);
}

TEST_F(SequencesScenario, AProgramQueuesLinesAndWaitsForTheQueue)
{
    Done({zelQ_IMapSet(kNumber, 0, 2, Listed<U16>({0, 1})), zelQ_CP_PreRegUseSet(kNumber, 1)});
    const U16 queue[] = {0};
    const auto line = [](double x, double y) {
        InterpSpeedProfile speed{};
        speed.startSpeed = speed.driveSpeed = speed.endSpeed = 1000;
        return zelQ_ILinear(kNumber, 0, 0, 2, Listed({x, y}), &speed);
    };
    Start({Focus(), line(100, 0), line(100, 100), line(0, 100),
           zelQ_SeqFuncWaitPreRegEmpty(kNumber, 1, 1, queue), zelQ_MoveAbs(kNumber, 2, 1000),
           zelQ_SeqFuncWaitPreRegEmpty(kNumber, 3, 1, queue), zelQ_MoveAbs(kNumber, 3, 1000)});
    ExpectPositionsIn(250ms, {50, 100, 50, 0});
    ExpectPositionsIn(100ms, {0, 100, 150, 50});
    EXPECT_EQ(Program().state, kFinished);
}

TEST_F(SequencesScenario, EndlessProgramsSingleStepsPauseAndStop)
{
    ASSERT_EQ(zelQ_SeqSetCfg(kNumber, 1, 0, 0, 1), 0);
    Start({Focus(1), zelQ_MoveAbs(kNumber, 2, 10), zelQ_MoveAbs(kNumber, 3, 20)});
    for (const unsigned record : {2U, 3U}) {
        ExpectAt(100ms, kPaused, record, kNone, 1);
        EXPECT_EQ(zelQ_SeqResume(kNumber, 1), 0);
    }
    ExpectAt(1ms, kFinished, 3, kNone, 1);

    ASSERT_EQ(zelQ_SeqSetCfg(kNumber, 0, 1, 0, 0), 0);
    Start({Focus(), zelQ_MoveRel(kNumber, 0, 100), WaitFor(0), zelQ_SeqFuncDelay(kNumber, 100)});
    ExpectPositionsIn(1s, {500});
    EXPECT_NEAR(Program().long3, 15, 1);
    EXPECT_EQ(Program().bits9_13, Program().long3 / 3);
    After(zelQ_SeqPause(kNumber, 0), 1s);
    EXPECT_EQ(Program().state, kPaused);
    ExpectPositionsIn(0ms, {PositionOf() < 550 ? 500.0 : 600.0});
    Done({zelQ_SeqResume(kNumber, 0), zelQ_MoveRel(kNumber, 2, 1000)});
    ASSERT_TRUE(AdvanceUntil([] { return StatusOf().inMotion == 0; }, 300ms));
    ASSERT_TRUE(AdvanceUntil([] { return StatusOf().inMotion == 1; }, 300ms));
    After(zelQ_SeqStop(kNumber, 0, 1), 5ms, {.moving = 0}); // stopped with the program
    Expect({.moving = 1}, 2);                               // none of its own
    EXPECT_EQ(Program().state, kBrokenOff);
    After(zelQ_SeqStart(kNumber, 0), 50ms);
    After(zelQ_SeqStop(kNumber, 0, 0), 20ms, {.moving = 1}); // its motion runs to the end
}

TEST_F(SequencesScenario, FaultsStopAProgram)
{
    ASSERT_EQ(zelQ_SpeedSet(kNumber, 0, 0, 0.0, 0.0, 1000.0, 10'000.0), 0);
    U16 reaction = 0;
    for (const double end : {1000.0, 100.0, 50.0}) {
        Done({zelQ_SeqSetCfg(kNumber, 0, 0, reaction++, 0), zelQ_CmdEncPosSet(kNumber, 0, 0)});
        Start({Focus(), zelQ_MoveAbs(kNumber, 0, 1000), zelQ_SeqFuncDelay(kNumber, 49),
               zelQ_MoveAbs(kNumber, 9, 0), zelQ_MoveAbs(kNumber, 0, 0)});
        ExpectAt(2s, kFaulted, 3);
        EXPECT_EQ(Program().word5, kNoServo);
        ExpectPositionsIn(0ms, {end});
    }
    // A motion that does not reach its end; what was before the program does not concern it.
    Start({Focus(), zelQ_MoveAbs(kNumber, 0, 10'000), zelQ_MoveAbs(kNumber, 1, 10'000), WaitFor(0),
           zelQ_MoveAbs(kNumber, 2, 1)});
    Advance(100ms);
    SetInputs({.limitPositive = true}, 0);
    ExpectIn(200ms, {.moving = 0}, 1); // stopped with the program
    EXPECT_EQ(Program().word5, kNotReached);
    ExpectPositionsIn(0ms, {200, 200, 0});
    // What an earlier run has moved, and what has failed there, does not concern the next one.
    Start({Focus(), WaitFor(0), zelQ_MoveAbs(kNumber, 2, 5), zelQ_MoveRel(kNumber, 1, 5)});
    Advance(100ms);
    EXPECT_EQ(Program().state, kFinished);
    After({zelQ_ServoOn(kNumber, 2, 0), zelQ_MoveVel(kNumber, 1, 0), zelQ_SeqStart(kNumber, 0)},
          10ms, {.moving = 1}, 1);
    EXPECT_EQ(Program().word5, kServoOff);
}

TEST_F(SequencesScenario, BadUseIsRefused)
{
    const auto delay = [] { return zelQ_SeqFuncDelay(kNumber, 1); };
    const auto move = [] { return zelQ_MoveAbs(kNumber, 0, 1.0); };
    EXPECT_EQ(delay(), kNoFocus);
    EXPECT_EQ(zelQ_SeqStart(kNumber, 0), kNoEnd);
    Refused(kNotRunning, {zelQ_SeqPause(kNumber, 0), zelQ_SeqResume(kNumber, 0)});
    ASSERT_EQ(zelQ_SeqSetFocus(kNumber, 0), 0);
    EXPECT_EQ(Program().state, kNotFilled);
    for (int record = 0; record < 512; ++record) {
        ASSERT_EQ(delay(), 0);
    }
    Refused(kFull, {move(), delay()});
    ASSERT_EQ(zelQ_SeqFuncAddEnd(kNumber, 0), 0);
    Refused(kClosed, {move(), zelQ_SeqFuncAddEnd(kNumber, 0)});
    ASSERT_EQ(zelQ_SeqStart(kNumber, 0), 0);
    const auto change = [] {
        return Results{zelQ_SeqStart(kNumber, 0), zelQ_SeqFuncBufClear(kNumber, 0),
                       zelQ_SeqFuncAddEnd(kNumber, 0)};
    };
    Refused(kRuns, change());
    EXPECT_EQ(delay(), kRuns);
    ASSERT_EQ(zelQ_SeqPause(kNumber, 0), 0);
    Refused(kRuns, change());
    PowerCycle();
    EXPECT_EQ(Program().state, kNotFilled);
    EXPECT_EQ(delay(), kNoFocus) << "the focus is gone with the power";
}

} // namespace

} // namespace zelq::test
