// What an axis is commanded to do.

#include "axis.h"

#include "motor.h"

#include <cmath>
#include <utility>

namespace lumosim {

Axis::Axis(const AxisMechanics& mechanics, Nanoseconds now, bool ideal)
    : mechanics_(mechanics), parameters_(mechanics.pulsesPerTurn), now_(now), ideal_(ideal)
{}

Nanoseconds Axis::NextEvent() const
{
    return std::min({command_.End(), events_.Next(), amplifier_.NextEvent(now_)});
}

void Axis::AdvanceTo(Nanoseconds now)
{
    RunMotor(now);
    now_ = now;
    if (events_.watch <= now) TripWatch();
    if (events_.limit.time <= now) StopAtLimit();
    if (events_.stopper <= now) MeetStopper();
    if (command_.End() <= now) Rest(Commanded().position, endsBy_);
}

Result Axis::CheckServoOn() const
{
    if (trouble_.offNetwork) return Result::kNetworkDown;
    if (ActiveAlarm()) return Result::kAlarm;
    if (EmergencyStop()) return Result::kEmergencyStop;
    return Result::kDone;
}

Result Axis::CheckAmplifier(int direction, bool free) const
{
    const Result amplifier = CheckServoOn();
    if (amplifier != Result::kDone) return amplifier;
    if (!amplifier_.Switched()) return Result::kServoOff;
    if (!free) return Result::kBusy;
    if (direction == 0) return Result::kDone;
    const bool watched = protection_.AtLimit(direction) != Reaction::kNone;
    if (watched && LimitActive(direction)) return Result::kLimitBlocks;
    if (AtSoftwareLimit(direction)) return Result::kSoftwareLimit;
    return Result::kDone;
}

Result Axis::CheckMove(int direction) const
{
    // Jogs and single moves replace each other; other motion has to be stopped first.
    return CheckAmplifier(direction, !Moving() || kind_ <= MotionKind::kRelative);
}

Result Axis::CheckMode(MotionKind kind, int direction) const
{
    return CheckAmplifier(direction, !Moving() || kind_ == kind);
}

void Axis::Reset()
{
    SwitchServo(false);
    ResetAlarm();
    warning_ = false;
}

void Axis::Jog(int direction)
{
    Run(profile_, direction, MotionKind::kJog);
}

void Axis::MoveTo(std::int32_t target)
{
    RunTo(profile_, target, MotionKind::kAbsolute);
}

void Axis::MoveBy(std::int32_t distance)
{
    RunBy(profile_, distance, MotionKind::kRelative);
}

void Axis::MoveToPhysical(const SpeedProfile& profile, double target, MotionKind kind)
{
    goal_ = target;
    Replace(PlanMove(profile, Physical(), target), kind, counter_.At(target), profile);
}

void Axis::Run(const SpeedProfile& profile, int direction, MotionKind kind,
               const std::optional<Watch>& watch)
{
    direction_ = direction;
    Replace(PlanJog(profile, Physical(), direction), kind, CommandPosition(), profile);
    watch_ = watch;
    PlanEvents();
}

void Axis::RunTo(const SpeedProfile& profile, std::int32_t target, MotionKind kind)
{
    MoveToPhysical(profile, PhysicalOf(target), kind);
}

void Axis::RunBy(const SpeedProfile& profile, std::int32_t distance, MotionKind kind)
{
    MoveToPhysical(profile, std::round(Physical().position) + distance, kind);
}

void Axis::SlowDown(const SpeedProfile& profile)
{
    if (!Moving()) return;
    running_ = profile;
    Begin(PlanStop(profile, Physical()), StopCause::kNone);
}

void Axis::Pause(double seconds, MotionKind kind)
{
    auto path = std::make_shared<RampTrajectory>(Physical().position, false);
    path->AddPause(seconds);
    Follow(std::move(path), kind, CommandPosition());
}

void Axis::PushWith(std::int32_t torque, double speedLimit)
{
    torque_ = torque;
    speedLimit_ = speedLimit;
    Follow(PlanTorque(Physical(), protection_.torque.Allowed(torque), speedLimit, Friction(),
                      Inertia()),
           MotionKind::kTorque, CommandPosition());
}

bool Axis::Pushing() const
{
    return kind_ == MotionKind::kTorque && !Stopping();
}

void Axis::Override(const SpeedProfile& profile)
{
    running_ = profile;
    const bool endless = kind_ == MotionKind::kJog || kind_ == MotionKind::kSearch;
    Begin(endless ? PlanJog(profile, Physical(), direction_) : PlanMove(profile, Physical(), goal_),
          StopCause::kNone);
}

void Axis::OverrideTarget(std::int32_t target)
{
    RunTo(running_, target, kind_);
}

void Axis::Stop(StopMode mode, StopCause cause)
{
    if (!Moving()) return;
    const MotionState state = Commanded();
    if (mode == StopMode::kSudden || state.velocity == 0) {
        Rest(state.position, cause);
        return;
    }
    Begin(PlanStop(running_, state), cause);
}

void Axis::Follow(std::shared_ptr<const Trajectory> trajectory, MotionKind kind,
                  std::int32_t target, StopCause endsBy)
{
    Replace(std::move(trajectory), kind, target, profile_, endsBy);
}

void Axis::ShowAs(MotionKind kind, std::int32_t target)
{
    kind_ = kind;
    target_ = target;
}

void Axis::Replace(std::shared_ptr<const Trajectory> trajectory, MotionKind kind,
                   std::int32_t target, const SpeedProfile& profile, StopCause endsBy)
{
    ShowAs(kind, target);
    running_ = profile;
    watch_.reset();
    Begin(std::move(trajectory), endsBy);
}

void Axis::Begin(std::shared_ptr<const Trajectory> trajectory, StopCause endsBy)
{
    endsBy_ = endsBy;
    command_.Begin(std::move(trajectory), amplifier_.ReadyAt(now_));
    motor_.TakeCommand(now_);
    PlanEvents();
    if (command_.End() <= now_) Rest(Commanded().position, endsBy);
}

void Axis::Rest(double physical, StopCause cause)
{
    command_.RestAt(physical);
    watch_.reset();
    kind_ = MotionKind::kIdle;
    endsBy_ = StopCause::kNone;
    lastStop_ = cause;
    motor_.TakeCommand(now_);
    PlanEvents();
}

double Axis::PhysicalOf(std::int32_t counter) const
{
    return counter_.PlaceOf(counter, Commanded().position);
}

std::int32_t Axis::CommandPosition() const
{
    return counter_.At(Commanded().position);
}

void Axis::SetPosition(std::int32_t position)
{
    target_ = PositionCounter::Wrap(std::int64_t{target_} + position - CommandPosition());
    if (!amplifier_.Switched() && !Moving()) command_.RestAt(Motor().position);
    counter_.Set(Commanded().position, position);
    PlanEvents();
}

void Axis::SetHomeDone(bool done)
{
    homeDone_ = done;
    if (done) lastStop_ = StopCause::kHomeFound;
}

void Axis::PowerUp()
{
    const double place = std::round(Motor().position);
    const std::int32_t encoder = EncoderPosition();
    Rest(place, StopCause::kNone);
    ReleaseMotor(0);
    amplifier_.PowerUp(now_);
    warning_ = false;
    homeDone_ = homeDone_ && mechanics_.absoluteEncoder;
    latched_.reset();
    profile_ = SpeedProfile();
    protection_ = AxisProtection();
    parameters_.PowerUp();
    SetPosition(mechanics_.absoluteEncoder ? encoder : 0);
    target_ = CommandPosition();
    if (trouble_.alarm) RaiseTroubleAlarm();
}

} // namespace lumosim
