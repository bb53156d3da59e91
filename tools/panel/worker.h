// Does what pages ask for, one thing after the other, off the server's thread.
#pragma once

#include "panel/machine.h"
#include "panel/service.h"

#include <deque>
#include <functional>

namespace zelq::tool {

class Worker final : private Service
{
  public:
    struct Task
    {
        bool moves = false;
        std::function<void()> run;
        std::function<void()> dropped; ///< in place of it, when a stop came first
    };

    Worker() = default;
    ~Worker() { Stop(); }

    using Service::Start;
    using Service::Stop;
    /// To be asked within what takes long.
    [[nodiscard]] bool IsEnding() const { return ended_; }

    /// False: too much waits already.
    [[nodiscard]] bool Add(Task task);
    /// What waits and moves something is not done any more.
    void DropMoves();

  private:
    void Run() override;

    static constexpr std::size_t kMostWaiting = 64;

    std::deque<Task> tasks_;
};

/// Stops everything, on a thread of its own: nothing stands in front of it.
class Stopper final : private Service
{
  public:
    using Stopped = std::function<void(short result)>;

    explicit Stopper(Machine& machine) : machine_(machine) {}
    ~Stopper() { Stop(); }

    using Service::Start;
    using Service::Stop;
    void Ask(Stopped stopped);

  private:
    void Run() override;

    Machine& machine_;
    std::deque<Stopped> asked_;
};

} // namespace zelq::tool
