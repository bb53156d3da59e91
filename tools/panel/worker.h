// Does what pages ask for, one thing after the other, off the server's thread.
#pragma once

#include "panel/machine.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace zelq::tool {

class Worker
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
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void Start() { thread_ = std::thread(&Worker::Run, this); }
    void Stop();
    /// To be asked within what takes long.
    [[nodiscard]] bool IsEnding() const { return ended_; }

    /// False: too much waits already.
    [[nodiscard]] bool Add(Task task);
    /// What waits and moves something is not done any more.
    void DropMoves();

  private:
    void Run();

    static constexpr std::size_t kMostWaiting = 64;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> tasks_;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

/// Stops everything, on a thread of its own: nothing stands in front of it.
class Stopper
{
  public:
    using Stopped = std::function<void(short result)>;

    explicit Stopper(Machine& machine) : machine_(machine) {}
    ~Stopper() { Stop(); }
    Stopper(const Stopper&) = delete;
    Stopper& operator=(const Stopper&) = delete;

    void Start() { thread_ = std::thread(&Stopper::Run, this); }
    void Stop();
    void Ask(Stopped stopped);

  private:
    void Run();

    Machine& machine_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Stopped> asked_;
    bool ended_ = false;
    std::thread thread_;
};

} // namespace zelq::tool
