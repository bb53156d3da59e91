// Lists of nodes that axes run through.

#include "scenario/scenario_test.h"

#include <array>

namespace zelq::test {

namespace {

struct Node
{
    double position = 0;
    double start = 1'000;
    double acc = 0; // at once
    double drive = 1'000;
    double dec = 0;
    short mode = 0;
    short dwell = 0;
};

/// What a list's status shows of its course.
struct Show
{
    unsigned node;
    bool running;
    bool closed;
    bool endedEarly;
    unsigned waiting;
    unsigned free;
    unsigned completed;
    unsigned rounds;

    bool operator==(const Show&) const = default;
};

class ListMotion : public ScenarioTest
{
  protected:
    void SetUp() override
    {
        ScenarioTest::SetUp();
        ServosOn({0, 1});
    }

    /// The result; where it is 0, then the numbers of nodes taken and free.
    static std::vector<int> Add(const std::vector<Node>& nodes, U16 axis = 0)
    {
        const auto column = [&](auto member) {
            std::vector<std::decay_t<decltype(Node().*member)>> values;
            for (const Node& node : nodes) {
                values.push_back(node.*member);
            }
            return values;
        };
        U16 taken = 0;
        U16 free = 0;
        const short result = zelQ_LmAddNode(
            kNumber, axis, static_cast<short>(nodes.size()), column(&Node::position).data(),
            column(&Node::start).data(), column(&Node::acc).data(), column(&Node::drive).data(),
            column(&Node::dec).data(), column(&Node::mode).data(), column(&Node::dwell).data(),
            &taken, &free);
        if (result != 0) return {result};
        return {0, taken, free};
    }

