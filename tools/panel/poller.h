// Looks at the controller again and again, while somebody wants to know.
#pragma once

#include "frame/system.h"
#include "panel/machine.h"
#include "panel/service.h"

#include <functional>

namespace zelq::tool {

class Poller final : private Service
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

    using Service::Start;
    using Service::Stop;
    void Set(Interest interest, bool wanted);
    [[nodiscard]] Milliseconds Period() const { return period_; }

  private:
    void Run() override;
    Milliseconds PeriodNow();
    bool AwaitInterest(SteadyClock::time_point due);

    Machine& machine_;
    Milliseconds period_;
    Seen seen_;
    unsigned interests_ = 0;
};

} // namespace zelq::tool
