// Sequence programs: filled by calls, run by the controller.

#include "scenario/scenario_test.h"

#include <vector>

namespace zelq::test {

namespace {

enum State : U16 {
    kNotFilled,
    kFilling,
    kReady,
    kRunning,
    kPaused,
    kFinished,
    kBrokenOff,
    kFaulted
};
enum Kind : U16 { kNone, kMotion, kInput, kDelay }; ///< of the record that is waited for

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

    /// Fills a program by calls made while it has the focus.
    void Load(U16 seq, Results (*records)())
    {
        EXPECT_THAT((Results{zelQ_SeqFuncBufClear(kNumber, seq), zelQ_SeqSetFocus(kNumber, seq)}),
                    Each(0));
        EXPECT_THAT(records(), Each(0));
        EXPECT_THAT((Results{zelQ_SeqKillFocus(kNumber), zelQ_SeqFuncAddEnd(kNumber, seq)}),
                    Each(0));
        EXPECT_EQ(Program(seq).state, kReady);
    }

    void LoadAndStart(Results (*records)())
    {
        Load(0, records);
        ASSERT_EQ(zelQ_SeqStart(kNumber, 0), 0);
    }

    static SeqStatus Program(U16 seq = 0)
    {
        SeqStatus status{};
        EXPECT_EQ(zelQ_SeqGetStatus(kNumber, seq, &status), 0);
        return status;
    }

    /// State, record and what it waits for, of program 0, so much later.
    void ExpectAt(milliseconds in, State state, unsigned record, Kind waitsFor = kNone)
    {
        Advance(in);
        const SeqStatus status = Program();
        EXPECT_EQ(status.state, state);
        EXPECT_EQ(status.long1, record);
        EXPECT_EQ(status.bit5, waitsFor != kNone);
        EXPECT_EQ(status.bits6_7, waitsFor);
    }

    static short WaitFor(U16 axis) { return zelQ_SeqFuncWaitMovDone(kNumber, 0, 1, &axis); }

    void ExpectPositionsIn(milliseconds in, std::initializer_list<double> wanted)
    {
        Advance(in);
        U16 axis = 0;
        for (const double position : wanted) {
            EXPECT_NEAR(PositionOf(axis), position, 2) << "axis " << axis;
            ++axis;
        }
    }

    void SetMainInputs(lumosim::Word inputs)
    {
        server_.With([inputs](lumosim::Controller& c) { c.SetMainInputs(inputs); });
    }
    void SetSlaveInputs(std::uint32_t inputs)
    {
        server_.With([=](lumosim::Controller& c) { c.SetSlaveInputs(kInputSlave, inputs); });
    }
};

TEST_F(SequencesScenario, CallsGoIntoTheProgramThatHasTheFocusAndRunInOrder)
{
    ASSERT_EQ(zelQ_SeqSetFocus(kNumber, 0), 0);
    EXPECT_EQ(Program().bit4, 1);
    EXPECT_EQ(Program().state, kNotFilled);
    EXPECT_THAT((Results{zelQ_MoveAbs(kNumber, 0, 100), WaitFor(0), zelQ_SeqFuncDelay(kNumber, 200),
                         zelQ_MoveAbs(kNumber, 1, -50), WaitFor(1)}),
                Each(0));
    EXPECT_EQ(Program().state, kFilling);
    EXPECT_EQ(zelQ_ServoOn(kNumber, 3, 0), 0) << "what is no motion is executed as ever";
    EXPECT_EQ(StatusOf(3).servoOn, 0);
    ASSERT_EQ(zelQ_SeqKillFocus(kNumber), 0);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 2, 50), 0);
    ExpectPositionsIn(milliseconds(100), {0, 0, 50});
    ASSERT_EQ(zelQ_SeqFuncAddEnd(kNumber, 0), 0);
    EXPECT_EQ(Program().bit8, 1);
    ASSERT_EQ(zelQ_SeqStart(kNumber, 0), 0);
    ExpectAt(milliseconds(50), kRunning, 2, kMotion);
    ExpectAt(milliseconds(100), kRunning, 3, kDelay);
    ExpectPositionsIn(milliseconds(175), {100, -25});
    ExpectAt(milliseconds(100), kFinished, 6);
    EXPECT_EQ(Program().long3, 5U) << "records passed";
    EXPECT_EQ(zelQ_SeqStart(kNumber, 0), 0) << "it can be run again";
    EXPECT_EQ(Program().long3, 0U);
}

