#include "load/child_roles.h"
#include "support/child_process.h"
#include "support/scripted_controller.h"
#include "zelq.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace zelq::test {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

#ifdef _WIN32
constexpr bool kDeathFreesTheLock = false; // a semaphore knows no holder
#else
constexpr bool kDeathFreesTheLock = true;
#endif

constexpr seconds kLockWait{4};
constexpr seconds kPatience{20};

// Numbers that no other test uses: processes share the lock by it.
constexpr short kShared = 201;
constexpr short kHeld = 202;
constexpr short kSilent = 203;
constexpr short kBusy = 204;
constexpr short kCycled = 205;
constexpr short kUnloaded = 206;
constexpr short kQuit = 207; // and the next

/// Starts a child that plays a role on these controllers.
ChildProcess Child(const std::string& role, const std::vector<const ScriptedController*>& on,
                   int count = 0)
{
    std::vector<std::string> arguments{kChildArgument, role};
    for (const ScriptedController* controller : on) {
        arguments.push_back(std::to_string(controller->Number()));
        arguments.push_back(std::to_string(controller->Port()));
    }
    arguments.push_back(std::to_string(count));
    return ChildProcess(arguments);
}

bool IsCommand(const Request& request)
{
    return request.front().function == 23;
}

/// Answers a child's connecting but not its first command; tells when that has come.
std::shared_future<void> AwaitFirstCommand(ScriptedController& controller)
{
    auto asked = std::make_shared<std::promise<void>>();
    auto silent = std::make_shared<bool>(false);
    controller.Always([&controller, asked, silent](const Request& request) {
        if (*silent || !IsCommand(request)) return Answer{controller.ProperReply(request)};
        *silent = true;
        asked->set_value();
        return Answer{};
    });
    return asked->get_future().share();
}

TEST(TwoProcesses, TakeTurnsOnOneController)
{
    constexpr int kCalls = 100;
    ScriptedController controller(kShared);
    ASSERT_NO_FATAL_FAILURE(controller.Connect());
    // A command takes its time, in which a request of the other process would be seen. Connecting
    // does not: on a busy machine its first request may be given up and made again.
    controller.Always([&](const Request& request) {
        return Answer{.bytes = controller.ProperReply(request),
                      .pause = milliseconds(IsCommand(request) ? 1 : 0)};
    });
    ChildProcess child = Child("call", {&controller}, kCalls);
    const auto deadline = steady_clock::now() + kPatience;
    while (controller.Connections() < 2 && steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    for (int call = 0; call < kCalls; ++call) {
        EXPECT_EQ(zelQ_MoveAbs(kShared, 0, call), 0);
    }
    EXPECT_EQ(child.Wait(), 0);
    const std::vector<Request> requests = controller.TakeRequests();
    EXPECT_EQ(std::ranges::count_if(requests, IsCommand), 2 * kCalls) << "some are sent again";
    EXPECT_EQ(controller.MostWaiting(), 1);
}

TEST(TwoProcesses, GoOnWhenOneIsKilledWithTheLock)
{
    ScriptedController controller(kHeld);
    ASSERT_NO_FATAL_FAILURE(controller.Connect());
    const auto holds = AwaitFirstCommand(controller);
    ChildProcess child = Child("call", {&controller}, 1);
    ASSERT_EQ(holds.wait_for(kPatience), std::future_status::ready);

    const auto start = steady_clock::now();
    auto waiting = std::async(std::launch::async, [] { return zelQ_MoveAbs(kHeld, 0, 1.0); });
    EXPECT_EQ(waiting.wait_for(milliseconds(200)), std::future_status::timeout) << "no lock";
    child.Kill();
    EXPECT_EQ(waiting.get(), 0);
    const auto waited = steady_clock::now() - start;
    if (kDeathFreesTheLock) {
        EXPECT_LT(waited, kLockWait / 2);
    } else {
        EXPECT_GE(waited, kLockWait - milliseconds(50));
    }
    // At the latest, one wait has made the lock whole.
    const auto again = steady_clock::now();
    EXPECT_EQ(zelQ_MoveAbs(kHeld, 0, 2.0), 0);
    EXPECT_LT(steady_clock::now() - again, kLockWait / 2);
}

TEST(TwoProcesses, AnEndingMainLeavesItsCallingThreadsInPeace)
{
    ScriptedController silent(kSilent);
    ScriptedController busy(kBusy);
    const auto called = AwaitFirstCommand(silent);
    busy.Always([&busy, called](const Request& request) {
        // The servo reset is main's last call; all others are those of the thread.
        const Words& words = request.front().written;
        const bool fine = words.size() < 2 || words[1] != 0 ||
                          called.wait_for(kPatience) == std::future_status::ready;
        return fine ? Answer{busy.ProperReply(request)} : Answer{};
    });
    ASSERT_NO_FATAL_FAILURE(silent.Connect());
    EXPECT_EQ(Child("return", {&silent, &busy}).Wait(), 0);
    // What they held in the middle of an exchange is released by then.
    const auto start = steady_clock::now();
    EXPECT_EQ(zelQ_MoveAbs(kSilent, 0, 1.0), 0);
    EXPECT_LT(steady_clock::now() - start, kLockWait / 2);
}

TEST(TwoProcesses, AnEndWithManySilentControllersTakesNoLongerThanWithOne)
{
    std::vector<std::shared_future<void>> called;
    std::atomic<steady_clock::time_point> end;
    ScriptedController answering(kQuit); // ends before what its answer looks at
    std::vector<std::unique_ptr<ScriptedController>> silent;
    std::vector<const ScriptedController*> all{&answering};
    for (short number = kQuit + 1; number < kQuit + 5; ++number) {
        silent.push_back(std::make_unique<ScriptedController>(number));
        called.push_back(AwaitFirstCommand(*silent.back()));
        all.push_back(silent.back().get());
    }
    answering.Always([&](const Request& request) {
        if (IsCommand(request)) {
            std::ranges::for_each(called, [](const auto& call) { call.wait_for(kPatience); });
            end = steady_clock::now();
        }
        return Answer{answering.ProperReply(request)};
    });
    EXPECT_EQ(Child("quit", all).Wait(), 0);
    EXPECT_LT(steady_clock::now() - end.load(), 2 * kLockWait);
}

TEST(Leaks, ConnectingOrLoadingAThousandTimesLeavesNothing)
{
    const ScriptedController cycled(kCycled);
    EXPECT_EQ(Child("cycles", {&cycled}, 1000).Wait(), 0);
    const ScriptedController unloaded(kUnloaded);
    EXPECT_EQ(Child("unload", {&unloaded}, 1000).Wait(), 0);
}

} // namespace

} // namespace zelq::test
