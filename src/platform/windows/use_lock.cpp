#include "platform/use_lock.h"

#include "platform/windows/system.h"

namespace zelq::platform {

namespace {

/// The slim lock is one pointer, null at first, and needs no clean-up.
SRWLOCK* Native(void** state)
{
    static_assert(sizeof(SRWLOCK) == sizeof(void*));
    return reinterpret_cast<SRWLOCK*>(state);
}

} // namespace

void UseLock::lock()
{
    AcquireSRWLockExclusive(Native(&state_));
}

void UseLock::unlock()
{
    ReleaseSRWLockExclusive(Native(&state_));
}

void UseLock::lock_shared()
{
    AcquireSRWLockShared(Native(&state_));
}

void UseLock::unlock_shared()
{
    ReleaseSRWLockShared(Native(&state_));
}

} // namespace zelq::platform
