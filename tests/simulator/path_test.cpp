// Interpolated motion inside the controller: its speed over time, and what takes an axis off it.

#include "core/controller.h"
#include "core/path/paths.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace lumosim {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr double kStep = 0.0002;

SpeedProfile Speeds(std::int32_t start, std::int32_t drive, std::int32_t end, Word shape = 0)
{
    return {shape, start, 20'000, drive, 30'000, end};
}

PathSection Line(double from, double to, const SpeedProfile& speeds)
{
    PathPoint begin{};
    PathPoint end{};
    begin[0] = from;
    end[0] = to;
    return {Course::Line(begin, end, 1), speeds, MotionKind::kLinear, 1};
}

struct Observed
{
    double fastest = 0;
    double steepestUp = 0;
    double steepestDown = 0;
    double largestHole = 0; // way that the speed does not account for
};

Observed Observe(const PathPlan& plan)
{
    Observed seen;
    MotionState before = plan.AxisAt(0, 0);
    for (double time = kStep; time < plan.Duration() - kStep; time += kStep) {
        const MotionState now = plan.AxisAt(0, time);
        const double growth = (now.velocity - before.velocity) / kStep;
        const double hole =
            now.position - before.position - (now.velocity + before.velocity) / 2 * kStep;
        seen.fastest = std::max(seen.fastest, now.velocity);
        seen.steepestUp = std::max(seen.steepestUp, growth);
        seen.steepestDown = std::max(seen.steepestDown, -growth);
        seen.largestHole = std::max(seen.largestHole, std::abs(hole));
        before = now;
    }
    return seen;
}

