// What drive and motor of an axis make of its command.

#include "axis.h"
#include "motor.h"

#include <algorithm>
#include <cmath>

namespace lumosim {

namespace {

// "In position" comes when the motor has been there for as long as this, and for what the drive's
// parameter adds.
constexpr Nanoseconds kInPositionTime = std::chrono::milliseconds(3);

std::int32_t Rounded(double value)
{
    return static_cast<std::int32_t>(std::lround(value));
}

} // namespace

void Axis::SwitchServo(bool on)
{
    if (!on) {
        Stop(StopMode::kSudden, StopCause::kServoOff);
        ReleaseMotor(0);
        amplifier_.SwitchOff();
    } else if (!amplifier_.Switched()) {
        AdoptEncoder();
        amplifier_.SwitchOn(now_);
    }
}

void Axis::RaiseAlarm(const Alarm& alarm)
{
    Stop(StopMode::kSudden, StopCause::kAlarm);
    ReleaseMotor(kRatedTorque);
    amplifier_.Raise(alarm, now_);
}

// The motor goes on with the speed that it has, unless it is one that stops at once.
void Axis::ReleaseMotor(double brakeTorque)
{
    const double speed = ideal_ ? 0 : Motor().velocity;
    motor_.Place(now_, {Motor().position, speed, 0});
    motor_.Release(now_, brakeTorque);
}

MotorLoad Axis::Load() const
{
    MotorLoad load;
    load.inertia = Inertia();
    load.friction = Friction();
    load.viscous = mechanics_.viscousFriction;
    load.weight = Weight();
    load.lowestTorque = protection_.torque.Allowed(-kPeakTorque);
    load.highestTorque = protection_.torque.Allowed(kPeakTorque);
    load.lowestPlace = mechanics_.Stopper(-1);
    load.highestPlace = std::max(load.lowestPlace, mechanics_.Stopper(1));
    load.topSpeed = kHighestTurnsPerMinute / 60 * PulsesPerTurn();
    load.window = parameters_.InForce(DriveSetting::kInPositionWindow);
    return load;
}

void Axis::RunMotor(Nanoseconds now)
{
    const bool exactly = motor_.Powered() && FollowsExactly();
    if (!exactly && !motor_.Rests()) motor_.RunTo(now, command_, Load());
    now_ = now;
    if (exactly && !ideal_) motor_.Place(now, Exactly());
    if (amplifier_.On(now) && !motor_.Powered()) motor_.Excite(now);
}

MotionState Axis::Exactly() const
{
    const MotionState command = Commanded();
    if (BehindStopper() != 0) return {command.position - BehindStopper(), 0, 0};
    return {command.position - command.velocity * kFollowingLag, command.velocity,
            command.acceleration};
}

MotionState Axis::Motor() const
{
    const bool exactly = FollowsExactly() || BehindStopper() != 0;
    return motor_.Powered() && exactly ? Exactly() : motor_.At(now_);
}

MotionState Axis::Physical() const
{
    return amplifier_.Switched() ? Commanded() : motor_.At(now_);
}

double Axis::BehindStopper() const
{
    return mechanics_.BehindStopper(Commanded().position);
}

bool Axis::Settling() const
{
    return !ideal_ && motor_.Powered() && !motor_.Rests() && !Moving();
}

bool Axis::Tracks() const
{
    if (FollowsExactly()) return true;
    const MotionState motor = Motor();
    const MotionState exactly = Exactly();
    return std::abs(motor.position - exactly.position) < 1 &&
           std::abs(motor.velocity - exactly.velocity) < 1;
}

std::int32_t Axis::FollowingError() const
{
    return Rounded(Commanded().position - Motor().position);
}

std::int32_t Axis::EncoderPosition() const
{
    return PositionCounter::Wrap(std::int64_t{CommandPosition()} - FollowingError());
}

std::int32_t Axis::Velocity() const
{
    return Rounded(Motor().velocity);
}

double Axis::TorqueDemand() const
{
    if (!motor_.Powered()) return 0;
    if (BehindStopper() != 0) return BehindStopper() * kStopperStiffness;
    if (!FollowsExactly()) return motor_.TorqueDemand();
    const MotionState state = Commanded();
    const bool pushes = Pushing() && (state.velocity == 0 || state.acceleration * torque_ > 0);
    const double friction = std::min(Friction(), kPeakTorque); // that of a shut brake has no end
    return (pushes ? torque_ : TorqueFor(state, friction, Inertia())) + Weight();
}

std::int32_t Axis::Torque() const
{
    const double torque = protection_.torque.Allowed(TorqueDemand());
    return Rounded(std::clamp(torque, -kPeakTorque, kPeakTorque));
}

double Axis::SupervisedTorque() const
{
    return ideal_ ? protection_.torque.Allowed(TorqueDemand()) : Torque();
}

bool Axis::TorqueLimited(int direction) const
{
    const double demand = TorqueDemand();
    return (demand - protection_.torque.Allowed(demand)) * direction > 0;
}

bool Axis::InPosition() const
{
    if (!ServoOn() || Moving()) return false;
    if (std::abs(FollowingError()) > parameters_.InForce(DriveSetting::kInPositionWindow)) {
        return false;
    }
    if (ideal_) return true;
    const auto delay =
        std::chrono::milliseconds(parameters_.InForce(DriveSetting::kInPositionDelay));
    const Nanoseconds since = motor_.InPositionSince();
    return since <= now_ && now_ - since >= kInPositionTime + delay;
}

void Axis::AdoptEncoder()
{
    if (!Moving()) command_.RestAt(Motor().position);
    motor_.TakeCommand(now_);
}

void Axis::PushByHand(std::int32_t pulses)
{
    if (!amplifier_.Switched()) motor_.Shift(pulses);
}

void Axis::Disturb()
{
    ++disturbances_;
    motor_.Wake(now_);
}

void Axis::SetLoad(double torque)
{
    load_ = torque;
    Disturb();
}

} // namespace lumosim
