#include "platform/loopback.h"
#include "platform/shared_lock.h"
#include "support/posix/forked_child.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace zelq::platform {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kPlace = 243;

LockStatus WaitOnce()
{
    SharedLock lock(kPlace);
    const LockStatus status = lock.Wait(kShort);
    if (status != LockStatus::kFailed) lock.Release();
    return status;
}

/// A child that waits for the lock, and stops when it has it.
pid_t StartWaiter()
{
    const pid_t child = fork();
    if (child != 0) return child;
    SharedLock lock(kPlace);
    if (lock.Wait(kLong) == LockStatus::kHeld) raise(SIGSTOP);
    _exit(1);
}

/// A runtime folder of its own, which the locks are in while it lives.
class SharedLockSystem : public testing::Test
{
  protected:
    SharedLockSystem()
    {
        mkdir(folder_.c_str(), S_IRWXU);
        setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
    }
    ~SharedLockSystem() override
    {
        setenv("XDG_RUNTIME_DIR", before_.c_str(), 1);
        fs::remove_all(folder_);
    }

    const fs::path folder_ = fs::current_path() / ("locks-" + std::to_string(getpid()));
    const fs::path page_ = folder_ / "zelq-locks";
    const std::string before_ = std::getenv("XDG_RUNTIME_DIR");
    SharedLock lock_{kPlace};
};

TEST_F(SharedLockSystem, IsFreedWhenItsHolderDies)
{
    for (int again = 0; again < 3; ++again) {
        const pid_t holder = StartWaiter();
        int stopped = 0;
        waitpid(holder, &stopped, WUNTRACED);
        EXPECT_TRUE(WIFSTOPPED(stopped));
        EXPECT_EQ(lock_.Wait(milliseconds{0}), LockStatus::kTimedOut);
        lock_.Release(); // which is nothing to one who does not hold it
        EXPECT_EQ(lock_.Wait(milliseconds{0}), LockStatus::kTimedOut);
        lock_.Release();
        // Nobody waits for the process yet, as where a parent never looks.
        kill(holder, SIGKILL);
        siginfo_t ended{};
        waitid(P_PID, static_cast<id_t>(holder), &ended, WEXITED | WNOWAIT);
        EXPECT_EQ(lock_.Wait(kPrompt), LockStatus::kHeld);
        lock_.Release();
        waitpid(holder, nullptr, 0);
    }
}

TEST_F(SharedLockSystem, AWaiterThatIsKilledTakesNoTurnWithIt)
{
    // Each is killed about when the lock becomes its own.
    for (int round = 0; round < 50; ++round) {
        ASSERT_EQ(lock_.Wait(kPrompt), LockStatus::kHeld) << round;
        const pid_t waiter = StartWaiter();
        const auto start = Clock::now();
        while (Clock::now() < start + std::chrono::microseconds(100 * round)) {
            std::this_thread::yield();
        }
        lock_.Release();
        kill(waiter, SIGKILL);
        waitpid(waiter, nullptr, 0);
    }
    EXPECT_EQ(WaitOnce(), LockStatus::kHeld);
}

TEST_F(SharedLockSystem, AForkedChildHasNothingOfItsParents)
{
    ASSERT_EQ(lock_.Wait(kLong), LockStatus::kHeld);
    test::ExpectOfForkedChild([this] {
        lock_.Release(); // what the parent holds
        EXPECT_EQ(lock_.Wait(kShort), LockStatus::kTimedOut);
        lock_.Release();
        lock_.Close();
    });
    std::thread([] { EXPECT_EQ(WaitOnce(), LockStatus::kTimedOut); }).join();
    lock_.Release();
    EXPECT_EQ(WaitOnce(), LockStatus::kHeld);
}

TEST_F(SharedLockSystem, ThePageIsThisUsersAlone)
{
    const fs::path other = folder_ / "elsewhere";
    const struct
    {
        const char* name;
        std::function<void()> make;
    } cases[] = {
        {"others may write to it", [&] { EXPECT_EQ(chmod(page_.c_str(), 0666), 0); }},
        {"it has another name", [&] { fs::create_hard_link(page_, other); }},
        {"it is a link", [&] { fs::rename(page_, other), fs::create_symlink(other, page_); }},
        {"it is a pipe", [&] { fs::remove(page_), mkfifo(page_.c_str(), S_IRUSR | S_IWUSR); }},
        {"it is another user's",
         [&] {
             // Only root can give it away.
             if (chown(page_.c_str(), 65534, 65534) != 0) chmod(page_.c_str(), 0666);
         }},
    };
    for (const auto& [name, make] : cases) {
        ASSERT_EQ(WaitOnce(), LockStatus::kHeld);
        struct stat state
        {};
        EXPECT_EQ(lstat(page_.c_str(), &state), 0);
        EXPECT_EQ(state.st_mode, S_IFREG | S_IRUSR | S_IWUSR);
        EXPECT_EQ(state.st_size, 4096);
        make();
        EXPECT_EQ(WaitOnce(), LockStatus::kFailed) << name;
        fs::remove(page_);
        fs::remove(other);
    }
    // A folder that others may use is passed over.
    ASSERT_EQ(chmod(folder_.c_str(), 0770), 0);
    WaitOnce();
    EXPECT_FALSE(fs::exists(page_));
}

TEST_F(SharedLockSystem, WhatFailsOnceHealsAtTheNextWait)
{
    // No descriptor; no space, for a limit on files is met where a full file system would be.
    for (const auto resource : {RLIMIT_NOFILE, RLIMIT_FSIZE}) {
        fs::remove(page_);
        test::ExpectOfForkedChild([resource] {
            signal(SIGXFSZ, SIG_IGN);
            SharedLock lock(kPlace);
            rlimit before{};
            getrlimit(resource, &before);
            const rlimit none{0, before.rlim_max};
            setrlimit(resource, &none);
            EXPECT_EQ(lock.Wait(kShort), LockStatus::kFailed);
            setrlimit(resource, &before);
            EXPECT_EQ(lock.Wait(kShort), LockStatus::kHeld);
            lock.Close(); // by somebody else: who is still inside keeps his memory
            lock.Release();
            EXPECT_EQ(WaitOnce(), LockStatus::kHeld);
        });
    }
}

} // namespace
} // namespace zelq::platform
