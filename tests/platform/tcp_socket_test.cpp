#include "platform/loopback.h"
#include "platform/tcp_socket.h"
#include "support/process_resources.h"

#include <array>
#include <gtest/gtest.h>
#include <numeric>
#include <optional>
#include <thread>

namespace zelq::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using test::Bytes;
using test::Listener;
using test::Peer;

constexpr milliseconds kLong{20'000};  ///< a wait that is never meant to end by itself
constexpr milliseconds kShort{60};     ///< one that is
constexpr milliseconds kTick{5};       ///< a system's clock may be coarser than ours
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

/// What the socket gives, until `count` bytes are there or a wait is over.
Bytes ReceiveUpTo(TcpSocket& socket, std::size_t count)
{
    Bytes all;
    while (all.size() < count && socket.WaitReadable(In(kLong)) == WaitStatus::kReady) {
        std::array<std::uint8_t, 700> area{};
        const std::size_t wanted = std::min(area.size(), count - all.size());
        const IoResult got = socket.Receive(std::span(area).first(wanted));
        if (got.status != IoStatus::kDone) break;
        all.insert(all.end(), area.begin(), area.begin() + static_cast<std::ptrdiff_t>(got.bytes));
    }
    return all;
}

IoStatus ReceiveOne(TcpSocket& socket)
{
    std::array<std::uint8_t, 1> area{};
    return socket.Receive(area).status;
}

/// Sends until nothing more goes out; the bytes that went.
std::size_t SendUntilBlocked(TcpSocket& socket)
{
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
    void SetUp() override
    {
        ASSERT_TRUE(socket_.Open("127.0.0.1", listener_.Port(), kLong));
        peer_.emplace(listener_.Accept());
    }

    /// Sends from the far end, and waits until it has come.
    void Deliver(const Bytes& bytes)
    {
        peer_->Send(bytes);
        ASSERT_EQ(socket_.WaitReadable(In(kLong)), WaitStatus::kReady);
    }

    Listener listener_;
    TcpSocket socket_;
    std::optional<Peer> peer_;
};

TEST(TcpSocketOpen, IsRefusedAtOnceWhereNobodyListens)
{
    std::uint16_t port = 0;
    {
        const Listener listener;
        port = listener.Port();
    }
    TcpSocket socket;
    const auto start = Clock::now();
    EXPECT_FALSE(socket.Open("127.0.0.1", port, kLong));
    EXPECT_LT(Since(start), kPrompt);
    EXPECT_FALSE(socket.IsOpen());
    EXPECT_NE(socket.LastError(), 0U);
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
    EXPECT_NE(queued[opened].LastError(), 0U);
}

TEST(TcpSocketOpen, TakesDottedAddressesAlone)
{
    Listener listener;
    const std::uint32_t port = listener.Port();
    for (const char* address :
         {"", "localhost", "256.0.0.1", "127.0.0.256", "127.0.0", "127.0.0.1.1", "127.0.0.1 ",
          "-127.0.0.1", "127.0.0.-1", "127.0.0.1x", "::1", "host.invalid"}) {
        TcpSocket socket;
        const auto start = Clock::now();
        EXPECT_FALSE(socket.Open(address, port, kLong)) << address;
        EXPECT_LT(Since(start), kPrompt) << address;
        EXPECT_FALSE(socket.IsOpen()) << address;
        EXPECT_NE(socket.LastError(), 0U) << address;
    }
    TcpSocket socket;
    EXPECT_FALSE(socket.Open("127.0.0.1", port + 0x10000, kLong));
    EXPECT_FALSE(listener.HasConnection());
}

TEST(TcpSocketOpen, StepsOnAClosedSocketFail)
{
    TcpSocket never;
    TcpSocket closed;
    Listener listener;
    ASSERT_TRUE(closed.Open("127.0.0.1", listener.Port(), kLong));
    closed.Close();
    for (TcpSocket* socket : {&never, &closed}) {
        EXPECT_FALSE(socket->IsOpen());
        EXPECT_EQ(socket->Drain(), IoStatus::kFailed);
        EXPECT_EQ(socket->Send(Counting(1)).status, IoStatus::kFailed);
        EXPECT_EQ(ReceiveOne(*socket), IoStatus::kFailed);
        EXPECT_EQ(socket->WaitReadable(In(kLong)), WaitStatus::kFailed);
        EXPECT_EQ(socket->WaitWritable(In(kLong)), WaitStatus::kFailed);
        socket->Close();
    }
}

TEST_F(TcpSocketTest, ExchangesBytesBothWays)
{
    EXPECT_TRUE(socket_.IsOpen());
    const Bytes request = Counting(1460);
    const IoResult sent = socket_.Send(request);
    EXPECT_EQ(sent.status, IoStatus::kDone);
    EXPECT_EQ(sent.bytes, request.size());
    EXPECT_EQ(peer_->Receive(request.size()), request);

    const Bytes reply = Counting(3000, 7);
    peer_->Send(reply);
    EXPECT_EQ(ReceiveUpTo(socket_, reply.size()), reply);
}

TEST_F(TcpSocketTest, BlocksAndTimesOutWhenNothingComes)
{
    EXPECT_EQ(ReceiveOne(socket_), IoStatus::kBlocked);
    const auto start = Clock::now();
    EXPECT_EQ(socket_.WaitReadable(start + kShort), WaitStatus::kTimedOut);
    EXPECT_GE(Clock::now(), start + kShort);
    EXPECT_LT(Since(start), kPrompt);
    EXPECT_EQ(socket_.WaitWritable(In(kLong)), WaitStatus::kReady);
    EXPECT_EQ(socket_.WaitReadable(Clock::now() - kShort), WaitStatus::kTimedOut);
}

TEST_F(TcpSocketTest, ReceivesWithinATime)
{
    std::array<std::uint8_t, 4> area{};
    const auto within = [&](milliseconds wait) { return socket_.ReceiveWithin(area, wait); };
    // Whatever the wait before was, each lasts as long as it says.
    for (const milliseconds wait : {kShort, milliseconds{0}, milliseconds{1}, 2 * kShort, kShort}) {
        const auto start = Clock::now();
        EXPECT_EQ(within(wait).status, IoStatus::kTimedOut);
        EXPECT_GE(Clock::now() - start, wait - kTick);
        EXPECT_LT(Since(start), kPrompt);
    }
    Deliver(Counting(6));
    EXPECT_EQ(within(kLong).bytes, 4U);
    EXPECT_EQ(within(milliseconds{0}).bytes, 2U);
    EXPECT_EQ(area[0], 4);
    EXPECT_EQ(area[1], 5);

    const auto start = Clock::now();
    std::thread sender([&] { peer_->Send({1}); });
    EXPECT_EQ(within(kLong).bytes, 1U);
    sender.join();
    EXPECT_LT(Since(start), kPrompt);
    peer_->Close();
    EXPECT_EQ(within(kLong).status, IoStatus::kClosed);
    socket_.Close();
    EXPECT_EQ(within(kLong).status, IoStatus::kFailed);
}

TEST_F(TcpSocketTest, StaysReadableUntilAllIsTaken)
{
    Deliver(Counting(3));
    for (int left = 3; left > 0; --left) {
        // Neither looking twice nor a look for writing in between takes anything away.
        EXPECT_EQ(socket_.WaitReadable(In(kLong)), WaitStatus::kReady);
        EXPECT_EQ(socket_.WaitWritable(In(kLong)), WaitStatus::kReady);
        EXPECT_EQ(socket_.WaitReadable(Clock::now()), WaitStatus::kReady);
        EXPECT_EQ(ReceiveOne(socket_), IoStatus::kDone);
    }
    EXPECT_EQ(socket_.WaitReadable(In(kShort)), WaitStatus::kTimedOut);
    Deliver(Counting(1));
    EXPECT_EQ(ReceiveOne(socket_), IoStatus::kDone);
}

TEST_F(TcpSocketTest, WaitsForTheNextBytesHoweverTheLastWereTaken)
{
    // In every order of taking and waiting, what is gone is not seen again and what comes is.
    for (int round = 0; round < 30; ++round) {
        Deliver(Counting(5));
        switch (round % 3) {
        case 0:
            EXPECT_EQ(ReceiveUpTo(socket_, 5), Counting(5));
            break;
        case 1:
            EXPECT_EQ(ReceiveOne(socket_), IoStatus::kDone);
            EXPECT_EQ(socket_.Drain(), IoStatus::kDone);
            break;
        default:
            EXPECT_EQ(ReceiveUpTo(socket_, 5), Counting(5));
            EXPECT_EQ(ReceiveOne(socket_), IoStatus::kBlocked);
            break;
        }
        EXPECT_EQ(socket_.WaitReadable(In(milliseconds(2))), WaitStatus::kTimedOut);
        std::thread sender([&] { peer_->Send({1}); });
        EXPECT_EQ(socket_.WaitReadable(In(kLong)), WaitStatus::kReady);
        sender.join();
        EXPECT_EQ(ReceiveOne(socket_), IoStatus::kDone);
    }
}

TEST_F(TcpSocketTest, SendsOnWhenThePeerReads)
{
    const std::size_t sent = SendUntilBlocked(socket_);
    ASSERT_GT(sent, 0U);
    EXPECT_EQ(socket_.Send(Counting(1)).status, IoStatus::kBlocked);
    const auto start = Clock::now();
    EXPECT_EQ(socket_.WaitWritable(start + kShort), WaitStatus::kTimedOut);
    EXPECT_GE(Clock::now(), start + kShort);

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

TEST_F(TcpSocketTest, GivesWhatCameBeforeTheClose)
{
    peer_->Send(Counting(10));
    peer_->Close();
    EXPECT_EQ(ReceiveUpTo(socket_, 11), Counting(10));
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(socket_.WaitReadable(In(kLong)), WaitStatus::kReady);
        EXPECT_EQ(ReceiveOne(socket_), IoStatus::kClosed);
        EXPECT_EQ(socket_.Drain(), IoStatus::kClosed);
    }
}

TEST_F(TcpSocketTest, SeesAReset)
{
    peer_->Reset();
    EXPECT_EQ(socket_.WaitReadable(In(kLong)), WaitStatus::kReady);
    EXPECT_EQ(ReceiveOne(socket_), IoStatus::kClosed);
    EXPECT_EQ(socket_.Send(Counting(1)).status, IoStatus::kClosed);
}

TEST_F(TcpSocketTest, SendingToAClosedPeerEndsInClosed)
{
    peer_->Close();
    const auto deadline = In(kPrompt);
    IoStatus status = IoStatus::kDone;
    while (status == IoStatus::kDone && Clock::now() < deadline) {
        status = socket_.Send(Counting(100)).status;
    }
    EXPECT_EQ(status, IoStatus::kClosed);
}

TEST_F(TcpSocketTest, DrainsWhatHasCome)
{
    EXPECT_EQ(socket_.Drain(), IoStatus::kDone);
    for (const std::size_t size : {1U, 2U, 4096U, 4097U, 20000U}) {
        peer_->Send(Counting(size));
        const auto deadline = In(kPrompt);
        std::size_t rounds = 0;
        // On their way they may come in parts.
        while (socket_.WaitReadable(In(kShort)) == WaitStatus::kReady && Clock::now() < deadline) {
            EXPECT_EQ(socket_.Drain(), IoStatus::kDone);
            ++rounds;
        }
        EXPECT_GE(rounds, 1U);
        EXPECT_EQ(ReceiveOne(socket_), IoStatus::kBlocked) << size;
    }
    peer_->Send(Counting(8, 200));
    EXPECT_EQ(ReceiveUpTo(socket_, 8), Counting(8, 200));
}

TEST_F(TcpSocketTest, DrainSeesACloseBehindTheBytes)
{
    Deliver(Counting(5));
    peer_->Close();
    const auto deadline = In(kPrompt);
    IoStatus status = IoStatus::kDone;
    while (status == IoStatus::kDone && Clock::now() < deadline) {
        status = socket_.Drain();
    }
    EXPECT_EQ(status, IoStatus::kClosed);
}

TEST_F(TcpSocketTest, OpenReplacesTheConnection)
{
    Listener other;
    ASSERT_TRUE(socket_.Open("127.0.0.1", other.Port(), kLong));
    Peer otherPeer = other.Accept();
    EXPECT_EQ(peer_->ReceiveAll(), Bytes{});
    otherPeer.Send(Counting(3));
    EXPECT_EQ(ReceiveUpTo(socket_, 3), Counting(3));

    // A failed one leaves none.
    otherPeer.Close();
    EXPECT_FALSE(socket_.Open("no address", other.Port(), kLong));
    EXPECT_FALSE(socket_.IsOpen());
}

TEST(TcpSocketResources, NoChildProcessInheritsAConnection)
{
    const Listener listener;
    TcpSocket socket;
    const std::size_t before = test::InheritableDescriptors();
    ASSERT_TRUE(socket.Open("127.0.0.1", listener.Port(), kLong));
    EXPECT_EQ(test::InheritableDescriptors(), before);
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
        TcpSocket socket;
        for (int again = 0; again < 2; ++again) {
            ASSERT_TRUE(socket.Open("127.0.0.1", listener.Port(), kLong)) << socket.LastError();
            Peer peer = listener.Accept();
            peer.Send({1});
            ASSERT_EQ(socket.WaitReadable(In(kLong)), WaitStatus::kReady);
            ASSERT_EQ(ReceiveOne(socket), IoStatus::kDone);
            peer.Reset(); // leaves no port behind that waits for late packets
            if (again == 0) socket.Close();
        }
    }
    EXPECT_LE(test::OpenDescriptors(), descriptors);
    EXPECT_LE(test::ResidentBytes(), memory + kMebibyte);
}

} // namespace
} // namespace zelq::platform
