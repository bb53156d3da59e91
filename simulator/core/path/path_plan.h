// How fast a path is run: the sections one behind the other, each with its speed over time.
#pragma once

#include "../axis.h"
#include "../planner.h"
#include "../trajectory.h"
#include "course.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace lumosim {

// One section of a path as it was commanded. The speeds are those along the course; `stop` is the
// speed at its end.
struct PathSection
{
    Course course;
    SpeedProfile speeds;
    MotionKind kind;
    std::size_t axes; // so many of the map's axes have a part in it
};

// Where a path is on its first section, and how it runs along it.
struct PathState
{
    double way = 0;
    double speed = 0;
    double acceleration = 0;
};

class PathPlan
{
  public:
    struct Piece
    {
        Course course;
        std::shared_ptr<const Trajectory> law; // the way along the course over time
        double begin;                          // seconds since the plan's begin; may be before it
        std::int32_t exitSpeed;
    };

    explicit PathPlan(std::vector<Piece> pieces) : pieces_(std::move(pieces)) {}

    [[nodiscard]] const std::vector<Piece>& Pieces() const { return pieces_; }
    [[nodiscard]] double Duration() const { return EndOf(pieces_.size() - 1); }
    [[nodiscard]] double EndOf(std::size_t piece) const
    {
        return pieces_[piece].begin + pieces_[piece].law->Duration();
    }
    // The state on the piece that the path is on at this time.
    [[nodiscard]] PathState StateAt(double seconds) const;

    // One axis of the path; before the begin it stands where the path begins.
    [[nodiscard]] MotionState AxisAt(std::size_t axis, double seconds) const;
    [[nodiscard]] std::optional<double> TimeOfReaching(std::size_t axis, double position,
                                                       int direction, double from) const;

  private:
    [[nodiscard]] std::size_t PieceAt(double seconds) const;

    std::vector<Piece> pieces_;
};

// Plans a path from a state on its first section to its end, with all that waits behind in view. A
// joint is passed with the lower of the end speed before it and the start speed behind it, or
// slower where the sections behind are too short to brake on or those before it to speed up on.
// `current` is the piece that runs now; it goes on untouched where its exit speed stays.
std::shared_ptr<const PathPlan> PlanPath(const std::deque<PathSection>& sections,
                                         const PathState& state, const PathPlan::Piece* current);

// Brakes on the path with the deceleration of each section that it takes; at the path's end at the
// latest it stands.
std::shared_ptr<const PathPlan> PlanPathStop(const std::deque<PathSection>& sections,
                                             const PathState& state);

} // namespace lumosim
