#include "platform/named_lock.h"
#include "support/process_resources.h"

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace zelq::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLong{20'000};  ///< a wait that is never meant to end by itself
constexpr milliseconds kShort{60};     ///< one that is
constexpr milliseconds kPrompt{5'000}; ///< far below kLong, far above any delay of a busy machine
constexpr char kName[] = "Local\\Lumo=901";

/// Opened locks of one name.
class NamedLockTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ASSERT_TRUE(first_.Open(kName));
        ASSERT_TRUE(second_.Open(kName));
    }

    NamedLock first_;
    NamedLock second_;
};

TEST_F(NamedLockTest, ExcludesTheOthersOfItsName)
{
    ASSERT_EQ(first_.Wait(milliseconds{0}), LockStatus::kHeld);
    for (NamedLock* other : {&first_, &second_}) {
        const auto start = steady_clock::now();
        EXPECT_EQ(other->Wait(kShort), LockStatus::kTimedOut);
        EXPECT_GE(steady_clock::now() - start, kShort - milliseconds(1));
        EXPECT_LT(steady_clock::now() - start, kPrompt);
        EXPECT_EQ(other->Wait(milliseconds{0}), LockStatus::kTimedOut);
    }
    first_.Release();
    EXPECT_EQ(second_.Wait(milliseconds{0}), LockStatus::kHeld);
    EXPECT_EQ(first_.Wait(milliseconds{0}), LockStatus::kTimedOut);
    second_.Release();
}

TEST_F(NamedLockTest, LeavesOtherNamesAlone)
{
    NamedLock other;
    ASSERT_TRUE(other.Open("Local\\Lumo=902"));
    ASSERT_EQ(first_.Wait(kLong), LockStatus::kHeld);
    EXPECT_EQ(other.Wait(milliseconds{0}), LockStatus::kHeld);
    other.Release();
    first_.Release();
}

TEST_F(NamedLockTest, IsHandedOverAtOnce)
{
    ASSERT_EQ(first_.Wait(kLong), LockStatus::kHeld);
    std::atomic<LockStatus> got = LockStatus::kFailed;
    const auto start = steady_clock::now();
    std::thread waiter([&] {
        got = second_.Wait(kLong);
        if (got == LockStatus::kHeld) second_.Release();
    });
    EXPECT_EQ(first_.Wait(kShort), LockStatus::kTimedOut); // long enough for the waiter to wait
    first_.Release();
    waiter.join();
    EXPECT_EQ(got, LockStatus::kHeld);
    EXPECT_LT(steady_clock::now() - start, kPrompt);
}

TEST_F(NamedLockTest, LetsOneThreadInAtATime)
{
    constexpr int kThreads = 4;
    constexpr int kTurns = 500;
    std::atomic<int> inside = 0;
    std::atomic<int> clashes = 0;
    std::atomic<int> turns = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            NamedLock& lock = thread % 2 == 0 ? first_ : second_;
            for (int turn = 0; turn < kTurns; ++turn) {
                if (lock.Wait(kLong) != LockStatus::kHeld) return;
                if (++inside != 1) ++clashes;
                std::this_thread::yield();
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

TEST_F(NamedLockTest, LivesOnWithTheLastWhoHasIt)
{
    ASSERT_EQ(first_.Wait(kLong), LockStatus::kHeld);
    second_.Close();
    NamedLock third;
    ASSERT_TRUE(third.Open(kName));
    EXPECT_EQ(third.Wait(milliseconds{0}), LockStatus::kTimedOut);
    first_.Release();
    EXPECT_EQ(third.Wait(milliseconds{0}), LockStatus::kHeld);
    third.Release();
}

TEST(NamedLockClosed, FailsToWait)
{
    NamedLock lock;
    EXPECT_EQ(lock.Wait(kLong), LockStatus::kFailed);
    ASSERT_TRUE(lock.Open(kName));
    ASSERT_TRUE(lock.Open(kName)); // anew
    EXPECT_EQ(lock.Wait(kLong), LockStatus::kHeld);
    lock.Release();
    lock.Close();
    lock.Close();
    EXPECT_EQ(lock.Wait(kLong), LockStatus::kFailed);
}

TEST(NamedLockResources, ThousandsOfLocksLeaveNothing)
{
    constexpr int kWarmUp = 20;
    constexpr int kCycles = 2'000;
    std::size_t descriptors = 0;
    const std::size_t inheritable = test::InheritableDescriptors();
    for (int cycle = -kWarmUp; cycle < kCycles; ++cycle) {
        if (cycle == 0) descriptors = test::OpenDescriptors();
        NamedLock lock;
        ASSERT_TRUE(lock.Open(kName));
        ASSERT_EQ(lock.Wait(kLong), LockStatus::kHeld);
        lock.Release();
    }
    EXPECT_LE(test::OpenDescriptors(), descriptors);

    // Nor does a child process get one.
    NamedLock lock;
    ASSERT_TRUE(lock.Open(kName));
    EXPECT_EQ(test::InheritableDescriptors(), inheritable);
}

} // namespace
} // namespace zelq::platform
