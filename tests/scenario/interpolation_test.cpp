// Lines, maps, continuous paths, and what stops them.

#include "scenario/path_scenario.h"

#include <algorithm>
#include <array>

namespace zelq::test {

namespace {

/// How far any axis is off the line through two places, by where the first one is.
double OffLine(const Coordinates& at, const Coordinates& from, const Coordinates& to)
{
    const double part = (at[0] - from[0]) / (to[0] - from[0]);
    double off = 0;
    for (std::size_t i = 0; i < at.size(); ++i) {
        off = std::max(off, std::abs(at[i] - std::lerp(from[i], to[i], part)));
    }
    return off;
}

class SixteenAxes : public PathScenario
{
  protected:
    SixteenAxes() : PathScenario(16) {}
};

TEST_F(SixteenAxes, MoveAlongOneStraightLine)
{
    UseMap({15, 0, 14, 1, 13, 2, 12, 3, 11, 4, 10, 5, 9, 6, 8, 7});
    Coordinates target(16);
    for (std::size_t i = 0; i < target.size(); ++i) {
        const auto way = static_cast<double>(i) * 700 - 4'000;
        target[i] = i % 2 == 0 ? way : -way;
    }
    for (const U16 shape : {U16{0}, U16{1}}) {
        const Coordinates from = Look().at;
        ASSERT_EQ(LineTo(target, Speeds(200, 8'000, 300, shape)), 0);
        double fastest = 0;
        for (const Sample& sample : Watch()) {
            EXPECT_LT(OffLine(sample.at, from, target), 2.0);
            fastest = std::max(fastest, sample.Speed());
        }
        EXPECT_NEAR(fastest, 8'000, 4);
        EXPECT_EQ(Look().at, target);
        std::ranges::fill(target, 0.0);
    }
}

TEST_F(PathScenario, LinesTakeTargetsOrDistancesAndMoveOnlyTheirAxes)
{
    UseMap({5, 2, 6});
    After(LineBy({3'000, -400}, Speeds(100, 5'000, 100)), 50ms, {.kind = kLinearKind}, 5);
    Expect({.moving = 1}, 2);
    Expect({.moving = 0}, 6);
    Refused(kBusy, {LineTo({1, 1}, Speeds(0, 100, 0)), zelQ_MoveRel(kNumber, 5, 10),
                    zelQ_IMapClear(kNumber, kMap)});
    Watch();
    ASSERT_EQ(LineBy({-100, 0, 77}, Speeds(0, 5'000, 0)), 0);
    EXPECT_EQ(Watch().back().at, (Coordinates{2'900, -400, 77}));
    ASSERT_EQ(LineTo({1'000}, Speeds(0, 5'000, 0)), 0);
    EXPECT_EQ(Watch().back().at, (Coordinates{1'000, -400, 77}));
    Expect({.cause = kAtTarget}, 5);
    // Nowhere to go: done at once, and the next line is taken.
    After(LineBy({0, 0}, Speeds(0, 5'000, 0)), 0ms, {.moving = 0}, 5);
    EXPECT_EQ(LineBy({5, 0}, Speeds(0, 5'000, 0)), 0);
}

TEST_F(PathScenario, TheUAxisComesAlong)
{
    UseMap({0, 1, 2});
    InterpSpeedProfile speed = Speeds(4'000, 4'000, 4'000);
    const Coordinates target = {3'000, 4'000, 90'000};
    ASSERT_EQ(zelQ_ILinearWithUAxis(kNumber, kMap, 0, 3, target.data(), &speed), 0);
    const std::vector<Sample> samples = Watch();
    const Sample& middle = samples[samples.size() / 2];
    EXPECT_NEAR(middle.Speed(2), 4'000, 2);
    EXPECT_NEAR(middle.at[2], middle.at[0] * 30, 32);
    EXPECT_EQ(samples.back().at, target);
}

TEST_F(PathScenario, MapsLiveInTheController)
{
    UseMap({5, 2, 6});
    const auto get = [](U16 number) {
        std::array<short, 18> map{};
        EXPECT_EQ(zelQ_IMapGet(kNumber, number, map.data()), 0);
        return std::vector<short>{map[0], map[2], map[3], map[4]};
    };
    EXPECT_THAT(get(kMap), ElementsAre(3, 5, 2, 6));
    const auto set = [](std::vector<U16> axes) {
        return zelQ_IMapSet(kNumber, 15, static_cast<short>(axes.size()), axes.data());
    };
    EXPECT_THAT((Results{set({1, 8}), set({1, 1}), set({0, 7})}),
                ElementsAre(kNoServo, kAxisTwice, 0));
    EXPECT_THAT(get(15), ElementsAre(2, 0, 7, testing::_));
    // What another program has made of the map meanwhile is the controller's to judge.
    server_.With([](lumosim::Controller& c) { c.Execute({0x0070, kMap, 1, 5}); });
    EXPECT_EQ(LineTo({1, 1}, Speeds(0, 1'000, 0)), kMapTooShort);
    PowerCycle();
    Refused(kEmptyMap, {LineTo({1, 1}, Speeds(0, 1'000, 0)), zelQ_StopIMap(kNumber, kMap, 1)});
}

/// A plane, of axes 2 and 0, where sections are queued.
class ContinuousPath : public PathScenario
{
  protected:
    explicit ContinuousPath(const lumosim::AxisMechanics& mechanics = {})
        : PathScenario(kAxes, mechanics)
    {}

    void SetUp() override
    {
        PathScenario::SetUp();
        UseMap({2, 0});
        ASSERT_EQ(zelQ_CP_PreRegUseSet(kNumber, 1), 0);
    }

    static U16 Remaining(std::size_t map = kMap)
    {
        std::array<U16, 16> remain{};
        EXPECT_EQ(zelQ_CP_PreRegGetRemain(kNumber, remain.data()), 0);
        return remain.at(map);
    }
    static U16 InUse() { return Got<U16>(zelQ_CP_PreRegUseGet); }
};

TEST_F(ContinuousPath, JointsTakeTheSlowerOfTheirSpeeds)
{
    for (const auto& [end, start] :
         {std::pair{3'000.0, 900.0}, std::pair{900.0, 3'000.0}, std::pair{0.0, 3'000.0}}) {
        ASSERT_NO_FATAL_FAILURE(StandAt({0, 0}));
        Done({LineTo({2'000, 0}, Speeds(0, 4'000, end)),
              LineTo({4'000, 0}, Speeds(start, 4'000, 0))});
        double slowest = 4'000;
        for (const Sample& sample : Watch(1ms)) {
            if (std::abs(sample.at[0] - 2'000) < 300) slowest = std::min(slowest, sample.Speed());
        }
        EXPECT_NEAR(slowest, std::min(end, start), 60);
    }
}

TEST_F(ContinuousPath, FigureOfLineArcAndHelixNeverStops)
{
    UseMap({2, 0, 5});
    constexpr double kDrive = 6'000;
    InterpSpeedProfile speed = Speeds(kDrive, kDrive, kDrive);
    const double left[] = {0, -2'000}; // of where the helix begins
    Done({LineTo({4'000, 0}, Speeds(0, kDrive, kDrive)),
          zelQ_IArcCE(kNumber, kMap, 0, Listed({4'000.0, 2'000.0}), Listed({4'000.0, 4'000.0}), 0,
                      &speed),
          zelQ_IHelical(kNumber, kMap, 1, left, 360, 0, 3'000, &speed),
          LineTo({0, 4'000}, Speeds(kDrive, kDrive, 0))});
    std::vector<U16> kinds;
    double slowest = kDrive;
    ASSERT_TRUE(AdvanceUntil(
        [&] {
            const U16 kind = StatusOf(2).motionKind;
            if (kinds.empty() || kinds.back() != kind) kinds.push_back(kind);
            const bool curved = kind == kArcKind || kind == kHelicalKind;
            if (curved) slowest = std::min(slowest, Look().Speed(2));
            return kind == 0;
        },
        30s, 2ms));
    EXPECT_THAT(kinds, ElementsAre(kLinearKind, kArcKind, kHelicalKind, kLinearKind, 0));
    EXPECT_NEAR(slowest, kDrive, 2);
    EXPECT_EQ(Look().at, (Coordinates{0, 4'000, 3'000}));
}

TEST_F(ContinuousPath, TheCountsTellTheTruth)
{
    const auto line = [] { return LineBy({100, 0}, Speeds(0, 1'000, 0)); };
    EXPECT_EQ(Remaining(), 32);
    for (U16 i = 0; i <= 32; ++i) {
        ASSERT_EQ(line(), 0);
        EXPECT_EQ(Remaining(), 32 - i);
    }
    EXPECT_EQ(Remaining(kMap - 1), 32);
    EXPECT_EQ(line(), kPreRegistersFull);
    EXPECT_TRUE(AdvanceUntil([&] { return Look().at[0] >= 101; }, 10s));
    EXPECT_EQ(Remaining(), 1);
    // Switched off, nothing more is queued; what waits runs through.
    EXPECT_EQ(InUse(), 1);
    EXPECT_EQ(zelQ_CP_PreRegUseSet(kNumber, 0), 0);
    EXPECT_EQ(InUse(), 0);
    EXPECT_EQ(Remaining(), 0);
    EXPECT_EQ(line(), kBusy);
    EXPECT_EQ(Watch(100ms).back().at[0], 3'300);
    EXPECT_EQ(zelQ_CP_PreRegUseSet(kNumber, 2), kOutOfRange);
}

TEST_F(ContinuousPath, AStoppedPathBrakesOnItsCourse)
{
    enum Stopping : U16 { kAtOnce, kBraking };
    EXPECT_EQ(zelQ_StopIMap(kNumber, kMap, kBraking), 0) << "nothing runs";
    const Coordinates corner = {6'000, 8'000};
    for (const Stopping mode : {kAtOnce, kBraking}) {
        ASSERT_NO_FATAL_FAILURE(StandAt({0, 0}));
        Done(
            {LineTo(corner, Speeds(0, 4'000, 4'000)), LineTo({6'000, 0}, Speeds(4'000, 4'000, 0))});
        Advance(1s);
        const double before = Look().at[0];
        ASSERT_EQ(zelQ_StopIMap(kNumber, kMap, mode), 0);
        for (const Sample& sample : Watch()) {
            EXPECT_LT(OffLine(sample.at, {0, 0}, corner), 2.0);
        }
        const double braked = (Look().at[0] - before) / 0.6; // 3 of 5 pulses are the first axis's
        EXPECT_NEAR(braked, mode == kAtOnce ? 0 : 4'000.0 * 4'000 / 2 / 50'000, 3);
        Expect({.cause = mode == kAtOnce ? kSuddenlyStopped : kStopped}, 0);
        EXPECT_EQ(Remaining(), 32);
    }
    // Across joints: the rest of the last ten pulses, then up along the next section.
    ASSERT_NO_FATAL_FAILURE(StandAt({0, 0}));
    const InterpSpeedProfile through = Speeds(4'000, 4'000, 4'000);
    Done({LineTo({3'000, 4'000}, Speeds(0, 4'000, 4'000)), LineTo({2'900, 4'000}, through),
          LineTo({2'900, 4'900}, through), LineTo({9'000, 4'900}, through)});
    ASSERT_TRUE(AdvanceUntil([&] { return Look().at[1] >= 4'000; }, 5s));
    const double done = 3'000 - Look().at[0];
    ASSERT_EQ(zelQ_StopIMap(kNumber, kMap, kBraking), 0);
    EXPECT_EQ(LineBy({1, 1}, Speeds(0, 1, 0)), kBusy);
    EXPECT_EQ(Remaining(), 31) << "what it brakes on";
    const Coordinates at = Watch().back().at;
    EXPECT_EQ(at[0], 2'900);
    EXPECT_NEAR(at[1], 4'000 + 160 - (100 - done), 5);
    ASSERT_EQ(LineTo({0, 0}, Speeds(0, 4'000, 0)), 0) << "what waited is dropped";
    EXPECT_EQ(Watch().back().at, (Coordinates{0, 0}));

    // Axes of the map that run by themselves stop with it.
    ASSERT_EQ(LineTo({4'000}, Speeds(0, 4'000, 0)), 0);
    JogFor(100ms, 0, 0);
    ASSERT_EQ(zelQ_StopIMap(kNumber, kMap, kAtOnce), 0);
    EXPECT_FALSE(Running());
    Expect({.cause = kSuddenlyStopped}, 0);
}

/// Three axes that travel 1 : 2 : 3, between limit switches.
class PathOfThree : public ContinuousPath
{
  protected:
    PathOfThree() : ContinuousPath({.negativeLimit = -20'000, .positiveLimit = 20'000, .probe = {}})
    {}

    void SetUp() override
    {
        ContinuousPath::SetUp();
        UseMap({0, 1, 2});
    }

    static short Run(double way) { return LineBy({way, 2 * way, 3 * way}, Speeds(0, 3'000, 0)); }
};

TEST_F(PathOfThree, WhatTakesOneAxisOffBrakesTheOthersOnThePath)
{
    struct Leaving
    {
        StopCause cause;
        bool brakes; ///< the axis itself goes along to the end
        std::function<void()> leave;
    };
    for (const Leaving& leaving :
         {Leaving{kStopped, true, [] { zelQ_StopDec(kNumber, 1); }},
          Leaving{kSuddenlyStopped, false, [] { zelQ_StopSudden(kNumber, 1); }},
          Leaving{kByAlarm, false,
                  [this] {
                      Raise({16, 0}, 1);
                  }},
          Leaving{kByServoOff, false, [] { zelQ_ServoOn(kNumber, 1, 0); }},
          Leaving{kAtLimitSensor, true, [this] { SetInputs({.limitPositive = true}, 1); }}}) {
        SCOPED_TRACE(leaving.cause);
        After({Run(3'000), Run(100)}, 1s);
        const double left = Look().at[1];
        leaving.leave();
        ExpectIn(1us, {.moving = 1});
        const Coordinates at = Watch(1ms).back().at;
        Expect({.cause = leaving.cause}, 0);
        Expect({.cause = leaving.cause}, 1);
        EXPECT_NEAR(at[2], 3 * at[0], 3);
        EXPECT_NEAR(at[1], leaving.brakes ? 2 * at[0] : left, leaving.brakes ? 2 : 0);
        EXPECT_LT(at[0], 1'000);
        SetInputs({}, 1);
        ASSERT_EQ(zelQ_ServoReset(kNumber, 1), 0);
        ServosOn({1});
        ASSERT_NO_FATAL_FAILURE(StandAt({0, 0, 0}));
    }
    // A switch is met at its own moment, also in one step.
    After(Run(12'000), 60s);
    const Coordinates at = Look().at;
    Expect({.moving = 0, .cause = kAtLimitSensor}, 0);
    Expect({.moving = 0, .cause = kAtLimitSensor}, 2);
    EXPECT_GT(at[2], 20'000);
    EXPECT_LT(at[2], 20'300);
    EXPECT_NEAR(at[2], 3 * at[0], 3);
    EXPECT_EQ(Run(1), kLimitBlocks);
    EXPECT_EQ(Run(-1), 0);
}

TEST_F(PathOfThree, AxesGetReadyAndJoinAtDifferentTimes)
{
    After({zelQ_ServoOn(kNumber, 0, 0), zelQ_ServoOn(kNumber, 2, 0), zelQ_ServoOn(kNumber, 0, 1)},
          2ms);
    After({zelQ_ServoOn(kNumber, 2, 1), Run(300), Run(300)}, 5ms);
    for (int i = 0; i < 100; ++i) {
        EXPECT_NEAR(PlaceOf(1), 2 * PlaceOf(0), 1e-3);
        EXPECT_NEAR(PlaceOf(2), 3 * PlaceOf(0), 1e-3);
        Advance(1ms);
    }
    EXPECT_GT(PlaceOf(0), 20);
    EXPECT_EQ(Watch().back().at[2], 1'800);

    const auto plane = [](double x) { return LineBy({x, 0}, Speeds(0, 3'000, 0)); };
    const auto join = [] { return LineBy({0, 0, 5}, Speeds(0, 3'000, 0)); };
    Done({plane(1'000), zelQ_MoveRel(kNumber, 2, 50)});
    EXPECT_EQ(join(), kBusy) << "it moves by itself";
    Finish(2);
    Done({zelQ_ServoOn(kNumber, 2, 0), zelQ_ServoOn(kNumber, 2, 1)});
    EXPECT_EQ(join(), kServoOff) << "a running path waits for none";
    Advance(5ms);
    Done({join(), plane(100)});
    EXPECT_EQ(Watch().back().at, (Coordinates{1'700, 1'200, 1'855}));
}

TEST_F(PathOfThree, PowerCyclesAndRemovedStationsEndPaths)
{
    After(Run(3'000), 100ms);
    server_.With([](lumosim::Controller& c) { c.SetSlave({1, lumosim::SlaveType::kNone, {}}); });
    EXPECT_EQ(Run(1), kNoServo);
    ExpectIn(100ms, {.moving = 1});
    PowerCycle();
    Expect({.moving = 0});
    EXPECT_EQ(InUse(), 0);
    EXPECT_EQ(Run(1), kEmptyMap);
    Advance(1s);
}

} // namespace

} // namespace zelq::test
