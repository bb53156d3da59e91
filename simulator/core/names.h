// Kinds, causes and results by name: the same in the snapshot, in the log and in the documentation.
#pragma once

#include "axis.h"
#include "slave.h"
#include "types.h"

#include <span>

namespace lumosim {

struct ResultName
{
    Result result;
    const char* name;
    const char* text; // what the documentation says of it
};

// In the order of their numbers.
std::span<const ResultName> ResultNames();

const char* NameOf(Result result);
const char* NameOf(MotionKind kind);
const char* NameOf(StopCause cause);
const char* NameOf(SlaveType type);
const char* NameOf(Reaction reaction);

} // namespace lumosim
