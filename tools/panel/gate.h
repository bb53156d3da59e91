// One exchange with the controller at a time, and who is in a hurry comes first.
#pragma once

#include <array>
#include <condition_variable>
#include <mutex>

namespace zelq::tool {

/// The library lets callers through in the order in which they come. In front of it this lets a
/// stop pass all that wait, so that it waits for one exchange at most: the one that is on its way.
class Gate
{
  public:
    enum Rank { kStop, kJog, kUsual };

    /// Runs it when nothing else runs. What it throws goes on to the caller.
    template <typename Function>
    auto Pass(Rank rank, Function function)
    {
        const Passage passage(*this, rank);
        return function();
    }

  private:
    class Passage
    {
      public:
        Passage(Gate& gate, Rank rank) : gate_(gate) { gate_.Enter(rank); }
        ~Passage() { gate_.Leave(); }
        Passage(const Passage&) = delete;
        Passage& operator=(const Passage&) = delete;

      private:
        Gate& gate_;
    };

    void Enter(Rank rank)
    {
        std::unique_lock lock(mutex_);
        ++waiting_.at(rank);
        free_.wait(lock, [&] {
            bool first = !busy_;
            for (std::size_t higher = 0; higher < rank; ++higher) {
                first = first && waiting_.at(higher) == 0;
            }
            return first;
        });
        --waiting_.at(rank);
        busy_ = true;
    }

    void Leave()
    {
        const std::lock_guard lock(mutex_);
        busy_ = false;
        free_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable free_;
    std::array<int, kUsual + 1> waiting_{};
    bool busy_ = false;
};

} // namespace zelq::tool
