#include "path/figure.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace example {

namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr double kClearance = 4; ///< height of the tool above the plate while it travels
constexpr double kDepth = -10;   ///< of the bore and the outline

Place Minus(Place a, Place b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

/// 1 for one direction, 0 for a right angle.
double Agreement(Place a, Place b)
{
    const double product = a.x * b.x + a.y * b.y + a.z * b.z;
    return product / std::max(1e-12, Distance(a, {}) * Distance(b, {}));
}

/// How the segment points at one of its ends.
Place Direction(const Segment& segment, bool atEnd)
{
    constexpr double kTrace = 1e-4;
    return atEnd ? Minus(segment.At(1), segment.At(1 - kTrace))
                 : Minus(segment.At(kTrace), segment.At(0));
}

bool IsVertical(Place direction)
{
    return std::abs(direction.z) > 0.7 * Distance(direction, {});
}

} // namespace

double Distance(Place a, Place b)
{
    return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

Place Segment::At(double part) const
{
    Place place = {std::lerp(from.x, to.x, part), std::lerp(from.y, to.y, part),
                   std::lerp(from.z, to.z, part)};
    if (form == Form::kLine) return place;
    const double radius = std::hypot(from.x - center.x, from.y - center.y);
    const double angle =
        std::atan2(from.y - center.y, from.x - center.x) + degrees * kDegree * part;
    place.x = center.x + radius * std::cos(angle);
    place.y = center.y + radius * std::sin(angle);
    return place;
}

double Segment::Length() const
{
    if (form == Form::kLine) return Distance(from, to);
    const double radius = std::hypot(from.x - center.x, from.y - center.y);
    return std::hypot(radius * degrees * kDegree, to.z - from.z);
}

Figure Figure::Plate(double speed)
{
    Figure figure;
    figure.pen_ = {0, 0, 0};
    figure.Bore(speed);
    figure.Outline(speed);
    figure.LineTo(Kind::kTravel, {0, 0, 0}, 1.5 * speed);
    figure.SetJoints();
    return figure;
}

double Figure::Length() const
{
    double length = 0;
    for (const Segment& segment : segments_) {
        length += segment.Length();
    }
    return length;
}

std::vector<Place> Figure::Trace(double step) const
{
    std::vector<Place> places;
    for (const Segment& segment : segments_) {
        const bool straight = segment.form == Form::kLine;
        const int pieces = straight ? 1 : static_cast<int>(std::ceil(segment.Length() / step));
        for (int i = places.empty() ? 0 : 1; i <= pieces; ++i) {
            places.push_back(segment.At(static_cast<double>(i) / pieces));
        }
    }
    return places;
}

void Figure::Add(Segment segment)
{
    segment.from = pen_;
    if (segment.form != Form::kLine) {
        segment.to = {pen_.x, pen_.y, segment.to.z};
        const Place end = segment.At(1);
        segment.to = {end.x, end.y, end.z};
    }
    pen_ = segment.to;
    segments_.push_back(segment);
}

void Figure::LineTo(Kind kind, Place to, double speed)
{
    Add({.kind = kind, .form = Form::kLine, .to = to, .speed = speed});
}

void Figure::Arc(Form form, PlanePlace center, double degrees, double speed, double height)
{
    Add({.kind = form == Form::kHelix ? Kind::kHelix : Kind::kArc,
         .form = form,
         .to = {0, 0, pen_.z + height},
         .center = center,
         .degrees = degrees,
         .speed = speed});
}

void Figure::Bore(double speed)
{
    constexpr PlanePlace kCenter = {55, 31};
    constexpr double kRadius = 14;
    constexpr double kTurns = 4;
    LineTo(Kind::kTravel, {0, 0, kClearance}, speed / 2);
    LineTo(Kind::kTravel, {kCenter.x + kRadius, kCenter.y, kClearance}, 1.5 * speed);
    LineTo(Kind::kTravel, {kCenter.x + kRadius, kCenter.y, 0}, speed / 2);
    Arc(Form::kHelix, kCenter, 360 * kTurns, speed, kDepth);
    Arc(Form::kCenterAngle, kCenter, 360, speed); // once more, on the ground
    LineTo(Kind::kLine, {kCenter.x, kCenter.y, kDepth}, speed);
    LineTo(Kind::kTravel, {kCenter.x, kCenter.y, kClearance}, speed);
}

/// Counter-clockwise, the four forms of arcs one after the other.
void Figure::Outline(double speed)
{
    const auto line = [&](double x, double y) { LineTo(Kind::kLine, {x, y, kDepth}, speed); };
    LineTo(Kind::kTravel, {12, 0, kClearance}, 1.5 * speed);
    LineTo(Kind::kTravel, {12, 0, kDepth}, speed / 2);
    WavyEdge({98, 0}, speed);
    Arc(Form::kCenterEnd, {98, 12}, 90, speed);
    line(110, 22);
    const double tongue = 2 * std::atan2(13, 12) / kDegree; // from 13 below its middle to 13 above
    Arc(Form::kRadiusEnd, {98, 35}, tongue, speed);
    line(110, 58);
    Arc(Form::kCenterEnd, {98, 58}, 90, speed);
    line(74, 70);
    Arc(Form::kPassEnd, {58, 70}, -180, speed); // a notch
    line(12, 70);
    Arc(Form::kCenterAngle, {12, 58}, 90, speed);
    line(0, 12);
    Arc(Form::kCenterAngle, {12, 12}, 90, speed);
    LineTo(Kind::kTravel, {12, 0, kClearance}, speed);
}

/// A free-form edge: many short lines, as programs make them of curves.
void Figure::WavyEdge(PlanePlace to, double speed)
{
    constexpr int kPieces = 60;
    constexpr double kWaves = 3;
    constexpr double kHeight = 5;
    const Place from = pen_;
    for (int i = 1; i <= kPieces; ++i) {
        const double part = static_cast<double>(i) / kPieces;
        const double wave = (1 - std::cos(2 * std::numbers::pi * kWaves * part)) / 2;
        LineTo(
            Kind::kLine,
            {std::lerp(from.x, to.x, part), std::lerp(from.y, to.y, part) + kHeight * wave, from.z},
            speed);
    }
}

/// Joints that go on in nearly the same direction are passed at full speed, corners slowly; the
/// tool stands before it is lifted or lowered.
void Figure::SetJoints()
{
    constexpr double kNearly = 0.98;
    constexpr double kCornerSpeed = 10;
    for (std::size_t i = 0; i + 1 < segments_.size(); ++i) {
        Segment& before = segments_[i];
        Segment& behind = segments_[i + 1];
        const Place arrival = Direction(before, true);
        const Place departure = Direction(behind, false);
        double speed = std::min(before.speed, behind.speed);
        if (Agreement(arrival, departure) < kNearly) {
            const bool lifts = IsVertical(arrival) != IsVertical(departure);
            speed = lifts ? 0 : std::min(speed, kCornerSpeed);
        }
        before.endSpeed = speed;
        behind.startSpeed = speed;
    }
}

} // namespace example
