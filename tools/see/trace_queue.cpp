#include "see/trace_source.h"

namespace zelq::tool {

void TraceQueue::Put(std::string text)
{
    const std::lock_guard lock(mutex_);
    if (lines_.size() == kMost) {
        lines_.pop_front();
        ++lost_;
    }
    lines_.emplace_back(Now(), std::move(text));
    came_.notify_one();
}

std::vector<TraceLine> TraceQueue::Take(Milliseconds time)
{
    std::deque<std::pair<Microseconds, std::string>> taken;
    {
        std::unique_lock lock(mutex_);
        came_.wait_for(lock, time, [this] { return !lines_.empty(); });
        taken.swap(lines_);
    }
    std::vector<TraceLine> lines;
    lines.reserve(taken.size());
    for (auto& [at, text] : taken) {
        lines.push_back(ParseTraceLine(at, std::move(text)));
    }
    return lines;
}

std::size_t TraceQueue::Lost()
{
    const std::lock_guard lock(mutex_);
    return lost_;
}

} // namespace zelq::tool
