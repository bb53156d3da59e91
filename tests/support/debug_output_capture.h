#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace zelq::test {

/// Sees, as long as it lives, what this process hands to the debugger output: on Windows as a
/// debug monitor, on Linux in place of zelq_debug_output.
class DebugOutputCapture
{
  public:
    DebugOutputCapture();
    ~DebugOutputCapture();
    DebugOutputCapture(const DebugOutputCapture&) = delete;
    DebugOutputCapture& operator=(const DebugOutputCapture&) = delete;

    /// All lines not yet taken; waits about 2 s for `count` of them.
    std::vector<std::string> Lines(std::size_t count);

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace zelq::test
