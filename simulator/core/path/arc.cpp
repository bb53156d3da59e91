#include "arc.h"

#include <cmath>
#include <numbers>

namespace lumosim {

namespace {

constexpr double kWholeTurn = 2 * std::numbers::pi;

// Three points whose circle is larger than this are as good as in line.
constexpr double kLargestRadius = 1e10;

PlanePoint operator-(PlanePoint a, PlanePoint b)
{
    return {a.x - b.x, a.y - b.y};
}

double Size(PlanePoint way)
{
    return std::hypot(way.x, way.y);
}

double AngleOf(PlanePoint way)
{
    return std::atan2(way.y, way.x);
}

bool Same(PlanePoint a, PlanePoint b)
{
    return a.x == b.x && a.y == b.y;
}

// The arc from one point to the other; less than a whole turn unless they are the same.
Arc Between(PlanePoint from, PlanePoint center, PlanePoint end, Turn turn)
{
    Arc arc;
    arc.center = center;
    arc.fromRadius = Size(from - center);
    arc.toRadius = Size(end - center);
    arc.fromAngle = AngleOf(from - center);
    const double sign = turn == Turn::kCounterClockwise ? 1 : -1;
    double sweep = (AngleOf(end - center) - arc.fromAngle) * sign;
    if (Same(from, end)) sweep = kWholeTurn;
    if (sweep <= 0) sweep += kWholeTurn;
    arc.sweep = sweep * sign;
    return arc;
}

} // namespace

double Arc::Length() const
{
    return (fromRadius + toRadius) / 2 * std::abs(sweep);
}

Result ArcByAngle(PlanePoint from, PlanePoint center, double angle, Arc& arc, PlanePoint& end)
{
    arc = Between(from, center, from, Turn::kCounterClockwise);
    if (arc.fromRadius == 0) return Result::kNoCircle;
    const double place = arc.fromAngle + angle;
    end = {std::round(center.x + arc.fromRadius * std::cos(place)),
           std::round(center.y + arc.fromRadius * std::sin(place))};
    arc.toRadius = Size(end - center);
    // The whole pulses lie a trace beside the angle.
    arc.sweep = angle + std::remainder(AngleOf(end - center) - place, kWholeTurn);
    return Result::kDone;
}

Result ArcAroundCenter(PlanePoint from, PlanePoint center, PlanePoint end, Turn turn, Arc& arc)
{
    if (Same(from, center) || Same(end, center)) return Result::kNoCircle;
    arc = Between(from, center, end, turn);
    const bool onCircle = std::abs(arc.toRadius - arc.fromRadius) <= kCircleTolerance;
    return onCircle ? Result::kDone : Result::kEndOffCircle;
}

Result ArcThroughPoint(PlanePoint from, PlanePoint pass, PlanePoint end, Arc& arc)
{
    const PlanePoint toPass = pass - from;
    const PlanePoint toEnd = end - from;
    const double area = toPass.x * toEnd.y - toPass.y * toEnd.x; // twice the triangle's
    const double product = Size(toPass) * Size(toEnd) * Size(end - pass);
    if (product >= 2 * kLargestRadius * std::abs(area)) return Result::kPointsInLine;

    const double passSquare = toPass.x * toPass.x + toPass.y * toPass.y;
    const double endSquare = toEnd.x * toEnd.x + toEnd.y * toEnd.y;
    const PlanePoint center = {from.x + (toEnd.y * passSquare - toPass.y * endSquare) / (2 * area),
                               from.y + (toPass.x * endSquare - toEnd.x * passSquare) / (2 * area)};
    arc = Between(from, center, end, area > 0 ? Turn::kCounterClockwise : Turn::kClockwise);
    return Result::kDone;
}

Result ArcOfRadius(PlanePoint from, double radius, bool longOne, PlanePoint end, Turn turn,
                   Arc& arc)
{
    const PlanePoint chord = end - from;
    const double size = Size(chord);
    if (size == 0) return Result::kNoCircle;
    if (radius < size / 2 - kCircleTolerance) return Result::kRadiusTooSmall;

    // The centre stands across the middle of the chord; a radius that misses half of it by what is
    // tolerated makes half a circle.
    const double across = std::sqrt(std::max(0.0, radius * radius - size * size / 4));
    const bool left = (turn == Turn::kCounterClockwise) != longOne;
    const double side = (left ? across : -across) / size;
    const PlanePoint center = {from.x + chord.x / 2 - chord.y * side,
                               from.y + chord.y / 2 + chord.x * side};
    arc = Between(from, center, end, turn);
    return Result::kDone;
}

} // namespace lumosim
