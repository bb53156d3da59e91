#include "trajectory.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace lumosim {

void RampTrajectory::AddRamp(double fromSpeed, double toSpeed, double acceleration)
{
    Add(std::abs(toSpeed - fromSpeed) / acceleration, fromSpeed, toSpeed);
}

void RampTrajectory::AddCruise(double speed, double distance)
{
    Add(std::abs(distance / speed), speed, speed);
}

void RampTrajectory::AddEndlessCruise(double speed)
{
    Add(std::numeric_limits<double>::infinity(), speed, speed);
}

void RampTrajectory::AddPause(double seconds)
{
    segments_.push_back({duration_, seconds, end_, 0, 0, 0});
    duration_ += seconds;
}

void RampTrajectory::Add(double duration, double fromSpeed, double toSpeed)
{
    if (!(duration > 0)) return;
    segments_.push_back({duration_, duration, end_, fromSpeed, toSpeed, 0});
    end_ += (fromSpeed + toSpeed) / 2 * duration;
    duration_ += duration;
}

void RampTrajectory::AddRampFrom(double fromAcceleration, double fromSpeed, double toSpeed,
                                 double duration)
{
    if (!(duration > 0)) return;
    segments_.push_back({duration_, duration, end_, fromSpeed, toSpeed, fromAcceleration});
    end_ = Inside(segments_.back(), duration).position;
    duration_ += duration;
}

// The acceleration that there is at the begin goes away in half a cosine: what it adds meanwhile.
MotionState RampTrajectory::Faded(const Segment& segment, double seconds)
{
    const double turn = std::numbers::pi / segment.duration;
    const double half = segment.fromAcceleration / 2;
    const double angle = turn * seconds;
    return {half * (seconds * seconds / 2 + (1 - std::cos(angle)) / (turn * turn)),
            half * (seconds + std::sin(angle) / turn), half * (1 + std::cos(angle))};
}

MotionState RampTrajectory::Inside(const Segment& segment, double seconds) const
{
    MotionState faded;
    double change = segment.toSpeed - segment.fromSpeed;
    if (segment.fromAcceleration != 0) {
        faded = Faded(segment, seconds);
        change -= segment.fromAcceleration * segment.duration / 2;
    }
    if (change == 0) {
        return {segment.position + segment.fromSpeed * seconds + faded.position,
                segment.fromSpeed + faded.velocity, faded.acceleration};
    }
    const double part = seconds / segment.duration;
    double speedPart = part;
    double wayPart = part * part / 2;
    double slope = 1;
    if (smooth_) {
        const double angle = 2 * std::numbers::pi * part;
        speedPart -= std::sin(angle) / (2 * std::numbers::pi);
        wayPart += (std::cos(angle) - 1) / (4 * std::numbers::pi * std::numbers::pi);
        slope -= std::cos(angle);
    }
    const double way = segment.fromSpeed * seconds + change * segment.duration * wayPart;
    return {segment.position + way + faded.position,
            segment.fromSpeed + change * speedPart + faded.velocity,
            change / segment.duration * slope + faded.acceleration};
}

MotionState RampTrajectory::At(double seconds) const
{
    if (seconds >= duration_) return {end_, 0, 0};
    const double time = std::max(seconds, 0.0);
    const auto next = std::find_if(segments_.begin(), segments_.end(), [time](const Segment& s) {
        return time < s.start + s.duration;
    });
    if (next == segments_.end()) return {end_, 0, 0};
    return Inside(*next, std::max(0.0, time - next->start));
}

std::optional<double> RampTrajectory::TimeOfReaching(double position, int direction,
                                                     double from) const
{
    // Inside a segment the speed keeps its sign, so the way is monotonous and can be halved.
    constexpr int kHalvings = 64;
    const auto reached = [position, direction](double place) {
        return (place - position) * direction >= 0;
    };
    for (const Segment& segment : segments_) {
        const double meanSpeed = (segment.fromSpeed + segment.toSpeed) / 2;
        if (segment.start + segment.duration <= from || meanSpeed * direction <= 0) continue;

        double before = std::max(0.0, from - segment.start);
        if (reached(Inside(segment, before).position)) return segment.start + before;
        if (std::isinf(segment.duration)) {
            return segment.start + (position - segment.position) / meanSpeed;
        }
        double after = segment.duration;
        if (!reached(Inside(segment, after).position)) continue;
        for (int i = 0; i < kHalvings; ++i) {
            const double middle = (before + after) / 2;
            (reached(Inside(segment, middle).position) ? after : before) = middle;
        }
        return segment.start + after;
    }
    return std::nullopt;
}

} // namespace lumosim
