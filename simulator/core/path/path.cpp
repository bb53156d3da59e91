#include "path.h"

#include "../controller.h"
#include "../values.h"

#include <algorithm>
#include <cmath>

namespace lumosim {

namespace {

double Seconds(Nanoseconds time)
{
    return static_cast<double>(time.count()) * 1e-9;
}

// One axis of a plan. Axes whose amplifiers get ready at different times begin at different times;
// `offset` is the plan's time when this one begins.
class PathTrajectory : public Trajectory
{
  public:
    PathTrajectory(std::shared_ptr<const PathPlan> plan, std::size_t axis, double offset)
        : plan_(std::move(plan)), axis_(axis), offset_(offset)
    {}

    [[nodiscard]] MotionState At(double seconds) const override
    {
        return plan_->AxisAt(axis_, seconds + offset_);
    }

    [[nodiscard]] double Duration() const override { return plan_->Duration() - offset_; }

    [[nodiscard]] std::optional<double> TimeOfReaching(double position, int direction,
                                                       double from) const override
    {
        const auto time = plan_->TimeOfReaching(axis_, position, direction, from + offset_);
        return time ? std::optional(*time - offset_) : std::nullopt;
    }

  private:
    std::shared_ptr<const PathPlan> plan_;
    std::size_t axis_;
    double offset_;
};

} // namespace

std::size_t Path::Waiting() const
{
    return sections_.empty() ? 0 : sections_.size() - 1;
}

bool Path::Leads(const Axis& axis) const
{
    return std::ranges::any_of(members_, [&](const Member& member) {
        return member.trajectory != nullptr && axis.Following() == member.trajectory;
    });
}

Axis* Path::Find(const Member& member) const
{
    return controller_.FindAxis(member.number);
}

double Path::Elapsed() const
{
    return std::max(0.0, Seconds(controller_.Now() - begin_));
}

Result Path::CheckAxes(const std::vector<Word>& numbers, std::size_t count) const
{
    for (std::size_t i = 0; i < count; ++i) {
        const Axis* axis = controller_.FindAxis(numbers[i]);
        if (axis == nullptr) return Result::kNoServo;
        if (Leads(*axis)) continue;
        const Result check = axis->CheckMove(0);
        if (check != Result::kDone) return check;
        if (axis->Moving()) return Result::kBusy;
        // A path that runs does not wait for an amplifier.
        if (Running() && !axis->ServoOn()) return Result::kServoOff;
    }
    return Result::kDone;
}

PathPoint Path::Begin(const std::vector<Word>& numbers) const
{
    PathPoint point{};
    if (!sections_.empty()) point = sections_.back().course.To();
    for (std::size_t i = members_.size(); i < numbers.size(); ++i) {
        const Axis* axis = controller_.FindAxis(numbers[i]);
        if (axis != nullptr) point[i] = std::round(axis->Physical().position);
    }
    return point;
}

Result Path::CheckLimits(const std::vector<Word>& numbers, const PathSection& section) const
{
    for (std::size_t i = members_.size(); i < section.axes; ++i) {
        const Course::Place place = section.course.At(i, 0);
        const int direction = SignOf(place.slope != 0 ? place.slope : place.bend);
        const Result check = controller_.AxisAt(numbers[i]).CheckMove(direction);
        if (check != Result::kDone) return check;
    }
    return Result::kDone;
}

void Path::Add(const std::vector<Word>& numbers, const PathSection& section)
{
    PassSections();
    Engage(numbers, section.axes, section.course.From());
    sections_.push_back(section);
    Replan();
}

void Path::Engage(const std::vector<Word>& numbers, std::size_t count, const PathPoint& places)
{
    for (std::size_t i = members_.size(); i < count; ++i) {
        members_.push_back({numbers[i], nullptr});
        for (PathSection& section : sections_) {
            section.course.Hold(i, places[i]);
        }
    }
}

void Path::Replan()
{
    const Nanoseconds now = controller_.Now();
    if (!plan_ || begin_ > now) {
        Nanoseconds ready = now;
        for (const Member& member : members_) {
            const Axis* axis = Find(member);
            if (axis != nullptr) ready = std::max(ready, axis->ReadyAt());
        }
        Lead(PlanPath(sections_, {}, nullptr), ready);
        return;
    }
    PathPlan::Piece current = plan_->Pieces()[piece_];
    current.course = sections_.front().course;
    current.begin -= Elapsed();
    Lead(PlanPath(sections_, plan_->StateAt(Elapsed()), &current), now);
}

void Path::Stop(StopMode mode, StopCause cause)
{
    if (mode == StopMode::kDecelerate && Running()) {
        Brake(cause);
        return;
    }
    for (const Member& member : members_) {
        Axis* axis = member.left ? nullptr : Find(member);
        if (axis != nullptr) axis->Stop(mode, cause);
    }
    Clear();
}

void Path::Brake(StopCause cause)
{
    PassSections();
    const PathState state = plan_->StateAt(Elapsed());
    if (begin_ > controller_.Now() || state.speed == 0) {
        Stop(StopMode::kSudden, cause);
        return;
    }
    const auto plan = PlanPathStop(sections_, state);
    brakesFor_ = cause;
    while (sections_.size() > plan->Pieces().size()) {
        sections_.pop_back();
    }
    Lead(plan, controller_.Now());
}

void Path::Lead(std::shared_ptr<const PathPlan> plan, Nanoseconds begin)
{
    plan_ = std::move(plan);
    begin_ = begin;
    piece_ = 0;
    for (std::size_t i = 0; i < members_.size(); ++i) {
        Member& member = members_[i];
        Axis* axis = Find(member);
        // What stands although it was led has stopped at once, or is no longer there.
        const bool stands = member.trajectory != nullptr && axis != nullptr && !axis->Moving();
        if (axis == nullptr || stands) member.left = true;
        if (member.left) continue;
        const double offset = Seconds(axis->ReadyAt() - begin_);
        member.trajectory = std::make_shared<PathTrajectory>(plan_, i, offset);
        axis->Follow(member.trajectory, sections_.front().kind, Target(*axis, i), brakesFor_);
    }
}

std::int32_t Path::Target(const Axis& axis, std::size_t index) const
{
    const double way = sections_.front().course.To()[index] - std::round(axis.Physical().position);
    return static_cast<std::int32_t>(axis.CommandPosition() + std::llround(way));
}

std::optional<StopCause> Path::CauseOfLeaving(const Member& member) const
{
    const Axis* axis = Find(member);
    if (member.left || axis == nullptr || axis->Following() == member.trajectory) return {};
    const StopCause cause = axis->Moving() ? axis->EndsBy() : axis->LastStop();
    return cause == StopCause::kNone ? std::nullopt : std::optional(cause);
}

Nanoseconds Path::NextEvent() const
{
    if (!plan_) return kNever;
    for (const Member& member : members_) {
        if (CauseOfLeaving(member)) return controller_.Now();
    }
    const double seconds = std::ceil(plan_->EndOf(piece_) * 1e9);
    return begin_ + Nanoseconds(static_cast<Nanoseconds::rep>(seconds));
}

void Path::Follow()
{
    if (!plan_) return;
    Watch();
    PassSections();
}

void Path::Watch()
{
    if (begin_ <= controller_.Now() && Elapsed() >= plan_->Duration()) {
        Stop(StopMode::kSudden, brakesFor_);
        return;
    }
    bool moving = false;
    std::optional<StopCause> cause;
    for (const Member& member : members_) {
        const Axis* axis = member.left ? nullptr : Find(member);
        moving = moving || (axis != nullptr && axis->Moving());
        if (!cause) cause = CauseOfLeaving(member);
    }
    if (!moving) {
        Clear();
    } else if (cause) {
        Brake(*cause);
    }
}

void Path::PassSections()
{
    if (!plan_ || begin_ > controller_.Now()) return;
    while (sections_.size() > 1 && piece_ + 1 < plan_->Pieces().size() &&
           plan_->EndOf(piece_) <= Elapsed()) {
        ++piece_;
        sections_.pop_front();
        for (std::size_t i = 0; i < members_.size(); ++i) {
            Axis* axis = members_[i].left ? nullptr : Find(members_[i]);
            if (axis != nullptr && axis->Moving()) {
                axis->ShowAs(sections_.front().kind, Target(*axis, i));
            }
        }
    }
}

void Path::Clear()
{
    plan_.reset();
    members_.clear();
    sections_.clear();
    brakesFor_ = StopCause::kNone;
}

} // namespace lumosim
