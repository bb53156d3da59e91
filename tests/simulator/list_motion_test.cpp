// Lists of nodes that an axis runs through.

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

struct Node
{
    std::int32_t position = 0;
    std::int32_t start = 1000;
    std::int32_t acc = 0; // at once
    std::int32_t drive = 1000;
    std::int32_t dec = 0;
    Word mode = 0;
    Word dwell = 0;
};

struct Status
{
    unsigned node;
    bool running;
    bool closed;
    bool endedEarly;
    unsigned waiting;
    unsigned free;
    std::int32_t completed;
    std::int32_t rounds;

    friend bool operator==(const Status&, const Status&) = default;
};

class ListMotionTest : public testing::Test
{
  protected:
    ListMotionTest()
    {
        EXPECT_EQ(controller_.Execute({1, 2, 0, 1, 1, 0}), Result::kDone);
        controller_.Advance(Axis::kServoOnTime);
    }

    Result Configure(Word stream, Word repetitions = 0, Word percent = 0)
    {
        return controller_.Execute({0x0100, 0, stream, repetitions, percent});
    }

    // The reply words come behind the result.
    Words Add(const std::vector<Node>& nodes, Word axis = 0)
    {
        Words block = {0x0101, axis, static_cast<Word>(nodes.size())};
        for (const Node& node : nodes) {
            for (const std::int32_t value :
                 {node.position, node.start, node.acc, node.drive, node.dec}) {
                block.push_back(LowWord(value));
                block.push_back(HighWord(value));
            }
            block.push_back(node.mode);
            block.push_back(node.dwell);
        }
        Reply reply;
        Words answer = {static_cast<Word>(controller_.Run(block, reply))};
        answer.insert(answer.end(), reply.Words().begin(), reply.Words().end());
        return answer;
    }

    Result Close(Word stopSpeed = 1000) { return controller_.Execute({0x0102, 0, stopSpeed, 0}); }
    Result Run(Word axis = 0) { return controller_.Execute({0x0103, axis, 1}); }
    Result Stop() { return controller_.Execute({0x0103, 0, 0}); }

    void Load(const std::vector<Node>& nodes)
    {
        EXPECT_EQ(Add(nodes).front(), 0);
        EXPECT_EQ(Close(), Result::kDone);
        EXPECT_EQ(Run(), Result::kDone);
    }

    [[nodiscard]] Status Show(int axis = 0) const
    {
        const auto base = static_cast<Word>(axis * 256 + 0x12);
        const unsigned word = controller_.ReadRegister(base);
        const auto at = [base](int offset) { return static_cast<Word>(base + offset); };
        return {word & 0x7FFU,
                (word & 1U << 11U) != 0,
                (word & 1U << 12U) != 0,
                (word & 1U << 13U) != 0,
                controller_.ReadRegister(at(1)),
                controller_.ReadRegister(at(2)),
                controller_.ReadLong(at(3)),
                controller_.ReadLong(at(5))};
    }

    [[nodiscard]] Axis& TheAxis() { return controller_.AxisAt(0); }
    [[nodiscard]] std::int32_t Position() { return TheAxis().CommandPosition(); }

    Controller controller_{[] {
        ControllerConfig config;
        config.axes = 2;
        return config;
    }()};
};

TEST_F(ListMotionTest, EachNodeHasItsOwnPositionAndSpeed)
{
    Load(
        {{.position = 1000}, {.position = 4000, .start = 2000, .drive = 2000}, {.position = 3500}});
    EXPECT_EQ(Show(), (Status{1, true, true, false, 2, 253, 0, 0}));
    controller_.Advance(milliseconds(500));
    EXPECT_EQ(Position(), 500);
    EXPECT_EQ(TheAxis().Kind(), MotionKind::kList);
    EXPECT_EQ(TheAxis().TargetPosition(), 1000);
    controller_.Advance(milliseconds(1000));
    EXPECT_EQ(Position(), 2000);
    EXPECT_EQ(Show(), (Status{2, true, true, false, 1, 253, 1, 0}));
    controller_.Advance(milliseconds(1250));
    EXPECT_EQ(Position(), 3750);
    EXPECT_EQ(TheAxis().Velocity(), -1000);
    controller_.Advance(milliseconds(1000));
    EXPECT_EQ(Position(), 3500);
    EXPECT_EQ(Show(), (Status{0, false, true, false, 3, 253, 3, 1}));
    EXPECT_EQ(TheAxis().LastStop(), StopCause::kNone);
}

