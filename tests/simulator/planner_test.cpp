// Planned motion: where it ends, how fast it may be on the way, and that its speed never jumps.

#include "core/planner.h"
#include "observed.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace lumosim {
namespace {

using test::kStep;
using test::Observed;

constexpr Word kT = SpeedProfile::kTrapezoid;
constexpr Word kS = SpeedProfile::kSmooth;

// 100 pulses/s to begin and to end with, ramps of 20,000 and 10,000 pulses/s².
constexpr SpeedProfile kProfile = {kT, 100, 20'000, 5'000, 10'000, 100};
constexpr SpeedProfile kFromRest = {kT, 0, 20'000, 5'000, 10'000, 0};

Observed Observe(const Trajectory& trajectory, double until)
{
    return test::Observe([&](double time) { return trajectory.At(time); }, until);
}

void ExpectRun(const SpeedProfile& profile, double target)
{
    const auto plan = PlanMove(profile, {1000, 0, 0}, target);
    const double duration = plan->Duration();
    ASSERT_TRUE(std::isfinite(duration));
    EXPECT_EQ(plan->At(0).position, 1000);
    EXPECT_EQ(plan->At(duration).position, target);
    EXPECT_EQ(plan->At(duration).velocity, 0);
    // Up to the end, not only corrected there.
    EXPECT_NEAR(plan->At(std::nextafter(duration, 0)).position, target, 0.001);

    // A rate of 0 is no ramp at all.
    const auto bound = [](std::int32_t rate) {
        return rate > 0 ? rate * (1 + 1e-6) : std::numeric_limits<double>::infinity();
    };
    const Observed seen = Observe(*plan, duration);
    EXPECT_LE(seen.highest, bound(profile.drive));
    EXPECT_LE(seen.steepestUp, bound(profile.acc));
    EXPECT_LE(seen.steepestDown, bound(profile.dec));
    if (profile.acc > 0 && profile.dec > 0) {
        EXPECT_LT(seen.largestHole, 0.01);
    }
}

TEST(Planner, FromRestAMoveEndsOnItsTargetWithinItsBounds)
{
    struct Move
    {
        const char* name;
        SpeedProfile profile;
        double distance;
    };
    for (const Move& move : {Move{"cruises", {kT, 100, 20000, 5000, 10000, 200}, 8000},
                             Move{"triangle", {kT, 100, 20000, 5000, 10000, 200}, 500},
                             Move{"nothing but start", {kT, 4000, 20000, 5000, 10000, 200}, 3},
                             Move{"nothing but stop", {kT, 10, 20000, 5000, 10000, 4000}, 3},
                             Move{"start above drive", {kT, 9000, 20000, 5000, 10000, 9000}, 2000},
                             Move{"one pulse", {kT, 0, 1000, 5000, 1000, 0}, 1},
                             Move{"far", {kT, 0, 50'000'000, 100'000'000, 50'000'000, 0}, 2e9},
                             Move{"fast at once", {kT, 0, 0, 5000, 10000, 0}, 3000},
                             Move{"stops at once", {kT, 0, 10000, 5000, 0, 0}, 3000},
                             Move{"no ramps", {kT, 0, 0, 5000, 0, 0}, 3000},
                             Move{"smooth", {kS, 100, 20000, 5000, 10000, 200}, 8000},
                             Move{"smooth triangle", {kS, 0, 20000, 5000, 10000, 0}, 500}}) {
        SCOPED_TRACE(move.name);
        ExpectRun(move.profile, 1000 + move.distance);
        ExpectRun(move.profile, 1000 - move.distance);
    }
}

TEST(Planner, TrapezoidTakesTheTimeThatItsRampsSay)
{
    // 0.5 s up, 1 s down, and the rest of the way with 5000 pulses/s.
    const auto plan = PlanMove({kT, 0, 10000, 5000, 5000, 0}, {}, 10000);
    EXPECT_NEAR(plan->Duration(), 0.5 + 1.0 + (10000.0 - 1250 - 2500) / 5000, 1e-9);
    EXPECT_NEAR(plan->At(0.25).velocity, 2500, 1e-6);
    EXPECT_NEAR(plan->At(1.0).velocity, 5000, 1e-6);

    const auto smooth = PlanMove({kS, 0, 10000, 5000, 5000, 0}, {}, 10000);
    EXPECT_NEAR(smooth->Duration(), 1.0 + 2.0 + (10000.0 - 2500 - 5000) / 5000, 1e-9);
    EXPECT_NEAR(smooth->At(0.25).acceleration, 5000, 1e-6);
    EXPECT_NEAR(smooth->At(0.5).acceleration, 10000, 1e-6);
}

TEST(Planner, ANewTargetInMotionNeverMakesTheSpeedJump)
{
    SpeedProfile slower = kProfile;
    slower.drive = 1000;
    const auto first = PlanMove(kProfile, {}, 10000);
    for (const double moment : {0.01, 0.1, 0.4, 1.2, 2.0, 2.2, first->Duration() - 1e-5}) {
        const MotionState state = first->At(moment);
        for (const double target : {20000.0, 10000.0, 9000.0, 0.0, -5000.0}) {
            for (const SpeedProfile& next : {kProfile, slower}) {
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
    for (const double target : {1.0, 600.0, 1249.0}) {
        for (const double sign : {1.0, -1.0}) {
            const auto plan = PlanMove(kFromRest, {0, sign * 5000, 0}, sign * target);
            EXPECT_NEAR(plan->At(0.5).position, sign * 1250, 1e-6) << "where it can stop";
            EXPECT_LE(Observe(*plan, plan->Duration()).steepestDown, 10000 * (1 + 1e-6));
            EXPECT_EQ(plan->At(plan->Duration()).position, sign * target);
        }
    }
}

TEST(Planner, TheSameTargetAgainWhileBrakingEndsAtTheSameTime)
{
    const auto first = PlanMove(kFromRest, {}, 10000);
    for (const double before : {0.3, 0.01, 0.0001}) {
        const double moment = first->Duration() - before;
        const auto again = PlanMove(kFromRest, first->At(moment), 10000);
        EXPECT_NEAR(again->Duration(), before, 0.0001);
    }
}

TEST(Planner, JogGoesOnWithDriveSpeedAndTurnsRoundThroughRest)
{
    const auto jog = PlanJog(kProfile, {500, 5000, 0}, -1);
    EXPECT_EQ(jog->Duration(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(jog->At(0).velocity, 5000);
    EXPECT_NEAR(jog->At(5).velocity, -5000, 1e-6);
    EXPECT_NEAR(jog->At(6).position - jog->At(5).position, -5000, 1e-3);
    EXPECT_LE(Observe(*jog, 3).steepestDown, 10000 * (1 + 1e-6) + 100 / kStep);

    const auto slowed = PlanJog({kT, 0, 20000, 1000, 10000, 0}, {0, 5000, 0}, 1);
    EXPECT_NEAR(slowed->At(0.2).velocity, 3000, 1e-6);
    EXPECT_NEAR(slowed->At(1).velocity, 1000, 1e-6);
}

TEST(Planner, StopBrakesToAWholePulse)
{
    const auto stop = PlanStop({kT, 0, 1, 5000, 10000, 0}, {10.3, -4000, 0});
    EXPECT_NEAR(stop->Duration(), 0.4, 1e-9);
    const double place = stop->At(1).position;
    EXPECT_EQ(place, std::round(place));
    EXPECT_NEAR(place, 10.3 - 800, 0.51);
}

TEST(Trajectory, TellsWhenAPlaceIsReachedInADirection)
{
    // Up to about +1250 and back down through the start.
    const auto plan = PlanMove({kT, 0, 10000, 5000, 10000, 0}, {0, 5000, 0}, -2000);
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

    const auto jog = PlanJog({kT, 0, 0, 5000, 0, 0}, {}, -1);
    EXPECT_NEAR(jog->TimeOfReaching(-1e6, -1, 0).value_or(0), 200, 1e-6);
}

TEST(Planner, ASmoothedRampThatIsInterruptedGoesOnFromItsAcceleration)
{
    constexpr double kTarget = 8'000;
    const SpeedProfile profile = {kS, 0, 20'000, 5'000, 10'000, 0};
    SpeedProfile faster = profile;
    faster.drive = 7'000;
    SpeedProfile slower = profile;
    slower.drive = 2'000;
    const auto move = PlanMove(profile, {0, 0, 0}, kTarget);
    constexpr int kCuts = 60;
    for (int cut = 1; cut < kCuts; ++cut) {
        SCOPED_TRACE(cut);
        const MotionState from = move->At(move->Duration() * cut / kCuts);
        for (const SpeedProfile& then : {profile, faster, slower}) {
            for (const auto& plan :
                 {PlanMove(then, from, kTarget), PlanStop(then, from), PlanJog(then, from, 1)}) {
                const MotionState begin = plan->At(1e-9);
                EXPECT_NEAR(begin.velocity, from.velocity, 0.1);
                EXPECT_NEAR(begin.acceleration, from.acceleration, 50);
                const double end = std::isinf(plan->Duration()) ? 2 : plan->Duration();
                const Observed seen = Observe(*plan, end);
                EXPECT_LE(seen.steepestUp, 20'000 * 1.01);
                EXPECT_LE(seen.steepestDown, 10'000 * 1.26);
                EXPECT_LT(seen.largestHole, 0.05);
            }
        }
        // The target is met without turning round.
        const auto same = PlanMove(profile, from, kTarget);
        EXPECT_NEAR(same->At(std::nextafter(same->Duration(), 0)).position, kTarget, 0.3);
        for (double time = 0; time < same->Duration(); time += 0.001) {
            ASSERT_GE(same->At(time).velocity, -1e-6);
        }
    }
}

} // namespace
} // namespace lumosim
