// How an axis obeys what protects it: limits, sensors, torque.

#include "axis.h"

#include <utility>

namespace lumosim {

namespace {

StopMode ModeOf(Reaction reaction)
{
    return reaction == Reaction::kSudden ? StopMode::kSudden : StopMode::kDecelerate;
}

} // namespace

void Axis::PlanLimitStops(int direction)
{
    const double here = trajectory_->At(Elapsed(now_)).position;
    // Who looks for the switch, or for the stopper behind it, wants to get there.
    if (!watch_ ||
        (watch_->signal != LimitOf(direction) && watch_->signal != StopperOf(direction))) {
        const std::int64_t limit =
            direction > 0 ? mechanics_.positiveLimit : mechanics_.negativeLimit;
        // An input that is on by hand counts everywhere: it is "reached" with the first movement.
        const bool forced = ForcedOn(inputs_, LimitOf(direction));
        PlanStopAt(TimeAt(forced ? here : static_cast<double>(limit), direction),
                   protection_.AtLimit(direction), StopCause::kLimitSensor);
    }
    // Before the axis is homed, the counter says nothing about the machine.
    if (kind_ == MotionKind::kHoming) return;
    const SoftwareLimit& soft = protection_.Soft(direction);
    // A move may end on the limit; it is passing it that counts.
    PlanStopAt(TimeAt(PhysicalOf(soft.position) + 0.25 * direction, direction), soft.reaction,
               StopCause::kSoftwareLimit);
    if (kind_ == MotionKind::kSearch) return;
    const auto edge = EdgeAhead(mechanics_, Signal::kHomeSensor, true, here, direction);
    if (edge && !inputs_.homeSensor) {
        PlanStopAt(TimeAt(*edge, direction), protection_.At(Sensor::kHome),
                   StopCause::kLimitSensor);
    }
}

void Axis::PlanStopAt(Nanoseconds moment, Reaction reaction, StopCause cause)
{
    // An axis that brakes already can only be stopped at once.
    if (reaction == Reaction::kNone || (Stopping() && reaction != Reaction::kSudden)) return;
    if (moment < limitStop_.time) limitStop_ = {moment, reaction, cause};
}

void Axis::StopAtLimit()
{
    const LimitStop stop = std::exchange(limitStop_, LimitStop());
    Stop(ModeOf(stop.reaction), stop.cause);
}

void Axis::ReactToSensors(const AxisInputs& before)
{
    // Homing and searches look for these inputs themselves.
    if (kind_ == MotionKind::kHoming || kind_ == MotionKind::kSearch) return;
    const auto react = [this](bool was, bool is, Sensor sensor) {
        const Reaction reaction = protection_.At(sensor);
        if (was || !is || reaction == Reaction::kNone) return;
        Stop(ModeOf(reaction), StopCause::kLimitSensor);
    };
    react(before.homeSensor, inputs_.homeSensor, Sensor::kHome);
    react(before.configurable, inputs_.configurable, Sensor::kConfigurable);
}

void Axis::SetProtection(const AxisProtection& protection)
{
    protection_ = protection;
    if (kind_ == MotionKind::kTorque && !Stopping()) {
        PushWith(torque_, speedLimit_);
    } else {
        PlanEvents();
    }
}

bool Axis::TorqueLimited(int direction) const
{
    const double demand = TorqueDemand();
    return (demand - protection_.torque.Allowed(demand)) * direction > 0;
}

bool Axis::AtSoftwareLimit(int direction) const
{
    const SoftwareLimit& limit = protection_.Soft(direction);
    if (limit.reaction == Reaction::kNone) return false;
    return (std::int64_t{CommandPosition()} - limit.position) * direction >= 0;
}

} // namespace lumosim
