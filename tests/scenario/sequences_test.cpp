#include "scenario/scenario_test.h"

#include <vector>

namespace zelq::test {

namespace {

using std::chrono::milliseconds;

constexpr unsigned short kInputSlave = 30;

// States of a program.
enum State : unsigned short { kReady = 2, kRunning = 3, kPaused = 4, kFinished = 5, kFaulted = 7 };

class SequencesScenario : public ScenarioTest
{
  protected:
    static lumosim::ServerConfig WithInputSlave()
    {
        lumosim::ServerConfig config = DefaultConfig();
        config.controller.slaves = {{kInputSlave, lumosim::SlaveType::kInput, {}}};
        return config;
    }

    SequencesScenario() : ScenarioTest(WithInputSlave()) {}

    void SetUp() override
    {
        ScenarioTest::SetUp();
        ServosOn({0, 1, 2, 3});
        for (short axis = 0; axis < 4; ++axis) {
            ASSERT_EQ(zelQ_SpeedSet(kNumber, axis, 0, 1000.0, 0.0, 1000.0, 0.0), 0);
        }
    }

    /// Fills a program by calls made while it has the focus.
    template <typename Records>
    void Load(unsigned short seq, Records records)
    {
        ASSERT_EQ(zelQ_SeqFuncBufClear(kNumber, seq), 0);
        ASSERT_EQ(zelQ_SeqSetFocus(kNumber, seq), 0);
        for (const short result : records()) {
            EXPECT_EQ(result, 0);
        }
        ASSERT_EQ(zelQ_SeqKillFocus(kNumber), 0);
        ASSERT_EQ(zelQ_SeqFuncAddEnd(kNumber, seq), 0);
        EXPECT_EQ(Program(seq).state, kReady);
    }

    static SeqStatus Program(unsigned short seq)
    {
        SeqStatus status{};
        EXPECT_EQ(zelQ_SeqGetStatus(kNumber, seq, &status), 0);
        return status;
    }

    static short WaitFor(unsigned short axis)
    {
        return zelQ_SeqFuncWaitMovDone(kNumber, 0, 1, &axis);
    }

