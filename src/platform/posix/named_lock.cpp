#include "platform/named_lock.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zelq::platform {

// The lock stands in a shared-memory object, so that taking a free one costs no system call. Two
// bytes of the object serve as file locks, which the kernel drops with their process: whoever sets
// the object up or takes it down holds the first, every user shares the second.

namespace {

constexpr off_t kSetUpByte = 0;
constexpr off_t kUserByte = 1;

bool LockByte(int file, off_t byte, short type, bool wait)
{
    struct flock range
    {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    int result = 0;
    do {
        result = fcntl(file, wait ? F_OFD_SETLKW : F_OFD_SETLK, &range);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

/// The object's name: one per user, and per pointer width, whose mutexes differ in layout.
std::array<char, 64> ObjectName(const char* name)
{
    const char* separator = std::strchr(name, '\\');
    const char* last = separator != nullptr ? separator + 1 : name;
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "/zelq-%u-%zu-%s", geteuid(), 8 * sizeof(void*), last);
    return text;
}

/// A holder that died leaves the lock to the next one who asks.
LockStatus FromError(pthread_mutex_t& mutex, int error)
{
    if (error == EOWNERDEAD) error = pthread_mutex_consistent(&mutex);
    if (error == 0) return LockStatus::kHeld;
    return error == ETIMEDOUT ? LockStatus::kTimedOut : LockStatus::kFailed;
}

bool InitMutex(pthread_mutex_t& mutex)
{
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) return false;
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    const bool done = pthread_mutex_init(&mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    return done;
}

LockStatus WaitFor(pthread_mutex_t& mutex, std::chrono::milliseconds timeout)
{
    timespec until{};
    clock_gettime(CLOCK_MONOTONIC, &until);
    const auto end = std::chrono::nanoseconds(until.tv_nsec) + timeout;
    until.tv_sec += static_cast<time_t>(end / std::chrono::seconds(1));
    until.tv_nsec = static_cast<long>((end % std::chrono::seconds(1)).count());
    return FromError(mutex, pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &until));
}

/// Opens the object by name with its set-up byte locked; -1 when it cannot be had. An object that
/// its last user unlinked in the meantime is opened anew.
int OpenForSetUp(const char* objectName)
{
    while (true) {
        struct stat state
        {};
        const int file = shm_open(objectName, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (file < 0) return -1;
        const bool mine = LockByte(file, kSetUpByte, F_WRLCK, true) && fstat(file, &state) == 0 &&
                          state.st_uid == geteuid();
        if (mine && state.st_nlink > 0) return file;
        close(file);
        if (!mine) return -1;
    }
}

/// Maps the object's mutex, made new where nobody uses it yet; null when that fails.
pthread_mutex_t* MapMutex(int file, bool fresh)
{
    if (ftruncate(file, sizeof(pthread_mutex_t)) != 0) return nullptr;
    void* memory =
        mmap(nullptr, sizeof(pthread_mutex_t), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED) return nullptr;
    auto* mutex = static_cast<pthread_mutex_t*>(memory);
    if (!fresh || InitMutex(*mutex)) return mutex;
    munmap(memory, sizeof(pthread_mutex_t));
    return nullptr;
}

} // namespace

bool NamedLock::Open(const char* name)
{
    Close();
    name_ = ObjectName(name);
    const int file = OpenForSetUp(name_.data());
    if (file < 0) return false;
    // Where the exclusive lock is to be had, nobody uses the object: it is a fresh one, or all its
    // users died.
    const bool fresh = LockByte(file, kUserByte, F_WRLCK, false);
    pthread_mutex_t* mutex = MapMutex(file, fresh);
    if (mutex == nullptr || !LockByte(file, kUserByte, F_RDLCK, true)) {
        close(file);
        return false;
    }
    LockByte(file, kSetUpByte, F_UNLCK, true);
    file_ = file;
    lock_.store(mutex);
    return true;
}

void NamedLock::Close()
{
    void* mutex = lock_.exchange(nullptr);
    if (mutex == nullptr) return;
    LockByte(file_, kSetUpByte, F_WRLCK, true);
    if (LockByte(file_, kUserByte, F_WRLCK, false)) shm_unlink(name_.data());
    close(file_);
    file_ = -1;
    // A thread that is still inside, as when main returns before its threads, keeps its memory.
    if (users_.load() == 0) munmap(mutex, sizeof(pthread_mutex_t));
}

LockStatus NamedLock::Wait(std::chrono::milliseconds timeout)
{
    ++users_;
    LockStatus status = LockStatus::kFailed;
    if (auto* mutex = static_cast<pthread_mutex_t*>(lock_.load()); mutex != nullptr) {
        status = FromError(*mutex, pthread_mutex_trylock(mutex));
        if (status == LockStatus::kFailed) status = WaitFor(*mutex, timeout);
    }
    if (status != LockStatus::kHeld) --users_;
    return status;
}

void NamedLock::Release()
{
    auto* mutex = static_cast<pthread_mutex_t*>(lock_.load());
    if (mutex != nullptr) pthread_mutex_unlock(mutex);
    --users_;
}

} // namespace zelq::platform
