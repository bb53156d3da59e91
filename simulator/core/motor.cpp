#include "motor.h"

#include <cmath>
#include <limits>

namespace lumosim {

namespace {

constexpr double kForever = std::numeric_limits<double>::infinity();

int Sign(double value)
{
    return value > 0 ? 1 : (value < 0 ? -1 : 0);
}

} // namespace

double TorqueFor(const MotionState& state, double friction, double inertia)
{
    return friction * Sign(state.velocity) + TorqueBy(state.acceleration) * inertia;
}

std::shared_ptr<const Trajectory> PlanTorque(const MotionState& from, double torque,
                                             double speedLimit, double friction, double inertia)
{
    auto path = std::make_shared<RampTrajectory>(from.position, false);
    const double push = std::abs(torque) - friction;
    double speed = from.velocity;
    if (speed * torque < 0 || push <= 0) {
        // Friction, and a torque against the motion, bring it to rest first.
        const double braking = friction - torque * Sign(speed);
        if (speed != 0 && braking == 0) {
            path->AddEndlessCruise(speed);
            return path;
        }
        if (speed != 0) path->AddRamp(speed, 0, AccelerationBy(braking) / inertia);
        speed = 0;
    }
    if (push <= 0) {
        path->AddPause(kForever);
        return path;
    }
    const double limit = std::copysign(speedLimit, torque);
    const bool tooFast = std::abs(speed) > speedLimit;
    path->AddRamp(speed, limit, AccelerationBy(tooFast ? kPeakTorque : push) / inertia);
    path->AddEndlessCruise(limit);
    return path;
}

} // namespace lumosim
