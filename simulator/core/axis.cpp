#include "axis.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumosim {

namespace {

// The motor runs behind its command by as much as it moves in this time.
constexpr double kFollowingLag = 0.0005;

// The drive's window for "in position".
constexpr std::int32_t kInPositionWindow = 10;

// Friction, and the acceleration that needs the rated torque; both make the torque display.
constexpr double kFrictionTorque = 50;
constexpr double kAccelerationAtRatedTorque = 5'000'000;
constexpr double kFullTorque = 1000;
constexpr double kPeakTorque = 3 * kFullTorque;

Nanoseconds After(Nanoseconds begin, double seconds)
{
    const double latest = static_cast<double>((kNever - begin).count());
    const double nanoseconds = std::ceil(seconds * 1e9);
    if (!(nanoseconds < latest)) return kNever;
    return begin + Nanoseconds(static_cast<Nanoseconds::rep>(nanoseconds));
}

// Position counters have 32 bits and run over.
std::int32_t Wrap(std::int64_t value)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(value)));
}

int Sign(double value)
{
    return value > 0 ? 1 : (value < 0 ? -1 : 0);
}

} // namespace

Nanoseconds Axis::NextEvent() const
{
    const Nanoseconds excited = servoOn_ && servoOnAt_ > now_ ? servoOnAt_ : kNever;
    return std::min({end_, limitStop_, excited});
}

void Axis::AdvanceTo(Nanoseconds now)
{
    now_ = now;
    if (limitStop_ <= now) StopAtLimit();
    if (end_ <= now && trajectory_) Rest(Physical().position, endsBy_);
}

Result Axis::CheckServoOn() const
{
    if (alarm_) return Result::kAlarm;
    if (EmergencyStop()) return Result::kEmergencyStop;
    return Result::kDone;
}

Result Axis::CheckMove(int direction) const
{
    const Result amplifier = CheckServoOn();
    if (amplifier != Result::kDone) return amplifier;
    if (!servoOn_) return Result::kServoOff;
    // Jogs and single moves replace each other; other motion has to be stopped first.
    if (trajectory_ && kind_ > MotionKind::kRelative) return Result::kBusy;
    if (direction != 0 && LimitActive(direction)) return Result::kLimitBlocks;
    return Result::kDone;
}

void Axis::SwitchServo(bool on)
{
    if (!on) Stop(StopMode::kSudden, StopCause::kServoOff);
    if (on && !servoOn_) {
        AdoptEncoder();
        servoOnAt_ = now_ + kServoOnTime;
    }
    servoOn_ = on;
}

void Axis::Reset()
{
    SwitchServo(false);
    alarm_.reset();
    warning_ = false;
}

void Axis::Jog(int direction)
{
    Follow(PlanJog(profile_, Physical(), direction), MotionKind::kJog, CommandPosition());
}

void Axis::MoveTo(std::int32_t target)
{
    MoveToPhysical(PhysicalOf(target), MotionKind::kAbsolute);
}

void Axis::MoveBy(std::int32_t distance)
{
    MoveToPhysical(std::round(Physical().position) + distance, MotionKind::kRelative);
}

void Axis::MoveToPhysical(double target, MotionKind kind)
{
    Follow(PlanMove(profile_, Physical(), target), kind, Counter(target));
}

void Axis::Stop(StopMode mode, StopCause cause)
{
    if (!trajectory_) return;
    const MotionState state = Physical();
    if (mode == StopMode::kSudden || state.velocity == 0) {
        Rest(state.position, cause);
        return;
    }
    Begin(PlanStop(profile_, state), cause);
}

void Axis::Follow(std::shared_ptr<const Trajectory> trajectory, MotionKind kind,
                  std::int32_t target, StopCause endsBy)
{
    ShowAs(kind, target);
    Begin(std::move(trajectory), endsBy);
}

void Axis::ShowAs(MotionKind kind, std::int32_t target)
{
    kind_ = kind;
    target_ = target;
}

void Axis::Begin(std::shared_ptr<const Trajectory> trajectory, StopCause endsBy)
{
    trajectory_ = std::move(trajectory);
    endsBy_ = endsBy;
    begin_ = std::max(now_, servoOnAt_);
    end_ = After(begin_, trajectory_->Duration());
    PlanLimitStop();
    if (end_ <= now_) Rest(Physical().position, endsBy);
}

void Axis::Rest(double physical, StopCause cause)
{
    resting_ = std::round(physical);
    trajectory_.reset();
    kind_ = MotionKind::kIdle;
    lastStop_ = cause;
    end_ = kNever;
    limitStop_ = kNever;
}

