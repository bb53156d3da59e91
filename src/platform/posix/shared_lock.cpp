#include "platform/shared_lock.h"

#include "platform/clock.h"
#include "platform/posix/futex.h"
#include "platform/process.h"

#include <array>
#include <cerrno>
#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zelq::platform {

// A word holds the number of the thread that has the lock. A free one is taken and given back by
// that thread alone; only where somebody has to wait does the kernel step in. It gives the lock to
// the next in turn, also when its holder dies, so there is no wake-up that could get lost.
//
// A holder that dies while nobody waits leaves its number behind. The kernel tells that there is no
// such thread, and the next one takes the lock over. Should the number be another thread's by then,
// the kernel takes that one for the holder: a caller waits as long as it is ready to and goes on
// without the lock, as after every wait that times out. That is over when the other thread ends, or
// takes this lock itself.

namespace {

/// What this process knows of one lock.
struct Place
{
    std::atomic<std::uint32_t> holder = 0; ///< our thread that has it
    LockWord* held = nullptr;              ///< what that thread gives back, whoever closes
};

std::array<Place, SharedLock::kPlaces> places;

/// Initial-exec: no thread's copy has to be allocated by the loader.
[[gnu::tls_model("initial-exec")]] constinit thread_local std::uint32_t threadNumber = 0;

std::uint32_t ThreadNumber()
{
    if (threadNumber == 0) threadNumber = static_cast<std::uint32_t>(syscall(SYS_gettid));
    return threadNumber;
}

/// What the parent's threads held and did is no business of the child, whose own thread has
/// another number.
void ForgetTheParent()
{
    threadNumber = 0;
    for (Place& place : places) {
        place.holder = 0;
    }
    ResetLockPage();
}

[[maybe_unused]] const bool kForgetsTheParent = (CallInForkedChild(ForgetTheParent), true);

/// Waits in the kernel, which answers for every other thread's sake.
LockStatus WaitFor(LockWord& word, std::uint32_t self, Deadline deadline)
{
    std::uint32_t dead = 0;
    while (true) {
        std::uint32_t seen = word.load();
        const int error = LockFutex(word, deadline);
        if (error == 0) {
            word.load(std::memory_order_acquire); // what its last holder wrote is seen from here on
            return LockStatus::kHeld;
        }
        if (error == ETIMEDOUT) return LockStatus::kTimedOut;
        if (error == ESRCH || error == EPERM) {
            // Its holder is no more, or its number is one of the kernel's own by now. Told once,
            // that may be true of a holder between two others; told twice, it is true of this one.
            if (seen == dead && word.compare_exchange_strong(seen, self)) return LockStatus::kHeld;
            dead = seen;
            continue;
        }
        // The holder is about to end, or the lock is on its way from a dead one to the next.
        if (error != EAGAIN && error != EINVAL && error != EINTR) return LockStatus::kFailed;
        if (Clock::now() >= deadline) return LockStatus::kTimedOut;
        sched_yield();
    }
}

LockStatus Take(LockWord& word, const Place& place, std::chrono::milliseconds timeout)
{
    const std::uint32_t self = ThreadNumber();
    std::uint32_t seen = 0;
    if (word.compare_exchange_strong(seen, self)) return LockStatus::kHeld;
    if ((seen & FUTEX_TID_MASK) != self) return WaitFor(word, self, Clock::now() + timeout);
    // What a dead thread of our number has left is ours; what we have we cannot wait for.
    return place.holder == self ? LockStatus::kTimedOut : LockStatus::kHeld;
}

void GiveBack(LockWord& word, std::uint32_t self)
{
    if (word.compare_exchange_strong(self, 0)) return;
    word.fetch_or(0, std::memory_order_release); // what we wrote is seen by whoever gets it next
    UnlockFutex(word);
}

/// The lock's word, from the page that is opened where it is not yet; null when it cannot be.
LockWord* OpenWord(std::atomic<LockWord*>& word, unsigned place)
{
    LockWord* opened = word.load();
    if (opened != nullptr) return opened;
    LockWord* const page = UseLockPage();
    if (page == nullptr) return nullptr;
    if (word.compare_exchange_strong(opened, page + place)) return page + place;
    LeaveLockPage();
    return opened;
}

} // namespace

LockStatus SharedLock::Wait(std::chrono::milliseconds timeout)
{
    Place& place = places[place_];
    ++state_.inside;
    LockWord* const word = OpenWord(state_.word, place_);
    const LockStatus status = word != nullptr ? Take(*word, place, timeout) : LockStatus::kFailed;
    if (status == LockStatus::kHeld) {
        place.held = word;
        place.holder.store(ThreadNumber(), std::memory_order_relaxed);
    }
    if (status == LockStatus::kFailed) --state_.inside;
    return status;
}

void SharedLock::Release()
{
    Place& place = places[place_];
    const std::uint32_t self = ThreadNumber();
    if (place.holder == self) {
        LockWord* const held = place.held;
        place.holder.store(0, std::memory_order_relaxed);
        GiveBack(*held, self);
    }
    --state_.inside;
}

// The kernel sees to it.
void SharedLock::ReleaseForEndedThreads() {}

void SharedLock::Close()
{
    const bool open = state_.word.exchange(nullptr) != nullptr;
    // A thread that is still inside, as when main returns before its threads, keeps its memory.
    if (open && state_.inside == 0) LeaveLockPage();
}

} // namespace zelq::platform
