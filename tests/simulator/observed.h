// What a planned motion does, looked at in small steps.
#pragma once

#include "core/trajectory.h"

#include <algorithm>
#include <cmath>

namespace lumosim::test {

constexpr double kStep = 0.0002;

struct Observed
{
    double highest = 0;    // speed
    double steepestUp = 0; // growth of the speed's amount, per second
    double steepestDown = 0;
    double largestHole = 0; // way that the speed does not account for
};

template <typename StateAt>
Observed Observe(StateAt stateAt, double until)
{
    Observed seen;
    MotionState before = stateAt(0);
    seen.highest = std::abs(before.velocity);
    const auto steps = static_cast<int>(until / kStep) - 1;
    for (int step = 1; step <= steps; ++step) {
        const MotionState now = stateAt(step * kStep);
        const double growth = (std::abs(now.velocity) - std::abs(before.velocity)) / kStep;
        const double way = (now.velocity + before.velocity) / 2 * kStep;
        const double hole = now.position - before.position - way;
        seen.highest = std::max(seen.highest, std::abs(now.velocity));
        seen.steepestUp = std::max(seen.steepestUp, growth);
        seen.steepestDown = std::max(seen.steepestDown, -growth);
        seen.largestHole = std::max(seen.largestHole, std::abs(hole));
        before = now;
    }
    return seen;
}

} // namespace lumosim::test
