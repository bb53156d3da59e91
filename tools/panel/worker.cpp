#include "panel/worker.h"

#include <algorithm>
#include <utility>

namespace zelq::tool {

bool Worker::Add(Task task)
{
    const std::lock_guard lock(mutex_);
    if (tasks_.size() >= kMostWaiting) return false;
    tasks_.push_back(std::move(task));
    changed_.notify_all();
    return true;
}

void Worker::DropMoves()
{
    std::deque<Task> dropped;
    {
        const std::lock_guard lock(mutex_);
        const auto moves = std::stable_partition(tasks_.begin(), tasks_.end(),
                                                 [](const Task& task) { return !task.moves; });
        std::move(moves, tasks_.end(), std::back_inserter(dropped));
        tasks_.erase(moves, tasks_.end());
    }
    for (const Task& task : dropped) {
        task.dropped();
    }
}

void Worker::Run()
{
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return ended_ || !tasks_.empty(); });
        if (ended_) return;
        const Task task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task.run();
        lock.lock();
    }
}

void Stopper::Ask(Stopped stopped)
{
    const std::lock_guard lock(mutex_);
    asked_.push_back(std::move(stopped));
    changed_.notify_all();
}

void Stopper::Run()
{
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return ended_ || !asked_.empty(); });
        if (asked_.empty()) return; // what was asked for is done first
        const std::deque<Stopped> asked = std::exchange(asked_, {});
        lock.unlock();
        const short result = machine_.StopAll();
        for (const Stopped& stopped : asked) {
            stopped(result);
        }
        lock.lock();
    }
}

} // namespace zelq::tool
