#include "platform/named_lock.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace zelq::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLong{20'000};
constexpr milliseconds kShort{60};
constexpr milliseconds kPrompt{5'000};
constexpr char kName[] = "Local\\Lumo=903";

/// The shared-memory objects of the lock's name.
int Objects()
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm")) {
        if (entry.path().filename().string().ends_with("-Lumo=903")) ++count;
    }
    return count;
}

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
    ~Holder() { Kill(); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    [[nodiscard]] bool Holds() const { return holds_; }

    void Kill()
    {
        if (process_ <= 0) return;
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        process_ = -1;
    }

  private:
    [[noreturn]] static void Hold(int report)
    {
        NamedLock lock;
        if (lock.Open(kName) && lock.Wait(kLong) == LockStatus::kHeld &&
            write(report, "h", 1) == 1) {
            while (true) {
                pause();
            }
        }
        _exit(1);
    }

    pid_t process_ = -1;
    bool holds_ = false;
};

TEST(NamedLockSystem, IsFreedWhenItsHolderDies)
{
    NamedLock lock;
    ASSERT_TRUE(lock.Open(kName));
    for (int again = 0; again < 3; ++again) {
        Holder holder;
        ASSERT_TRUE(holder.Holds());
        EXPECT_EQ(lock.Wait(milliseconds{0}), LockStatus::kTimedOut);
        holder.Kill();
        EXPECT_EQ(lock.Wait(kLong), LockStatus::kHeld);
        lock.Release();
    }
    EXPECT_EQ(lock.Wait(kLong), LockStatus::kHeld);
    lock.Release();
}

TEST(NamedLockSystem, IsFreedWhileSomebodyWaits)
{
    NamedLock lock;
    NamedLock other;
    ASSERT_TRUE(lock.Open(kName));
    ASSERT_TRUE(other.Open(kName));
    Holder holder;
    ASSERT_TRUE(holder.Holds());
    const auto start = steady_clock::now();
    std::thread waiter([&] {
        EXPECT_EQ(lock.Wait(kLong), LockStatus::kHeld);
        lock.Release();
    });
    EXPECT_EQ(other.Wait(kShort), LockStatus::kTimedOut); // long enough for the waiter to wait
    holder.Kill();
    waiter.join();
    EXPECT_LT(steady_clock::now() - start, kPrompt);
}

TEST(NamedLockSystem, StartsAnewAfterAllItsUsersDied)
{
    {
        Holder holder;
        ASSERT_TRUE(holder.Holds());
    }
    EXPECT_EQ(Objects(), 1); // nobody was left to remove it
    NamedLock lock;
    ASSERT_TRUE(lock.Open(kName));
    EXPECT_EQ(lock.Wait(milliseconds{0}), LockStatus::kHeld);
    lock.Release();
    lock.Close();
    EXPECT_EQ(Objects(), 0);
}

TEST(NamedLockSystem, LastCloseRemovesTheSharedMemory)
{
    NamedLock first;
    NamedLock second;
    ASSERT_TRUE(first.Open(kName));
    ASSERT_TRUE(second.Open(kName));
    EXPECT_EQ(Objects(), 1);
    first.Close();
    EXPECT_EQ(Objects(), 1);
    EXPECT_EQ(second.Wait(kLong), LockStatus::kHeld);
    second.Release();
    second.Close();
    EXPECT_EQ(Objects(), 0);
}

} // namespace
} // namespace zelq::platform
