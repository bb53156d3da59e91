#include "support/debug_output_capture.h"

#include "support/line_queue.h"

#include <mutex>

namespace zelq::test {

namespace {

std::mutex activeMutex;
LineQueue* active = nullptr;

void Activate(LineQueue* lines)
{
    const std::lock_guard lock(activeMutex);
    active = lines;
}

} // namespace

class DebugOutputCapture::Impl
{
  public:
    Impl() { Activate(&lines); }
    ~Impl() { Activate(nullptr); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    LineQueue lines;
};

DebugOutputCapture::DebugOutputCapture() : impl_(std::make_unique<Impl>()) {}

DebugOutputCapture::~DebugOutputCapture() = default;

std::vector<std::string> DebugOutputCapture::Lines(std::size_t count)
{
    return impl_->lines.TakeAll(count);
}

} // namespace zelq::test

// Stands before the library's own, which is made to be replaced.
extern "C" void zelq_debug_output(const char* line)
{
    const std::lock_guard lock(zelq::test::activeMutex);
    if (zelq::test::active != nullptr) zelq::test::active->Put(line);
}
