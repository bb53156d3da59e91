#include "support/debug_output_capture.h"

namespace zelq::test {

namespace {

std::mutex debugMutex;
example::LineQueue* debugLines = nullptr;

void DirectTo(example::LineQueue* lines)
{
    const std::lock_guard lock(debugMutex);
    debugLines = lines;
}

} // namespace

DebugOutputCapture::DebugOutputCapture()
    : source_(nullptr, [](std::nullptr_t) { DirectTo(nullptr); })
{
    DirectTo(&lines_);
}

} // namespace zelq::test

// Stands before the library's own, which is made to be replaced.
extern "C" void zelq_debug_output(const char* line)
{
    const std::lock_guard lock(zelq::test::debugMutex);
    if (zelq::test::debugLines != nullptr) zelq::test::debugLines->Put(line);
}
