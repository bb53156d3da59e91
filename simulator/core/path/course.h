// The shape of one section of a path: where each axis stands, by the way gone along it.
#pragma once

#include "arc.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace lumosim {

inline constexpr std::size_t kPathAxes = 16;

// The physical places of a map's axes, in the map's order.
using PathPoint = std::array<double, kPathAxes>;

class Course
{
  public:
    // One axis on its course, and how it goes on: change of the position, and change of that, by
    // pulse of way.
    struct Place
    {
        double position = 0;
        double slope = 0;
        double bend = 0;
    };

    // A straight line. Its length is that of the first `measured` axes, and of all when those do
    // not move: the others come along.
    static Course Line(const PathPoint& from, const PathPoint& to, std::size_t measured);
    // The first two axes go along an arc, all others evenly with its angle. The length is that of
    // the arc, or with `alongHelix` that of the helix the third axis makes of it.
    static Course Along(const Arc& arc, const PathPoint& from, const PathPoint& to,
                        bool alongHelix);

    [[nodiscard]] double Length() const { return length_; }
    [[nodiscard]] const PathPoint& From() const { return from_; }
    [[nodiscard]] const PathPoint& To() const { return to_; }
    // Exact at both ends.
    [[nodiscard]] Place At(std::size_t axis, double way) const;
    // The first way, not before `from`, on which the axis runs in `direction` (1 or -1) and has
    // `position` reached or passed; nothing if that never happens.
    [[nodiscard]] std::optional<double> WayOfReaching(std::size_t axis, double position,
                                                      int direction, double from) const;

    // Lets an axis that has no part in the section rest at a place.
    void Hold(std::size_t axis, double place);

  private:
    Course(const PathPoint& from, const PathPoint& to, double length)
        : from_(from), to_(to), length_(length)
    {}

    [[nodiscard]] std::vector<double> MonotoneStretches(std::size_t axis) const;
    [[nodiscard]] bool OnArc(std::size_t axis) const { return arc_.has_value() && axis < 2; }
    [[nodiscard]] Place OnArcAt(std::size_t axis, double part) const;

    PathPoint from_;
    PathPoint to_;
    double length_;
    std::optional<Arc> arc_;
};

} // namespace lumosim
