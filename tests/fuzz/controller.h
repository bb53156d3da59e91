#pragma once

#include "fuzz/input.h"

#include <string>
#include <vector>

namespace zelq::fuzz {

// The doors of the library's inner pieces to the world, in the hands of an input: exchanges, the
// datagrams of a discovery, and the trace viewer.

/// The controller number of all calls.
inline constexpr short kNumber = 5;

/// What the calls since the last look have done.
struct Traffic
{
    int exchanges = 0;
    int engineResult = 0; ///< of the last exchange
    std::vector<std::string> lines;
};

/// From now on `input` answers all exchanges; it must outlive them.
///
/// The answer to a request starts with a byte: its low seven bits less one are the size of the
/// pieces in which the replies come, 0 for all at once; with 128, the exchange fails with the code
/// in the byte behind it. Then comes a byte a frame, see ReplyTo.
void AnswerFrom(Input& input);
Traffic TakeTraffic();

} // namespace zelq::fuzz
