#include "platform/shared_lock.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace zelq::platform {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLong{20'000};
constexpr milliseconds kShort{60};
constexpr milliseconds kPrompt{5'000};
constexpr unsigned kPlace = 243;

/// A runtime folder of its own, which the locks are in while it lives.
class LockFolder : public testing::Test
{
  protected:
    LockFolder()
    {
        std::string pattern = (fs::current_path() / "locks-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
    }
    ~LockFolder() override
    {
        setenv("XDG_RUNTIME_DIR", before_.c_str(), 1);
        fs::remove_all(folder_);
    }

    [[nodiscard]] fs::path Page() const { return folder_ / "zelq-locks"; }

    static LockStatus WaitOnce()
    {
        SharedLock lock(kPlace);
        const LockStatus status = lock.Wait(kShort);
        if (status != LockStatus::kFailed) lock.Release();
        return status;
    }

    fs::path folder_;
    const std::string before_ = std::getenv("XDG_RUNTIME_DIR");
};

/// A process of its own that takes the lock and keeps it until it is killed.
class Holder
{
  public:
    Holder()
    {
        int ends[2] = {-1, -1};
        if (pipe(ends) != 0) return;
        process_ = fork();
        if (process_ == 0) Hold(ends[1]);
        close(ends[1]);
        char held = 0;
        holds_ = read(ends[0], &held, 1) == 1;
        close(ends[0]);
    }
    ~Holder()
    {
        if (process_ <= 0) return;
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    [[nodiscard]] bool Holds() const { return holds_; }

    /// Ends it, and waits until it has, but leaves it to be waited for as a process.
    void Kill() const
    {
        kill(process_, SIGKILL);
        siginfo_t ended{};
        waitid(P_PID, static_cast<id_t>(process_), &ended, WEXITED | WNOWAIT);
    }

  private:
    [[noreturn]] static void Hold(int report)
    {
        SharedLock lock(kPlace);
        if (lock.Wait(kLong) == LockStatus::kHeld && write(report, "h", 1) == 1) {
            while (true) {
                pause();
            }
        }
        _exit(1);
    }

    pid_t process_ = -1;
    bool holds_ = false;
};

TEST_F(LockFolder, TheLockIsFreedWhenItsHolderDies)
{
    SharedLock lock(kPlace);
    for (int again = 0; again < 3; ++again) {
        const Holder holder;
        ASSERT_TRUE(holder.Holds());
        EXPECT_EQ(lock.Wait(milliseconds{0}), LockStatus::kTimedOut);
        lock.Release(); // which is nothing to one who does not hold it
        EXPECT_EQ(lock.Wait(milliseconds{0}), LockStatus::kTimedOut);
        lock.Release();
        holder.Kill(); // no process is waited for yet, as where a parent never looks
        EXPECT_EQ(lock.Wait(kLong), LockStatus::kHeld);
        lock.Release();
    }
}

TEST_F(LockFolder, TheLockIsFreedWhileSomebodyWaits)
{
    SharedLock lock(kPlace);
    const Holder holder;
    ASSERT_TRUE(holder.Holds());
    const auto start = steady_clock::now();
    std::thread waiter([&] {
        EXPECT_EQ(lock.Wait(kLong), LockStatus::kHeld);
        lock.Release();
    });
    EXPECT_EQ(lock.Wait(kShort), LockStatus::kTimedOut); // long enough for the waiter to wait
    lock.Release();
    holder.Kill();
    waiter.join();
    EXPECT_LT(steady_clock::now() - start, kPrompt);
    EXPECT_EQ(WaitOnce(), LockStatus::kHeld);
}

TEST_F(LockFolder, AWaiterThatIsKilledTakesNoTurnWithIt)
{
    // Each is killed about when the lock becomes its own.
    SharedLock lock(kPlace);
    for (int round = 0; round < 50; ++round) {
        ASSERT_EQ(lock.Wait(kPrompt), LockStatus::kHeld) << round;
        const pid_t waiter = fork();
        if (waiter == 0) {
            SharedLock own(kPlace);
            own.Wait(kLong);
            _exit(0);
        }
        const auto start = steady_clock::now();
        while (steady_clock::now() < start + std::chrono::microseconds(100 * round)) {
            std::this_thread::yield();
        }
        lock.Release();
        kill(waiter, SIGKILL);
        waitpid(waiter, nullptr, 0);
    }
    EXPECT_EQ(lock.Wait(kPrompt), LockStatus::kHeld);
    lock.Release();
}

TEST_F(LockFolder, AForkedChildHasNothingOfItsParents)
{
    SharedLock lock(kPlace);
    ASSERT_EQ(lock.Wait(kLong), LockStatus::kHeld);
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        lock.Release(); // what the parent holds
        const bool excluded = lock.Wait(kShort) == LockStatus::kTimedOut;
        lock.Release();
        lock.Close();
        _exit(excluded ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    std::thread([&] { EXPECT_EQ(WaitOnce(), LockStatus::kTimedOut); }).join();
    lock.Release();
    EXPECT_EQ(WaitOnce(), LockStatus::kHeld);
}

TEST_F(LockFolder, ThePageIsThisUsersAlone)
{
    ASSERT_EQ(WaitOnce(), LockStatus::kHeld);
    struct stat state
    {};
    ASSERT_EQ(lstat(Page().c_str(), &state), 0);
    EXPECT_EQ(state.st_mode, S_IFREG | S_IRUSR | S_IWUSR);
    EXPECT_EQ(state.st_size, 4096);
    EXPECT_EQ(chmod(Page().c_str(), 0666), 0);
    EXPECT_EQ(WaitOnce(), LockStatus::kFailed) << "others may write to it";
    EXPECT_EQ(chmod(Page().c_str(), 0600), 0);
    fs::rename(Page(), folder_ / "elsewhere");
    fs::create_hard_link(folder_ / "elsewhere", Page());
    EXPECT_EQ(WaitOnce(), LockStatus::kFailed) << "it has another name";
    fs::remove(Page());
    fs::create_symlink(folder_ / "elsewhere", Page());
    EXPECT_EQ(WaitOnce(), LockStatus::kFailed) << "it is a link";
    fs::remove(Page());
    ASSERT_EQ(mkfifo(Page().c_str(), 0600), 0);
    EXPECT_EQ(WaitOnce(), LockStatus::kFailed) << "it is a pipe";
    fs::remove(Page());
    if (geteuid() == 0) {
        fs::rename(folder_ / "elsewhere", Page());
        EXPECT_EQ(chown(Page().c_str(), 65534, 65534), 0);
        EXPECT_EQ(WaitOnce(), LockStatus::kFailed) << "it is another user's";
        fs::remove(Page());
    }
    EXPECT_EQ(WaitOnce(), LockStatus::kHeld);
}

TEST_F(LockFolder, AFolderThatOthersMayUseIsPassedOver)
{
    ASSERT_EQ(chmod(folder_.c_str(), 0770), 0);
    WaitOnce();
    EXPECT_FALSE(fs::exists(Page()));
}

TEST_F(LockFolder, WhatFailsOnceHealsAtTheNextWait)
{
    SharedLock lock(kPlace);
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(lock.Wait(kShort), LockStatus::kFailed);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(lock.Wait(kShort), LockStatus::kHeld);
    lock.Release();
}

TEST_F(LockFolder, SpaceThatIsNotThereIsAnError)
{
    // A limit on the size of files is met where a full file system would be.
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit none{0, 0};
        setrlimit(RLIMIT_FSIZE, &none);
        _exit(WaitOnce() == LockStatus::kFailed ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(LockFolder, AThreadStillInsideKeepsItsMemoryWhenTheLockIsClosed)
{
    SharedLock lock(kPlace);
    ASSERT_EQ(lock.Wait(kLong), LockStatus::kHeld);
    lock.Close();
    lock.Release();
    EXPECT_EQ(WaitOnce(), LockStatus::kHeld);
}

} // namespace
} // namespace zelq::platform
