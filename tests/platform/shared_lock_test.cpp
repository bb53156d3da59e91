#include "platform/shared_lock.h"
#include "support/process_resources.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace zelq::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLong{20'000};  ///< a wait that is never meant to end by itself
constexpr milliseconds kShort{60};     ///< one that is
constexpr milliseconds kPrompt{5'000}; ///< far below kLong, far above any delay of a busy machine
constexpr unsigned kPlace = 241;

/// Waits on a thread of its own, goes on whether it has the lock or not, and releases it.
LockStatus WaitElsewhere(SharedLock& lock, milliseconds timeout)
{
    LockStatus status = LockStatus::kFailed;
    std::thread([&] {
        status = lock.Wait(timeout);
        // One that timed out would make the lock whole that another holds here.
        if (status == LockStatus::kHeld) lock.Release();
    }).join();
    return status;
}

TEST(SharedLock, ExcludesTheOthersOfItsPlaceAlone)
{
    SharedLock lock(kPlace);
    SharedLock same(kPlace);
    SharedLock other(kPlace + 1);
    ASSERT_EQ(lock.Wait(milliseconds{0}), LockStatus::kHeld);
    for (SharedLock* contender : {&lock, &same}) {
        const auto start = steady_clock::now();
        EXPECT_EQ(WaitElsewhere(*contender, kShort), LockStatus::kTimedOut);
        EXPECT_GE(steady_clock::now() - start, kShort - milliseconds(1));
        EXPECT_LT(steady_clock::now() - start, kPrompt);
        EXPECT_EQ(WaitElsewhere(*contender, milliseconds{0}), LockStatus::kTimedOut);
    }
    EXPECT_EQ(WaitElsewhere(other, milliseconds{0}), LockStatus::kHeld);
    lock.Release();
    EXPECT_EQ(WaitElsewhere(same, milliseconds{0}), LockStatus::kHeld);
    lock.Close();
    lock.Close();
    EXPECT_EQ(WaitElsewhere(lock, milliseconds{0}), LockStatus::kHeld); // opens it anew
}

TEST(SharedLock, IsHandedOverAtOnce)
{
    SharedLock lock(kPlace);
    ASSERT_EQ(lock.Wait(kLong), LockStatus::kHeld);
    std::atomic<LockStatus> got = LockStatus::kFailed;
    const auto start = steady_clock::now();
    std::thread waiter([&] { got = WaitElsewhere(lock, kLong); });
    EXPECT_EQ(WaitElsewhere(lock, kShort), LockStatus::kTimedOut); // so long that the other waits
    lock.Release();
    waiter.join();
    EXPECT_EQ(got, LockStatus::kHeld);
    EXPECT_LT(steady_clock::now() - start, kPrompt);
}

TEST(SharedLock, LetsOneThreadInAtATime)
{
    constexpr int kThreads = 4;
    constexpr int kTurns = 500;
    SharedLock first(kPlace);
    SharedLock second(kPlace);
    int inside = 0; // by no means atomic: a thread sanitizer looks on
    int clashes = 0;
    int turns = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            SharedLock& lock = thread % 2 == 0 ? first : second;
            for (int turn = 0; turn < kTurns; ++turn) {
                if (lock.Wait(kLong) != LockStatus::kHeld) return;
                if (++inside != 1) ++clashes;
                if (turn % 8 == 0) std::this_thread::yield();
                --inside;
                ++turns;
                lock.Release();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(clashes, 0);
    EXPECT_EQ(turns, kThreads * kTurns);
}

TEST(SharedLock, ThousandsLeaveNothing)
{
    constexpr int kCycles = 2'000;
    std::size_t descriptors = 0;
    const std::size_t inheritable = test::InheritableDescriptors();
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        if (cycle == 1) descriptors = test::OpenDescriptors();
        SharedLock lock(kPlace);
        ASSERT_EQ(lock.Wait(kLong), LockStatus::kHeld);
        if (cycle == 0) {
            EXPECT_EQ(test::InheritableDescriptors(), inheritable);
        }
        lock.Release();
    }
    EXPECT_LE(test::OpenDescriptors(), descriptors);
}

} // namespace
} // namespace zelq::platform
