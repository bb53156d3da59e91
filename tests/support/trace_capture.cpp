#include "support/trace_capture.h"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace zelq::test {

TraceCapture::TraceCapture(Viewer viewer)
{
    constexpr std::chrono::seconds kPatience{10};
    constexpr std::chrono::milliseconds kRetry{20};
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (true) {
        viewer_ = std::make_unique<example::TraceLines>(viewer);
        if (viewer_->AreHere()) return;
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("there is another trace viewer");
        }
        std::this_thread::sleep_for(kRetry);
    }
}

std::string TraceCapture::Next()
{
    if (taken_.empty()) {
        const auto lines = viewer_->Take(1);
        taken_.assign(lines.begin(), lines.end());
    }
    if (taken_.empty()) return {};
    std::string line = std::move(taken_.front());
    taken_.pop_front();
    return line;
}

std::vector<std::string> TraceCapture::Lines(std::size_t count)
{
    const auto lines = viewer_->Take(count - std::min(count, taken_.size()));
    taken_.insert(taken_.end(), lines.begin(), lines.end());
    std::vector<std::string> all(taken_.begin(), taken_.end());
    taken_.clear();
    return all;
}

} // namespace zelq::test
