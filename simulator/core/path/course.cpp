#include "course.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lumosim {

namespace {

double Distance(const PathPoint& from, const PathPoint& to, std::size_t axes)
{
    double sum = 0;
    for (std::size_t i = 0; i < axes; ++i) {
        sum += (to[i] - from[i]) * (to[i] - from[i]);
    }
    return std::sqrt(sum);
}

} // namespace

Course Course::Line(const PathPoint& from, const PathPoint& to, std::size_t measured)
{
    const double length = Distance(from, to, measured);
    return {from, to, length > 0 ? length : Distance(from, to, kPathAxes)};
}

Course Course::Along(const Arc& arc, const PathPoint& from, const PathPoint& to, bool alongHelix)
{
    const double height = alongHelix ? to[2] - from[2] : 0.0;
    Course course(from, to, std::hypot(arc.Length(), height));
    course.arc_ = arc;
    return course;
}

Course::Place Course::At(std::size_t axis, double way) const
{
    if (length_ == 0) return {to_[axis], 0, 0};
    const double part = way / length_;
    if (OnArc(axis)) return OnArcAt(axis, part);
    const double whole = to_[axis] - from_[axis];
    return {from_[axis] + whole * part, whole / length_, 0};
}

Course::Place Course::OnArcAt(std::size_t axis, double part) const
{
    const double radius = std::lerp(arc_->fromRadius, arc_->toRadius, part);
    const double angle = arc_->fromAngle + arc_->sweep * part;
    const double ahead = axis == 0 ? std::cos(angle) : std::sin(angle);
    const double across = axis == 0 ? -std::sin(angle) : std::cos(angle);
    const double middle = axis == 0 ? arc_->center.x : arc_->center.y;
    const double turn = arc_->sweep / length_;                          // of the angle by way
    const double drift = (arc_->toRadius - arc_->fromRadius) / length_; // of the radius by way
    Place place;
    place.position = middle + radius * ahead;
    if (part <= 0) place.position = from_[axis];
    if (part >= 1) place.position = to_[axis];
    place.slope = radius * across * turn + drift * ahead;
    place.bend = -radius * ahead * turn * turn + 2 * drift * across * turn;
    return place;
}

// Ways from 0 to the length, in order, between which the axis does not turn round.
std::vector<double> Course::MonotoneStretches(std::size_t axis) const
{
    std::vector<double> ways = {0};
    if (OnArc(axis) && arc_->sweep != 0) {
        // An axis turns round where the arc crosses the direction of either axis.
        constexpr double kQuarter = std::numbers::pi / 2;
        const double first = std::min(arc_->fromAngle, arc_->fromAngle + arc_->sweep);
        const double last = std::max(arc_->fromAngle, arc_->fromAngle + arc_->sweep);
        for (double k = std::ceil(first / kQuarter); k * kQuarter < last; ++k) {
            ways.push_back((k * kQuarter - arc_->fromAngle) / arc_->sweep * length_);
        }
        std::ranges::sort(ways);
    }
    ways.push_back(length_);
    return ways;
}

std::optional<double> Course::WayOfReaching(std::size_t axis, double position, int direction,
                                            double from) const
{
    constexpr int kHalvings = 64;
    const auto reached = [&](double way) {
        return (At(axis, way).position - position) * direction >= 0;
    };
    const std::vector<double> ways = MonotoneStretches(axis);
    for (std::size_t i = 0; i + 1 < ways.size(); ++i) {
        double before = std::max(ways[i], from);
        double after = ways[i + 1];
        if (after <= before) continue;
        const double gain = At(axis, after).position - At(axis, before).position;
        if (gain * direction <= 0 || !reached(after)) continue;
        if (reached(before)) return before;
        for (int k = 0; k < kHalvings; ++k) {
            const double middle = (before + after) / 2;
            (reached(middle) ? after : before) = middle;
        }
        return after;
    }
    return std::nullopt;
}

void Course::Hold(std::size_t axis, double place)
{
    from_[axis] = place;
    to_[axis] = place;
}

} // namespace lumosim
