#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace zelq::test {

/// The trace viewer of this machine, as long as it lives: the window of class TfrmMain and title
/// Quillet on Windows, the owner of the abstract datagram socket Quillet on Linux. There can be
/// only one; where another is there, the constructor waits for its end, and throws after some
/// seconds.
class TraceCapture
{
  public:
    enum class Viewer {
        kReading,
        kHung, ///< it is there, but takes no line
    };

    explicit TraceCapture(Viewer viewer = Viewer::kReading);
    ~TraceCapture();
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    /// The oldest line not yet taken, with its newline; waits about 2 s, and gives "" when none
    /// comes.
    std::string Next();

    /// All lines not yet taken. A call that has returned has delivered its line, so nothing needs
    /// to be waited for; with a `count`, waits about 2 s for that many.
    std::vector<std::string> Lines(std::size_t count = 0);

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace zelq::test
