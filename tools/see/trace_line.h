// Lines of the trace: what the library writes about each finished call.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zelq::tool {

/// Microseconds since 1970.
using Microseconds = std::int64_t;
Microseconds Now();

struct TraceLine
{
    Microseconds at = 0; ///< when it came; 0: nobody knows
    std::string text;    ///< without its newline

    // What it tells of; of a line that is none of a call, nothing.
    std::string function;
    std::string arguments;
    std::optional<int> result;
    std::optional<int> controller;
    bool failed = false;
};

/// "TIME=260102030405,-2002=zelQ_MoveAbs(3,40,100)". Anything else is kept as a text.
TraceLine ParseTraceLine(Microseconds at, std::string text);

// A file has a line for each: when it came, in seconds with six digits behind the point, a blank,
// and the line itself. Lines as other viewers keep them, which begin with "TIME=", are read too.

std::string ToFileLine(const TraceLine& line);
TraceLine FromFileLine(const std::string& text);

} // namespace zelq::tool
