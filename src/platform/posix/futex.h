#pragma once

#include "platform/clock.h"
#include "platform/posix/lock_page.h"

namespace zelq::platform {

/// Locks the word for this thread as a priority-inheriting futex, waiting until the deadline; 0 or
/// the system's error number.
int LockFutex(LockWord& word, Deadline deadline);

/// Hands the word to the next who waits.
void UnlockFutex(LockWord& word);

} // namespace zelq::platform
