#include "platform/loopback.h"
#include "platform/tcp_socket.h"

#include <array>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace zelq::platform {
namespace {

using std::chrono::milliseconds;
using test::Bytes;
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
    const TcpSocket::Use use(socket);
    EXPECT_EQ(socket.WaitWritable(Clock::now() + kLong), WaitStatus::kReady);
    std::array<std::uint8_t, 2> area{};
    EXPECT_EQ(socket.ReceiveWithin(area, milliseconds(1)).status, IoStatus::kTimedOut);
    peer.Send({7});
    EXPECT_EQ(socket.ReceiveWithin(area, kLong).bytes, 1U);
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
    const TcpSocket::Use use(socket);
    const Bytes chunk(65'536);
    while (socket.Send(chunk).status == IoStatus::kDone) {
    }

    std::atomic<bool> done = false;
    const pthread_t waiting = pthread_self();
    std::thread interrupter([&] {
        while (!done) {
            pthread_kill(waiting, SIGUSR1);
            std::this_thread::yield();
        }
    });
    const auto deadline = Clock::now() + milliseconds(100);
    EXPECT_EQ(socket.WaitWritable(deadline), WaitStatus::kTimedOut);
    EXPECT_GE(Clock::now(), deadline);
    // A receive that is interrupted says so, and its caller goes on.
    std::array<std::uint8_t, 2> area{};
    EXPECT_EQ(socket.ReceiveWithin(area, kLong).status, IoStatus::kBlocked);
    done = true;
    interrupter.join();
    sigaction(SIGUSR1, &before, nullptr);
}

TEST(TcpSocketSystem, WaitsEndInTime)
{
    constexpr milliseconds kLate{2};
    const Listener listener;
    TcpSocket socket;
    ASSERT_TRUE(socket.Open("127.0.0.1", listener.Port(), kLong));
    const TcpSocket::Use use(socket);
    std::array<std::uint8_t, 1> area{};
    for (const milliseconds wait : {milliseconds{1800}, milliseconds{180}, milliseconds{29}}) {
        Clock::duration least = kLong; // any single wait may be late by a busy machine
        for (int again = 0; again < 5 && least > kLate; ++again) {
            const auto end = Clock::now() + wait;
            EXPECT_EQ(socket.ReceiveWithin(area, wait).status, IoStatus::kTimedOut);
            least = std::min(least, Clock::now() - end);
        }
        EXPECT_LE(least, kLate) << wait.count();
    }
}

TEST(TcpSocketSystem, AForkedChildLeavesItsParentsConnectionAlone)
{
    Listener listener;
    TcpSocket socket;
    ASSERT_TRUE(socket.Open("127.0.0.1", listener.Port(), kLong));
    Peer peer = listener.Accept();
    std::thread user([&] {
        const TcpSocket::Use use(socket);
        std::array<std::uint8_t, 1> area{};
        EXPECT_EQ(socket.ReceiveWithin(area, kLong).bytes, 1U);
    });
    // The other thread is in the middle of a use, or is going to be: the child must not wait for
    // it.
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        socket.Abandon();
        const bool open = socket.IsOpen();
        socket.Close();
        _exit(open ? 1 : 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    peer.Send({1});
    user.join();
    EXPECT_EQ(socket.Send(Bytes{2}).bytes, 1U);
    EXPECT_EQ(peer.Receive(1), Bytes{2});
}

} // namespace
} // namespace zelq::platform
