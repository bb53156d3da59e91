#pragma once

#include "support/trace_lines.h"

#include <deque>
#include <string>
#include <vector>

namespace zelq::test {

/// The trace viewer of this machine, as long as it lives. There can be only one; where another is
/// there, the constructor waits for its end, and throws after some seconds.
class TraceCapture
{
  public:
    using Viewer = example::TraceLines::Kind;

    explicit TraceCapture(Viewer viewer = Viewer::kReading);

    /// The oldest line not yet taken, with its newline; waits about 2 s, and gives "" when none
    /// comes.
    std::string Next();

    /// All lines not yet taken. A call that has returned has delivered its line, so nothing needs
    /// to be waited for; with a `count`, waits about 2 s for that many.
    std::vector<std::string> Lines(std::size_t count = 0);

  private:
    std::unique_ptr<example::TraceLines> viewer_;
    std::deque<std::string> taken_;
};

} // namespace zelq::test
