#include "platform/shared_lock.h"

#include "platform/windows/system.h"
#include "platform/windows/wait_time.h"

#include <array>
#include <cstdio>

namespace zelq::platform {

namespace {

/// The semaphore of a place, made by the first process that asks for it; null when that fails.
HANDLE MakeSemaphore(unsigned place)
{
    std::array<char, 32> name{"Local\\UDP"};
    if (place != 0) std::snprintf(name.data(), name.size(), "Local\\Lumo=%u", place);
    return CreateSemaphoreA(nullptr, 1, 1, name.data());
}

HANDLE OpenSemaphoreOnce(std::atomic<void*>& semaphore, unsigned place)
{
    void* opened = semaphore.load();
    if (opened != nullptr) return opened;
    const HANDLE made = MakeSemaphore(place);
    if (made == nullptr || semaphore.compare_exchange_strong(opened, made)) return made;
    CloseHandle(made);
    return opened;
}

} // namespace

LockStatus SharedLock::Wait(std::chrono::milliseconds timeout)
{
    const HANDLE semaphore = OpenSemaphoreOnce(state_.semaphore, place_);
    if (semaphore == nullptr) return LockStatus::kFailed;
    const DWORD wait = WaitForSingleObject(semaphore, WaitTime(timeout));
    if (wait == WAIT_TIMEOUT) return LockStatus::kTimedOut;
    if (wait != WAIT_OBJECT_0) return LockStatus::kFailed;
    state_.held = true;
    return LockStatus::kHeld;
}

void SharedLock::Release()
{
    // In this order: were the thread ended in between, the lock would be waited for once, but never
    // be released while another process holds it.
    state_.held = false;
    ReleaseSemaphore(state_.semaphore.load(), 1, nullptr);
}

void SharedLock::ReleaseForEndedThreads()
{
    if (state_.held) Release();
}

void SharedLock::Close()
{
    const HANDLE semaphore = state_.semaphore.exchange(nullptr);
    if (semaphore != nullptr) CloseHandle(semaphore);
}

} // namespace zelq::platform
