#include "platform/shared_lock.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace zelq::platform {
namespace {

using std::chrono::milliseconds;

constexpr unsigned kPlace = 243;

/// The semaphore as any other program of this user opens it; null when there is none.
HANDLE OpenByName(const char* name)
{
    return OpenSemaphoreA(SYNCHRONIZE | SEMAPHORE_MODIFY_STATE, FALSE, name);
}

TEST(SharedLockSystem, IsASemaphoreOfCountOneUntilTheLastClose)
{
    const struct
    {
        unsigned place;
        const char* name;
    } cases[] = {{kPlace, "Local\\Lumo=243"}, {0, "Local\\UDP"}};
    for (const auto& [place, name] : cases) {
        EXPECT_EQ(OpenByName(name), nullptr);
        SharedLock lock(place);
        ASSERT_EQ(lock.Wait(milliseconds{0}), LockStatus::kHeld);
        const HANDLE semaphore = OpenByName(name);
        ASSERT_NE(semaphore, nullptr);
        EXPECT_EQ(WaitForSingleObject(semaphore, 0), static_cast<DWORD>(WAIT_TIMEOUT));
        lock.Release();
        EXPECT_FALSE(ReleaseSemaphore(semaphore, 1, nullptr)); // it is free, and one is the most
        EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
        EXPECT_EQ(lock.Wait(milliseconds{0}), LockStatus::kTimedOut);
        CloseHandle(semaphore);
        lock.Close();
        EXPECT_EQ(OpenByName(name), nullptr);
    }
}

TEST(SharedLockSystem, IsWholeAgainAfterOneWaitForAHolderThatDied)
{
    // What a dead process leaves is a semaphore that nobody is going to release.
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 0, 1, "Local\\Lumo=243");
    SharedLock lock(kPlace);
    EXPECT_EQ(lock.Wait(milliseconds{60}), LockStatus::kTimedOut);
    lock.Release();
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(lock.Wait(milliseconds{0}), LockStatus::kHeld);
        lock.Release();
    }
    CloseHandle(semaphore);
}

TEST(SharedLockSystem, AnEndingProcessReleasesWhatItHoldsAndNothingElse)
{
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 1, 1, "Local\\Lumo=243");
    SharedLock lock(kPlace);
    ASSERT_EQ(lock.Wait(milliseconds{0}), LockStatus::kHeld);
    lock.ReleaseForEndedThreads();
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
    lock.ReleaseForEndedThreads(); // somebody else holds it now
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    CloseHandle(semaphore);
}

} // namespace
} // namespace zelq::platform
