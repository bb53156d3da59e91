// Planned motion: where it ends, how fast it may be on the way, and that its speed never jumps.

#include "core/planner.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace lumosim {
namespace {

constexpr double kStep = 0.0001;

SpeedProfile Profile(Word shape, std::int32_t start, std::int32_t acc, std::int32_t drive,
                     std::int32_t dec, std::int32_t stop)
{
    return {shape, start, acc, drive, dec, stop};
}

// What a motion did, looked at in small steps.
struct Observed
{
    double highest = 0;    // speed
    double steepestUp = 0; // growth of the speed's amount, per second
    double steepestDown = 0;
    double largestHole = 0; // way that the speed does not account for
};

Observed Observe(const Trajectory& trajectory, double until)
{
    Observed seen;
    MotionState before = trajectory.At(0);
    seen.highest = std::abs(before.velocity);
    const auto steps = static_cast<int>(until / kStep) - 1;
    for (int step = 1; step <= steps; ++step) {
        const MotionState now = trajectory.At(step * kStep);
        const double growth = (std::abs(now.velocity) - std::abs(before.velocity)) / kStep;
        const double way = (now.velocity + before.velocity) / 2 * kStep;
        seen.highest = std::max(seen.highest, std::abs(now.velocity));
        seen.steepestUp = std::max(seen.steepestUp, growth);
        seen.steepestDown = std::max(seen.steepestDown, -growth);
        seen.largestHole =
            std::max(seen.largestHole, std::abs(now.position - before.position - way));
        before = now;
    }
    return seen;
}

struct MoveCase
{
    const char* name;
    SpeedProfile profile;
    double distance;
};

class PlannedMove : public testing::TestWithParam<MoveCase>
{};

TEST_P(PlannedMove, FromRestEndsOnTheTargetWithinItsBounds)
{
    const auto& [name, profile, distance] = GetParam();
    for (const double target : {1000 + distance, 1000 - distance}) {
        const auto plan = PlanMove(profile, {1000, 0, 0}, target);
        const double duration = plan->Duration();
        ASSERT_TRUE(std::isfinite(duration));
        EXPECT_EQ(plan->At(0).position, 1000);
        EXPECT_EQ(plan->At(duration).position, target);
        EXPECT_EQ(plan->At(duration).velocity, 0);
        // Up to the end, not only corrected there.
        EXPECT_NEAR(plan->At(std::nextafter(duration, 0)).position, target, 0.001);

        const Observed seen = Observe(*plan, duration);
        const double tolerance = 1 + 1e-6;
        EXPECT_LE(seen.highest, profile.drive * tolerance);
        if (profile.acc > 0) {
            EXPECT_LE(seen.steepestUp, profile.acc * tolerance);
        }
        if (profile.dec > 0) {
            EXPECT_LE(seen.steepestDown, profile.dec * tolerance);
        }
        if (profile.acc > 0 && profile.dec > 0) {
            EXPECT_LT(seen.largestHole, 0.01);
        }
    }
}

constexpr Word kT = SpeedProfile::kTrapezoid;
constexpr Word kS = SpeedProfile::kSmooth;

INSTANTIATE_TEST_SUITE_P(
    Profiles, PlannedMove,
    testing::Values(MoveCase{"cruises", Profile(kT, 100, 20000, 5000, 10000, 200), 8000},
                    MoveCase{"triangle", Profile(kT, 100, 20000, 5000, 10000, 200), 500},
                    MoveCase{"nothingButStart", Profile(kT, 4000, 20000, 5000, 10000, 200), 3},
                    MoveCase{"nothingButStop", Profile(kT, 10, 20000, 5000, 10000, 4000), 3},
                    MoveCase{"startAboveDrive", Profile(kT, 9000, 20000, 5000, 10000, 9000), 2000},
                    MoveCase{"onePulse", Profile(kT, 0, 1000, 5000, 1000, 0), 1},
                    MoveCase{"far", Profile(kT, 0, 50'000'000, 100'000'000, 50'000'000, 0), 2e9},
                    MoveCase{"fastAtOnce", Profile(kT, 0, 0, 5000, 10000, 0), 3000},
                    MoveCase{"stopsAtOnce", Profile(kT, 0, 10000, 5000, 0, 0), 3000},
                    MoveCase{"noRamps", Profile(kT, 0, 0, 5000, 0, 0), 3000},
                    MoveCase{"smooth", Profile(kS, 100, 20000, 5000, 10000, 200), 8000},
                    MoveCase{"smoothTriangle", Profile(kS, 0, 20000, 5000, 10000, 0), 500}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Planner, TrapezoidTakesTheTimeThatItsRampsSay)
{
    // 0.5 s up, 1 s down, and the rest of the way with 5000 pulses/s.
    const auto plan = PlanMove(Profile(kT, 0, 10000, 5000, 5000, 0), {}, 10000);
    EXPECT_NEAR(plan->Duration(), 0.5 + 1.0 + (10000.0 - 1250 - 2500) / 5000, 1e-9);
    EXPECT_NEAR(plan->At(0.25).velocity, 2500, 1e-6);
    EXPECT_NEAR(plan->At(1.0).velocity, 5000, 1e-6);

    const auto smooth = PlanMove(Profile(kS, 0, 10000, 5000, 5000, 0), {}, 10000);
    EXPECT_NEAR(smooth->Duration(), 1.0 + 2.0 + (10000.0 - 2500 - 5000) / 5000, 1e-9);
    EXPECT_NEAR(smooth->At(0.25).acceleration, 5000, 1e-6);
    EXPECT_NEAR(smooth->At(0.5).acceleration, 10000, 1e-6);
}

TEST(Planner, ANewTargetInMotionNeverMakesTheSpeedJump)
{
    const SpeedProfile profile = Profile(kT, 100, 20000, 5000, 10000, 100);
    const SpeedProfile slower = Profile(kT, 100, 20000, 1000, 10000, 100);
    const auto first = PlanMove(profile, {}, 10000);
    for (const double moment : {0.01, 0.1, 0.4, 1.2, 2.0, 2.2, first->Duration() - 1e-5}) {
        const MotionState state = first->At(moment);
        for (const double target : {20000.0, 10000.0, 9000.0, 0.0, -5000.0}) {
            for (const SpeedProfile& next : {profile, slower}) {
                SCOPED_TRACE(testing::Message() << moment << " s, to " << target << " with "
                                                << next.drive << " pulses/s");
                const auto plan = PlanMove(next, state, target);
                EXPECT_NEAR(plan->At(0).velocity, state.velocity, 1e-6);
                EXPECT_EQ(plan->At(plan->Duration()).position, target);
                const Observed seen = Observe(*plan, plan->Duration());
                // The start and stop speeds alone are taken at once, where the motion turns.
                EXPECT_LE(seen.steepestUp, 20000 * (1 + 1e-6) + 100 / kStep);
                EXPECT_LE(seen.steepestDown, 10000 * (1 + 1e-4) + 100 / kStep);
                EXPECT_LE(seen.highest, 5000 * (1 + 1e-6));
            }
        }
    }
}

TEST(Planner, ATargetInsideTheStoppingWayIsPassedAndComeBackTo)
{
    const SpeedProfile profile = Profile(kT, 0, 20000, 5000, 10000, 0);
    for (const double target : {1.0, 600.0, 1249.0}) {
        for (const double sign : {1.0, -1.0}) {
            const auto plan = PlanMove(profile, {0, sign * 5000, 0}, sign * target);
            EXPECT_NEAR(plan->At(0.5).position, sign * 1250, 1e-6) << "where it can stop";
            EXPECT_LE(Observe(*plan, plan->Duration()).steepestDown, 10000 * (1 + 1e-6));
            EXPECT_EQ(plan->At(plan->Duration()).position, sign * target);
        }
    }
}

TEST(Planner, TheSameTargetAgainWhileBrakingEndsAtTheSameTime)
{
    const SpeedProfile profile = Profile(kT, 0, 20000, 5000, 10000, 0);
    const auto first = PlanMove(profile, {}, 10000);
    for (const double before : {0.3, 0.01, 0.0001}) {
        const double moment = first->Duration() - before;
        const auto again = PlanMove(profile, first->At(moment), 10000);
        EXPECT_NEAR(again->Duration(), before, 0.0001);
    }
}

TEST(Planner, JogGoesOnWithDriveSpeedAndTurnsRoundThroughRest)
{
    const SpeedProfile profile = Profile(kT, 100, 20000, 5000, 10000, 100);
    const auto jog = PlanJog(profile, {500, 5000, 0}, -1);
    EXPECT_EQ(jog->Duration(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(jog->At(0).velocity, 5000);
    EXPECT_NEAR(jog->At(5).velocity, -5000, 1e-6);
    EXPECT_NEAR(jog->At(6).position - jog->At(5).position, -5000, 1e-3);
    EXPECT_LE(Observe(*jog, 3).steepestDown, 10000 * (1 + 1e-6) + 100 / kStep);

    const auto slowed = PlanJog(Profile(kT, 0, 20000, 1000, 10000, 0), {0, 5000, 0}, 1);
    EXPECT_NEAR(slowed->At(0.2).velocity, 3000, 1e-6);
    EXPECT_NEAR(slowed->At(1).velocity, 1000, 1e-6);
}

TEST(Planner, StopBrakesToAWholePulse)
{
    const auto stop = PlanStop(Profile(kT, 0, 1, 5000, 10000, 0), {10.3, -4000, 0});
    EXPECT_NEAR(stop->Duration(), 0.4, 1e-9);
    const double place = stop->At(1).position;
    EXPECT_EQ(place, std::round(place));
    EXPECT_NEAR(place, 10.3 - 800, 0.51);
}

TEST(Trajectory, TellsWhenAPlaceIsReachedInADirection)
{
    // Up to about +1250 and back down through the start.
    const auto plan = PlanMove(Profile(kT, 0, 10000, 5000, 10000, 0), {0, 5000, 0}, -2000);
    const auto up = plan->TimeOfReaching(1000, 1, 0);
    const auto down = plan->TimeOfReaching(1000, -1, 0);
    ASSERT_TRUE(up && down);
    EXPECT_LT(*up, *down);
    for (const auto& time : {up, down}) {
        EXPECT_NEAR(plan->At(*time).position, 1000, 1e-6);
    }
    EXPECT_GE(plan->At(*up).position, 1000) << "reached, not almost reached";
    EXPECT_FALSE(plan->TimeOfReaching(1000, 1, *up + 0.3)) << "it never comes up there again";
    EXPECT_FALSE(plan->TimeOfReaching(1300, 1, 0));
    EXPECT_EQ(plan->TimeOfReaching(-5, 1, 0.1), 0.1) << "it is beyond it already";

    const auto jog = PlanJog(Profile(kT, 0, 0, 5000, 0, 0), {}, -1);
    EXPECT_NEAR(jog->TimeOfReaching(-1e6, -1, 0).value_or(0), 200, 1e-6);
}

} // namespace
} // namespace lumosim
