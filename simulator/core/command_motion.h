// Where an axis is commanded to be: on a trajectory, or at rest between two of them.
#pragma once

#include "trajectory.h"
#include "types.h"

#include <memory>

namespace lumosim {

class CommandMotion
{
  public:
    void Begin(std::shared_ptr<const Trajectory> trajectory, Nanoseconds begin);
    void RestAt(double place);

    [[nodiscard]] bool Running() const { return trajectory_ != nullptr; }
    [[nodiscard]] const std::shared_ptr<const Trajectory>& Following() const { return trajectory_; }
    [[nodiscard]] Nanoseconds End() const { return end_; }

    [[nodiscard]] MotionState At(Nanoseconds time) const;
    // When the running motion has reached or passed a place in a direction, `now` at the earliest.
    [[nodiscard]] Nanoseconds TimeAt(double place, int direction, Nanoseconds now) const;

  private:
    [[nodiscard]] double Elapsed(Nanoseconds time) const;

    std::shared_ptr<const Trajectory> trajectory_;
    Nanoseconds begin_{0};
    Nanoseconds end_ = kNever;
    double resting_ = 0;
    // A status asks a dozen times for the same moment of a trajectory that never changes.
    mutable Nanoseconds lookedAt_ = kNever;
    mutable MotionState seen_;
};

} // namespace lumosim
