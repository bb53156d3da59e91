#pragma once

#include <string>
#include <vector>

namespace example {

/// Millimetres.
struct Place
{
    double x = 0;
    double y = 0;
    double z = 0;
};

struct PlanePlace
{
    double x = 0;
    double y = 0;
};

enum class Kind { kTravel, kLine, kArc, kHelix };

/// Which call commands a segment.
enum class Form { kLine, kCenterAngle, kCenterEnd, kPassEnd, kRadiusEnd, kHelix };

/// One segment of the figure: a line, or an arc whose height grows with its angle.
struct Segment
{
    Kind kind = Kind::kLine;
    Form form = Form::kLine;
    Place from{};
    Place to{};
    PlanePlace center{};   ///< arcs
    double degrees = 0;    ///< arcs; positive counter-clockwise
    double speed = 0;      ///< millimetres per second
    double startSpeed = 0; ///< with which the segment before is left
    double endSpeed = 0;

    /// `part` runs from 0 to 1.
    [[nodiscard]] Place At(double part) const;
    [[nodiscard]] double Length() const;
};

/// A part as it is milled, one segment behind the other.
class Figure
{
  public:
    /// A bore that a helix goes down into, then the outline of a plate. `speed` is that of cutting.
    static Figure Plate(double speed);

    [[nodiscard]] const std::vector<Segment>& Segments() const { return segments_; }
    [[nodiscard]] double Length() const;
    /// Places along the whole path, no further apart than `step`.
    [[nodiscard]] std::vector<Place> Trace(double step) const;

  private:
    void Add(Segment segment);
    void LineTo(Kind kind, Place to, double speed);
    void Arc(Form form, PlanePlace center, double degrees, double speed, double height = 0);
    void Bore(double speed);
    void Outline(double speed);
    void WavyEdge(PlanePlace to, double speed);
    void SetJoints();

    std::vector<Segment> segments_;
    Place pen_;
};

double Distance(Place a, Place b);

} // namespace example
