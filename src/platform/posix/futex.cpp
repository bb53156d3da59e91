#include "platform/posix/futex.h"

#include <cerrno>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zelq::platform {

namespace {

/// A time as this system call takes it, also where the language's has other widths.
struct KernelTime
{
    long seconds;
    long nanoseconds;
};

/// The moment `left` from now by one of the system's clocks.
KernelTime After(std::chrono::nanoseconds left, clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    const auto end = std::chrono::nanoseconds(now.tv_nsec) + left;
    const auto seconds = std::chrono::floor<std::chrono::seconds>(end);
    return {static_cast<long>(now.tv_sec + seconds.count()),
            static_cast<long>((end - seconds).count())};
}

int CallFutex(LockWord& word, int operation, const KernelTime* until)
{
    return syscall(SYS_futex, &word, operation, 0, until, nullptr, 0) == 0 ? 0 : errno;
}

} // namespace

int LockFutex(LockWord& word, Deadline deadline)
{
    const std::chrono::nanoseconds left = deadline - Clock::now();
    const KernelTime until = After(left, CLOCK_MONOTONIC);
    const int error = CallFutex(word, FUTEX_LOCK_PI2, &until);
    if (error != ENOSYS) return error;
    // A kernel before 5.14 takes the time of day alone.
    const KernelTime wallUntil = After(left, CLOCK_REALTIME);
    return CallFutex(word, FUTEX_LOCK_PI, &wallUntil);
}

void UnlockFutex(LockWord& word)
{
    CallFutex(word, FUTEX_UNLOCK_PI, nullptr);
}

} // namespace zelq::platform