TEST_F(SequencesScenario, EveryInputIsWaitedForByPinAndByMask)
{
    SetSlaveInputs(0x80000000U);
    LoadAndStart([] {
        return Results{zelQ_SeqFuncWaitMDIpin(kNumber, 7, 1),
                       zelQ_SeqFuncWaitMDIpins(kNumber, 0x0F, 0xF5),
                       zelQ_SeqFuncWaitRDIpin(kNumber, kInputSlave, 31, 0),
                       zelQ_SeqFuncWaitRDIpins(kNumber, kInputSlave, 0x10001U, 0x0001U),
                       zelQ_SeqFuncWaitSDIpin(kNumber, 1, 2, 1),
                       zelQ_SeqFuncWaitSDIpins(kNumber, 1, 0x0B, 0x0A)};
    });
    const std::vector<std::function<void()>> fulfil = {
        [this] { SetMainInputs(0x80); },
        [this] { SetMainInputs(0x35); },
        [this] { SetSlaveInputs(0); },
        [this] { SetSlaveInputs(0xFFFE0001U); },
        [this] { SetInputs({.homeSensor = true}, 1); },
        [this] { SetInputs({.limitNegative = true, .configurable = true}, 1); }};
    unsigned record = 1;
    for (const auto& happen : fulfil) {
        ExpectAt(milliseconds(10), kRunning, record++, kInput);
        happen();
        Advance(milliseconds(2));
    }
    ExpectAt(milliseconds(0), kFinished, record);
}

TEST_F(SequencesScenario, ProgramsRunSideBySideInTheOrderOfTheirInputs)
{
    Load(0, [] {
        return Results{zelQ_SeqFuncWaitMDIpin(kNumber, 0, 1), zelQ_MoveAbs(kNumber, 0, 100),
                       WaitFor(0)};
    });
    Load(1, [] {
        return Results{zelQ_SeqFuncWaitRDIpin(kNumber, kInputSlave, 17, 1),
                       zelQ_MoveRel(kNumber, 1, -200), WaitFor(1)};
    });
    Load(2, [] {
        return Results{zelQ_SeqFuncWaitSDIpin(kNumber, 2, 3, 1), zelQ_MoveVel(kNumber, 2, 0),
                       zelQ_SeqFuncWaitSDIpin(kNumber, 2, 3, 0), zelQ_StopDec(kNumber, 2),
                       WaitFor(2)};
    });
    Load(3, [] {
        constexpr short kAxis[] = {3};
        constexpr double kTarget[] = {-70};
        return Results{zelQ_SeqFuncWaitMDIpin(kNumber, 7, 1),
                       zelQ_mMoveAbs(kNumber, 1, kAxis, kTarget), WaitFor(3)};
    });
    for (U16 seq = 0; seq < 4; ++seq) {
        ASSERT_EQ(zelQ_SeqStart(kNumber, seq), 0);
    }
    SetSlaveInputs(1U << 17U);
    Advance(milliseconds(50));
    SetInputs({.configurable = true}, 2);
    Advance(milliseconds(50));
    SetMainInputs(0x81); // for two programs at once
    ExpectPositionsIn(milliseconds(50), {50, -150, 100, -50});
    SetInputs({}, 2);
    ExpectPositionsIn(milliseconds(1000), {100, -200, 100, -70});
    SeqAllStatus all{};
    ASSERT_EQ(zelQ_SeqGetAllStatus(kNumber, &all), 0);
    for (const SeqStatus& program : all.program) {
        EXPECT_EQ(program.state, kFinished) << "a stop by command is no fault";
        EXPECT_EQ(program.bits9_13, 1);
    }
}

TEST_F(SequencesScenario, WaitsForAllAxesOrAny)
{
    LoadAndStart([] {
        constexpr U16 kBoth[] = {0, 1};
        return Results{zelQ_MoveAbs(kNumber, 0, 100), zelQ_MoveAbs(kNumber, 1, 300),
                       zelQ_SeqFuncWaitMovDone(kNumber, 1, 2, kBoth),
                       zelQ_SeqFuncWaitMovDone(kNumber, 0, 2, kBoth)};
    });
    ExpectAt(milliseconds(99), kRunning, 3, kMotion);
    ExpectAt(milliseconds(4), kRunning, 4, kMotion);
    ExpectAt(milliseconds(190), kRunning, 4, kMotion);
    ExpectAt(milliseconds(15), kFinished, 5);
}

