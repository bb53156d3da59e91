#include "command_motion.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumosim {

namespace {

Nanoseconds After(Nanoseconds begin, double seconds)
{
    const double latest = static_cast<double>((kNever - begin).count());
    const double nanoseconds = std::ceil(seconds * 1e9);
    if (!(nanoseconds < latest)) return kNever;
    return begin + Nanoseconds(static_cast<Nanoseconds::rep>(nanoseconds));
}

} // namespace

void CommandMotion::Begin(std::shared_ptr<const Trajectory> trajectory, Nanoseconds begin)
{
    lookedAt_ = kNever;
    trajectory_ = std::move(trajectory);
    begin_ = begin;
    end_ = After(begin, trajectory_->Duration());
}

void CommandMotion::RestAt(double place)
{
    trajectory_.reset();
    end_ = kNever;
    resting_ = std::round(place);
}

double CommandMotion::Elapsed(Nanoseconds time) const
{
    return static_cast<double>(std::max(time - begin_, Nanoseconds(0)).count()) * 1e-9;
}

MotionState CommandMotion::At(Nanoseconds time) const
{
    if (!trajectory_) return {resting_, 0, 0};
    // A move that waits for the amplifier stands still although its plan begins with a speed.
    if (time < begin_) return {trajectory_->At(0).position, 0, 0};
    if (time != lookedAt_) {
        lookedAt_ = time;
        seen_ = trajectory_->At(Elapsed(time));
    }
    return seen_;
}

Nanoseconds CommandMotion::TimeAt(double place, int direction, Nanoseconds now) const
{
    const auto time = trajectory_->TimeOfReaching(place, direction, Elapsed(now));
    return time ? After(begin_, *time) : kNever;
}

} // namespace lumosim
