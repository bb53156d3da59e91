#include "platform/trace_viewer.h"
#include "support/debug_output_capture.h"
#include "support/trace_capture.h"

#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace zelq::platform {
namespace {

using test::DebugOutputCapture;
using test::TraceCapture;
using testing::ElementsAre;
using testing::IsEmpty;

void Deliver(const std::string& line)
{
    DeliverTraceLine(line.c_str(), line.size());
}

TEST(TraceViewer, IsLookedUpForEachLine)
{
    DebugOutputCapture debugger;
    Deliver("before\n");
    for (const char* line : {"during\n", "again\n"}) {
        TraceCapture viewer;
        Deliver(line);
        EXPECT_EQ(viewer.Next(), line);
    }
    Deliver("after\n");
    EXPECT_THAT(debugger.Lines(2), ElementsAre("before\n", "after\n"));
}

TEST(TraceViewer, GetsEachLineWholeAndInOrder)
{
    TraceCapture viewer;
    DebugOutputCapture debugger;
    std::vector<std::string> sent{"TIME=260101000000,0=zelQ_MoveAbs(1,2,3)\n", "\n",
                                  std::string(2046, 'x') + "\n"};
    for (int i = 0; i < 100; ++i) {
        sent.push_back(std::to_string(i) + "\n"); // more than a socket's queue holds
    }
    for (const std::string& line : sent) {
        Deliver(line);
    }
    EXPECT_EQ(viewer.Lines(), sent);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(
            [] { std::ranges::for_each(std::vector<std::string>(25, "one of many\n"), Deliver); });
    }
    threads.clear();
    EXPECT_EQ(viewer.Lines(), std::vector<std::string>(100, "one of many\n"));
    EXPECT_THAT(debugger.Lines(0), IsEmpty());
}

TEST(TraceViewer, CostsAtMostATenthOfASecondWhenHung)
{
    using std::chrono::milliseconds;
    const TraceCapture viewer(TraceCapture::Viewer::kHung);
    DebugOutputCapture debugger;
    const auto start = std::chrono::steady_clock::now();
    Deliver("lost\n");
    const auto spent = std::chrono::steady_clock::now() - start;
    EXPECT_GE(spent, milliseconds(80));
    EXPECT_LT(spent, milliseconds(400));
    EXPECT_THAT(debugger.Lines(0), IsEmpty());
}

} // namespace
} // namespace zelq::platform
