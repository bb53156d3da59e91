// Arcs in the plane of two axes, found from what a command tells of them.
#pragma once

#include "../types.h"

namespace lumosim {

struct PlanePoint
{
    double x = 0;
    double y = 0;
};

enum class Turn { kCounterClockwise, kClockwise };

// Centre, angles and radii of an arc. Ends are whole pulses and never quite on one circle; the
// radius goes over from the one to the other evenly, so that both are met exactly.
struct Arc
{
    PlanePoint center;
    double fromRadius = 0;
    double toRadius = 0;
    double fromAngle = 0; // radians
    double sweep = 0;     // radians, positive counter-clockwise

    [[nodiscard]] double Length() const;
};

// Each finds the arc that begins at `from`, or tells why there is none: kNoCircle,
// kEndOffCircle, kPointsInLine, kRadiusTooSmall.

// By `angle` in radians around a centre; `end` becomes the whole pulses next to its end.
Result ArcByAngle(PlanePoint from, PlanePoint center, double angle, Arc& arc, PlanePoint& end);
// Around a centre to an end, which has to lie on the circle within kCircleTolerance; an end at
// `from` makes it a whole circle.
Result ArcAroundCenter(PlanePoint from, PlanePoint center, PlanePoint end, Turn turn, Arc& arc);
Result ArcThroughPoint(PlanePoint from, PlanePoint pass, PlanePoint end, Arc& arc);
// Of the two arcs of this radius and turn, `longOne` is the one of more than half a circle.
Result ArcOfRadius(PlanePoint from, double radius, bool longOne, PlanePoint end, Turn turn,
                   Arc& arc);

// What hosts lose by truncating coordinates to pulses must not make an arc impossible.
inline constexpr double kCircleTolerance = 3;

} // namespace lumosim
