// Lines of the library's trace, while somebody looks.
#pragma once

#include "see/trace_source.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zelq::tool {

/// Its thread is the trace viewer while it is wanted, so nobody waits for its coming and going.
class TraceFeed
{
  public:
    /// Lines, or why there are none; on the feed's thread.
    using Told =
        std::function<void(const std::vector<std::string>& lines, const std::string& problem)>;

    explicit TraceFeed(Told told) : told_(std::move(told)) {}
    ~TraceFeed() { Stop(); }
    TraceFeed(const TraceFeed&) = delete;
    TraceFeed& operator=(const TraceFeed&) = delete;

    void Start() { thread_ = std::thread(&TraceFeed::Run, this); }
    void Stop();
    void Set(bool wanted);

  private:
    void Run();
    void Take();
    [[nodiscard]] bool IsWanted();

    Told told_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool wanted_ = false;
    bool ended_ = false;
    std::thread thread_;
};

} // namespace zelq::tool