TEST_F(SequencesScenario, AProgramQueuesLinesAndWaitsForTheQueue)
{
    constexpr U16 kMapAxes[] = {0, 1};
    ASSERT_EQ(zelQ_IMapSet(kNumber, 0, 2, kMapAxes), 0);
    ASSERT_EQ(zelQ_CP_PreRegUseSet(kNumber, 1), 0);
    LoadAndStart([] {
        constexpr U16 kQueue[] = {0};
        const auto line = [](double x, double y) {
            const double target[] = {x, y};
            InterpSpeedProfile speed{};
            speed.startSpeed = speed.driveSpeed = speed.endSpeed = 1000;
            return zelQ_ILinear(kNumber, 0, 0, 2, target, &speed);
        };
        return Results{line(100, 0),
                       line(100, 100),
                       line(0, 100),
                       zelQ_SeqFuncWaitPreRegEmpty(kNumber, 1, 1, kQueue),
                       zelQ_MoveAbs(kNumber, 2, 1000),
                       zelQ_SeqFuncWaitPreRegEmpty(kNumber, 3, 1, kQueue),
                       zelQ_MoveAbs(kNumber, 3, 1000)};
    });
    ExpectPositionsIn(milliseconds(250), {50, 100, 50, 0});
    ExpectPositionsIn(milliseconds(100), {0, 100, 150, 50});
    EXPECT_EQ(Program().state, kFinished);
}

TEST_F(SequencesScenario, EndlessProgramsSingleStepsPauseAndStop)
{
    ASSERT_EQ(zelQ_SeqSetCfg(kNumber, 1, 0, 0, 1), 0);
    Load(1, [] { return Results{zelQ_MoveAbs(kNumber, 2, 10), zelQ_MoveAbs(kNumber, 3, 20)}; });
    ASSERT_EQ(zelQ_SeqStart(kNumber, 1), 0);
    for (const unsigned record : {2U, 3U}) {
        Advance(milliseconds(100));
        EXPECT_EQ(Program(1).state, kPaused);
        EXPECT_EQ(Program(1).long1, record);
        EXPECT_EQ(zelQ_SeqResume(kNumber, 1), 0);
    }
    Advance(milliseconds(1));
    EXPECT_EQ(Program(1).state, kFinished);

    ASSERT_EQ(zelQ_SeqSetCfg(kNumber, 0, 1, 0, 0), 0);
    LoadAndStart([] {
        return Results{zelQ_MoveRel(kNumber, 0, 100), WaitFor(0), zelQ_SeqFuncDelay(kNumber, 100)};
    });
    ExpectPositionsIn(milliseconds(1000), {500});
    EXPECT_NEAR(Program().long3, 15, 1);
    EXPECT_EQ(Program().bits9_13, Program().long3 / 3);
    ASSERT_EQ(zelQ_SeqPause(kNumber, 0), 0);
    Advance(milliseconds(1000));
    EXPECT_EQ(Program().state, kPaused);
    ExpectPositionsIn(milliseconds(0), {PositionOf(0) < 550 ? 500.0 : 600.0});
    ASSERT_EQ(zelQ_SeqResume(kNumber, 0), 0);
    ASSERT_EQ(zelQ_MoveRel(kNumber, 2, 1000), 0);
    ASSERT_TRUE(AdvanceUntil([] { return StatusOf(0).inMotion == 0; }, milliseconds(300)));
    ASSERT_TRUE(AdvanceUntil([] { return StatusOf(0).inMotion == 1; }, milliseconds(300)));
    ASSERT_EQ(zelQ_SeqStop(kNumber, 0, 1), 0);
    Advance(milliseconds(5));
    EXPECT_EQ(Program().state, kBrokenOff);
    EXPECT_EQ(StatusOf(0).inMotion, 0) << "stopped with the program";
    EXPECT_EQ(StatusOf(2).inMotion, 1) << "none of its own";
    ASSERT_EQ(zelQ_SeqStart(kNumber, 0), 0);
    Advance(milliseconds(50));
    ASSERT_EQ(zelQ_SeqStop(kNumber, 0, 0), 0);
    EXPECT_EQ(InMotionIn(milliseconds(20), 0), 1) << "its motion runs to the end";
}

