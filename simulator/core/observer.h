// What others may want to know of a controller as it happens.
#pragma once

#include "field_list.h"
#include "types.h"

#include <span>
#include <string>

namespace lumosim {

// One command that was run, whoever it came from.
struct CommandRecord
{
    Nanoseconds time;
    Word code;
    const char* name; // "unknown" for a code that nobody knows
    std::span<const Word> fields;
    Result result;
    std::span<const Field> layout; // of the fields, for as long as the controller lives
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

// "   1.234567  0011 absolute move    count 1, axis 0, target 5000 -> 0 done"
std::string CommandAsLine(const CommandRecord& record);

} // namespace lumosim
