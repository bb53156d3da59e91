// The trace viewer's end: takes the lines of every process of this user.
#pragma once

#include "frame/system.h"
#include "see/trace_line.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace zelq::tool {

/// Lines between the thread that takes them and the one that shows them. It always has room: when
/// the one that shows is too slow, the oldest are lost.
class TraceQueue
{
  public:
    void Put(std::string text);
    /// All that there is; waits for the first.
    std::vector<TraceLine> Take(Milliseconds time);
    [[nodiscard]] std::size_t Lost();

  private:
    static constexpr std::size_t kMost = 100'000;

    std::mutex mutex_;
    std::condition_variable came_;
    std::deque<std::pair<Microseconds, std::string>> lines_;
    std::size_t lost_ = 0;
};

/// While it lives, a thread of its own does nothing but take lines, so that no caller waits for
/// what becomes of them. There can be only one: a Failure where another viewer runs.
class TraceSource
{
  public:
    TraceSource();
    ~TraceSource();
    TraceSource(const TraceSource&) = delete;
    TraceSource& operator=(const TraceSource&) = delete;

    TraceQueue& Lines() { return queue_; }

  private:
    class Port; // each system's own

    TraceQueue queue_;
    std::unique_ptr<Port> port_;
};

} // namespace zelq::tool
