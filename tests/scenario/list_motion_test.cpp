// Lists of nodes that axes run through.

#include "scenario/scenario_test.h"

#include <array>

namespace zelq::test {

namespace {

enum ListRefusal : short { kIsRunning = 60, kIsEmpty, kIsOpen, kIsClosed, kIsFull };

struct Node
{
    double position = 0, start = 1'000, acc = 0, drive = 1'000, dec = 0; // there at once
    short mode = 0, dwell = 0;
};

/// What a list's status shows of its course.
struct Show
{
    unsigned node;
    bool running, closed, endedEarly;
    unsigned waiting, free, completed, rounds;

    bool operator==(const Show&) const = default;
};

class ListMotion : public ScenarioTest
{
  protected:
    ListMotion() : ScenarioTest(Ideal(Config({}))) {}

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
        return result != 0 ? std::vector<int>{result} : std::vector<int>{0, taken, free};
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
        const auto s = Got<LmStatus>(zelQ_LmGetStatus, axis);
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
    ExpectIn(500ms, {.at = 500, .kind = 9});
    ExpectIn(1'000ms, {.at = 2'000});
    EXPECT_EQ(ListOf(), (Show{2, true, true, false, 1, 253, 1, 0}));
    ExpectIn(1'250ms, {.at = 3'750, .velocity = -1'000});
    ExpectIn(1'000ms, {.at = 3'500, .cause = kAtTarget});
    EXPECT_EQ(ListOf(), (Show{0, false, true, false, 3, 253, 3, 1}));
    ASSERT_EQ(Run(), 0) << "again";
    EXPECT_EQ(ListOf().node, 1U);
}

TEST_F(ListMotion, ListsOfManyFramesRunSideBySide)
{
    std::vector<Node> fine;
    for (int node = 1; node <= 50; ++node) {
        fine.push_back({.position = 10.0 * node});
    }
    EXPECT_THAT(Add(fine), ElementsAre(0, 50, 206));
    Done({Close(), Run()});
    Load({{.position = -300}, {.position = 0, .start = 2'000, .drive = 2'000}}, 1);
    ExpectEachIn(375ms, PositionOf, {375, -150});
    EXPECT_EQ(ListOf(), (Show{38, true, true, false, 12, 206, 37, 0}));
    Advance(200ms);
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
    const auto node = [](double position, double start, short mode = 0, short dwell = 0) {
        return Node{position, start, 10'000, 1'500, 10'000, mode, dwell};
    };
    for (const auto& [dwell, speed] : {std::pair{0, 700.0}, std::pair{20, 0.0}}) {
        Done({zelQ_CmdEncPosSet(kNumber, 0, 0), Configure(0)});
        Load({node(1'000, 100, 0, static_cast<short>(dwell)), node(2'000, 700)});
        double lowest = 1'500;
        for (ServoStatus s = StatusOf(); s.commandPosition < 1'500; s = StatusOf()) {
            if (s.commandPosition > 500) lowest = std::min(lowest, double{s.velocity});
            Advance(2ms);
        }
        EXPECT_NEAR(lowest, speed, speed / 70);
        EXPECT_TRUE(AdvanceUntil([] { return PositionOf() > 1'990; }, 1s));
        Expect({.velocity = 1'050, .within = 50}); // on its way to the list's stop speed
        ExpectEnd(2'000, kAtTarget);
    }
    // The first node follows the last one where the list begins again.
    Done({zelQ_CmdEncPosSet(kNumber, 0, 0), Configure(0, 1)});
    Load({node(1'000, 700, 1), node(1'000, 100, 1)});
    ASSERT_TRUE(AdvanceUntil([] { return PositionOf() >= 1'999; }, 5s));
    Expect({.velocity = 700, .within = 30});
    Finish();
    // The ramps have the shape of the axis.
    Done({zelQ_SpeedSet(kNumber, 0, 1, 0, 1'000, 1'000, 1'000), Configure(0)});
    Load({{.position = 10'000, .start = 0, .acc = 1'000, .drive = 1'000, .dec = 1'000}});
    Advance(500ms);
    EXPECT_LT(VelocityOf(), 300) << "smooth: half of its 2 s would be 500";
}

TEST_F(ListMotion, NodesCanBeRelativeAndCanBeDweltOn)
{
    ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, 100), 0);
    Load({{.position = 200, .mode = 1, .dwell = 300}, {.position = -50, .mode = 1}});
    ExpectIn(499ms, {.at = 300, .moving = 1}); // it dwells as a part of its motion
    EXPECT_EQ(ListOf().completed, 0U);
    ExpectIn(11ms, {.at = 290});
    ExpectIn(40ms, {.at = 250, .moving = 0});
}

TEST_F(ListMotion, RepetitionsAndPercentOfSpeed)
{
    ASSERT_EQ(Configure(0, 2, 200), 0);
    Load({{.position = 100}, {.position = 0}});
    ExpectIn(225ms, {.at = 50}); // the third way out
    EXPECT_EQ(ListOf(), (Show{1, true, true, false, 1, 254, 4, 2}));
    Advance(100ms);
    EXPECT_EQ(ListOf(), (Show{0, false, true, false, 2, 254, 6, 3}));
    ExpectIn(1s, {.at = 0});
    ASSERT_EQ(Configure(0, 255), 0);
    Load({{.position = 0}}); // a node without a way takes a moment all the same
    Advance(1s);
    EXPECT_EQ(ListOf().rounds, 1'000U);
    EXPECT_EQ(Stop(), 0);
    EXPECT_FALSE(ListOf().running);
}

TEST_F(ListMotion, AStreamIsFedOnTheWay)
{
    ASSERT_EQ(Configure(1), 0);
    EXPECT_EQ(Run(), kIsEmpty);
    EXPECT_THAT(Add({{.position = 100}, {.position = 200}}), ElementsAre(0, 2, 254));
    ASSERT_EQ(Run(), 0);
    EXPECT_EQ(ListOf(), (Show{1, true, false, false, 1, 255, 0, 0}));
    ExpectIn(1s, {.at = 200, .moving = 1}); // it waits for more
    EXPECT_EQ(ListOf(), (Show{2, true, false, false, 0, 256, 2, 0}));
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 0), kBusy);
    EXPECT_THAT(Add({{.position = 300}}), ElementsAre(0, 1, 256));
    ExpectIn(50ms, {.at = 250});
    Advance(100ms);
    ASSERT_EQ(Close(), 0);
    EXPECT_EQ(ListOf(), (Show{0, false, true, false, 0, 256, 3, 1}));
    Expect({.moving = 0, .cause = kAtTarget});

    // A stopped one goes on behind the node that was stopped.
    ASSERT_EQ(Configure(1), 0);
    Load({{.position = 1'300}, {.position = 300}});
    Advance(500ms);
    After(Stop(), 500ms);
    After(Run(), 1s, {.at = 300});
    EXPECT_EQ(ListOf(), (Show{0, false, true, false, 0, 256, 1, 1}));
}

TEST_F(ListMotion, WhatStopsTheAxisEndsItsList)
{
    const std::vector<std::pair<StopCause, std::function<void()>>> rows = {
        {kStopped, [] { Stop(); }},
        {kSuddenlyStopped, [] { zelQ_StopSudden(kNumber, 0); }},
        {kAtLimitSensor, [this] { SetInputs({.limitPositive = true}); }},
        {kByAlarm, [this] {
             Raise({16, 0});
         }}};
    for (const short dwell : {short{0}, short{10'000}}) {
        for (const auto& [cause, stop] : rows) {
            // A limit does nothing to an axis at rest.
            if (dwell > 0 && cause == kAtLimitSensor) continue;
            SCOPED_TRACE(cause);
            Done({zelQ_CmdEncPosSet(kNumber, 0, 0), Configure(0)});
            Load({{.position = 100, .dwell = dwell}, {.position = 100'000}});
            Advance(500ms);
            stop();
            ExpectIn(500ms, {.moving = 0, .cause = cause});
            EXPECT_LT(PositionOf(), 1'000);
            EXPECT_FALSE(ListOf().running);
            EXPECT_TRUE(ListOf().endedEarly);
            SetInputs({});
            if (cause != kByAlarm) continue;
            EXPECT_EQ(Run(), kInAlarm);
            ASSERT_EQ(zelQ_ServoReset(kNumber, 0), 0);
            EXPECT_EQ(Run(), kServoOff);
            ServosOn({0});
        }
    }
    // Another motion right behind a stop ends it too; it begins with its first node then.
    Done({Run(), zelQ_StopSudden(kNumber, 0)});
    StandAt(50);
    EXPECT_TRUE(ListOf().endedEarly);
    Done({Run(), zelQ_StopSudden(kNumber, 0), Run()}); // at once behind the stop
}

TEST_F(ListMotion, BadUseIsRefused)
{
    const auto refused = [](int result) { return std::vector<int>{result}; };
    EXPECT_EQ(Run(), kIsEmpty);
    EXPECT_EQ(Add({{.position = 10}}).front(), 0);
    EXPECT_EQ(Run(), kIsOpen);
    ASSERT_EQ(Close(), 0);
    EXPECT_EQ(Close(), kIsClosed);
    EXPECT_EQ(Add({{}}), refused(kIsClosed));
    ASSERT_EQ(Run(), 0);
    Refused(kIsRunning, {Run(), Configure(0)});
    Advance(100ms);
    ASSERT_EQ(Configure(0), 0);
    EXPECT_EQ(ListOf(), (Show{0, false, false, false, 0, 256, 0, 0})) << "emptied";
    for (const Node& node :
         {Node{.drive = 0}, Node{.acc = -1}, Node{.mode = 2}, Node{.dwell = -1}}) {
        EXPECT_EQ(Add({{}, node}), refused(kOutOfRange)) << "all or none";
    }
    EXPECT_EQ(zelQ_LmAddNodeEnd(kNumber, 0, -1), kOutOfRange);
    EXPECT_EQ(Add({{}}, 20), refused(kNoServo));
    Refused(kNoServo, {Run(20), Close(20), zelQ_LmSetCfg(kNumber, 20, 0, 0, 0)});
    for (int taken = 50; taken <= 250; taken += 50) {
        EXPECT_THAT(Add(std::vector<Node>(50)), ElementsAre(0, 50, 256 - taken));
    }
    EXPECT_THAT(Add(std::vector<Node>(50)), ElementsAre(0, 6, 0));
    EXPECT_EQ(Add({{}}), refused(kIsFull));
    PowerCycle();
    EXPECT_EQ(ListOf().free, 256U);
}

} // namespace

} // namespace zelq::test
