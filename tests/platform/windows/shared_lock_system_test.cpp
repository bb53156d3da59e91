#include "platform/shared_lock.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace zelq::platform {
namespace {

constexpr std::chrono::milliseconds kNoWait{0};
constexpr DWORD kTaken = WAIT_TIMEOUT;
constexpr unsigned kPlace = 243;
constexpr char kName[] = "Local\\Lumo=243";

TEST(SharedLockSystem, IsASemaphoreOfCountOneUntilTheLastClose)
{
    const struct
    {
        unsigned place;
        const char* name;
    } cases[] = {{kPlace, kName}, {0, "Local\\UDP"}};
    for (const auto& [place, name] : cases) {
        // As any other program of this user opens it.
        const auto open = [name = name] {
            return OpenSemaphoreA(SYNCHRONIZE | SEMAPHORE_MODIFY_STATE, FALSE, name);
        };
        EXPECT_EQ(open(), nullptr);
        SharedLock lock(place);
        ASSERT_EQ(lock.Wait(kNoWait), LockStatus::kHeld);
        const HANDLE semaphore = open();
        ASSERT_NE(semaphore, nullptr);
        EXPECT_EQ(WaitForSingleObject(semaphore, 0), kTaken);
        lock.Release();
        EXPECT_FALSE(ReleaseSemaphore(semaphore, 1, nullptr)); // it is free, and one is the most
        EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
        EXPECT_EQ(lock.Wait(kNoWait), LockStatus::kTimedOut);
        CloseHandle(semaphore);
        lock.Close();
        EXPECT_EQ(open(), nullptr);
    }
}

TEST(SharedLockSystem, IsWholeAgainAfterOneWaitForAHolderThatDied)
{
    // What a dead process leaves is a semaphore that nobody is going to release.
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 1, kName);
    SharedLock lock(kPlace);
    EXPECT_EQ(lock.Wait(std::chrono::milliseconds{60}), LockStatus::kTimedOut);
    lock.Release();
    EXPECT_EQ(lock.Wait(kNoWait), LockStatus::kHeld);
    // An ending process releases what it holds, and nothing else.
    lock.ReleaseForEndedThreads();
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
    lock.ReleaseForEndedThreads(); // somebody else holds it now
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), kTaken);
    CloseHandle(semaphore);
}

} // namespace
} // namespace zelq::platform
