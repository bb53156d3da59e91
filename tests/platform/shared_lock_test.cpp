#include "platform/loopback.h"
#include "platform/shared_lock.h"

#include <thread>

namespace zelq::platform {
namespace {

constexpr unsigned kLockPlace = 241;

/// Waits on a thread of its own, and releases what it gets.
LockStatus WaitElsewhere(SharedLock& lock, milliseconds timeout = milliseconds{0})
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
    SharedLock lock(kLockPlace);
    SharedLock same(kLockPlace);
    SharedLock other(kLockPlace + 1);
    ASSERT_EQ(lock.Wait(milliseconds{0}), LockStatus::kHeld);
    for (SharedLock* contender : {&lock, &same}) {
        const auto start = Clock::now();
        EXPECT_EQ(WaitElsewhere(*contender, kShort), LockStatus::kTimedOut);
        EXPECT_GE(Clock::now() - start, kShort - milliseconds(1));
        EXPECT_LT(Clock::now() - start, kPrompt);
        EXPECT_EQ(WaitElsewhere(*contender), LockStatus::kTimedOut);
    }
    EXPECT_EQ(WaitElsewhere(other), LockStatus::kHeld);
    EXPECT_EQ(lock.Wait(milliseconds{0}), LockStatus::kTimedOut) << "we have it ourselves";
    lock.Release();
    lock.Release();
    EXPECT_EQ(WaitElsewhere(same), LockStatus::kHeld);
    lock.Close();
    lock.Close();
    EXPECT_EQ(WaitElsewhere(lock), LockStatus::kHeld); // opens it anew
}

TEST(SharedLock, IsHandedOverAtOnce)
{
    SharedLock lock(kLockPlace);
    ASSERT_EQ(lock.Wait(kLong), LockStatus::kHeld);
    const auto start = Clock::now();
    std::thread waiter([&] { EXPECT_EQ(WaitElsewhere(lock, kLong), LockStatus::kHeld); });
    EXPECT_EQ(WaitElsewhere(lock, kShort), LockStatus::kTimedOut); // so long that the other waits
    lock.Release();
    waiter.join();
    EXPECT_LT(Clock::now() - start, kPrompt);
}

TEST(SharedLock, LetsOneThreadInAtATime)
{
    constexpr int kThreads = 4;
    constexpr int kTurns = 500;
    SharedLock first(kLockPlace);
    SharedLock second(kLockPlace);
    int inside = 0; // by no means atomic: a thread sanitizer looks on
    int clashes = 0;
    int turns = 0;
    std::vector<std::jthread> threads;
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
    threads.clear();
    EXPECT_EQ(clashes, 0);
    EXPECT_EQ(turns, kThreads * kTurns);
}

} // namespace
} // namespace zelq::platform
