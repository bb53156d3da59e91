#include "servo_motor.h"

#include "motor.h"

#include <algorithm>
#include <cmath>

namespace lumosim {

namespace {

// The two poles of the loop lie at the same frequency: as fast as it goes without an overshoot.
constexpr double kNaturalFrequency = 400; // 1/s
constexpr double kSpeedGain = 2 * kNaturalFrequency;
constexpr double kPositionGain = kNaturalFrequency / 2;
// What the speed feed-forward leaves over for the position error is the motor's lag.
constexpr double kSpeedFeedForward = 1 - kFollowingLag * kPositionGain;

// Nearer than this to a command at rest, it is there.
constexpr double kNearEnough = 0.02;
constexpr double kSlowEnough = 5;

// The speed that takes an error away: in proportion to it, but no faster than the motor can brake
// again with half of its torque.
double Approach(double error, const MotorLoad& load)
{
    constexpr double kLeastBraking = 1'000; // pulses/s²
    const double torque = std::min(load.highestTorque, -load.lowestTorque) - std::abs(load.weight);
    const double braking =
        std::max(AccelerationBy(torque + load.friction) / load.inertia / 2, kLeastBraking);
    const double proportional = braking / (kPositionGain * kPositionGain);
    const double way = std::abs(error);
    if (way <= proportional) return kPositionGain * error;
    return std::copysign(std::sqrt(2 * braking * (way - proportional / 2)), error);
}

double Viscous(const MotorLoad& load, double speed)
{
    return load.viscous * speed / 1000;
}

} // namespace

void ServoMotor::RunTo(Nanoseconds now, const CommandMotion& command, const MotorLoad& load)
{
    while (!rests_ && begin_ < now) {
        if (!decided_) Decide(command, load);
        if (rests_ || end_ > now) return;
        EndCycle(load);
    }
}

MotionState ServoMotor::At(Nanoseconds now) const
{
    if (!decided_ || rests_) return {place_, speed_, 0};
    const double seconds = static_cast<double>((now - begin_).count()) * 1e-9;
    return {place_ + (speed_ + acceleration_ * seconds / 2) * seconds,
            speed_ + acceleration_ * seconds, acceleration_};
}

double ServoMotor::CycleSeconds() const
{
    return static_cast<double>((end_ - begin_).count()) * 1e-9;
}

void ServoMotor::EndCycle(const MotorLoad& load)
{
    const MotionState state = At(end_);
    place_ = std::clamp(state.position, load.lowestPlace, load.highestPlace);
    speed_ = place_ == state.position ? state.velocity : 0;
    begin_ = end_;
    end_ += kCycle;
    decided_ = false;
}

void ServoMotor::Decide(const CommandMotion& command, const MotorLoad& load)
{
    const MotionState wanted = command.At(begin_);
    const double error = wanted.position - place_;
    WatchWindow(command, error, load);
    decided_ = true;
    if (MayRest(command, error)) {
        if (powered_) place_ = wanted.position;
        speed_ = 0;
        torque_ = demand_ = powered_ ? load.weight : 0;
        rests_ = true;
        return;
    }
    const double stopper = std::clamp(wanted.position, load.lowestPlace, load.highestPlace);
    if (!powered_) {
        torque_ = demand_ = 0;
        acceleration_ = AccelerationUnder(0, load);
    } else if (stopper != wanted.position) {
        Press(wanted.position - stopper, stopper);
    } else {
        Serve(wanted, load);
    }
}

void ServoMotor::WatchWindow(const CommandMotion& command, double error, const MotorLoad& load)
{
    const bool inside =
        powered_ && !command.Running() && std::abs(std::lround(error)) <= load.window;
    if (!inside) {
        inPositionSince_ = kNever;
    } else if (inPositionSince_ == kNever) {
        inPositionSince_ = begin_;
    }
}

bool ServoMotor::MayRest(const CommandMotion& command, double error) const
{
    if (!powered_) return speed_ == 0;
    return !command.Running() && inPositionSince_ != kNever && std::abs(error) < kNearEnough &&
           std::abs(speed_) < kSlowEnough;
}

// A command behind a stopper holds the motor against it.
void ServoMotor::Press(double error, double stopper)
{
    place_ = stopper;
    speed_ = 0;
    acceleration_ = 0;
    torque_ = demand_ = error * kStopperStiffness;
}

void ServoMotor::Serve(const MotionState& wanted, const MotorLoad& load)
{
    const double speed =
        kSpeedFeedForward * wanted.velocity + Approach(wanted.position - place_, load);
    const double acceleration =
        kSpeedGain * (std::clamp(speed, -load.topSpeed, load.topSpeed) - speed_);
    // The integral part of a drive's speed loop knows what friction and weight take; what it has
    // learnt has an end where the motor's torque has its own.
    const double friction = std::min(load.friction, kPeakTorque);
    const double direction = speed_ != 0 ? speed_ : acceleration;
    demand_ = TorqueBy(acceleration) * load.inertia + load.weight + Viscous(load, speed_) +
              (direction == 0 ? 0 : std::copysign(friction, direction));
    torque_ = std::clamp(demand_, load.lowestTorque, load.highestTorque);
    acceleration_ = AccelerationUnder(torque_, load);
}

double ServoMotor::AccelerationUnder(double torque, const MotorLoad& load) const
{
    const double friction = load.friction + (powered_ ? 0 : brake_);
    const double push = torque - (powered_ ? load.weight : 0) - Viscous(load, speed_);
    const double rest = -speed_ / CycleSeconds();
    if (std::isinf(friction)) return rest;
    if (speed_ == 0 && std::abs(push) <= friction) return 0;
    const double acceleration =
        AccelerationBy(push - std::copysign(friction, speed_ != 0 ? speed_ : push)) / load.inertia;
    // Friction brings to rest, and no further.
    const bool turns = (speed_ + acceleration * CycleSeconds()) * speed_ < 0;
    return turns && std::abs(push) <= friction ? rest : acceleration;
}

void ServoMotor::TakeCommand(Nanoseconds now)
{
    inPositionSince_ = kNever;
    Wake(now);
}

void ServoMotor::Wake(Nanoseconds now)
{
    if (!rests_) return;
    rests_ = false;
    decided_ = false;
    acceleration_ = 0;
    begin_ = now;
    end_ = (now / kCycle + 1) * kCycle;
}

void ServoMotor::Place(Nanoseconds now, const MotionState& state)
{
    rests_ = true;
    place_ = state.position;
    speed_ = state.velocity;
    TakeCommand(now);
}

void ServoMotor::Excite(Nanoseconds now)
{
    Place(now, At(now));
    powered_ = true;
}

void ServoMotor::Release(Nanoseconds now, double brakeTorque)
{
    Place(now, At(now));
    powered_ = false;
    brake_ = brakeTorque;
    torque_ = demand_ = 0;
}

} // namespace lumosim
