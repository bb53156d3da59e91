#include "platform/named_lock.h"

#include "platform/windows/system.h"
#include "platform/windows/wait_time.h"

namespace zelq::platform {

bool NamedLock::Open(const char* name)
{
    Close();
    const HANDLE semaphore = CreateSemaphoreA(nullptr, 1, 1, name);
    lock_.store(semaphore);
    return semaphore != nullptr;
}

void NamedLock::Close()
{
    const HANDLE semaphore = lock_.exchange(nullptr);
    if (semaphore != nullptr) CloseHandle(semaphore);
}

LockStatus NamedLock::Wait(std::chrono::milliseconds timeout)
{
    const HANDLE semaphore = lock_.load();
    if (semaphore == nullptr) return LockStatus::kFailed;
    const DWORD wait = WaitForSingleObject(semaphore, WaitTime(timeout));
    if (wait == WAIT_OBJECT_0) return LockStatus::kHeld;
    return wait == WAIT_TIMEOUT ? LockStatus::kTimedOut : LockStatus::kFailed;
}

void NamedLock::Release()
{
    const HANDLE semaphore = lock_.load();
    if (semaphore != nullptr) ReleaseSemaphore(semaphore, 1, nullptr);
}

} // namespace zelq::platform
