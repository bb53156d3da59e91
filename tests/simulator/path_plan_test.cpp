// How fast a path is run: its sections planned as one.

#include "core/path/path_plan.h"
#include "observed.h"

#include <cmath>
#include <deque>
#include <gtest/gtest.h>

namespace lumosim {
namespace {

using test::kStep;
using test::Observed;

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

Observed Observe(const PathPlan& plan)
{
    return test::Observe([&](double time) { return plan.AxisAt(0, time); }, plan.Duration());
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
        EXPECT_NEAR(seen.highest, 4000, 10);
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
    for (int step = 0; step < 100; ++step) {
        const double time = step * kStep;
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
        double from, quarters;
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

} // namespace
} // namespace lumosim
