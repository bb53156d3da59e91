#pragma once

#include "support/line_queue.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace zelq::test {

/// Sees, as long as it lives, what this process hands to the debugger output: on Windows by what
/// a debugger is told, on Linux in place of zelq_debug_output.
class DebugOutputCapture
{
  public:
    DebugOutputCapture();

    /// All lines not yet taken; waits about 2 s for `count` of them.
    std::vector<std::string> Lines(std::size_t count) { return lines_.Take(count); }

  private:
    example::LineQueue lines_;
    std::shared_ptr<void> source_; ///< the system's
};

} // namespace zelq::test
