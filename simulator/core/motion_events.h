// What a running motion meets on its way, and when.
#pragma once

#include "axis_protection.h"
#include "motion_kinds.h"
#include "types.h"

#include <algorithm>
#include <utility>

namespace lumosim {

// Where the motion meets a switch, a sensor or a software limit first.
struct LimitStop
{
    Nanoseconds time = kNever;
    Reaction reaction = Reaction::kNone;
    StopCause cause = StopCause::kNone;
};

struct MotionEvents
{
    LimitStop limit;
    Nanoseconds stopper = kNever; // it has pressed too hard at a stopper
    Nanoseconds watch = kNever;   // it sees its signal

    [[nodiscard]] Nanoseconds Next() const { return std::min({limit.time, stopper, watch}); }

    // An axis that brakes already can only be stopped at once.
    void AddStop(Nanoseconds time, Reaction reaction, StopCause cause, bool brakes)
    {
        if (reaction == Reaction::kNone || (brakes && reaction != Reaction::kSudden)) return;
        if (time < limit.time) limit = {time, reaction, cause};
    }
    LimitStop TakeLimit() { return std::exchange(limit, LimitStop()); }
};

} // namespace lumosim