TEST(PathPlan, ManyShortSectionsAreRunAsOneLongOne)
{
    for (const Word shape : {SpeedProfile::kTrapezoid, SpeedProfile::kSmooth}) {
        SCOPED_TRACE(shape);
        std::deque<PathSection> sections;
        for (int i = 0; i < 300; ++i) {
            const SpeedProfile speeds = Speeds(i == 0 ? 0 : 4000, 4000, i == 299 ? 0 : 4000, shape);
            sections.push_back(Line(i * 7, i * 7 + 7, speeds));
        }
        const auto plan = PlanPath(sections, {}, nullptr);
        const Observed seen = Observe(*plan);
        EXPECT_NEAR(seen.fastest, 4000, 10);
        EXPECT_LE(seen.steepestUp, 20'000 * 1.1);
        EXPECT_LE(seen.steepestDown, 30'000 * 1.1);
        EXPECT_LT(seen.largestHole, 0.01);
        EXPECT_EQ(plan->AxisAt(0, plan->Duration()).position, 2100);

        // One section of the same length takes no more than a trace less.
        const auto whole = PlanPath({Line(0, 2100, Speeds(0, 4000, 0, shape))}, {}, nullptr);
        EXPECT_NEAR(plan->Duration(), whole->Duration(), whole->Duration() * 0.01);
    }
}

TEST(PathPlan, SectionsThatAreTooShortToSpeedUpAreLeftSlower)
{
    const auto plan = PlanPath(
        {Line(0, 10, Speeds(0, 5000, 5000)), Line(10, 4000, Speeds(5000, 5000, 200))}, {}, nullptr);
    EXPECT_NEAR(plan->Pieces().front().exitSpeed, std::sqrt(2 * 20'000 * 10), 1);
    EXPECT_LE(Observe(*plan).steepestUp, 20'000 * 1.01);
    EXPECT_NEAR(plan->AxisAt(0, plan->Duration() - 1e-6).velocity, 200, 1);
}

TEST(PathPlan, ASlowSectionThatComesLateIsMetByBrakingHarder)
{
    std::deque<PathSection> sections = {Line(0, 1000, Speeds(0, 3000, 3000))};
    const auto first = PlanPath(sections, {}, nullptr);
    const double elapsed = first->Duration() - 0.01;
    sections.push_back(Line(1000, 2000, Speeds(100, 3000, 0)));
    PathPlan::Piece current = first->Pieces().front();
    current.begin -= elapsed;
    const auto plan = PlanPath(sections, first->StateAt(elapsed), &current);
    EXPECT_EQ(plan->Pieces().front().exitSpeed, 100);
    EXPECT_NEAR(plan->AxisAt(0, 0).position, first->AxisAt(0, elapsed).position, 1e-6);
    EXPECT_NEAR(plan->AxisAt(0, 0).velocity, 3000, 1);
    const Observed seen = Observe(*plan);
    EXPECT_GT(seen.steepestDown, 100'000);
    EXPECT_LT(seen.largestHole, 0.2);
    EXPECT_EQ(plan->AxisAt(0, 9).position, 2000);
}

TEST(PathPlan, WhatComesBehindAnUnchangedJointLeavesTheRunningPieceAlone)
{
    std::deque<PathSection> sections = {Line(0, 1000, Speeds(0, 3000, 500, SpeedProfile::kSmooth))};
    const auto first = PlanPath(sections, {}, nullptr);
    const double elapsed = first->Duration() - 0.02; // in the middle of its braking
    sections.push_back(Line(1000, 2000, Speeds(500, 3000, 0)));
    PathPlan::Piece current = first->Pieces().front();
    current.begin -= elapsed;
    const auto plan = PlanPath(sections, first->StateAt(elapsed), &current);
    for (double time = 0; time < 0.02; time += kStep) {
        EXPECT_EQ(plan->AxisAt(0, time).velocity, first->AxisAt(0, time + elapsed).velocity);
    }
}

TEST(PathPlan, TimesOfReachingAreThoseOfTheCourse)
{
    Arc arc;
    ASSERT_EQ(ArcAroundCenter({1000, 0}, {0, 0}, {1000, 0}, Turn::kCounterClockwise, arc),
              Result::kDone);
    PathPoint begin{};
    begin[0] = 1000;
    const PathSection circle = {Course::Along(arc, begin, begin, false), Speeds(1000, 1000, 1000),
                                MotionKind::kArc, 2};
    const auto plan = PlanPath({circle}, {}, nullptr);
    const double quarter = plan->Duration() / 4;
    struct Row
    {
        std::size_t axis;
        double position;
        int direction;
        double from;
        double quarters;
    };
    for (const Row& row :
         {Row{0, 0, -1, 0, 1}, Row{0, 0, 1, 0, 3}, Row{1, 0, 1, 0, 0}, Row{1, 0, -1, 0, 2},
          Row{1, -500, 1, quarter * 1.5, 11.0 / 3}, Row{0, -1000, 1, 0, 2}}) {
        const auto time = plan->TimeOfReaching(row.axis, row.position, row.direction, row.from);
        ASSERT_TRUE(time.has_value());
        EXPECT_NEAR(*time, row.quarters * quarter, 1e-3);
    }
    EXPECT_FALSE(plan->TimeOfReaching(0, 1001, 1, 0).has_value());
    EXPECT_FALSE(plan->TimeOfReaching(0, -1001, -1, 0).has_value());
}

class PathTest : public testing::Test
{
  protected:
    static ControllerConfig Config()
    {
        ControllerConfig config;
        config.axes = 4;
        config.mechanics.negativeLimit = -20'000;
        config.mechanics.positiveLimit = 20'000;
        return config;
    }

    PathTest() : controller(Config())
    {
        for (int i = 0; i < 4; ++i) {
            controller.AxisAt(i).SwitchServo(true);
        }
        controller.Advance(Axis::kServoOnTime);
        EXPECT_EQ(controller.Execute({0x70, 5, 3, 0, 1, 2}), Result::kDone);
        EXPECT_EQ(controller.Execute({0x1C1, 1}), Result::kDone);
    }

    Axis& At(int axis) { return controller.AxisAt(axis); }

    // A quarter of a circle of 5000, around the left of where it begins.
    Result Quarter()
    {
        constexpr std::int32_t kLeft = -5000;
        constexpr std::int32_t kAngle = 90 * 10'000;
        return controller.Execute({0x73,
                                   5,
                                   1,
                                   0,
                                   0,
                                   20'000,
                                   0,
                                   3000,
                                   0,
                                   20'000,
                                   0,
                                   0,
                                   0,
                                   0,
                                   LowWord(kLeft),
                                   HighWord(kLeft),
                                   0,
                                   0,
                                   LowWord(kAngle),
                                   HighWord(kAngle),
                                   0,
                                   0,
                                   0});
    }

    // A line of all three axes by distances.
    Result LineBy(std::int32_t x, std::int32_t y, std::int32_t z, std::int32_t start = 0,
                  std::int32_t end = 0)
    {
        return controller.Execute({0x72,
                                   5,
                                   0,
                                   1,
                                   LowWord(start),
                                   HighWord(start),
                                   20'000,
                                   0,
                                   3000,
                                   0,
                                   20'000,
                                   0,
                                   LowWord(end),
                                   HighWord(end),
                                   3,
                                   LowWord(x),
                                   HighWord(x),
                                   LowWord(y),
                                   HighWord(y),
                                   LowWord(z),
                                   HighWord(z)});
    }

    bool Standing() { return !At(0).Moving() && !At(1).Moving() && !At(2).Moving(); }

    void Finish()
    {
        for (int i = 0; i < 20'000 && !Standing(); ++i) {
            controller.Advance(milliseconds(1));
        }
        ASSERT_TRUE(Standing());
    }

    Controller controller;
};

TEST_F(PathTest, AStoppedMapBrakesOnItsPath)
{
    ASSERT_EQ(LineBy(3000, 4000, 0, 0, 3000), Result::kDone);
    ASSERT_EQ(LineBy(-100, 0, 0, 3000, 3000), Result::kDone);
    ASSERT_EQ(LineBy(0, 900, 0, 3000, 3000), Result::kDone);
    ASSERT_EQ(LineBy(9000, 0, 0, 3000, 0), Result::kDone);
    EXPECT_EQ(controller.PreRegistered(5), 3U);
    while (At(1).CommandPosition() < 4000) {
        controller.Advance(milliseconds(1));
    }
    controller.Advance(milliseconds(1));
    EXPECT_EQ(controller.Execute({0x41, 5, 1}), Result::kDone);
    EXPECT_EQ(LineBy(1, 1, 1), Result::kBusy);
    EXPECT_EQ(controller.PreRegistered(5), 1U); // what it needs to brake on
    const auto begin = controller.Now();
    Finish();
    // 225 pulses of braking: the rest of the hundred, then up along the next section.
    EXPECT_EQ(At(0).CommandPosition(), 2900);
    EXPECT_NEAR(At(1).CommandPosition(), 4128, 4);
    EXPECT_NEAR(std::chrono::duration<double>(controller.Now() - begin).count(), 0.15, 0.005);
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(At(axis).LastStop(), StopCause::kStopCommand);
    }
    // What waited is dropped; the next section begins here.
    EXPECT_EQ(LineBy(-2900, -At(1).CommandPosition(), 7), Result::kDone);
    Finish();
    EXPECT_EQ(At(1).CommandPosition(), 0);
    EXPECT_EQ(At(2).CommandPosition(), 7);
}

TEST_F(PathTest, ASuddenStopStandsAtOnceAndOtherAxesOfTheMapStopToo)
{
    EXPECT_EQ(controller.Execute({0x41, 6, 0}), Result::kEmptyMap);
    EXPECT_EQ(controller.Execute({0x41, 16, 0}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x41, 5, 2}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x41, 5, 0}), Result::kDone); // nothing runs

    ASSERT_EQ(Quarter(), Result::kDone);
    At(2).Jog(1);
    controller.Advance(milliseconds(500));
    const std::int32_t place = At(0).CommandPosition();
    EXPECT_EQ(controller.Execute({0x41, 5, 0}), Result::kDone);
    controller.Advance(milliseconds(5));
    EXPECT_TRUE(Standing());
    EXPECT_EQ(At(0).CommandPosition(), place);
    EXPECT_EQ(At(2).LastStop(), StopCause::kSuddenStopCommand);
}

// What takes one axis off the path, and what becomes of the path then.
struct Leaving
{
    std::string name;
    void (*leave)(Axis&);
    StopCause cause;
    bool brakes; // the axis itself goes along to the end
};

class PathLeft : public PathTest, public testing::WithParamInterface<Leaving>
{};

TEST_P(PathLeft, TheOthersBrakeOnThePath)
{
    ASSERT_EQ(LineBy(3000, 6000, 9000), Result::kDone);
    ASSERT_EQ(LineBy(100, 100, 100), Result::kDone);
    controller.Advance(seconds(1));
    const std::int32_t left = At(1).CommandPosition();
    GetParam().leave(At(1));
    controller.Advance(microseconds(1));
    EXPECT_TRUE(At(0).Moving());
    Finish();
    EXPECT_EQ(At(0).LastStop(), GetParam().cause);
    EXPECT_EQ(At(1).LastStop(), GetParam().cause);
    EXPECT_NEAR(At(2).CommandPosition(), 3 * At(0).CommandPosition(), 3);
    if (GetParam().brakes) {
        EXPECT_NEAR(At(1).CommandPosition(), 2 * At(0).CommandPosition(), 2);
    } else {
        EXPECT_EQ(At(1).CommandPosition(), left);
    }
    EXPECT_LT(At(0).CommandPosition(), 1000);
}

INSTANTIATE_TEST_SUITE_P(
    Causes, PathLeft,
    testing::Values(
        Leaving{"Stop",
                [](Axis& axis) { axis.Stop(StopMode::kDecelerate, StopCause::kStopCommand); },
                StopCause::kStopCommand, true},
        Leaving{"SuddenStop",
                [](Axis& axis) { axis.Stop(StopMode::kSudden, StopCause::kSuddenStopCommand); },
                StopCause::kSuddenStopCommand, false},
        Leaving{"Alarm",
                [](Axis& axis) {
                    axis.RaiseAlarm({16, 0});
                },
                StopCause::kAlarm, false},
        Leaving{"ServoOff", [](Axis& axis) { axis.SwitchServo(false); }, StopCause::kServoOff,
                false},
        Leaving{"LimitInput", [](Axis& axis) { axis.SetInputs({.limitPositive = true}); },
                StopCause::kLimitSensor, true}),
    [](const testing::TestParamInfo<Leaving>& leaving) { return leaving.param.name; });

TEST_F(PathTest, ALimitSwitchStopsThePathBehindIt)
{
    ASSERT_EQ(LineBy(12'000, 24'000, 0), Result::kDone);
    controller.Advance(seconds(60)); // in one step: the switch is met at its own moment
    EXPECT_TRUE(Standing());
    EXPECT_EQ(At(1).LastStop(), StopCause::kLimitSensor);
    EXPECT_EQ(At(0).LastStop(), StopCause::kLimitSensor);
    EXPECT_GT(At(1).CommandPosition(), 20'000);
    EXPECT_LT(At(1).CommandPosition(), 20'300);
    EXPECT_NEAR(At(1).CommandPosition(), 2 * At(0).CommandPosition(), 2);

    EXPECT_EQ(LineBy(0, 10, 0), Result::kLimitBlocks);
    EXPECT_EQ(LineBy(0, -10, 0), Result::kDone);
}

TEST_F(PathTest, AxesWhoseAmplifiersGetReadyAtDifferentTimesBeginTogether)
{
    At(0).SwitchServo(false);
    At(2).SwitchServo(false);
    At(0).SwitchServo(true);
    controller.Advance(milliseconds(2));
    At(2).SwitchServo(true);
    ASSERT_EQ(LineBy(300, 600, 900), Result::kDone);
    ASSERT_EQ(LineBy(300, 600, 900), Result::kDone);
    controller.Advance(milliseconds(5));
    for (int i = 0; i < 100; ++i) {
        EXPECT_NEAR(At(1).Physical().position, 2 * At(0).Physical().position, 1e-3);
        EXPECT_NEAR(At(2).Physical().position, 3 * At(0).Physical().position, 1e-3);
        controller.Advance(milliseconds(1));
    }
    EXPECT_GT(At(0).CommandPosition(), 20);
    Finish();
    EXPECT_EQ(At(2).CommandPosition(), 1800);
}

TEST_F(PathTest, ThePathDoesNotDependOnTheSteps)
{
    Controller other(Config());
    const auto command = [&](auto use) {
        use(controller);
        use(other);
    };
    for (int i = 0; i < 4; ++i) {
        other.AxisAt(i).SwitchServo(true);
    }
    other.Advance(Axis::kServoOnTime);
    other.Execute({0x70, 5, 3, 0, 1, 2});
    other.Execute({0x1C1, 1});
    command([](Controller& c) {
        for (const Word way : {Word{900}, Word{40}, Word{41}, Word{700}}) {
            const Word speed = 1500;
            EXPECT_EQ(c.Execute({0x72, 5, 0, 3, speed, 0, 20'000, 0, 3000, 0, 20'000, 0, speed, 0,
                                 2, way, 0, 300, 0}),
                      Result::kDone);
        }
    });
    controller.Advance(milliseconds(389));
    for (int i = 0; i < 3890; ++i) {
        other.Advance(microseconds(100));
    }
    for (int axis = 0; axis < 2; ++axis) {
        EXPECT_NEAR(At(axis).Physical().position, other.AxisAt(axis).Physical().position, 1e-6);
        EXPECT_EQ(At(axis).Velocity(), other.AxisAt(axis).Velocity());
    }
    EXPECT_TRUE(At(0).Moving());
}

TEST_F(PathTest, AThirdAxisJoinsARunningPath)
{
    const auto plane = [&](Word x) {
        return controller.Execute(
            {0x72, 5, 0, 1, 0, 0, 20'000, 0, 3000, 0, 20'000, 0, 0, 0, 2, x, 0, 0, 0});
    };
    ASSERT_EQ(plane(1000), Result::kDone);
    At(2).MoveTo(50);
    EXPECT_EQ(LineBy(0, 0, 5), Result::kBusy);
    controller.Advance(milliseconds(300));
    ASSERT_EQ(LineBy(0, 0, 5), Result::kDone);
    EXPECT_EQ(At(2).CommandPosition(), 50);
    ASSERT_EQ(plane(100), Result::kDone);
    Finish();
    EXPECT_EQ(At(0).CommandPosition(), 1100);
    EXPECT_EQ(At(2).CommandPosition(), 55);
}

TEST_F(PathTest, PowerCyclesAndRemovedStationsEndPaths)
{
    ASSERT_EQ(Quarter(), Result::kDone);
    controller.Advance(milliseconds(100));
    controller.SetSlave({1, SlaveType::kNone, {}});
    ASSERT_EQ(Quarter(), Result::kNoServo);
    controller.Advance(milliseconds(100));
    EXPECT_TRUE(At(0).Moving());
    controller.PowerCycle();
    EXPECT_FALSE(At(0).Moving());
    EXPECT_EQ(controller.ReadRegister(0xF417), 0);
    EXPECT_EQ(controller.ReadRegister(0xF41A + 45), 0);
    EXPECT_EQ(Quarter(), Result::kEmptyMap);
    controller.Advance(seconds(1));
}

TEST_F(PathTest, MalformedCommandsAreRefused)
{
    for (const std::initializer_list<Word>& block : {std::initializer_list<Word>{0x70, 5, 2, 0},
                                                     {0x70, 5, 17},
                                                     {0x72, 5, 0, 0},
                                                     {0x73, 5, 1, 0},
                                                     {0x74, 5, 1, 0},
                                                     {0x41, 5},
                                                     {0x1C1},
                                                     {0x1C2, 0}}) {
        EXPECT_EQ(controller.Execute(block), Result::kMalformed) << *block.begin();
    }
    EXPECT_EQ(controller.Execute({0x70, 16, 0}), Result::kOutOfRange);
}

} // namespace
} // namespace lumosim
