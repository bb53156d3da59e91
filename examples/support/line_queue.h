#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace example {

/// Lines on their way from the thread that catches them to the one that looks at them.
class LineQueue
{
  public:
    void Put(std::string line)
    {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::move(line));
        came_.notify_all();
    }

    /// All lines, oldest first; waits some seconds for `count` of them.
    std::vector<std::string> Take(std::size_t count)
    {
        constexpr std::chrono::seconds kPatience{2};
        std::unique_lock lock(mutex_);
        came_.wait_for(lock, kPatience, [&] { return lines_.size() >= count; });
        return std::exchange(lines_, {});
    }

  private:
    std::mutex mutex_;
    std::condition_variable came_;
    std::vector<std::string> lines_;
};

} // namespace example