    static short Configure(U16 stream, U16 repetitions = 0, U16 percent = 0)
    {
        return zelQ_LmSetCfg(kNumber, 0, stream, repetitions, percent);
    }
    static short Close(short axis = 0) { return zelQ_LmAddNodeEnd(kNumber, axis, 1'000); }
    static short Run(U16 axis = 0) { return zelQ_LmRunStop(kNumber, axis, 1); }
    static short Stop() { return zelQ_LmRunStop(kNumber, 0, 0); }

    static void Load(const std::vector<Node>& nodes, U16 axis = 0)
    {
        ASSERT_EQ(Add(nodes, axis).front(), 0);
        ASSERT_EQ(Close(static_cast<short>(axis)), 0);
        ASSERT_EQ(Run(axis), 0);
    }

    static Show ListOf(short axis = 0)
    {
        LmStatus s{};
        EXPECT_EQ(zelQ_LmGetStatus(kNumber, axis, &s), 0);
        return {s.low11, s.bit11 == 1, s.bit12 == 1, s.bit13 == 1,
                s.word1, s.word2,      s.long3,      s.long5};
    }
};

TEST_F(ListMotion, EachNodeHasItsOwnPositionAndSpeed)
{
    Load({{.position = 1'000},
          {.position = 4'000, .start = 2'000, .drive = 2'000},
          {.position = 3'500}});
    EXPECT_EQ(ListOf(), (Show{1, true, true, false, 2, 253, 0, 0}));
    EXPECT_EQ(PositionIn(milliseconds(500)), 500);
    EXPECT_EQ(StatusOf(0).motionKind, 9);
    EXPECT_EQ(PositionIn(milliseconds(1'000)), 2'000);
    EXPECT_EQ(ListOf(), (Show{2, true, true, false, 1, 253, 1, 0}));
    EXPECT_EQ(PositionIn(milliseconds(1'250)), 3'750);
    EXPECT_EQ(VelocityOf(), -1'000);
    EXPECT_EQ(PositionIn(milliseconds(1'000)), 3'500);
    EXPECT_EQ(ListOf(), (Show{0, false, true, false, 3, 253, 3, 1}));
    EXPECT_EQ(StatusOf(0).stopCause, kAtTarget);
    ASSERT_EQ(Run(), 0) << "again";
    EXPECT_EQ(ListOf().node, 1U);
}

TEST_F(ListMotion, ListsOfManyFramesRunSideBySide)
{
    std::vector<Node> fine;
    for (int node = 1; node <= 50; ++node) {
        fine.push_back({.position = 10.0 * node});
    }
    EXPECT_EQ(Add(fine), (std::vector<int>{0, 50, 206}));
    ASSERT_EQ(Close(), 0);
    ASSERT_EQ(Run(), 0);
    Load({{.position = -300}, {.position = 0, .start = 2'000, .drive = 2'000}}, 1);
    EXPECT_EQ(PositionIn(milliseconds(375), 0), 375);
    EXPECT_EQ(PositionOf(1), -150);
    EXPECT_EQ(ListOf(), (Show{38, true, true, false, 12, 206, 37, 0}));
    Advance(milliseconds(200));
    std::array<LmStatus, 32> all{};
    ASSERT_EQ(zelQ_LmGetAllStatus(kNumber, all.data()), 0);
    EXPECT_EQ(all[0].long3, 50U);
    EXPECT_EQ(all[1].long3, 2U);
    EXPECT_EQ(all[1].bit12, 1);
    EXPECT_EQ(all[2].bit12, 0) << "a servo without a list";
    EXPECT_EQ(all[20].axis, 0xFFFF);
}

TEST_F(ListMotion, ANodeIsPassedWithTheStartSpeedOfTheNext)
{
    const auto lowestSpeedBehind = [this](short dwell) {
        EXPECT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 0), 0);
        EXPECT_EQ(Configure(0), 0);
        const Node rough{.position = 1'000,
                         .start = 100,
                         .acc = 10'000,
                         .drive = 1'500,
                         .dec = 10'000,
                         .dwell = dwell};
        Node last = rough;
        last.position = 2'000;
        last.start = 700;
        last.dwell = 0;
        Load({rough, last});
        double lowest = 1'500;
        while (PositionOf() < 1'500) {
            Advance(milliseconds(1));
            if (PositionOf() > 500) lowest = std::min(lowest, VelocityOf());
        }
        EXPECT_TRUE(AdvanceUntil([] { return PositionOf() > 1'990; }, seconds(1)));
        EXPECT_NEAR(VelocityOf(), 1'050, 50) << "on its way to the list's stop speed";
        EXPECT_EQ(PositionAtRest(), 2'000);
        return lowest;
    };
    EXPECT_NEAR(lowestSpeedBehind(0), 700, 10);
    EXPECT_EQ(lowestSpeedBehind(20), 0);
    // The first node follows the last one where the list begins again.
    const auto step = [](double start) {
        return Node{.position = 1'000,
                    .start = start,
                    .acc = 10'000,
                    .drive = 1'500,
                    .dec = 10'000,
                    .mode = 1};
    };
    ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 0), 0);
    ASSERT_EQ(Configure(0, 1), 0);
    Load({step(700), step(100)});
    ASSERT_TRUE(AdvanceUntil([] { return PositionOf() >= 1'999; }, seconds(5)));
    EXPECT_NEAR(VelocityOf(), 700, 30);
    Finish();
    // The ramps have the shape of the axis.
    ASSERT_EQ(zelQ_SpeedSet(kNumber, 0, 1, 0, 1'000, 1'000, 1'000), 0);
    ASSERT_EQ(Configure(0), 0);
    Load({{.position = 10'000, .start = 0, .acc = 1'000, .drive = 1'000, .dec = 1'000}});
    Advance(milliseconds(500));
    EXPECT_LT(VelocityOf(), 300) << "smooth: half of its 2 s would be 500";
}

TEST_F(ListMotion, NodesCanBeRelativeAndCanBeDweltOn)
{
    ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 100), 0);
    Load({{.position = 200, .mode = 1, .dwell = 300}, {.position = -50, .mode = 1}});
    EXPECT_EQ(PositionIn(milliseconds(499)), 300);
    EXPECT_EQ(StatusOf(0).inMotion, 1) << "it dwells as a part of its motion";
    EXPECT_EQ(ListOf().completed, 0U);
    EXPECT_EQ(PositionIn(milliseconds(11)), 290);
    EXPECT_EQ(PositionIn(milliseconds(40)), 250);
    EXPECT_EQ(StatusOf(0).inMotion, 0);
}

TEST_F(ListMotion, RepetitionsAndPercentOfSpeed)
{
    ASSERT_EQ(Configure(0, 2, 200), 0);
    Load({{.position = 100}, {.position = 0}});
    EXPECT_EQ(PositionIn(milliseconds(225)), 50); // the third way out
    EXPECT_EQ(ListOf(), (Show{1, true, true, false, 1, 254, 4, 2}));
    Advance(milliseconds(100));
    EXPECT_EQ(ListOf(), (Show{0, false, true, false, 2, 254, 6, 3}));
    EXPECT_EQ(PositionIn(milliseconds(1'000)), 0);
    ASSERT_EQ(Configure(0, 255), 0);
    Load({{.position = 0}}); // a node without a way takes a moment all the same
    Advance(seconds(1));
    EXPECT_EQ(ListOf().rounds, 1'000U);
    EXPECT_EQ(Stop(), 0);
    EXPECT_FALSE(ListOf().running);
}

TEST_F(ListMotion, AStreamIsFedOnTheWay)
{
    ASSERT_EQ(Configure(1), 0);
    EXPECT_EQ(Run(), 61) << "empty";
    EXPECT_EQ(Add({{.position = 100}, {.position = 200}}), (std::vector<int>{0, 2, 254}));
    ASSERT_EQ(Run(), 0);
    EXPECT_EQ(ListOf(), (Show{1, true, false, false, 1, 255, 0, 0}));
    EXPECT_EQ(PositionIn(milliseconds(1'000)), 200);
    EXPECT_EQ(ListOf(), (Show{2, true, false, false, 0, 256, 2, 0}));
    EXPECT_EQ(StatusOf(0).inMotion, 1) << "it waits for more";
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 0), kBusy);
    EXPECT_EQ(Add({{.position = 300}}), (std::vector<int>{0, 1, 256}));
    EXPECT_EQ(PositionIn(milliseconds(50)), 250);
    Advance(milliseconds(100));
    ASSERT_EQ(Close(), 0);
    EXPECT_EQ(ListOf(), (Show{0, false, true, false, 0, 256, 3, 1}));
    EXPECT_EQ(StoppedBy(0), kAtTarget);

    // A stopped one goes on behind the node that was stopped.
    ASSERT_EQ(Configure(1), 0);
    Load({{.position = 1'300}, {.position = 300}});
    Advance(milliseconds(500));
    ASSERT_EQ(Stop(), 0);
    Advance(milliseconds(500));
    ASSERT_EQ(Run(), 0);
    EXPECT_EQ(PositionIn(milliseconds(1'000)), 300);
    EXPECT_EQ(ListOf(), (Show{0, false, true, false, 0, 256, 1, 1}));
}

TEST_F(ListMotion, WhatStopsTheAxisEndsItsList)
{
    const std::vector<std::pair<std::function<void()>, StopCause>> rows = {
        {[] { Stop(); }, kStopped},
        {[] { zelQ_StopSudden(kNumber, 0); }, kSuddenlyStopped},
        {[this] { SetInputs({.limitPositive = true}); }, kAtLimitSensor},
        {[this] {
             Raise({16, 0});
         },
         kByAlarm},
    };
    for (const bool dwelling : {false, true}) {
        for (const auto& [stop, cause] : rows) {
            // A limit does nothing to an axis at rest.
            if (dwelling && cause == kAtLimitSensor) continue;
            SCOPED_TRACE(cause);
            ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 0), 0);
            ASSERT_EQ(Configure(0), 0);
            const auto dwell = static_cast<short>(dwelling ? 10'000 : 0);
            Load({{.position = 100, .dwell = dwell}, {.position = 100'000}});
            Advance(milliseconds(500));
            stop();
            EXPECT_EQ(InMotionIn(milliseconds(500), 0), 0);
            EXPECT_LT(PositionOf(), 1'000);
            EXPECT_EQ(StatusOf(0).stopCause, cause);
            EXPECT_FALSE(ListOf().running);
            EXPECT_TRUE(ListOf().endedEarly);
            SetInputs({});
            if (cause == kByAlarm) {
                EXPECT_EQ(Run(), kInAlarm);
                ASSERT_EQ(zelQ_ServoReset(kNumber, 0), 0);
                EXPECT_EQ(Run(), kServoOff);
                ServosOn({0});
            }
        }
    }
    // Another motion right behind a stop ends it too; it begins with its first node then.
    ASSERT_EQ(Run(), 0);
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);
    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 50), 0);
    EXPECT_EQ(PositionAtRest(), 50);
    EXPECT_TRUE(ListOf().endedEarly);
    ASSERT_EQ(Run(), 0);
    ASSERT_EQ(zelQ_StopSudden(kNumber, 0), 0);
    EXPECT_EQ(Run(), 0) << "at once behind the stop";
}

TEST_F(ListMotion, BadUseIsRefused)
{
    enum ListRefusal { kIsRunning = 60, kIsEmpty, kIsOpen, kIsClosed, kIsFull };
    const auto refused = [](int result) { return std::vector<int>{result}; };
    EXPECT_EQ(Run(), kIsEmpty);
    EXPECT_EQ(Add({{.position = 10}}).front(), 0);
    EXPECT_EQ(Run(), kIsOpen);
    ASSERT_EQ(Close(), 0);
    EXPECT_EQ(Close(), kIsClosed);
    EXPECT_EQ(Add({{}}), refused(kIsClosed));
    ASSERT_EQ(Run(), 0);
    EXPECT_THAT((Results{Run(), Configure(0)}), Each(kIsRunning));
    Advance(milliseconds(100));
    ASSERT_EQ(Configure(0), 0);
    EXPECT_EQ(ListOf(), (Show{0, false, false, false, 0, 256, 0, 0})) << "emptied";
    for (const Node& node :
         {Node{.drive = 0}, Node{.acc = -1}, Node{.mode = 2}, Node{.dwell = -1}}) {
        EXPECT_EQ(Add({{}, node}), refused(kOutOfRange)) << "all or none";
    }
    EXPECT_EQ(zelQ_LmAddNodeEnd(kNumber, 0, -1), kOutOfRange);
    EXPECT_EQ(Add({{}}, 20), refused(kNoServo));
    EXPECT_THAT((Results{Run(20), Close(20), zelQ_LmSetCfg(kNumber, 20, 0, 0, 0)}), Each(kNoServo));
    for (int taken = 50; taken <= 250; taken += 50) {
        EXPECT_EQ(Add(std::vector<Node>(50)), (std::vector<int>{0, 50, 256 - taken}));
    }
    EXPECT_EQ(Add(std::vector<Node>(50)), (std::vector<int>{0, 6, 0}));
    EXPECT_EQ(Add({{}}), refused(kIsFull));
    PowerCycle();
    EXPECT_EQ(ListOf().free, 256U);
}

} // namespace

} // namespace zelq::test
