// The motor's own numbers, and its motion under a given torque. Torques are in 0.1 % of the rated
// one.
#pragma once

#include "trajectory.h"

#include <memory>

namespace lumosim {

inline constexpr double kRatedTorque = 1000;
inline constexpr double kPeakTorque = 3 * kRatedTorque;
inline constexpr double kFrictionTorque = 50;

// Inertia: the pulses/s² that need the rated torque.
inline constexpr double kAccelerationAtRatedTorque = 5'000'000;

// How the torque rises with every pulse that the command runs on behind a stopper.
inline constexpr double kStopperStiffness = 5;

inline constexpr double kHighestTurnsPerMinute = 6000;

// A motor that follows runs behind its command by as much as it moves in this time.
inline constexpr double kFollowingLag = 0.0005;

// What the rated inertia makes of a torque, and needs of it.
constexpr double AccelerationBy(double torque)
{
    return torque / kRatedTorque * kAccelerationAtRatedTorque;
}
constexpr double TorqueBy(double acceleration)
{
    return acceleration / kAccelerationAtRatedTorque * kRatedTorque;
}

// The torque that this motion needs, were it more than the motor has.
double TorqueFor(const MotionState& state, double friction, double inertia);

// What the motor does under a torque: friction holds it back, and the drive keeps it at the speed
// limit once it is there. It never ends.
std::shared_ptr<const Trajectory> PlanTorque(const MotionState& from, double torque,
                                             double speedLimit, double friction, double inertia);

} // namespace lumosim
