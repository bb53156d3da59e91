#include "axis.h"

#include "motor.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace lumosim {

namespace {

// The motor runs behind its command by as much as it moves in this time.
constexpr double kFollowingLag = 0.0005;

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

} // namespace

Nanoseconds Axis::NextEvent() const
{
    const Nanoseconds excited = servoOn_ && servoOnAt_ > now_ ? servoOnAt_ : kNever;
    return std::min({end_, limitStop_.time, stopperTrip_, watchTrip_, excited});
}

void Axis::AdvanceTo(Nanoseconds now)
{
    now_ = now;
    if (watchTrip_ <= now) TripWatch();
    if (limitStop_.time <= now) StopAtLimit();
    if (stopperTrip_ <= now) MeetStopper();
    if (end_ <= now && trajectory_) Rest(Physical().position, endsBy_);
}

Result Axis::CheckServoOn() const
{
    if (alarm_) return Result::kAlarm;
    if (EmergencyStop()) return Result::kEmergencyStop;
    return Result::kDone;
}

Result Axis::CheckAmplifier(int direction, bool free) const
{
    const Result amplifier = CheckServoOn();
    if (amplifier != Result::kDone) return amplifier;
    if (!servoOn_) return Result::kServoOff;
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
    return CheckAmplifier(direction, !trajectory_ || kind_ <= MotionKind::kRelative);
}

Result Axis::CheckMode(MotionKind kind, int direction) const
{
    return CheckAmplifier(direction, !trajectory_ || kind_ == kind);
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
    ResetAlarm();
    warning_ = false;
}

bool Axis::ResetAlarm()
{
    if (alarm_ && alarm_->lasting) return false;
    alarm_.reset();
    return true;
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
    Replace(PlanMove(profile, Physical(), target), kind, Counter(target), profile);
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
    if (!trajectory_) return;
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
    Follow(PlanTorque(Physical(), protection_.torque.Allowed(torque), speedLimit),
           MotionKind::kTorque, CommandPosition());
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
    if (!trajectory_) return;
    const MotionState state = Physical();
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
    trajectory_ = std::move(trajectory);
    endsBy_ = endsBy;
    begin_ = std::max(now_, servoOnAt_);
    end_ = After(begin_, trajectory_->Duration());
    PlanEvents();
    if (end_ <= now_) Rest(Physical().position, endsBy);
}

void Axis::Rest(double physical, StopCause cause)
{
    resting_ = std::round(physical);
    trajectory_.reset();
    watch_.reset();
    kind_ = MotionKind::kIdle;
    endsBy_ = StopCause::kNone;
    lastStop_ = cause;
    end_ = kNever;
    PlanEvents();
}

Nanoseconds Axis::TimeAt(double place, int direction) const
{
    const auto time = trajectory_->TimeOfReaching(place, direction, Elapsed(now_));
    return time ? After(begin_, *time) : kNever;
}

void Axis::PlanEvents()
{
    limitStop_ = LimitStop();
    stopperTrip_ = kNever;
    watchTrip_ = kNever;
    if (!trajectory_) return;
    for (const int direction : {1, -1}) {
        stopperTrip_ = std::min(stopperTrip_, StopperTrip(direction));
        PlanLimitStops(direction);
        // An axis that brakes has nothing more to do at a signal.
        if (!Stopping()) watchTrip_ = std::min(watchTrip_, WatchTrip(direction));
    }
}

Nanoseconds Axis::StopperTrip(int direction) const
{
    // A torque gets no higher at the stopper; a position runs on and makes it rise to the peak.
    const double pressing =
        kind_ == MotionKind::kTorque && !Stopping() ? 0 : kPeakTorque / kStopperStiffness;
    return TimeAt(mechanics_.Stopper(direction) + pressing * direction, direction);
}

Nanoseconds Axis::WatchTrip(int direction) const
{
    if (!watch_ || ForcedOn(inputs_, watch_->signal)) return kNever;
    const double here = Physical().position;
    if (watch_->level && watch_->signal == StopperOf(direction)) {
        // A drive that may not push as hard never finds it: the command runs on.
        const double torque = watch_->stopperTorque * direction;
        if (protection_.torque.Allowed(torque) != torque) return kNever;
        const double pressing = watch_->stopperTorque / kStopperStiffness;
        return TimeAt(mechanics_.Stopper(direction) + pressing * direction, direction);
    }
    const auto edge = EdgeAhead(mechanics_, watch_->signal, watch_->level, here, direction);
    return edge ? TimeAt(*edge, direction) : kNever;
}