TEST_F(ListMotionTest, ANodeIsPassedWithTheStartSpeedOfTheNext)
{
    const auto lowestSpeedBehind = [this](Word dwell) {
        TheAxis().SetPosition(0);
        EXPECT_EQ(Configure(0), Result::kDone);
        Load({{.position = 1000,
               .start = 100,
               .acc = 10000,
               .drive = 1500,
               .dec = 10000,
               .dwell = dwell},
              {.position = 2000, .start = 700, .acc = 10000, .drive = 1500, .dec = 10000}});
        std::int32_t lowest = 1500;
        while (Position() < 1500) {
            controller_.Advance(milliseconds(1));
            if (Position() > 500) lowest = std::min(lowest, TheAxis().Velocity());
        }
        controller_.Advance(milliseconds(2000));
        EXPECT_EQ(Position(), 2000);
        return lowest;
    };
    EXPECT_NEAR(lowestSpeedBehind(0), 700, 10);
    EXPECT_EQ(lowestSpeedBehind(20), 0);
}

TEST_F(ListMotionTest, NodesCanBeRelativeAndCanBeDweltOn)
{
    TheAxis().SetPosition(100);
    Load({{.position = 200, .mode = 1, .dwell = 300}, {.position = -50, .mode = 1}});
    controller_.Advance(milliseconds(499));
    EXPECT_EQ(Position(), 300);
    EXPECT_TRUE(TheAxis().Moving()) << "it dwells as a part of its motion";
    EXPECT_EQ(Show().completed, 0);
    controller_.Advance(milliseconds(11));
    EXPECT_EQ(Position(), 290);
    controller_.Advance(milliseconds(40));
    EXPECT_EQ(Position(), 250);
    EXPECT_FALSE(TheAxis().Moving());
}

TEST_F(ListMotionTest, RepetitionsAndPercentOfSpeed)
{
    EXPECT_EQ(Configure(0, 2, 200), Result::kDone);
    Load({{.position = 100}, {.position = 0}});
    controller_.Advance(milliseconds(225));
    EXPECT_EQ(Position(), 50); // the third way out
    EXPECT_EQ(Show(), (Status{1, true, true, false, 1, 254, 4, 2}));
    controller_.Advance(milliseconds(100));
    EXPECT_EQ(Show(), (Status{0, false, true, false, 2, 254, 6, 3}));
    controller_.Advance(milliseconds(1000));
    EXPECT_EQ(Position(), 0);

    EXPECT_EQ(Configure(0, 255), Result::kDone);
    Load({{.position = 0}}); // a node without a way takes a moment all the same
    controller_.Advance(std::chrono::seconds(1));
    EXPECT_EQ(Show().rounds, 1000);
    EXPECT_TRUE(Show().running);
    EXPECT_EQ(Stop(), Result::kDone);
}

