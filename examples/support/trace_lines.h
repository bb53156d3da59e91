#pragma once

#include "support/line_queue.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace example {

/// Makes the program the trace viewer of this machine, so that it sees the line of every call. Is
/// another viewer running already, the lines go there.
class TraceLines
{
  public:
    enum class Kind {
        kReading,
        kHung, ///< is there, but takes no line: shows what such a viewer costs the callers
    };

    explicit TraceLines(Kind kind = Kind::kReading);
    ~TraceLines();
    TraceLines(const TraceLines&) = delete;
    TraceLines& operator=(const TraceLines&) = delete;

    /// False when another viewer gets the lines.
    [[nodiscard]] bool AreHere() const;

    /// The lines since the last look, each with its newline. A call that has returned has delivered
    /// its own; with a `count`, waits some seconds for that many.
    std::vector<std::string> Take(std::size_t count = 0);

  private:
    class Viewer;

    LineQueue lines_;
    std::unique_ptr<Viewer> viewer_;
};

} // namespace example
