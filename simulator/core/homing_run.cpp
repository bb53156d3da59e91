#include "homing_run.h"

#include <utility>

namespace lumosim {

namespace {

constexpr std::size_t kSearchPhase = 0;
constexpr std::size_t kBackOffPhase = 1;
constexpr std::size_t kApproachPhase = 2;
constexpr std::size_t kLastPhase = 3;

} // namespace

HomingSpeeds DefaultHomingSpeeds()
{
    HomingSpeeds speeds;
    speeds[kBackOffPhase].drive = 5'000;
    speeds[kApproachPhase].drive = 1'000;
    speeds[kLastPhase].drive = 5'000;
    return speeds;
}

void HomingRun::Start(Axis& axis)
{
    axis.SetHomeDone(false);
    // The start may lie on the signal already. On a stopper it does not: that takes some pressing.
    const bool there = order_.kind != HomeKind::kStopper && axis.SignalOn(LookedFor());
    Begin(axis, there ? Step::kBackOff : Step::kSearch);
}

bool HomingRun::Continue(Axis& axis)
{
    while (axis.Kind() != MotionKind::kHoming) {
        if (next_) {
            if (axis.LastStop() != StopCause::kNone) return false;
            Begin(axis, *std::exchange(next_, std::nullopt));
            continue;
        }
        const bool otherWay = step_ == Step::kSearch && order_.kind == HomeKind::kHomeSensor &&
                              axis.LastStop() == StopCause::kLimitSensor;
        if (!otherWay && !StepSucceeded(axis)) return false;
        const std::optional<Step> next = otherWay ? Step::kReturn : After(step_);
        if (!next) {
            axis.SetPosition(order_.moveOn ? 0 : order_.position);
            axis.SetHomeDone(true);
            return false;
        }
        if (order_.pause > 0) {
            next_ = next;
            axis.Pause(order_.pause, MotionKind::kHoming);
        } else {
            Begin(axis, *next);
        }
    }
    return true;
}

Signal HomingRun::LookedFor() const
{
    const bool positive = order_.direction > 0;
    switch (order_.kind) {
    case HomeKind::kLimitSwitch:
        return positive ? Signal::kLimitPositive : Signal::kLimitNegative;
    case HomeKind::kStopper:
        return positive ? Signal::kStopperPositive : Signal::kStopperNegative;
    case HomeKind::kZPhase:
        return Signal::kZPhase;
    case HomeKind::kHomeSensor:
        break;
    }
    return Signal::kHomeSensor;
}

bool HomingRun::StepSucceeded(const Axis& axis) const
{
    return axis.LastStop() == (step_ == Step::kMoveOn ? StopCause::kNone : StopCause::kHomeFound);
}

std::optional<HomingRun::Step> HomingRun::After(Step step) const
{
    switch (step) {
    case Step::kSearch:
        return Step::kBackOff;
    case Step::kReturn:
    case Step::kBackOff:
        return Step::kApproach;
    case Step::kApproach:
        if (order_.zDirection) return Step::kZPhase;
        [[fallthrough]];
    case Step::kZPhase:
        if (order_.moveOn && order_.position != 0) return Step::kMoveOn;
        [[fallthrough]];
    case Step::kMoveOn:
        break;
    }
    return std::nullopt;
}

void HomingRun::Begin(Axis& axis, Step step)
{
    step_ = step;
    Watch watch{LookedFor(), true, StopMode::kSudden, StopCause::kHomeFound, order_.stopperTorque};
    switch (step) {
    case Step::kSearch:
        if (!order_.suddenSearchEnd) watch.mode = StopMode::kDecelerate;
        RunUntil(axis, kSearchPhase, order_.direction, watch);
        break;
    case Step::kReturn:
    case Step::kBackOff:
        watch.level = false;
        watch.mode = StopMode::kDecelerate;
        RunUntil(axis, step == Step::kReturn ? kSearchPhase : kBackOffPhase, -order_.direction,
                 watch);
        break;
    case Step::kApproach:
        RunUntil(axis, kApproachPhase, order_.direction, watch);
        break;
    case Step::kZPhase:
        watch.signal = Signal::kZPhase;
        RunUntil(axis, kLastPhase, *order_.zDirection, watch);
        break;
    case Step::kMoveOn:
        axis.RunBy(speeds_[kLastPhase], order_.position, MotionKind::kHoming);
        break;
    }
}

void HomingRun::RunUntil(Axis& axis, std::size_t phase, int direction, const Watch& watch)
{
    axis.Run(speeds_.at(phase), direction, MotionKind::kHoming, watch);
}

const char* HomingRun::StepName() const
{
    constexpr std::array kNames = {"search",   "return",  "back-off",
                                   "approach", "z-phase", "move-on"};
    return kNames.at(static_cast<std::size_t>(step_));
}

} // namespace lumosim
