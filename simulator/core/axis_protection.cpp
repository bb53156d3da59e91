// What an axis meets on its way: limits, sensors, stoppers, and what it looks out for.

#include "axis.h"
#include "motor.h"

#include <cmath>
#include <limits>
#include <utility>

namespace lumosim {

namespace {

StopMode ModeOf(Reaction reaction)
{
    return reaction == Reaction::kSudden ? StopMode::kSudden : StopMode::kDecelerate;
}

} // namespace

void Axis::PlanEvents()
{
    events_ = MotionEvents();
    if (!Moving()) return;
    for (const int direction : {1, -1}) {
        events_.stopper = std::min(events_.stopper, StopperTrip(direction));
        PlanLimitStops(direction);
        // An axis that brakes has nothing more to do at a signal.
        if (!Stopping()) events_.watch = std::min(events_.watch, WatchTrip(direction));
    }
}

void Axis::PlanLimitStops(int direction)
{
    const Signal limit = LimitOf(direction);
    const auto plan = [this, direction](double place, Reaction reaction, StopCause cause) {
        events_.AddStop(command_.TimeAt(place, direction, now_), reaction, cause, Stopping());
    };
    // Who looks for the switch, or for the stopper behind it, wants to get there.
    const bool wanted =
        watch_ && (watch_->signal == limit || watch_->signal == StopperOf(direction));
    if (!wanted) {
        const double place = static_cast<double>(direction > 0 ? mechanics_.positiveLimit
                                                               : mechanics_.negativeLimit);
        // An input that is on by hand counts everywhere: it is "reached" with the first movement.
        const Reaction reaction = protection_.AtLimit(direction);
        if (InputOn(limit)) {
            plan(Commanded().position, reaction, StopCause::kLimitSensor);
        } else if (!trouble_.StuckAt(limit)) {
            plan(place, reaction, StopCause::kLimitSensor);
        }
    }
    // Before the axis is homed, the counter says nothing about the machine.
    if (kind_ == MotionKind::kHoming) return;
    const SoftwareLimit& soft = protection_.Soft(direction);
    // A move may end on the limit; it is passing it that counts.
    plan(PhysicalOf(soft.position) + 0.25 * direction, soft.reaction, StopCause::kSoftwareLimit);
    if (kind_ == MotionKind::kSearch || InputOn(Signal::kHomeSensor)) return;
    const auto edge = EdgeOf(Signal::kHomeSensor, true, direction);
    if (edge) plan(*edge, protection_.At(Sensor::kHome), StopCause::kLimitSensor);
}

void Axis::StopAtLimit()
{
    const LimitStop stop = events_.TakeLimit();
    Stop(ModeOf(stop.reaction), stop.cause);
}

Nanoseconds Axis::StopperTrip(int direction) const
{
    // A torque gets no higher at the stopper; a position runs on and makes it rise to the peak.
    const double pressing = Pushing() ? 0 : kPeakTorque / kStopperStiffness;
    return command_.TimeAt(mechanics_.Stopper(direction) + pressing * direction, direction, now_);
}

Nanoseconds Axis::WatchTrip(int direction) const
{
    if (!watch_ || InputOn(watch_->signal)) return kNever;
    if (watch_->level && watch_->signal == StopperOf(direction)) {
        // A drive that may not push as hard never finds it: the command runs on.
        const double torque = watch_->stopperTorque * direction;
        if (protection_.torque.Allowed(torque) != torque) return kNever;
        const double pressing = watch_->stopperTorque / kStopperStiffness;
        return command_.TimeAt(mechanics_.Stopper(direction) + pressing * direction, direction,
                               now_);
    }
    const auto edge = EdgeOf(watch_->signal, watch_->level, direction);
    return edge ? command_.TimeAt(*edge, direction, now_) : kNever;
}

std::optional<double> Axis::EdgeOf(Signal signal, bool level, int direction) const
{
    if (trouble_.StuckAt(signal)) return std::nullopt;
    AxisMechanics machine = mechanics_;
    machine.pulsesPerTurn = PulsesPerTurn();
    return EdgeAhead(machine, signal, level, Commanded().position, direction);
}

void Axis::TripWatch()
{
    const Watch watch = *watch_;
    const double place = Commanded().position;
    if (watch.cause == StopCause::kSearchLatched) latched_ = counter_.At(place);
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
    if (!Pushing()) {
        Rest(Commanded().position - BehindStopper(), StopCause::kAlarm);
        RaiseAlarm(kFollowingErrorAlarm);
        return;
    }
    auto path = std::make_shared<RampTrajectory>(std::round(Commanded().position), false);
    path->AddPause(std::numeric_limits<double>::infinity());
    Begin(std::move(path), StopCause::kNone);
}

bool Axis::InputOn(Signal signal) const
{
    return trouble_.StuckAt(signal).value_or(ForcedOn(inputs_, signal) || trouble_.Pressed(signal));
}

bool Axis::SignalOn(Signal signal) const
{
    if (InputOn(signal)) return true;
    if (trouble_.StuckAt(signal)) return false;
    AxisMechanics machine = mechanics_;
    machine.pulsesPerTurn = PulsesPerTurn();
    return OnAt(machine, signal, Physical().position);
}

bool Axis::EmergencyStop() const
{
    return trouble_.emergencyStop ||
           (mechanics_.configurableInputIsStop && InputOn(Signal::kConfigurableInput));
}

template <typename Change>
void Axis::ChangeInputs(Change change)
{
    const bool home = InputOn(Signal::kHomeSensor);
    const bool configurable = InputOn(Signal::kConfigurableInput);
    const bool watched = watch_ && SignalOn(watch_->signal);
    change();
    if (EmergencyStop()) Stop(StopMode::kSudden, StopCause::kEmergencyStop);
    // Homing and searches look for these inputs themselves.
    if (kind_ != MotionKind::kHoming && kind_ != MotionKind::kSearch) {
        const auto react = [this](bool before, Signal signal, Sensor sensor) {
            const Reaction reaction = protection_.At(sensor);
            if (before || !InputOn(signal) || reaction == Reaction::kNone) return;
            Stop(ModeOf(reaction), StopCause::kLimitSensor);
        };
        react(home, Signal::kHomeSensor, Sensor::kHome);
        react(configurable, Signal::kConfigurableInput, Sensor::kConfigurable);
    }
    PlanEvents();
    if (!watch_ || Stopping()) return;
    const bool now = SignalOn(watch_->signal);
    if (watched != now && now == watch_->level) TripWatch();
}

void Axis::SetInputs(const AxisInputs& inputs)
{
    ChangeInputs([this, &inputs] { inputs_ = inputs; });
}

void Axis::SetMechanics(const AxisMechanics& mechanics)
{
    if (mechanics.pulsesPerTurn != mechanics_.pulsesPerTurn) {
        parameters_.Set(DriveSetting::kPulsesPerTurn, mechanics.pulsesPerTurn);
    }
    mechanics_ = mechanics;
    SetInputs(inputs_);
    Disturb();
}

void Axis::SetTrouble(const AxisTrouble& trouble)
{
    const std::optional<Alarm> before = trouble_.alarm;
    ChangeInputs([this, &trouble] { trouble_ = trouble; });
    if (before && !trouble_.alarm) amplifier_.LetReset(!before->lasting);
    if (trouble_.alarm && trouble_.alarm != before) RaiseTroubleAlarm();
    if (trouble_.offNetwork) SwitchServo(false);
    if (Pushing()) PushWith(torque_, speedLimit_);
    Disturb();
}

// What raises it is still there: it cannot be reset.
void Axis::RaiseTroubleAlarm()
{
    RaiseAlarm(*trouble_.alarm);
    amplifier_.LetReset(false);
}

void Axis::Slip(std::int32_t pulses)
{
    // The pulses of the encoder go on as if nothing had been; it is the machine that is elsewhere.
    AxisMechanics shifted = mechanics_;
    shifted.Shift(-std::int64_t{pulses});
    motor_.Shift(-pulses);
    SetMechanics(shifted);
}

void Axis::SetProtection(const AxisProtection& protection)
{
    protection_ = protection;
    Disturb();
    if (Pushing()) {
        PushWith(torque_, speedLimit_);
    } else {
        PlanEvents();
    }
}

bool Axis::AtSoftwareLimit(int direction) const
{
    const SoftwareLimit& limit = protection_.Soft(direction);
    if (limit.reaction == Reaction::kNone) return false;
    return (std::int64_t{CommandPosition()} - limit.position) * direction >= 0;
}

} // namespace lumosim
