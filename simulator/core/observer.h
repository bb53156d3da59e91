// What others may want to know of a controller as it happens.
#pragma once

#include "types.h"

#include <span>

namespace lumosim {

// One command that was run, whoever it came from.
struct CommandRecord
{
    Nanoseconds time;
    Word code;
    const char* name; // "unknown" for a code that nobody knows
    std::span<const Word> fields;
    Result result;
};

// Is called in the middle of what the controller does, so it only notes what it is told: a record's
// fields are gone when the call has returned, and the controller is not to be touched.
class Observer
{
  public:
    virtual ~Observer() = default;

    virtual void CommandRun(const CommandRecord& /*record*/) {}
    // The controller has left the network, or is there again.
    virtual void OnlineChanged(bool /*online*/) {}
};

} // namespace lumosim