void Axis::PlanLimitStop()
{
    limitStop_ = kNever;
    // An axis that brakes has nothing more to do at a limit.
    if (!trajectory_ || endsBy_ != StopCause::kNone) return;
    const double from = Elapsed(now_);
    for (const int direction : {1, -1}) {
        const bool forced = direction > 0 ? inputs_.limitPositive : inputs_.limitNegative;
        const std::int64_t limit =
            direction > 0 ? mechanics_.positiveLimit : mechanics_.negativeLimit;
        // An input that is on by hand counts everywhere: it is "reached" with the first movement.
        const double place = forced ? trajectory_->At(from).position : static_cast<double>(limit);
        const auto time = trajectory_->TimeOfReaching(place, direction, from);
        if (time) limitStop_ = std::min(limitStop_, After(begin_, *time));
    }
}

void Axis::StopAtLimit()
{
    Stop(StopMode::kDecelerate, StopCause::kLimitSensor);
}

double Axis::Elapsed(Nanoseconds now) const
{
    return static_cast<double>(std::max(now - begin_, Nanoseconds(0)).count()) * 1e-9;
}

MotionState Axis::Physical() const
{
    if (!trajectory_) return {resting_, 0, 0};
    // A move that waits for the amplifier stands still although its plan begins with a speed.
    if (now_ < begin_) return {trajectory_->At(0).position, 0, 0};
    return trajectory_->At(Elapsed(now_));
}

std::int32_t Axis::Counter(double physical) const
{
    return Wrap(std::llround(physical) - origin_);
}

double Axis::PhysicalOf(std::int32_t counter) const
{
    const auto here = std::llround(Physical().position);
    return static_cast<double>(here + (std::int64_t{counter} - Counter(static_cast<double>(here))));
}

std::int32_t Axis::CommandPosition() const
{
    return Counter(Physical().position);
}

std::int32_t Axis::FollowingError() const
{
    return static_cast<std::int32_t>(std::lround(Physical().velocity * kFollowingLag)) +
           standingError_;
}

std::int32_t Axis::EncoderPosition() const
{
    return Wrap(std::int64_t{CommandPosition()} - FollowingError());
}

std::int32_t Axis::Velocity() const
{
    return static_cast<std::int32_t>(std::lround(Physical().velocity));
}

std::int32_t Axis::Torque() const
{
    const MotionState state = Physical();
    const double torque = kFrictionTorque * Sign(state.velocity) +
                          state.acceleration / kAccelerationAtRatedTorque * kFullTorque;
    return static_cast<std::int32_t>(std::lround(std::clamp(torque, -kPeakTorque, kPeakTorque)));
}

bool Axis::LimitActive(int direction) const
{
    const double place = Physical().position;
    if (direction > 0) {
        return inputs_.limitPositive || place >= static_cast<double>(mechanics_.positiveLimit);
    }
    return inputs_.limitNegative || place <= static_cast<double>(mechanics_.negativeLimit);
}

bool Axis::EmergencyStop() const
{
    return mechanics_.configurableInputIsStop && inputs_.configurable;
}

bool Axis::InPosition() const
{
    return ServoOn() && !Moving() && std::abs(FollowingError()) <= kInPositionWindow;
}

void Axis::AdoptEncoder()
{
    origin_ += standingError_;
    standingError_ = 0;
}

void Axis::SetPosition(std::int32_t position)
{
    target_ = Wrap(std::int64_t{target_} + position - CommandPosition());
    standingError_ = 0;
    origin_ = std::llround(Physical().position) - position;
}

void Axis::PushByHand(std::int32_t pulses)
{
    if (servoOn_) return;
    // The command stays where it is; the motor and with it the encoder go away from it.
    resting_ += pulses;
    origin_ += pulses;
    standingError_ -= pulses;
}

void Axis::SetInputs(const AxisInputs& inputs)
{
    inputs_ = inputs;
    if (EmergencyStop()) Stop(StopMode::kSudden, StopCause::kEmergencyStop);
    PlanLimitStop();
}

void Axis::SetMechanics(const AxisMechanics& mechanics)
{
    mechanics_ = mechanics;
    SetInputs(inputs_);
}

void Axis::RaiseAlarm(const Alarm& alarm)
{
    alarm_ = alarm;
    Stop(StopMode::kSudden, StopCause::kAlarm);
    servoOn_ = false;
}

void Axis::PowerUp()
{
    const double place = Physical().position;
    const std::int32_t encoder = EncoderPosition();
    Rest(place, StopCause::kNone);
    servoOn_ = false;
    servoOnAt_ = now_;
    alarm_.reset();
    warning_ = false;
    profile_ = SpeedProfile();
    SetPosition(mechanics_.absoluteEncoder ? encoder : 0);
    target_ = CommandPosition();
}

} // namespace lumosim
