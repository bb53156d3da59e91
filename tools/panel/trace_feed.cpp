#include "panel/trace_feed.h"

#include "frame/failure.h"

namespace zelq::tool {

namespace {

constexpr Milliseconds kTakeEvery{50};
constexpr std::size_t kMostLines = 500; // a message
constexpr std::chrono::seconds kTryAgain{1};

} // namespace

void TraceFeed::Set(bool wanted)
{
    const std::lock_guard lock(mutex_);
    wanted_ = wanted;
    changed_.notify_all();
}

bool TraceFeed::IsWanted()
{
    const std::lock_guard lock(mutex_);
    return wanted_ && !ended_;
}

void TraceFeed::Take()
{
    TraceSource source;
    while (IsWanted()) {
        std::vector<std::string> lines;
        for (TraceLine& line : source.Lines().Take(kTakeEvery)) {
            if (lines.size() < kMostLines) lines.push_back(std::move(line.text));
        }
        if (!lines.empty()) told_(lines, "");
    }
}

void TraceFeed::Run()
{
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return ended_ || wanted_; });
            if (ended_) return;
        }
        try {
            Take();
        } catch (const Failure& failure) { // such as another viewer
            told_({}, failure.what());
            std::unique_lock lock(mutex_);
            changed_.wait_for(lock, kTryAgain, [this] { return ended_ || !wanted_; });
        }
    }
}

} // namespace zelq::tool