TEST_F(ListMotionTest, AStreamIsFedOnTheWay)
{
    EXPECT_EQ(Configure(1), Result::kDone);
    EXPECT_EQ(Run(), Result::kListEmpty);
    EXPECT_EQ(Add({{.position = 100}, {.position = 200}}), (Words{0, 2, 254}));
    EXPECT_EQ(Run(), Result::kDone);
    EXPECT_EQ(Show(), (Status{1, true, false, false, 1, 255, 0, 0}));
    controller_.Advance(milliseconds(1000));
    EXPECT_EQ(Position(), 200);
    EXPECT_EQ(Show(), (Status{2, true, false, false, 0, 256, 2, 0}));
    EXPECT_TRUE(TheAxis().Moving()) << "it waits for more";
    EXPECT_EQ(controller_.Execute({0x0011, 1, 0, 0, 0}), Result::kBusy);
    EXPECT_EQ(Add({{.position = 300}}), (Words{0, 1, 256}));
    controller_.Advance(milliseconds(50));
    EXPECT_EQ(Position(), 250);
    controller_.Advance(milliseconds(100));
    EXPECT_EQ(Close(), Result::kDone);
    EXPECT_EQ(Show(), (Status{0, false, true, false, 0, 256, 3, 1}));
    EXPECT_FALSE(TheAxis().Moving());
    EXPECT_EQ(TheAxis().LastStop(), StopCause::kNone);
}

