// Looks at the controller again and again, while somebody wants to know.
#pragma once

#include "frame/system.h"
#include "panel/machine.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace zelq::tool {

class Poller
{
  public:
    /// Who wants to know.
    enum Interest : unsigned { kPages = 1, kJog = 2, kGuard = 4, kOwedStop = 8 };

    using Seen = std::function<void(const Sight&)>;

    /// `seen` is called on the poller's thread.
    Poller(Machine& machine, Milliseconds period, Seen seen)
        : machine_(machine), period_(period), seen_(std::move(seen))
    {}
    ~Poller() { Stop(); }
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;

    void Start() { thread_ = std::thread(&Poller::Run, this); }
    void Stop();
    void Set(Interest interest, bool wanted);
    [[nodiscard]] Milliseconds Period() const { return period_; }

  private:
    void Run();
    Milliseconds PeriodNow();
    bool AwaitInterest(SteadyClock::time_point due);

    Machine& machine_;
    Milliseconds period_;
    Seen seen_;
    std::mutex mutex_;
    std::condition_variable changed_;
    unsigned interests_ = 0;
    bool ended_ = false;
    std::thread thread_;
};

} // namespace zelq::tool
