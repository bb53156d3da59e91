#include "platform/loopback.h"
#include "platform/tcp_socket.h"

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace zelq::platform {
namespace {

using std::chrono::milliseconds;
using test::Bytes;
using test::Listener;
using test::Peer;

constexpr milliseconds kLong{20'000};
constexpr milliseconds kPrompt{5'000};

/// Where threads meet, to go on at the same moment.
class StartLine
{
  public:
    explicit StartLine(int count) : missing_(count) {}

    void Meet()
    {
        --missing_;
        while (missing_ > 0) {
            std::this_thread::yield();
        }
    }

  private:
    std::atomic<int> missing_;
};

/// Fills the way to the peer, so that nothing more can be written.
void FillUp(TcpSocket& socket)
{
    const Bytes chunk(65'536);
    while (socket.Send(chunk).status == IoStatus::kDone) {
    }
}

TEST(TcpSocketThreads, CloseWakesAllWhoWait)
{
    constexpr int kRounds = 100;
    Listener listener;
    TcpSocket socket;
    for (int round = 0; round < kRounds; ++round) {
        ASSERT_TRUE(socket.Open("127.0.0.1", listener.Port(), kLong));
        const Peer peer = listener.Accept();
        const bool full = round % 4 == 0;
        if (full) FillUp(socket);
        StartLine start(4);
        const auto read = [&] {
            start.Meet();
            socket.WaitReadable(Clock::now() + kLong);
        };
        const auto write = [&] {
            start.Meet();
            socket.WaitWritable(Clock::now() + kLong);
        };
        const auto receive = [&] {
            start.Meet();
            std::array<std::uint8_t, 1> area{};
            socket.ReceiveWithin(area, kLong);
        };
        std::thread first(read);
        std::thread second(receive);
        std::thread third = full ? std::thread(write) : std::thread(read);
        start.Meet();
        const auto begin = Clock::now();
        // From "before they wait" to "while they wait", in small steps.
        while (Clock::now() < begin + std::chrono::microseconds(10 * round)) {
            std::this_thread::yield();
        }
        socket.Close();
        first.join();
        second.join();
        third.join();
        ASSERT_LT(Clock::now() - begin, kPrompt) << round;
        ASSERT_FALSE(socket.IsOpen());
    }
}

TEST(TcpSocketThreads, ManyWaitersSeeWhatComes)
{
    constexpr int kRounds = 200;
    Listener listener;
    TcpSocket socket;
    ASSERT_TRUE(socket.Open("127.0.0.1", listener.Port(), kLong));
    Peer peer = listener.Accept();
    for (int round = 0; round < kRounds; ++round) {
        const auto start = Clock::now();
        std::atomic<int> seen = 0;
        StartLine all(3);
        const auto wait = [&] {
            if (socket.WaitReadable(Clock::now() + kLong) == WaitStatus::kReady) ++seen;
            // Nobody takes the byte before all have seen it.
            all.Meet();
        };
        std::thread first(wait);
        std::thread second(wait);
        peer.Send({1});
        wait();
        first.join();
        second.join();
        ASSERT_EQ(seen, 3);
        ASSERT_LT(Clock::now() - start, kPrompt) << round;
        ASSERT_EQ(socket.Drain(), IoStatus::kDone);
    }
}

TEST(TcpSocketThreads, BytesNeverGoToAnotherConnection)
{
    // One thread goes on sending its mark on a connection that is closed and opened again all the
    // time, while another connection is opened the moment that one closes: were its number used
    // by then, the mark would come out there.
    constexpr int kRounds = 60;
    constexpr std::uint8_t kMark = 0xA5;
    Listener own;
    Listener foreign;
    TcpSocket socket;
    std::atomic<bool> done = false;
    std::atomic<int> sent = 0;
    const Bytes mark(1, kMark);
    std::thread sender([&] {
        while (!done) {
            if (socket.Send(mark).status == IoStatus::kDone) ++sent;
        }
    });
    for (int round = 0; round < kRounds; ++round) {
        ASSERT_TRUE(socket.Open("127.0.0.1", own.Port(), kLong));
        Peer peer = own.Accept();
        EXPECT_EQ(peer.Receive(1), mark);
        std::thread closer([&] { socket.Close(); });
        TcpSocket other;
        ASSERT_TRUE(other.Open("127.0.0.1", foreign.Port(), kLong));
        Peer otherPeer = foreign.Accept();
        closer.join();
        other.Close();
        EXPECT_EQ(otherPeer.ReceiveAll(), Bytes{});
        peer.Reset();
    }
    done = true;
    sender.join();
    EXPECT_GE(sent, kRounds);
}

} // namespace
} // namespace zelq::platform
