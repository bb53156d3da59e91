// Sequence programs: buffers of commands and waits that the controller runs by itself.

#include "core/controller.h"

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace lumosim {
namespace {

using std::chrono::milliseconds;
using Words = std::vector<Word>;

// States of a program, as its status shows them.
enum State : unsigned {
    kEmpty,
    kFilling,
    kReady,
    kRunning,
    kPaused,
    kFinished,
    kStopped,
    kFaulted
};

class SequencesTest : public testing::Test
{
  protected:
    SequencesTest()
    {
        EXPECT_EQ(Do({1, 3, 0, 1, 2, 1, 0}), Result::kDone);
        for (Word axis = 0; axis < 3; ++axis) {
            // 1000 pulses/s at once
            EXPECT_EQ(Do({2, 1, axis, 0, 1000, 0, 0, 0, 1000, 0, 0, 0, 1000, 0}), Result::kDone);
        }
        controller_.Advance(Axis::kServoOnTime);
    }

    Result Do(std::initializer_list<Word> block) { return controller_.Execute(block); }

    static Words MoveTo(Word axis, std::int32_t target)
    {
        return {0x0011, 1, axis, LowWord(target), HighWord(target)};
    }
    static Words WaitMotion(Word axis, Word mode = 0) { return {0x0230, mode, 1, axis}; }
    static Words Delay(Word ms) { return {0x0233, ms, 0}; }
    static Words WaitMainPin(Word pin, Word level) { return {0x0232, 0, 0, pin, level}; }

    // Fills a program and closes it.
    void Load(Word seq, const std::vector<Words>& records)
    {
        EXPECT_EQ(Do({0x0201, seq, 1}), Result::kDone);
        EXPECT_EQ(Do({0x0200, seq}), Result::kDone);
        for (const Words& record : records) {
            Reply reply;
            EXPECT_EQ(controller_.Run(record, reply), Result::kDone);
        }
        EXPECT_EQ(Do({0x0200, 0xFFFF}), Result::kDone);
        EXPECT_EQ(Do({0x0201, seq, 0}), Result::kDone);
    }

    Result Start(Word seq) { return Do({0x0203, seq, 1}); }
    void LoadAndStart(const std::vector<Words>& records)
    {
        Load(0, records);
        EXPECT_EQ(Start(0), Result::kDone);
    }

    [[nodiscard]] Word StatusWord(Word seq, int index) const
    {
        return controller_.ReadRegister(static_cast<Word>(0xF4AA + 6 * seq + index));
    }
    [[nodiscard]] unsigned StateOf(Word seq) const { return StatusWord(seq, 0) & 0xFU; }
    [[nodiscard]] unsigned RecordOf(Word seq) const { return StatusWord(seq, 1); }
    [[nodiscard]] Result FaultOf(Word seq) const { return static_cast<Result>(StatusWord(seq, 5)); }
    [[nodiscard]] std::int32_t Position(int axis)
    {
        return controller_.AxisAt(axis).CommandPosition();
    }

    Controller controller_{[] {
        ControllerConfig config;
        config.axes = 3;
        config.slaves = {{30, SlaveType::kInput, {}}};
        return config;
    }()};
};

TEST_F(SequencesTest, CommandsGoIntoTheBufferWhileAProgramHasTheFocus)
{
    EXPECT_EQ(Do({0x0200, 2}), Result::kDone);
    EXPECT_EQ(StatusWord(2, 0), kEmpty | 1U << 4U);
    EXPECT_EQ(Do({0x0011, 1, 0, 500, 0}), Result::kDone);
    EXPECT_EQ(Do({0x0230, 0, 1, 0}), Result::kDone);
    controller_.Advance(milliseconds(100));
    EXPECT_EQ(Position(0), 0) << "not executed";
    EXPECT_EQ(StatusWord(2, 0), kFilling | 1U << 4U);
    // What is no motion is executed as ever.
    EXPECT_EQ(Do({1, 1, 2, 0, 0}), Result::kDone);
    EXPECT_FALSE(controller_.AxisAt(2).ServoOn());
    EXPECT_EQ(Do({0x0101, 2, 0}), Result::kMalformed);
    EXPECT_EQ(Do({0x7777}), Result::kUnknownCommand);

    EXPECT_EQ(Do({0x0200, 0xFFFF}), Result::kDone);
    EXPECT_EQ(Do({0x0233, 1, 0}), Result::kNoFocus);
    EXPECT_EQ(Do({0x0011, 1, 1, 50, 0}), Result::kDone);
    controller_.Advance(milliseconds(100));
    EXPECT_EQ(Position(1), 50) << "executed again";
    EXPECT_EQ(Do({0x0201, 2, 0}), Result::kDone);
    EXPECT_EQ(StatusWord(2, 0), kReady | 1U << 8U);
    EXPECT_EQ(Start(2), Result::kDone);
    controller_.Advance(milliseconds(600));
    EXPECT_EQ(Position(0), 500);
}

TEST_F(SequencesTest, RecordsRunInOrder)
{
    LoadAndStart({MoveTo(0, 100), WaitMotion(0), Delay(200), MoveTo(1, -50), WaitMotion(1)});
    controller_.Advance(milliseconds(50));
    EXPECT_EQ(Position(0), 50);
    EXPECT_EQ(StatusWord(0, 0), kRunning | 1U << 5U | 1U << 6U | 1U << 8U) << "waits for motion";
    EXPECT_EQ(RecordOf(0), 2U);
    controller_.Advance(milliseconds(100));
    EXPECT_EQ(StatusWord(0, 0), kRunning | 1U << 5U | 3U << 6U | 1U << 8U) << "delay";
    EXPECT_EQ(Position(1), 0);
    controller_.Advance(milliseconds(175)); // 100 ms of motion, 200 ms of delay, 25 ms on the way
    EXPECT_EQ(Position(1), -25);
    EXPECT_EQ(RecordOf(0), 5U);
    controller_.Advance(milliseconds(100));
    EXPECT_EQ(StatusWord(0, 0), kFinished | 1U << 8U | 1U << 9U);
    EXPECT_EQ(RecordOf(0), 6U) << "the end";
    EXPECT_EQ(StatusWord(0, 3), 5) << "records passed";
    EXPECT_EQ(Start(0), Result::kDone) << "a program can be run again";
    EXPECT_EQ(StatusWord(0, 3), 0);
}

TEST_F(SequencesTest, WaitsForInputs)
{
    // Each wait, and what fulfils it.
    const std::vector<std::pair<Words, std::function<void()>>> rows = {
        {WaitMainPin(7, 1), [this] { controller_.SetMainInputs(0x80); }},
        {WaitMainPin(7, 0), [this] { controller_.SetMainInputs(0x7F); }},
        {{0x0232, 0, 1, 0x0F, 0, 0xF5, 0}, [this] { controller_.SetMainInputs(0x35); }},
        {{0x0232, 1, 0, 30, 31, 1}, [this] { controller_.SetSlaveInputs(30, 0x80000000U); }},
        {{0x0232, 1, 1, 30, 1, 1, 1, 0}, [this] { controller_.SetSlaveInputs(30, 0xFFFE0001U); }},
        {{0x0232, 2, 0, 1, 2, 1},
         [this] { controller_.AxisAt(1).SetInputs({.homeSensor = true}); }},
        {{0x0232, 2, 1, 1, 0x0B, 0, 0x0A, 0},
         [this] {
             controller_.AxisAt(1).SetInputs({.limitNegative = true, .configurable = true});
         }},
    };
    controller_.SetMainInputs(0x00);
    std::vector<Words> records;
    records.reserve(rows.size());
    for (const auto& [wait, fulfil] : rows) {
        records.push_back(wait);
    }
    LoadAndStart(records);
    unsigned record = 1;
    for (const auto& [wait, fulfil] : rows) {
        controller_.Advance(milliseconds(10));
        EXPECT_EQ(RecordOf(0), record);
        EXPECT_EQ(StatusWord(0, 0) & 0xEFU, kRunning | 1U << 5U | 2U << 6U);
        fulfil();
        controller_.Advance(milliseconds(2));
        EXPECT_EQ(RecordOf(0), ++record);
    }
    EXPECT_EQ(StateOf(0), kFinished);
}

TEST_F(SequencesTest, WaitsForAllAxesOrAny)
{
    const Words moves = {0x0011, 2, 0, 100, 0, 1, 300, 0};
    LoadAndStart({moves, {0x0230, 1, 2, 0, 1}, {0x0230, 0, 2, 0, 1}});
    controller_.Advance(milliseconds(99));
    EXPECT_EQ(RecordOf(0), 2U);
    controller_.Advance(milliseconds(3));
    EXPECT_EQ(RecordOf(0), 3U);
    controller_.Advance(milliseconds(195));
    EXPECT_EQ(StateOf(0), kRunning);
    controller_.Advance(milliseconds(10));
    EXPECT_EQ(StateOf(0), kFinished);
}

TEST_F(SequencesTest, EmptyPreRegistersArePassed)
{
    LoadAndStart({{0x0231, 1, 2, 0, 15}, {0x0231, 2, 1, 3}, {0x0231, 3, 1, 0}});
    controller_.Advance(milliseconds(5));
    EXPECT_EQ(StateOf(0), kFinished);
}

TEST_F(SequencesTest, FourProgramsRunSideBySide)
{
    Load(0, {MoveTo(0, 100), WaitMotion(0)});
    Load(1, {Delay(50), MoveTo(1, 100), WaitMotion(1)});
    Load(2, {WaitMainPin(0, 1), MoveTo(2, 100), WaitMotion(2)});
    Load(3, {WaitMotion(2), Delay(1000)});
    for (Word seq = 0; seq < 4; ++seq) {
        EXPECT_EQ(Start(seq), Result::kDone);
    }
    controller_.Advance(milliseconds(120));
    EXPECT_EQ(Position(0), 100);
    EXPECT_EQ(Position(1), 70);
    EXPECT_EQ(Position(2), 0);
    const unsigned states[] = {kFinished, kRunning, kRunning, kRunning};
    for (Word seq = 0; seq < 4; ++seq) {
        EXPECT_EQ(StateOf(seq), states[seq]) << seq;
    }
    EXPECT_EQ(RecordOf(3), 2U) << "an axis that rests has done its motion";
}

TEST_F(SequencesTest, EndlessProgramsAndSingleSteps)
{
    EXPECT_EQ(Do({0x0202, 0, 1, 0, 0}), Result::kDone);
    LoadAndStart({Delay(10)});
    controller_.Advance(milliseconds(1000));
    EXPECT_EQ(StateOf(0), kRunning);
    EXPECT_NEAR(StatusWord(0, 3), 98, 1); // 10 ms, and the times of record and end
    EXPECT_EQ(StatusWord(0, 0) >> 9U, StatusWord(0, 3) % 32U);

    EXPECT_EQ(Do({0x0202, 1, 0, 0, 1}), Result::kDone);
    Load(1, {MoveTo(0, 10), MoveTo(1, 20)});
    EXPECT_EQ(Start(1), Result::kDone);
    for (const unsigned record : {2U, 3U}) {
        controller_.Advance(milliseconds(100));
        EXPECT_EQ(StateOf(1), kPaused);
        EXPECT_EQ(RecordOf(1), record);
        EXPECT_EQ(Do({0x0203, 1, 3}), Result::kDone);
    }
    controller_.Advance(milliseconds(1));
    EXPECT_EQ(StateOf(1), kFinished);
}

TEST_F(SequencesTest, PauseResumeStop)
{
    LoadAndStart({MoveTo(0, 100), WaitMotion(0), MoveTo(0, 1000), WaitMotion(0), MoveTo(0, 0)});
    controller_.Advance(milliseconds(50));
    EXPECT_EQ(Do({0x0203, 0, 2}), Result::kDone);
    controller_.Advance(milliseconds(500));
    EXPECT_EQ(Position(0), 100) << "the motion goes on, the program does not";
    EXPECT_EQ(StateOf(0), kPaused);
    EXPECT_EQ(Do({0x0203, 0, 3}), Result::kDone);
    controller_.Advance(milliseconds(101));
    EXPECT_NEAR(Position(0), 200, 2);
    EXPECT_EQ(Do({0x0203, 0, 0, 0}), Result::kDone);
    EXPECT_EQ(StateOf(0), kStopped);
    controller_.Advance(milliseconds(2000));
    EXPECT_EQ(Position(0), 1000) << "the motion ran to its end";

    EXPECT_EQ(Start(0), Result::kDone);
    controller_.Advance(milliseconds(50));
    EXPECT_EQ(Do({0x0203, 0, 0, 1}), Result::kDone);
    controller_.Advance(milliseconds(50));
    EXPECT_NEAR(Position(0), 950, 2) << "stopped with the program";
    EXPECT_EQ(Do({0x0203, 0, 0, 1}), Result::kDone) << "a program that stands";
}

TEST_F(SequencesTest, FaultsStopAProgram)
{
    // A command that is refused, with each reaction to it.
    const std::int32_t goesOn = 1000;
    const std::int32_t stands = 50;
    for (Word reaction = 0; reaction <= 2; ++reaction) {
        controller_.AxisAt(0).SetPosition(0);
        EXPECT_EQ(Do({0x0202, 0, 0, reaction, 0}), Result::kDone);
        LoadAndStart({MoveTo(0, 1000), Delay(50), {0x0011, 1, 9, 0, 0}, MoveTo(0, 0)});
        controller_.Advance(milliseconds(2000));
        EXPECT_EQ(StateOf(0), kFaulted);
        EXPECT_EQ(FaultOf(0), Result::kNoServo);
        EXPECT_EQ(RecordOf(0), 3U) << "the one that failed";
        EXPECT_NEAR(Position(0), reaction == 0 ? goesOn : stands, 2);
    }
    // A motion that does not reach its end.
    LoadAndStart({MoveTo(0, 10'000), MoveTo(1, 10'000), WaitMotion(0), MoveTo(2, 1)});
    controller_.Advance(milliseconds(100));
    controller_.AxisAt(0).SetInputs({.limitPositive = true});
    controller_.Advance(milliseconds(100));
    EXPECT_EQ(FaultOf(0), Result::kMotionFailed);
    EXPECT_FALSE(controller_.AxisAt(1).Moving()) << "stopped with the program";
    EXPECT_EQ(Position(2), 0);
    // What was before the program does not concern it.
    LoadAndStart({WaitMotion(0)});
    controller_.Advance(milliseconds(10));
    EXPECT_EQ(StateOf(0), kFinished);
    EXPECT_EQ(FaultOf(0), Result::kDone);
}

TEST_F(SequencesTest, BadUseIsRefused)
{
    const auto refused = [this](Result result, std::initializer_list<Words> blocks) {
        for (const Words& block : blocks) {
            Reply reply;
            EXPECT_EQ(controller_.Run(block, reply), result) << block[0] << ' ' << block.at(1);
        }
    };
    refused(Result::kProgramOpen, {{0x0203, 0, 1}});
    refused(Result::kProgramNotRunning, {{0x0203, 0, 2}, {0x0203, 0, 3}});
    refused(Result::kOutOfRange, {{0x0200, 4},
                                  {0x0201, 4, 0},
                                  {0x0201, 0, 2},
                                  {0x0202, 4, 0, 0, 0},
                                  {0x0202, 0, 2, 0, 0},
                                  {0x0202, 0, 0, 3, 0},
                                  {0x0202, 0, 0, 0, 2},
                                  {0x0203, 4, 1},
                                  {0x0203, 0, 4},
                                  {0x0203, 0, 0, 2}});
    refused(Result::kMalformed,
            {{0x0200, 0, 0}, {0x0201, 0}, {0x0202, 0, 0, 0}, {0x0203, 0, 1, 0}, {0x0203, 0, 0}});
    EXPECT_EQ(Do({0x0200, 0}), Result::kDone);
    refused(Result::kMalformed, {{0x0230, 0, 0},
                                 {0x0230, 0, 2, 0},
                                 {0x0230, 0, 1, 0, 1},
                                 {0x0231, 1, 2, 0},
                                 {0x0232, 0, 0, 1},
                                 {0x0232, 1, 0, 1, 1},
                                 {0x0232, 0, 1, 1, 1, 1},
                                 {0x0233, 1}});
    refused(Result::kOutOfRange, {{0x0230, 2, 1, 0},
                                  {0x0231, 4, 1, 0},
                                  {0x0231, 1, 1, 16},
                                  {0x0232, 0, 0, 8, 1},
                                  {0x0232, 0, 0, 0, 2},
                                  {0x0232, 0, 1, 0x100, 0, 0, 0},
                                  {0x0232, 2, 0, 0, 4, 1},
                                  {0x0232, 1, 0, 30, 32, 1},
                                  {0x0232, 3, 0, 0, 0, 0},
                                  {0x0232, 0, 2, 0, 0, 0, 0}});
    refused(Result::kNoServo, {{0x0230, 0, 2, 0, 30}, {0x0232, 2, 0, 30, 0, 1}});
    refused(Result::kNoInputSlave, {{0x0232, 1, 0, 0, 0, 1}, {0x0232, 1, 0, 40, 0, 1}});
    EXPECT_EQ(StateOf(0), kEmpty);

    for (int i = 0; i < 512; ++i) {
        EXPECT_EQ(Do({0x0233, 1, 0}), Result::kDone);
    }
    refused(Result::kProgramFull, {{0x0233, 1, 0}, {0x0010, 1, 0, 0}});
    EXPECT_EQ(Do({0x0201, 0, 0}), Result::kDone);
    refused(Result::kProgramClosed, {{0x0233, 1, 0}, {0x0201, 0, 0}, {0x0010, 1, 0, 0}});
    EXPECT_EQ(Start(0), Result::kDone);
    refused(Result::kProgramRunning,
            {{0x0203, 0, 1}, {0x0201, 0, 1}, {0x0201, 0, 0}, {0x0202, 0, 0, 0, 0}, {0x0233, 1, 0}});
    EXPECT_EQ(Do({0x0203, 0, 2}), Result::kDone);
    refused(Result::kProgramRunning, {{0x0203, 0, 1}, {0x0201, 0, 1}});

    controller_.PowerCycle();
    EXPECT_EQ(StateOf(0), kEmpty);
    EXPECT_EQ(Do({0x0233, 1, 0}), Result::kNoFocus) << "the focus is gone with the power";
}

} // namespace
} // namespace lumosim