void Axis::TripWatch()
{
    const Watch watch = *watch_;
    const double place = Physical().position;
    if (watch.cause == StopCause::kSearchLatched) latched_ = Counter(place);
    watch_.reset();
    // What a stopper holds has not followed the command any further.
    if (BehindStopper() != 0) {
        Rest(place - BehindStopper(), watch.cause);
    } else {
        Stop(watch.mode, watch.cause);
    }
}

void Axis::MeetStopper()
{
    if (kind_ != MotionKind::kTorque || Stopping()) {
        Rest(Physical().position - BehindStopper(), StopCause::kAlarm);
        RaiseAlarm(kFollowingErrorAlarm);
        return;
    }
    auto path = std::make_shared<RampTrajectory>(std::round(Physical().position), false);
    path->AddPause(std::numeric_limits<double>::infinity());
    Begin(std::move(path), StopCause::kNone);
}

double Axis::BehindStopper() const
{
    return mechanics_.BehindStopper(Physical().position);
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
    const double lag = BehindStopper() != 0 ? BehindStopper() : Physical().velocity * kFollowingLag;
    return static_cast<std::int32_t>(std::lround(lag)) + standingError_;
}

std::int32_t Axis::EncoderPosition() const
{
    return Wrap(std::int64_t{CommandPosition()} - FollowingError());
}

std::int32_t Axis::Velocity() const
{
    if (BehindStopper() != 0) return 0;
    return static_cast<std::int32_t>(std::lround(Physical().velocity));
}

double Axis::TorqueDemand() const
{
    if (BehindStopper() != 0) return servoOn_ ? BehindStopper() * kStopperStiffness : 0;
    const MotionState state = Physical();
    const bool pushes = kind_ == MotionKind::kTorque && !Stopping() &&
                        (state.velocity == 0 || state.acceleration * torque_ > 0);
    return (pushes ? torque_ : TorqueFor(state)) + (ServoOn() ? load_ : 0);
}

std::int32_t Axis::Torque() const
{
    const double torque = protection_.torque.Allowed(TorqueDemand());
    return static_cast<std::int32_t>(std::lround(std::clamp(torque, -kPeakTorque, kPeakTorque)));
}

bool Axis::SignalOn(Signal signal) const
{
    return ForcedOn(inputs_, signal) || OnAt(mechanics_, signal, Physical().position);
}

void Axis::SetHomeDone(bool done)
{
    homeDone_ = done;
    if (done) lastStop_ = StopCause::kHomeFound;
}

bool Axis::EmergencyStop() const
{
    return mechanics_.configurableInputIsStop && inputs_.configurable;
}

bool Axis::InPosition() const
{
    const std::int32_t window = parameters_.InForce(DriveSetting::kInPositionWindow);
    return ServoOn() && !Moving() && std::abs(FollowingError()) <= window;
}

void Axis::AdoptEncoder()
{
    if (!trajectory_) resting_ -= BehindStopper();
    origin_ += standingError_;
    standingError_ = 0;
}

void Axis::SetPosition(std::int32_t position)
{
    target_ = Wrap(std::int64_t{target_} + position - CommandPosition());
    standingError_ = 0;
    origin_ = std::llround(Physical().position) - position;
    PlanEvents();
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
    const bool before = watch_ && SignalOn(watch_->signal);
    const AxisInputs inputsBefore = std::exchange(inputs_, inputs);
    if (EmergencyStop()) Stop(StopMode::kSudden, StopCause::kEmergencyStop);
    ReactToSensors(inputsBefore);
    PlanEvents();
    if (!watch_ || Stopping()) return;
    const bool after = SignalOn(watch_->signal);
    if (before != after && after == watch_->level) TripWatch();
}

void Axis::SetMechanics(const AxisMechanics& mechanics)
{
    mechanics_ = mechanics;
    SetInputs(inputs_);
}

void Axis::RaiseAlarm(const Alarm& alarm)
{
    alarm_ = alarm;
    alarms_.Add(alarm, now_);
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
    homeDone_ = homeDone_ && mechanics_.absoluteEncoder;
    latched_.reset();
    profile_ = SpeedProfile();
    protection_ = AxisProtection();
    parameters_.PowerUp();
    SetPosition(mechanics_.absoluteEncoder ? encoder : 0);
    target_ = CommandPosition();
}

} // namespace lumosim
