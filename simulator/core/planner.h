// Plans the speed of point-to-point motion: from any speed to a target, to a lasting speed, to
// rest.
#pragma once

#include "trajectory.h"
#include "types.h"

#include <cstdint>
#include <memory>

namespace lumosim {

// An axis's speed profile as the host sets it: pulses/s and pulses/s². An acceleration or
// deceleration of 0 changes the speed at once. Standing axes begin with the start speed and go to
// rest from the stop speed.
struct SpeedProfile
{
    static constexpr Word kTrapezoid = 0;
    static constexpr Word kSmooth = 1;

    Word shape = kTrapezoid;
    std::int32_t start = 100;
    std::int32_t acc = 100'000;
    std::int32_t drive = 10'000;
    std::int32_t dec = 100'000;
    std::int32_t stop = 100;

    // False for negative values, a drive speed of 0 and unknown shapes.
    [[nodiscard]] bool Valid() const;
};

// Ends exactly on the target. A motion that is too fast to stop there, or runs away from it, is
// braked to rest first and comes back.
std::shared_ptr<const Trajectory> PlanMove(const SpeedProfile& profile, const MotionState& from,
                                           double target);

// Runs with the drive speed until it is stopped; direction is 1 or -1.
std::shared_ptr<const Trajectory> PlanJog(const SpeedProfile& profile, const MotionState& from,
                                          int direction);

// Brakes to rest; the resting place is a whole pulse.
std::shared_ptr<const Trajectory> PlanStop(const SpeedProfile& profile, const MotionState& from);

} // namespace lumosim
