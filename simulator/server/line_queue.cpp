#include "line_queue.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace lumosim {

struct LineQueue::Lines
{
    explicit Lines(std::FILE* out) : stream(out) {}

    void Write()
    {
        std::unique_lock lock(mutex);
        while (true) {
            changed.wait(lock, [this] { return ended || !waiting.empty(); });
            if (ended) return;
            const auto now = std::exchange(waiting, {});
            const auto dropped = std::exchange(lost, 0);
            lock.unlock();
            for (const std::string& line : now) {
                std::fprintf(stream, "%s\n", line.c_str());
            }
            if (dropped != 0) {
                std::fprintf(stream, "(%llu lines are missing here)\n",
                             static_cast<unsigned long long>(dropped));
            }
            std::fflush(stream);
            lock.lock();
            busy = !waiting.empty();
            changed.notify_all();
        }
    }

    std::FILE* const stream;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::string> waiting;
    std::uint64_t lost = 0;
    bool busy = false; // something waits, or is being written
    bool ended = false;
};

LineQueue::LineQueue(std::FILE* stream) : lines_(std::make_shared<Lines>(stream))
{
    // Who writes into a pipe that nobody reads cannot be waited for.
    std::thread([lines = lines_] { lines->Write(); }).detach();
}

LineQueue::~LineQueue()
{
    const std::lock_guard lock(lines_->mutex);
    lines_->ended = true;
    lines_->changed.notify_all();
}

void LineQueue::Put(std::string line)
{
    const std::lock_guard lock(lines_->mutex);
    if (lines_->waiting.size() == kMostLines) {
        ++lines_->lost;
        return;
    }
    lines_->waiting.push_back(std::move(line));
    lines_->busy = true;
    lines_->changed.notify_all();
}

bool LineQueue::Drain(std::chrono::milliseconds patience)
{
    std::unique_lock lock(lines_->mutex);
    return lines_->changed.wait_for(lock, patience, [this] { return !lines_->busy; });
}

} // namespace lumosim
