#pragma once

#include <atomic>
#include <cstdint>

namespace zelq::platform {

/// The word of one lock: 0, or the number of the thread that holds it and two flags of the
/// kernel's.
using LockWord = std::atomic<std::uint32_t>;
static_assert(sizeof(LockWord) == 4 && LockWord::is_always_lock_free, "the kernel's futex word");

/// The words of all locks of this user, in one page of memory that all his processes share,
/// whatever their width. Each call that gives a page counts as one use of it; null when it cannot
/// be had, or when what stands in its place is not ours alone.
LockWord* UseLockPage();
void LeaveLockPage();

/// In a forked child: its parent's other threads can no longer be in the middle of the above.
void ResetLockPage();

} // namespace zelq::platform
