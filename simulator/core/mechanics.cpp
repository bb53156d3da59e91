#include "mechanics.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lumosim {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Range
{
    double from;
    double to;
};

Range RangeOf(const Stretch& stretch)
{
    return {static_cast<double>(stretch.from), static_cast<double>(stretch.to)};
}

std::optional<Range> RangeOf(const std::optional<Stretch>& stretch)
{
    if (!stretch) return std::nullopt;
    return RangeOf(*stretch);
}

// The turn's Z phase that lies at `here` or next ahead of it.
Range ZPhaseAhead(const AxisMechanics& mechanics, double here, int direction)
{
    const double turns = (here - mechanics.zPhase) / mechanics.pulsesPerTurn;
    const double turn = direction > 0 ? std::ceil(turns) : std::floor(turns);
    const double place = mechanics.zPhase + turn * mechanics.pulsesPerTurn;
    return {place, place};
}

// Where the signal is on: the stretch at `here`, or the next one in the direction.
std::optional<Range> RangeAhead(const AxisMechanics& mechanics, Signal signal, double here,
                                int direction)
{
    switch (signal) {
    case Signal::kProbe:
        return RangeOf(mechanics.probe);
    case Signal::kHomeSensor:
        return RangeOf(mechanics.homeSensor);
    case Signal::kZPhase:
        return ZPhaseAhead(mechanics, here, direction);
    case Signal::kLimitPositive:
        return Range{static_cast<double>(mechanics.positiveLimit), kInfinity};
    case Signal::kLimitNegative:
        return Range{-kInfinity, static_cast<double>(mechanics.negativeLimit)};
    case Signal::kStopperPositive:
        return Range{mechanics.Stopper(1), kInfinity};
    case Signal::kStopperNegative:
        return Range{-kInfinity, mechanics.Stopper(-1)};
    case Signal::kConfigurableInput:
        break; // it has no place
    }
    return std::nullopt;
}

// In the direction's own sense: the end of the range that is met first, and the last one.
double NearEnd(const Range& range, int direction)
{
    return direction > 0 ? range.from : range.to;
}

double FarEnd(const Range& range, int direction)
{
    return direction > 0 ? range.to : range.from;
}

} // namespace

double AxisMechanics::Stopper(int direction) const
{
    return static_cast<double>(direction > 0 ? positiveLimit + stopperGap
                                             : negativeLimit - stopperGap);
}

double AxisMechanics::BehindStopper(double place) const
{
    return place - std::clamp(place, Stopper(-1), std::max(Stopper(-1), Stopper(1)));
}

void AxisMechanics::Shift(std::int64_t pulses)
{
    negativeLimit += pulses;
    positiveLimit += pulses;
    for (std::optional<Stretch>* stretch : {&homeSensor, &probe}) {
        if (!*stretch) continue;
        (*stretch)->from += pulses;
        (*stretch)->to += pulses;
    }
}

bool ForcedOn(const AxisInputs& inputs, Signal signal)
{
    switch (signal) {
    case Signal::kProbe:
        return inputs.probe;
    case Signal::kHomeSensor:
        return inputs.homeSensor;
    case Signal::kConfigurableInput:
        return inputs.configurable;
    case Signal::kLimitPositive:
        return inputs.limitPositive;
    case Signal::kLimitNegative:
        return inputs.limitNegative;
    case Signal::kZPhase:
    case Signal::kStopperPositive:
    case Signal::kStopperNegative:
        break;
    }
    return false;
}

bool OnAt(const AxisMechanics& mechanics, Signal signal, double place)
{
    const auto range = RangeAhead(mechanics, signal, std::round(place), 1);
    return range && range->from <= std::round(place) && std::round(place) <= range->to;
}

std::optional<double> EdgeAhead(const AxisMechanics& mechanics, Signal signal, bool on, double here,
                                int direction)
{
    auto range = RangeAhead(mechanics, signal, here, direction);
    const auto isAhead = [here, direction](double place) { return (place - here) * direction > 0; };
    if (on && range && !isAhead(NearEnd(*range, direction))) {
        // Inside it, or past it: only what comes behind can still come on.
        range = RangeAhead(mechanics, signal, FarEnd(*range, direction) + direction, direction);
    }
    if (!range) return std::nullopt;
    const double edge = on ? NearEnd(*range, direction) : FarEnd(*range, direction) + direction;
    if (std::isinf(edge) || !isAhead(edge)) return std::nullopt;
    return edge;
}

} // namespace lumosim
