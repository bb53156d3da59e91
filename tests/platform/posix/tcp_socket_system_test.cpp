#include "platform/loopback.h"
#include "platform/tcp_socket.h"

#include <array>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace zelq::platform {
namespace {

using std::chrono::milliseconds;
using test::Listener;
using test::Peer;

constexpr milliseconds kLong{20'000};

/// Takes all descriptors up to 1100, as long as it lives.
class ManyDescriptors
{
  public:
    ManyDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &before_);
        rlimit raised = before_;
        raised.rlim_cur = std::min<rlim_t>(kUpTo + 100, before_.rlim_max);
        if (before_.rlim_cur < raised.rlim_cur) setrlimit(RLIMIT_NOFILE, &raised);
        while (taken_.empty() || (taken_.back() >= 0 && taken_.back() < kUpTo)) {
            taken_.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
        }
    }
    ~ManyDescriptors()
    {
        for (const int descriptor : taken_) {
            close(descriptor);
        }
        setrlimit(RLIMIT_NOFILE, &before_);
    }
    ManyDescriptors(const ManyDescriptors&) = delete;
    ManyDescriptors& operator=(const ManyDescriptors&) = delete;

    [[nodiscard]] bool Enough() const { return taken_.back() >= kUpTo; }

  private:
    static constexpr int kUpTo = 1100;

    rlimit before_{};
    std::vector<int> taken_;
};

TEST(TcpSocketSystem, WorksOnDescriptorsAbove1023)
{
    const ManyDescriptors many;
    ASSERT_TRUE(many.Enough());
    Listener listener;
    TcpSocket socket;
    ASSERT_TRUE(socket.Open("127.0.0.1", listener.Port(), kLong));
    Peer peer = listener.Accept();
    EXPECT_EQ(socket.WaitWritable(Clock::now() + kLong), WaitStatus::kReady);
    EXPECT_EQ(socket.WaitReadable(Clock::now()), WaitStatus::kTimedOut);
    peer.Send({7});
    EXPECT_EQ(socket.WaitReadable(Clock::now() + kLong), WaitStatus::kReady);
    std::array<std::uint8_t, 2> area{};
    EXPECT_EQ(socket.Receive(area).bytes, 1U);
    EXPECT_EQ(area[0], 7);
}

TEST(TcpSocketSystem, InterruptedWaitsGoOn)
{
    struct sigaction action
    {};
    struct sigaction before
    {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    Listener listener;
    TcpSocket socket;
    ASSERT_TRUE(socket.Open("127.0.0.1", listener.Port(), kLong));
    Peer peer = listener.Accept();

    std::atomic<bool> done = false;
    const pthread_t waiting = pthread_self();
    std::thread interrupter([&] {
        while (!done) {
            pthread_kill(waiting, SIGUSR1);
            std::this_thread::yield();
        }
    });
    const auto deadline = Clock::now() + milliseconds(100);
    EXPECT_EQ(socket.WaitReadable(deadline), WaitStatus::kTimedOut);
    EXPECT_GE(Clock::now(), deadline);
    // A receive that is interrupted says so, and its caller goes on.
    std::array<std::uint8_t, 2> area{};
    EXPECT_EQ(socket.ReceiveWithin(area, kLong).status, IoStatus::kBlocked);
    peer.Send({7});
    EXPECT_EQ(socket.WaitReadable(Clock::now() + kLong), WaitStatus::kReady);
    done = true;
    interrupter.join();
    sigaction(SIGUSR1, &before, nullptr);
}

} // namespace
} // namespace zelq::platform
