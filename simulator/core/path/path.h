// The path that the axes of one interpolation map are running, and what waits behind it.
#pragma once

#include "path_plan.h"

#include <deque>
#include <memory>
#include <vector>

namespace lumosim {

class Controller;

// An axis that leaves the path for a reason of its own (a limit, an alarm, a stop) takes the others
// along: all that can brake on the path do so, for the same cause.
class Path
{
  public:
    explicit Path(Controller& controller) : controller_(controller) {}

    [[nodiscard]] bool Running() const { return plan_ != nullptr; }
    [[nodiscard]] bool Braking() const { return brakesFor_ != StopCause::kNone; }
    [[nodiscard]] std::size_t Waiting() const;
    [[nodiscard]] const std::deque<PathSection>& Sections() const { return sections_; }
    [[nodiscard]] bool Leads(const Axis& axis) const; // the axis follows the path

    // `numbers` are the map's axes, in its order.
    // The first `count` could take part in a section now. Those of the running path can.
    [[nodiscard]] Result CheckAxes(const std::vector<Word>& numbers, std::size_t count) const;
    // Where a section that is added now begins; axes without a part in the path where they rest.
    [[nodiscard]] PathPoint Begin(const std::vector<Word>& numbers) const;
    // No limit blocks the way of an axis that begins with this section.
    [[nodiscard]] Result CheckLimits(const std::vector<Word>& numbers,
                                     const PathSection& section) const;

    // Starts the section, or queues it.
    void Add(const std::vector<Word>& numbers, const PathSection& section);
    void Stop(StopMode mode, StopCause cause);

    [[nodiscard]] Nanoseconds NextEvent() const;
    // Looks what has become of the path until now.
    void Follow();
    void Clear();

  private:
    struct Member
    {
        Word number;
        std::shared_ptr<const Trajectory> trajectory; // what the path made it follow
        bool left = false;                            // it has left the path for good
    };

    [[nodiscard]] Axis* Find(const Member& member) const;
    [[nodiscard]] double Elapsed() const;
    [[nodiscard]] std::optional<StopCause> CauseOfLeaving(const Member& member) const;
    void Engage(const std::vector<Word>& numbers, std::size_t count, const PathPoint& places);
    void Replan();
    void Brake(StopCause cause);
    void Lead(std::shared_ptr<const PathPlan> plan, Nanoseconds begin);
    void Watch();
    void PassSections();
    [[nodiscard]] std::int32_t Target(const Axis& axis, std::size_t index) const;

    Controller& controller_;
    std::vector<Member> members_;      // the first axes of the map
    std::deque<PathSection> sections_; // the running one in front
    std::shared_ptr<const PathPlan> plan_;
    std::size_t piece_ = 0; // of the plan, which belongs to sections_.front()
    Nanoseconds begin_{0};  // of the plan
    StopCause brakesFor_ = StopCause::kNone;
};

} // namespace lumosim
