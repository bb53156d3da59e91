#pragma once

#include <memory>
#include <string>
#include <vector>

namespace example {

/// Makes the program the trace viewer of this machine, so that it sees the line of every call. Is
/// another viewer running already, the lines go there.
class TraceLines
{
  public:
    TraceLines();
    ~TraceLines();
    TraceLines(const TraceLines&) = delete;
    TraceLines& operator=(const TraceLines&) = delete;

    /// The lines of the calls made since the last look, without their newlines.
    std::vector<std::string> Take();

  private:
    class Viewer;
    std::unique_ptr<Viewer> viewer_;
};

} // namespace example
