#include "platform/loopback.h"
#include "support/posix/forked_child.h"

#include <atomic>
#include <csignal>
#include <sys/resource.h>
#include <thread>

namespace zelq::platform {
namespace {

using TcpSocketSystem = TcpSocketTest;

TEST_F(TcpSocketSystem, WorksOnDescriptorsAbove1023)
{
    test::ExpectOfForkedChild([this] {
        constexpr int kUpTo = 1100;
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = std::min<rlim_t>(kUpTo + 100, limit.rlim_max);
        setrlimit(RLIMIT_NOFILE, &limit);
        int taken = 0;
        while (taken >= 0 && taken < kUpTo) {
            taken = dup(STDERR_FILENO);
        }
        EXPECT_EQ(taken, kUpTo);
        Connect();
        EXPECT_EQ(socket_.WaitWritable(Clock::now() + kLong), WaitStatus::kReady);
        EXPECT_EQ(ReceiveOne(milliseconds(1)), IoStatus::kTimedOut);
        peer_->Send({7});
        EXPECT_EQ(ReceiveUpTo(1), Bytes{7});
    });
}

TEST_F(TcpSocketSystem, InterruptedWaitsGoOn)
{
    struct sigaction action
    {};
    struct sigaction before
    {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    SendUntilBlocked();
    {
        const std::jthread interrupter([waiting = pthread_self()](const std::stop_token& done) {
            while (!done.stop_requested()) {
                pthread_kill(waiting, SIGUSR1);
                std::this_thread::yield();
            }
        });
        const auto deadline = Clock::now() + milliseconds(100);
        EXPECT_EQ(socket_.WaitWritable(deadline), WaitStatus::kTimedOut);
        EXPECT_GE(Clock::now(), deadline);
        // A receive that is interrupted says so, and its caller goes on.
        EXPECT_EQ(ReceiveOne(kLong), IoStatus::kBlocked);
    }
    sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(TcpSocketSystem, WaitsEndInTime)
{
    // The kernel's coarse timers would be late by the more, the longer they wait.
    constexpr milliseconds kLate{2};
    for (const milliseconds wait : {milliseconds{2100}, milliseconds{180}, milliseconds{29}}) {
        Clock::duration least = kLong; // any single wait may be late by a busy machine
        for (int again = 0; again < 5 && least > kLate; ++again) {
            const auto end = Clock::now() + wait;
            EXPECT_EQ(ReceiveOne(wait), IoStatus::kTimedOut);
            least = std::min(least, Clock::now() - end);
        }
        EXPECT_LE(least, kLate) << wait.count();
    }
}

} // namespace
} // namespace zelq::platform
