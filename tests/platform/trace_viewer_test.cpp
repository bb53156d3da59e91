#include "platform/trace_viewer.h"
#include "support/debug_output_capture.h"
#include "support/process_resources.h"
#include "support/trace_capture.h"

#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace zelq::platform {
namespace {

using std::chrono::milliseconds;
using test::DebugOutputCapture;
using test::TraceCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

void Deliver(const std::string& line)
{
    DeliverTraceLine(line.c_str(), line.size());
}

TEST(TraceViewer, GetsEachLineWholeAndInOrder)
{
    TraceCapture viewer;
    DebugOutputCapture debugger;
    const std::string longest = std::string(2046, 'x') + "\n";
    Lines sent{"TIME=260101000000,0=zelQ_MoveAbs(1,2,3)\n", "\n", longest};
    for (int i = 0; i < 100; ++i) {
        sent.push_back(std::to_string(i) + "\n"); // more than a socket's queue holds
    }
    for (const std::string& line : sent) {
        Deliver(line);
    }
    EXPECT_EQ(viewer.Lines(), sent);
    EXPECT_THAT(debugger.Lines(0), IsEmpty());
}

TEST(TraceViewer, IsLookedUpForEachLine)
{
    DebugOutputCapture debugger;
    Deliver("before\n");
    {
        TraceCapture viewer;
        Deliver("during\n");
        EXPECT_EQ(viewer.Next(), "during\n");
    }
    Deliver("between\n");
    {
        TraceCapture viewer;
        Deliver("again\n");
        EXPECT_THAT(viewer.Lines(), ElementsAre("again\n"));
    }
    EXPECT_THAT(debugger.Lines(2), ElementsAre("before\n", "between\n"));
}

TEST(TraceViewer, CostsAtMostATenthOfASecondWhenHung)
{
    const TraceCapture viewer(TraceCapture::Viewer::kHung);
    DebugOutputCapture debugger;
    const auto start = std::chrono::steady_clock::now();
    Deliver("lost\n");
    const auto spent = std::chrono::steady_clock::now() - start;
    EXPECT_GE(spent, milliseconds(80));
    EXPECT_LT(spent, milliseconds(400));
    EXPECT_THAT(debugger.Lines(0), IsEmpty());
}

TEST(TraceViewer, LeavesNothingForChildProcesses)
{
    const std::size_t before = test::InheritableDescriptors();
    Deliver("anything\n");
    EXPECT_EQ(test::InheritableDescriptors(), before);
}

TEST(TraceViewer, TakesLinesOfManyThreads)
{
    TraceCapture viewer;
    constexpr int kThreads = 4;
    constexpr int kLinesEach = 25;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < kLinesEach; ++i) {
                Deliver(std::to_string(thread) + ":" + std::to_string(i) + "\n");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Lines expected;
    for (int thread = 0; thread < kThreads; ++thread) {
        for (int i = 0; i < kLinesEach; ++i) {
            expected.push_back(std::to_string(thread) + ":" + std::to_string(i) + "\n");
        }
    }
    EXPECT_THAT(viewer.Lines(expected.size()), testing::UnorderedElementsAreArray(expected));
}

} // namespace
} // namespace zelq::platform
