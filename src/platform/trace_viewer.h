#pragma once

#include <cstddef>

namespace zelq::platform {

/// Hands one trace line (ended by a newline and a zero) to the viewer, or to the debugger output
/// where no viewer runs. The viewer is looked up each time, so that one that starts later gets the
/// next line; a hung one costs at most 100 ms.
void DeliverTraceLine(const char* line, std::size_t length);

} // namespace zelq::platform
