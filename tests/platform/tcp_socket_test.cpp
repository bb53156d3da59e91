#include "platform/loopback.h"
#include "platform/tcp_socket.h"
#include "support/process_resources.h"

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <numeric>
#include <optional>
#include <thread>

namespace zelq::platform {
namespace {

using std::chrono::milliseconds;
using test::Bytes;
using test::Listener;
using test::Peer;

constexpr milliseconds kLong{20'000};  ///< a wait that is never meant to end by itself
constexpr milliseconds kShort{60};     ///< one that is
constexpr milliseconds kPrompt{5'000}; ///< far below kLong, far above any delay of a busy machine

Deadline In(milliseconds time)
{
    return Clock::now() + time;
}

milliseconds Since(Deadline start)
{
    return std::chrono::duration_cast<milliseconds>(Clock::now() - start);
}

Bytes Counting(std::size_t size, std::uint8_t first = 0)
{
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

/// Receives one byte, if there is one by then.
IoStatus ReceiveOne(TcpSocket& socket, milliseconds wait)
{
    const TcpSocket::Use use(socket);
    std::array<std::uint8_t, 1> area{};
    return socket.ReceiveWithin(area, wait).status;
}

/// What the socket gives, until `count` bytes are there or a wait is over.
Bytes ReceiveUpTo(TcpSocket& socket, std::size_t count)
{
    const TcpSocket::Use use(socket);
    Bytes all;
    std::array<std::uint8_t, 700> area{};
    while (all.size() < count) {
        const std::size_t wanted = std::min(area.size(), count - all.size());
        const IoResult got = socket.ReceiveWithin(std::span(area).first(wanted), kLong);
        if (got.status != IoStatus::kDone) break;
        all.insert(all.end(), area.begin(), area.begin() + static_cast<std::ptrdiff_t>(got.bytes));
    }
    return all;
}

/// Sends until nothing more goes out; the bytes that went.
std::size_t SendUntilBlocked(TcpSocket& socket)
{
    const TcpSocket::Use use(socket);
    const Bytes chunk = Counting(65'536);
    std::size_t sent = 0;
    while (true) {
        const IoResult result = socket.Send(std::span(chunk).subspan(sent % chunk.size()));
        if (result.status != IoStatus::kDone) return sent;
        sent += result.bytes;
    }
}

/// A connection and its far end.
class TcpSocketTest : public testing::Test
{
  protected:
    void SetUp() override { Connect(); }

    void Connect()
    {
        ASSERT_TRUE(socket_.Open("127.0.0.1", listener_.Port(), kLong));
        peer_.emplace(listener_.Accept());
    }

    IoStatus Pending() { return socket_.ReceivePending(area_).status; }

    Listener listener_;
    TcpSocket socket_;
    std::optional<Peer> peer_;
    std::array<std::uint8_t, 4> area_{};
};

TEST(TcpSocketOpen, FailsAtOnceWithoutAListenerOrAnAddress)
{
    std::uint32_t port = 0;
    {
        const Listener closed;
        port = closed.Port();
    }
    TcpSocket socket;
    const auto start = Clock::now();
    EXPECT_FALSE(socket.Open("127.0.0.1", port, kLong));
    Listener listener;
    for (const char* address :
         {"", "localhost", "256.0.0.1", "127.0.0.256", "127.0.0", "127.0.0.1.1", "127.0.0.1 ",
          "-127.0.0.1", "127.0.0.-1", "127.0.0.1x", "::1", "host.invalid"}) {
        EXPECT_FALSE(socket.Open(address, listener.Port(), kLong)) << address;
    }
    EXPECT_FALSE(socket.Open("127.0.0.1", listener.Port() + 0x10000U, kLong));
    EXPECT_LT(Since(start), kPrompt);
    EXPECT_FALSE(socket.IsOpen());
    EXPECT_FALSE(listener.HasConnection());
}

TEST(TcpSocketOpen, GivesUpInTimeWhenNobodyAnswers)
{
    // A listener that accepts nothing answers no more once its queue is full.
    const Listener listener(1);
    std::array<TcpSocket, 16> queued;
    std::size_t opened = 0;
    auto start = Clock::now();
    while (opened < queued.size() && queued[opened].Open("127.0.0.1", listener.Port(), kShort)) {
        ++opened;
        start = Clock::now();
    }
    ASSERT_LT(opened, queued.size());
    EXPECT_GE(Since(start), kShort);
    EXPECT_LT(Since(start), kPrompt);
    EXPECT_FALSE(queued[opened].IsOpen());
}

TEST_F(TcpSocketTest, ExchangesBytesBothWays)
{
    const Bytes request = Counting(1460);
    EXPECT_EQ(socket_.Send(request).bytes, request.size());
    EXPECT_EQ(peer_->Receive(request.size()), request);
    const Bytes reply = Counting(3000, 7);
    peer_->Send(reply);
    EXPECT_EQ(ReceiveUpTo(socket_, reply.size()), reply);
    EXPECT_EQ(Pending(), IoStatus::kBlocked);
}

TEST_F(TcpSocketTest, WaitsAsLongAsItIsTold)
{
    // Whatever the wait before was.
    for (const milliseconds wait : {kShort, milliseconds{0}, milliseconds{1}, 3 * kShort, kShort}) {
        const auto start = Clock::now();
        EXPECT_EQ(ReceiveOne(socket_, wait), IoStatus::kTimedOut);
        EXPECT_GE(Clock::now(), start + wait);
        EXPECT_LT(Since(start), kPrompt);
    }
    const auto deadline = In(kShort);
    ASSERT_GT(SendUntilBlocked(socket_), 0U);
    EXPECT_EQ(socket_.WaitWritable(deadline), WaitStatus::kTimedOut);
    EXPECT_GE(Clock::now(), deadline);
}

TEST_F(TcpSocketTest, SeesWhatComesHoweverTheLastWasTaken)
{
    for (int round = 0; round < 30; ++round) {
        peer_->Send(Counting(5));
        EXPECT_EQ(ReceiveUpTo(socket_, 5), Counting(5));
        if (round % 3 == 0) {
            EXPECT_EQ(Pending(), IoStatus::kBlocked);
        } else if (round % 3 == 1) {
            EXPECT_EQ(ReceiveOne(socket_, milliseconds(2)), IoStatus::kTimedOut);
        }
        EXPECT_EQ(socket_.WaitWritable(In(kLong)), WaitStatus::kReady);
        std::thread sender([&] { peer_->Send({1}); });
        EXPECT_EQ(ReceiveOne(socket_, kLong), IoStatus::kDone);
        sender.join();
    }
}

TEST_F(TcpSocketTest, SendsOnWhenThePeerReads)
{
    const std::size_t sent = SendUntilBlocked(socket_);
    EXPECT_EQ(socket_.Send(Counting(1)).status, IoStatus::kBlocked);
    // What comes the other way makes it no more writable, and is not lost by the wait.
    peer_->Send({1});
    EXPECT_EQ(socket_.WaitWritable(In(kShort)), WaitStatus::kTimedOut);
    EXPECT_EQ(ReceiveUpTo(socket_, 1), Bytes{1});

    std::thread reader([&] {
        const Bytes received = peer_->Receive(sent);
        for (std::size_t i = 0; i < received.size(); ++i) {
            ASSERT_EQ(received[i], static_cast<std::uint8_t>(i)) << i;
        }
    });
    EXPECT_EQ(socket_.WaitWritable(In(kLong)), WaitStatus::kReady);
    reader.join();
    EXPECT_EQ(socket_.Send(Counting(4, 9)).bytes, 4U);
    EXPECT_EQ(peer_->Receive(4), Counting(4, 9));
}

TEST_F(TcpSocketTest, SeesTheEndBehindTheBytes)
{
    peer_->Send(Counting(10));
    peer_->Close();
    EXPECT_EQ(ReceiveUpTo(socket_, 11), Counting(10));
    EXPECT_EQ(ReceiveOne(socket_, kLong), IoStatus::kClosed);
    EXPECT_EQ(Pending(), IoStatus::kClosed);
    const auto deadline = In(kPrompt);
    IoStatus status = IoStatus::kDone;
    while (status == IoStatus::kDone && Clock::now() < deadline) {
        status = socket_.Send(Counting(100)).status;
    }
    EXPECT_EQ(status, IoStatus::kClosed);

    Connect();
    peer_->Reset();
    EXPECT_EQ(ReceiveOne(socket_, kLong), IoStatus::kClosed);
    EXPECT_EQ(socket_.Send(Counting(1)).status, IoStatus::kClosed);
}

TEST_F(TcpSocketTest, OpenReplacesTheConnectionAndCloseEndsIt)
{
    Listener other;
    ASSERT_TRUE(socket_.Open("127.0.0.1", other.Port(), kLong));
    Peer otherPeer = other.Accept();
    EXPECT_EQ(peer_->ReceiveAll(), Bytes{});
    otherPeer.Send(Counting(3));
    EXPECT_EQ(ReceiveUpTo(socket_, 3), Counting(3));

    // A failed one leaves none.
    EXPECT_FALSE(socket_.Open("no address", other.Port(), kLong));
    EXPECT_FALSE(socket_.IsOpen());
    EXPECT_EQ(otherPeer.ReceiveAll(), Bytes{});
    EXPECT_EQ(socket_.Send(Counting(1)).status, IoStatus::kFailed);
    EXPECT_EQ(Pending(), IoStatus::kFailed);
    EXPECT_EQ(ReceiveOne(socket_, kLong), IoStatus::kFailed);
    EXPECT_EQ(socket_.WaitWritable(In(kLong)), WaitStatus::kFailed);
    socket_.Interrupt();
    socket_.Close();
}

/// Waits on a connection in all ways at once, from before or after the moment that `end` is called.
void ExpectToWakeAll(TcpSocket& socket, int round, void (*end)(TcpSocket&))
{
    std::atomic<int> missing = 3;
    const auto meet = [&] {
        --missing;
        while (missing > 0) {
            std::this_thread::yield();
        }
    };
    std::array<std::uint8_t, 1> area{};
    std::thread receiver([&] {
        const TcpSocket::Use use(socket);
        meet();
        EXPECT_NE(socket.ReceiveWithin(area, kLong).status, IoStatus::kTimedOut);
    });
    std::thread writer([&] {
        const TcpSocket::Use use(socket);
        meet();
        socket.WaitWritable(In(kLong));
    });
    meet();
    const auto begin = Clock::now();
    while (Clock::now() < begin + std::chrono::microseconds(10 * round)) {
        std::this_thread::yield();
    }
    end(socket);
    const auto ended = Clock::now();
    receiver.join();
    writer.join();
    EXPECT_LT(ended - begin, kPrompt);
    EXPECT_LT(Clock::now() - begin, kPrompt);
}

TEST_F(TcpSocketTest, CloseAndInterruptWakeAllWhoWait)
{
    constexpr int kRounds = 60;
    for (int round = 0; round < kRounds; ++round) {
        if (round % 4 < 2) SendUntilBlocked(socket_);
        if (round % 2 == 0) {
            ExpectToWakeAll(socket_, round, [](TcpSocket& socket) { socket.Close(); });
            ASSERT_FALSE(socket_.IsOpen());
        } else {
            ExpectToWakeAll(socket_, round, [](TcpSocket& socket) { socket.Interrupt(); });
            ASSERT_TRUE(socket_.IsOpen());
            // What is broken stays so until the next open.
            EXPECT_NE(ReceiveOne(socket_, kLong), IoStatus::kTimedOut);
            EXPECT_EQ(socket_.Send(Counting(1)).status, IoStatus::kClosed);
        }
        ASSERT_NO_FATAL_FAILURE(Connect());
    }
}

TEST(TcpSocketThreads, BytesNeverGoToAnotherConnection)
{
    // One thread goes on sending its mark on a connection that is closed and opened again all the
    // time, while another connection is opened the moment that one closes: were its number used
    // by then, the mark would come out there.
    constexpr int kRounds = 60;
    Listener own;
    Listener foreign;
    TcpSocket socket;
    std::atomic<bool> done = false;
    std::atomic<int> sent = 0;
    const Bytes mark(1, 0xA5);
    std::thread sender([&] {
        while (!done) {
            const TcpSocket::Use use(socket);
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

TEST(TcpSocketResources, ThousandsOfConnectionsLeaveNothing)
{
    constexpr int kWarmUp = 20;
    constexpr int kCycles = 2'000;
    constexpr std::size_t kMebibyte = 1024 * 1024;
    Listener listener;
    std::size_t descriptors = 0;
    std::size_t memory = 0;
    for (int cycle = -kWarmUp; cycle < kCycles; ++cycle) {
        if (cycle == 0) {
            descriptors = test::OpenDescriptors();
            memory = test::ResidentBytes();
        }
        const std::size_t inheritable = cycle == 0 ? test::InheritableDescriptors() : 0;
        TcpSocket socket;
        ASSERT_TRUE(socket.Open("127.0.0.1", listener.Port(), kLong));
        if (cycle == 0) {
            EXPECT_EQ(test::InheritableDescriptors(), inheritable);
        }
        Peer peer = listener.Accept();
        peer.Send({1});
        ASSERT_EQ(ReceiveOne(socket, kLong), IoStatus::kDone);
        peer.Reset(); // leaves no port behind that waits for late packets
    }
    EXPECT_LE(test::OpenDescriptors(), descriptors);
    EXPECT_LE(test::ResidentBytes(), memory + kMebibyte);
}

} // namespace
} // namespace zelq::platform