TEST_F(SequencesScenario, FaultsStopAProgram)
{
    ASSERT_EQ(zelQ_SpeedSet(kNumber, 0, 0, 0.0, 0.0, 1000.0, 10'000.0), 0);
    for (U16 reaction = 0; reaction <= 2; ++reaction) {
        ASSERT_EQ(zelQ_SeqSetCfg(kNumber, 0, 0, reaction, 0), 0);
        ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 0), 0);
        LoadAndStart([] {
            return Results{zelQ_MoveAbs(kNumber, 0, 1000), zelQ_SeqFuncDelay(kNumber, 49),
                           zelQ_MoveAbs(kNumber, 9, 0), zelQ_MoveAbs(kNumber, 0, 0)};
        });
        ExpectAt(milliseconds(2000), kFaulted, 3);
        EXPECT_EQ(Program().word5, 3) << "no servo";
        ExpectPositionsIn(milliseconds(0), {reaction == 0 ? 1000.0 : reaction == 1 ? 100.0 : 50.0});
    }
    // A motion that does not reach its end; what was before the program does not concern it.
    LoadAndStart([] {
        return Results{zelQ_MoveAbs(kNumber, 0, 10'000), zelQ_MoveAbs(kNumber, 1, 10'000),
                       WaitFor(0), zelQ_MoveAbs(kNumber, 2, 1)};
    });
    Advance(milliseconds(100));
    SetInputs({.limitPositive = true}, 0);
    Advance(milliseconds(200));
    EXPECT_EQ(Program().word5, 76);
    EXPECT_EQ(StatusOf(1).inMotion, 0) << "stopped with the program";
    ExpectPositionsIn(milliseconds(0), {200, 200, 0});
    // What an earlier run has moved, and what has failed there, does not concern the next one.
    Load(0, [] {
        return Results{WaitFor(0), zelQ_MoveAbs(kNumber, 2, 5), zelQ_MoveRel(kNumber, 1, 5)};
    });
    ASSERT_EQ(zelQ_SeqStart(kNumber, 0), 0);
    Advance(milliseconds(100));
    EXPECT_EQ(Program().state, kFinished);
    ASSERT_EQ(zelQ_ServoOn(kNumber, 2, 0), 0);
    ASSERT_EQ(zelQ_MoveVel(kNumber, 1, 0), 0);
    ASSERT_EQ(zelQ_SeqStart(kNumber, 0), 0);
    Advance(milliseconds(10));
    EXPECT_EQ(Program().word5, kServoOff);
    EXPECT_EQ(StatusOf(1).inMotion, 1);
}

TEST_F(SequencesScenario, BadUseIsRefused)
{
    EXPECT_EQ(zelQ_SeqFuncDelay(kNumber, 1), 74) << "no focus";
    EXPECT_EQ(zelQ_SeqStart(kNumber, 0), 71) << "no end";
    EXPECT_THAT((Results{zelQ_SeqPause(kNumber, 0), zelQ_SeqResume(kNumber, 0)}), Each(75));
    ASSERT_EQ(zelQ_SeqSetFocus(kNumber, 0), 0);
    EXPECT_EQ(Program().state, kNotFilled);
    for (int record = 0; record < 512; ++record) {
        ASSERT_EQ(zelQ_SeqFuncDelay(kNumber, 1), 0);
    }
    EXPECT_THAT((Results{zelQ_MoveAbs(kNumber, 0, 1.0), zelQ_SeqFuncDelay(kNumber, 1)}), Each(73))
        << "full";
    ASSERT_EQ(zelQ_SeqFuncAddEnd(kNumber, 0), 0);
    EXPECT_THAT((Results{zelQ_MoveAbs(kNumber, 0, 1.0), zelQ_SeqFuncAddEnd(kNumber, 0)}), Each(72))
        << "closed";
    ASSERT_EQ(zelQ_SeqStart(kNumber, 0), 0);
    const auto busy = [] {
        return Results{zelQ_SeqStart(kNumber, 0), zelQ_SeqFuncBufClear(kNumber, 0),
                       zelQ_SeqFuncAddEnd(kNumber, 0)};
    };
    EXPECT_THAT(busy(), Each(70));
    EXPECT_EQ(zelQ_SeqFuncDelay(kNumber, 1), 70);
    ASSERT_EQ(zelQ_SeqPause(kNumber, 0), 0);
    EXPECT_THAT(busy(), Each(70));
    PowerCycle();
    EXPECT_EQ(Program().state, kNotFilled);
    EXPECT_EQ(zelQ_SeqFuncDelay(kNumber, 1), 74) << "the focus is gone with the power";
}

} // namespace

} // namespace zelq::test
