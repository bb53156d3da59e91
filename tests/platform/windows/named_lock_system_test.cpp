#include "platform/named_lock.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace zelq::platform {
namespace {

constexpr char kName[] = "Local\\Lumo=903";

/// The semaphore as any other program of this user opens it; null when there is none.
HANDLE OpenByName()
{
    return OpenSemaphoreA(SYNCHRONIZE | SEMAPHORE_MODIFY_STATE, FALSE, kName);
}

TEST(NamedLockSystem, IsASemaphoreOfCountOneUntilTheLastClose)
{
    EXPECT_EQ(OpenByName(), nullptr);
    NamedLock first;
    NamedLock second;
    ASSERT_TRUE(first.Open(kName));
    ASSERT_TRUE(second.Open(kName));

    const HANDLE semaphore = OpenByName();
    ASSERT_NE(semaphore, nullptr);
    EXPECT_FALSE(ReleaseSemaphore(semaphore, 1, nullptr)); // it is free, and one is the most
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
    EXPECT_EQ(first.Wait(std::chrono::milliseconds{0}), LockStatus::kTimedOut);
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 1, nullptr));
    EXPECT_EQ(first.Wait(std::chrono::milliseconds{0}), LockStatus::kHeld);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    first.Release();
    CloseHandle(semaphore);

    first.Close();
    const HANDLE still = OpenByName();
    EXPECT_NE(still, nullptr);
    CloseHandle(still);
    second.Close();
    EXPECT_EQ(OpenByName(), nullptr);
}

} // namespace
} // namespace zelq::platform