TEST_F(ListMotionTest, WhatStopsTheAxisEndsItsList)
{
    const std::vector<std::pair<std::function<void()>, StopCause>> rows = {
        {[this] { Stop(); }, StopCause::kStopCommand},
        {[this] { TheAxis().Stop(StopMode::kSudden, StopCause::kSuddenStopCommand); },
         StopCause::kSuddenStopCommand},
        {[this] { TheAxis().SetInputs({.limitPositive = true}); }, StopCause::kLimitSensor},
        {[this] {
             TheAxis().RaiseAlarm({16, 0});
         },
         StopCause::kAlarm},
    };
    for (const bool dwelling : {false, true}) {
        for (const auto& [stop, cause] : rows) {
            // A limit does nothing to an axis at rest.
            if (dwelling && cause == StopCause::kLimitSensor) continue;
            SCOPED_TRACE(static_cast<int>(cause));
            TheAxis().SetPosition(0);
            EXPECT_EQ(Configure(0), Result::kDone);
            const auto dwell = static_cast<Word>(dwelling ? 10'000 : 0);
            Load({{.position = 100, .dwell = dwell}, {.position = 100'000}});
            controller_.Advance(milliseconds(500));
            stop();
            controller_.Advance(milliseconds(500));
            EXPECT_FALSE(TheAxis().Moving());
            EXPECT_LT(Position(), 1000);
            EXPECT_EQ(TheAxis().LastStop(), cause);
            EXPECT_FALSE(Show().running);
            EXPECT_TRUE(Show().endedEarly);
            TheAxis().SetInputs({});
            if (cause == StopCause::kAlarm) {
                EXPECT_EQ(Run(), Result::kAlarm);
                TheAxis().Reset();
                EXPECT_EQ(Run(), Result::kServoOff);
                TheAxis().SwitchServo(true);
            }
        }
    }
}

TEST_F(ListMotionTest, AnotherMotionRightBehindAStopEndsTheListToo)
{
    Load({{.position = 100'000}});
    controller_.Advance(milliseconds(100));
    TheAxis().Stop(StopMode::kSudden, StopCause::kSuddenStopCommand);
    EXPECT_EQ(controller_.Execute({0x0011, 1, 0, 50, 0}), Result::kDone);
    controller_.Advance(std::chrono::seconds(2));
    EXPECT_EQ(Position(), 50);
    EXPECT_TRUE(Show().endedEarly);
    EXPECT_EQ(Run(), Result::kDone) << "from its first node";
    TheAxis().Stop(StopMode::kSudden, StopCause::kSuddenStopCommand);
    EXPECT_EQ(Run(), Result::kDone) << "at once behind the stop";
}

TEST_F(ListMotionTest, AStreamGoesOnBehindTheNodeThatWasStopped)
{
    EXPECT_EQ(Configure(1), Result::kDone);
    Load({{.position = 1000}, {.position = 0}});
    controller_.Advance(milliseconds(500));
    EXPECT_EQ(Stop(), Result::kDone);
    controller_.Advance(milliseconds(500));
    EXPECT_EQ(Run(), Result::kDone);
    controller_.Advance(milliseconds(1000));
    EXPECT_EQ(Position(), 0);
    EXPECT_EQ(Show(), (Status{0, false, true, false, 0, 256, 1, 1}));
}

TEST_F(ListMotionTest, ListsOfTwoAxesRunAtOnce)
{
    Load({{.position = 1000}});
    EXPECT_EQ(Add({{.position = -500}}, 1).front(), 0);
    EXPECT_EQ(controller_.Execute({0x0102, 1, 0, 0}), Result::kDone);
    EXPECT_EQ(Run(1), Result::kDone);
    controller_.Advance(milliseconds(750));
    EXPECT_EQ(Position(), 750);
    EXPECT_EQ(controller_.AxisAt(1).CommandPosition(), -500);
    EXPECT_TRUE(Show(0).running);
    EXPECT_FALSE(Show(1).running);
}

TEST_F(ListMotionTest, BadUseIsRefused)
{
    EXPECT_EQ(Run(), Result::kListEmpty);
    EXPECT_EQ(Add({{.position = 10}}).front(), 0);
    EXPECT_EQ(Run(), Result::kListOpen);
    EXPECT_EQ(Close(), Result::kDone);
    EXPECT_EQ(Close(), Result::kListClosed);
    EXPECT_EQ(Add({{}}), Words{static_cast<Word>(Result::kListClosed)});
    EXPECT_EQ(Run(), Result::kDone);
    EXPECT_EQ(Run(), Result::kListRunning);
    EXPECT_EQ(Configure(0), Result::kListRunning);
    controller_.Advance(milliseconds(100));

    EXPECT_EQ(Configure(2), Result::kOutOfRange);
    EXPECT_EQ(Configure(0, 256), Result::kOutOfRange);
    EXPECT_EQ(Configure(0, 0, 256), Result::kOutOfRange);
    EXPECT_EQ(Configure(0), Result::kDone);
    EXPECT_EQ(Show(), (Status{0, false, false, false, 0, 256, 0, 0})) << "emptied";
    for (const Node& node :
         {Node{.drive = 0}, Node{.acc = -1}, Node{.mode = 2}, Node{.dwell = 0x8000}}) {
        EXPECT_EQ(Add({{}, node}), Words{static_cast<Word>(Result::kOutOfRange)});
    }
    EXPECT_EQ(controller_.Execute({0x0102, 0, 0xFFFF, 0xFFFF}), Result::kOutOfRange);
    EXPECT_EQ(controller_.Execute({0x0103, 0, 2}), Result::kOutOfRange);
    EXPECT_EQ(Add({}).front(), static_cast<Word>(Result::kMalformed));
    EXPECT_EQ(Add(std::vector<Node>(51)).front(), static_cast<Word>(Result::kMalformed));
    EXPECT_EQ(controller_.Execute({0x0101, 0, 1, 0}), Result::kMalformed);
    EXPECT_EQ(controller_.Execute({0x0103, 0, 1, 0}), Result::kMalformed);
    EXPECT_EQ(controller_.Execute({0x0100, 2, 0, 0, 0}), Result::kNoServo);
    EXPECT_EQ(Add({{}}, 2).front(), static_cast<Word>(Result::kNoServo));
    EXPECT_EQ(controller_.Execute({0x0102, 40, 0, 0}), Result::kNoServo);
    EXPECT_EQ(Run(31), Result::kNoServo);
    EXPECT_EQ(Show().waiting, 0U);
}

TEST_F(ListMotionTest, TakesAsManyNodesAsThereIsRoomFor)
{
    for (int i = 1; i <= 5; ++i) {
        EXPECT_EQ(Add(std::vector<Node>(50)), (Words{0, 50, static_cast<Word>(256 - 50 * i)}));
    }
    EXPECT_EQ(Add(std::vector<Node>(50)), (Words{0, 6, 0}));
    EXPECT_EQ(Add({{}}), Words{static_cast<Word>(Result::kListFull)});
    controller_.PowerCycle();
    EXPECT_EQ(Show().free, 256U);
}

} // namespace
} // namespace lumosim
