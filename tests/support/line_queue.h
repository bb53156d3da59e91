#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace zelq::test {

/// Lines on their way from the thread that catches them to the test that looks at them.
class LineQueue
{
  public:
    void Put(std::string line)
    {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::move(line));
        came_.notify_all();
    }

    /// The oldest line; waits for it, and gives "" when none comes.
    std::string Next()
    {
        std::unique_lock lock(mutex_);
        WaitFor(1, lock);
        if (lines_.empty()) return {};
        std::string line = std::move(lines_.front());
        lines_.pop_front();
        return line;
    }

    /// All lines, oldest first; waits for `count` of them at most as long as Next.
    std::vector<std::string> TakeAll(std::size_t count)
    {
        std::unique_lock lock(mutex_);
        WaitFor(count, lock);
        std::vector<std::string> taken(lines_.begin(), lines_.end());
        lines_.clear();
        return taken;
    }

  private:
    void WaitFor(std::size_t count, std::unique_lock<std::mutex>& lock)
    {
        constexpr std::chrono::seconds kPatience{2};
        came_.wait_for(lock, kPatience, [&] { return lines_.size() >= count; });
    }

    std::mutex mutex_;
    std::condition_variable came_;
    std::deque<std::string> lines_;
};

} // namespace zelq::test