    void SetMainInputs(lumosim::Word inputs)
    {
        server_.With([inputs](lumosim::Controller& c) { c.SetMainInputs(inputs); });
    }
};

using Results = std::vector<short>;

TEST_F(SequencesScenario, FourProgramsWaitForInputsAndForEachOther)
{
    Load(0, [] {
        return Results{zelQ_SeqFuncWaitMDIpins(kNumber, 0x0F, 0x05), zelQ_MoveAbs(kNumber, 0, 100),
                       WaitFor(0)};
    });
    Load(1, [] {
        return Results{zelQ_SeqFuncWaitRDIpin(kNumber, kInputSlave, 17, 1),
                       zelQ_MoveRel(kNumber, 1, -200),
                       WaitFor(1),
                       zelQ_SeqFuncWaitRDIpins(kNumber, kInputSlave, 0x00020000U, 0),
                       zelQ_MoveRel(kNumber, 1, 50),
                       WaitFor(1)};
    });
    Load(2, [] {
        return Results{zelQ_SeqFuncWaitSDIpin(kNumber, 2, 3, 1),
                       zelQ_MoveVel(kNumber, 2, 0),
                       zelQ_SeqFuncWaitSDIpins(kNumber, 2, 0x08, 0),
                       zelQ_SeqFuncDelay(kNumber, 20),
                       zelQ_MoveAbs(kNumber, 2, 0),
                       WaitFor(2)};
    });
    Load(3, [] {
        constexpr unsigned short kPreRegisters[] = {0, 1};
        constexpr short kLastAxis[] = {3};
        constexpr double kTargets[] = {-70};
        return Results{zelQ_SeqFuncWaitMDIpin(kNumber, 7, 1),
                       zelQ_SeqFuncWaitPreRegEmpty(kNumber, 1, 2, kPreRegisters),
                       zelQ_mMoveAbs(kNumber, 1, kLastAxis, kTargets), WaitFor(3)};
    });
    std::vector<int> order; // axes, as their moves began
    server_.With([&order](lumosim::Controller& controller) {
        controller.SetCommandLog([&order](const lumosim::CommandRecord& record) {
            const bool jog = record.code == 0x0010;
            if (jog || record.code == 0x0011 || record.code == 0x0012) {
                order.push_back(record.fields[jog ? 2 : 1]);
            }
        });
    });
    for (unsigned short seq = 0; seq < 4; ++seq) {
        ASSERT_EQ(zelQ_SeqStart(kNumber, seq), 0);
    }
    Advance(milliseconds(100));
    EXPECT_TRUE(order.empty()) << "all of them wait";

    server_.With(
        [](lumosim::Controller& controller) { controller.SetSlaveInputs(kInputSlave, 1U << 17U); });
    Advance(milliseconds(50));
    server_.With([](lumosim::Controller& controller) {
        controller.AxisAt(2).SetInputs({.configurable = true});
    });
    Advance(milliseconds(50));
    SetMainInputs(0x80 | 0x05); // for two programs at once, in the order of their numbers
    Advance(milliseconds(50));
    EXPECT_NEAR(double{StatusOf(0).commandPosition}, 50, 2);
    EXPECT_NEAR(double{StatusOf(1).commandPosition}, -150, 2);
    EXPECT_NEAR(double{StatusOf(2).commandPosition}, 100, 2);
    EXPECT_NEAR(double{StatusOf(3).commandPosition}, -50, 2);
    SeqAllStatus all{};
    ASSERT_EQ(zelQ_SeqGetAllStatus(kNumber, &all), 0);
    const unsigned records[] = {3, 3, 3, 4};
    for (int seq = 0; seq < 4; ++seq) {
        EXPECT_EQ(all.program[seq].state, kRunning);
        EXPECT_EQ(all.program[seq].long1, records[seq]) << seq;
    }

    server_.With([](lumosim::Controller& controller) {
        controller.AxisAt(2).SetInputs({});
        controller.SetSlaveInputs(kInputSlave, 0);
    });
    Advance(milliseconds(1000));
    server_.With([](lumosim::Controller& controller) { controller.SetCommandLog(nullptr); });
    EXPECT_EQ(order, (std::vector<int>{1, 2, 0, 3, 2, 1}));
    EXPECT_EQ(double{StatusOf(0).commandPosition}, 100.0);
    EXPECT_EQ(double{StatusOf(1).commandPosition}, -150.0);
    EXPECT_EQ(double{StatusOf(2).commandPosition}, 0.0);
    EXPECT_EQ(double{StatusOf(3).commandPosition}, -70.0);
    ASSERT_EQ(zelQ_SeqGetAllStatus(kNumber, &all), 0);
    const unsigned passed[] = {3, 6, 6, 4};
    for (int seq = 0; seq < 4; ++seq) {
        EXPECT_EQ(all.program[seq].state, kFinished) << seq;
        EXPECT_EQ(all.program[seq].long3, passed[seq]) << seq;
        EXPECT_EQ(all.program[seq].bits9_13, 1) << seq;
    }
}

TEST_F(SequencesScenario, AProgramQueuesLinesAndWaitsForTheQueue)
{
    constexpr unsigned short kMapAxes[] = {0, 1};
    ASSERT_EQ(zelQ_IMapSet(kNumber, 0, 2, kMapAxes), 0);
    ASSERT_EQ(zelQ_CP_PreRegUseSet(kNumber, 1), 0);
    Load(0, [] {
        constexpr unsigned short kQueue[] = {0};
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
    ASSERT_EQ(zelQ_SeqStart(kNumber, 0), 0);
    Advance(milliseconds(250)); // 100 ms a line: the last one has left the queue 50 ms ago
    EXPECT_NEAR(double{StatusOf(0).commandPosition}, 50, 2);
    EXPECT_NEAR(double{StatusOf(1).commandPosition}, 100, 2);
    EXPECT_NEAR(double{StatusOf(2).commandPosition}, 50, 2);
    EXPECT_EQ(double{StatusOf(3).commandPosition}, 0.0);
    Advance(milliseconds(100)); // and it has ended 50 ms ago
    EXPECT_EQ(double{StatusOf(0).commandPosition}, 0.0);
    EXPECT_NEAR(double{StatusOf(3).commandPosition}, 50, 2);
    EXPECT_EQ(Program(0).state, kFinished);
}

TEST_F(SequencesScenario, AProgramIsPausedResumedAndStopped)
{
    ASSERT_EQ(zelQ_SeqSetCfg(kNumber, 1, 1, 2, 0), 0); // endless; a fault stops the axes at once
    Load(1, [] {
        return Results{zelQ_MoveRel(kNumber, 0, 100), WaitFor(0), zelQ_SeqFuncDelay(kNumber, 100)};
    });
    EXPECT_EQ(zelQ_SeqResume(kNumber, 1), 75);
    ASSERT_EQ(zelQ_SeqStart(kNumber, 1), 0);
    EXPECT_EQ(zelQ_SeqStart(kNumber, 1), 70);
    Advance(milliseconds(1000));
    EXPECT_NEAR(double{StatusOf(0).commandPosition}, 500, 5);
    ASSERT_EQ(zelQ_SeqPause(kNumber, 1), 0);
    Advance(milliseconds(1000));
    EXPECT_EQ(Program(1).state, kPaused);
    EXPECT_NEAR(double{StatusOf(0).commandPosition}, 500, 5);
    ASSERT_EQ(zelQ_SeqResume(kNumber, 1), 0);
    Advance(milliseconds(1000));
    EXPECT_NEAR(double{StatusOf(0).commandPosition}, 1000, 10);

    ASSERT_EQ(zelQ_SeqStop(kNumber, 1, 1), 0);
    const double stopped = StatusOf(0).commandPosition;
    Advance(milliseconds(1000));
    EXPECT_EQ(double{StatusOf(0).commandPosition}, stopped);

    ASSERT_EQ(zelQ_SeqStart(kNumber, 1), 0);
    Advance(milliseconds(50));
    ASSERT_EQ(zelQ_ServoOn(kNumber, 0, 0), 0);
    Advance(milliseconds(10));
    EXPECT_EQ(Program(1).state, kFaulted);
    EXPECT_EQ(Program(1).word5, 76);
}

TEST_F(SequencesScenario, BadUseIsRefusedByTheController)
{
    EXPECT_EQ(zelQ_SeqFuncDelay(kNumber, 1), 74) << "no focus";
    EXPECT_EQ(zelQ_SeqStart(kNumber, 0), 71) << "no end";
    ASSERT_EQ(zelQ_SeqSetFocus(kNumber, 0), 0);
    EXPECT_EQ(zelQ_SeqFuncWaitRDIpin(kNumber, 0, 0, 1), 77) << "no input slave";
    EXPECT_EQ(zelQ_SeqFuncWaitSDIpin(kNumber, 40, 0, 1), 3) << "no servo";
    EXPECT_EQ(zelQ_SeqFuncWaitMDIpin(kNumber, 8, 1), 7) << "no such pin";
    for (int record = 0; record < 512; ++record) {
        ASSERT_EQ(zelQ_SeqFuncDelay(kNumber, 1), 0);
    }
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 73) << "full";
    ASSERT_EQ(zelQ_SeqFuncAddEnd(kNumber, 0), 0);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 72) << "it still has the focus";
    ASSERT_EQ(zelQ_SeqKillFocus(kNumber), 0);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
}

} // namespace

} // namespace zelq::test
