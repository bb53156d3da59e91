#include "platform/loopback.h"
#include "support/starting_line.h"

#include <future>
#include <thread>

namespace zelq::platform {
namespace {

TEST_F(TcpSocketTest, OpenFailsAtOnceWithoutAListenerOrAnAddressAndLeavesNoConnection)
{
    std::uint32_t deserted = 0;
    {
        const Listener closed;
        deserted = closed.Port();
    }
    const auto start = Clock::now();
    EXPECT_FALSE(socket_.Open("127.0.0.1", deserted, kLong));
    EXPECT_EQ(peer_->Receive(1), Bytes{});
    EXPECT_FALSE(socket_.Open("127.0.0.1", listener_.Port() + 0x10000U, kLong));
    for (const char* address :
         {"", "localhost", "256.0.0.1", "127.0.0.256", "127.0.0", "127.0.0.1.1", "127.0.0.1 ",
          "-127.0.0.1", "127.0.0.-1", "127.0.0.1x", "::1", "host.invalid"}) {
        EXPECT_FALSE(socket_.Open(address, listener_.Port(), kLong)) << address;
    }
    EXPECT_FALSE(socket_.IsOpen());
    EXPECT_LT(Clock::now() - start, kPrompt);
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
    EXPECT_GE(Clock::now() - start, kShort);
    EXPECT_LT(Clock::now() - start, kPrompt);
    EXPECT_FALSE(queued[opened].IsOpen());
}

TEST_F(TcpSocketTest, SeesWhatComesHoweverTheLastWasTaken)
{
    constexpr milliseconds kWaits[] = {kShort, milliseconds{0}, 3 * kShort, milliseconds{1},
                                       kShort};
    for (int round = 0; round < 30; ++round) {
        peer_->Send(CountUp(5));
        EXPECT_EQ(ReceiveUpTo(5), CountUp(5));
        if (round % 3 == 0) {
            EXPECT_EQ(Pending(), IoStatus::kBlocked);
        } else if (round % 3 == 1) {
            const milliseconds wait = kWaits[round % 5]; // whatever the one before was
            const auto start = Clock::now();
            EXPECT_EQ(ReceiveOne(wait), IoStatus::kTimedOut);
            EXPECT_GE(Clock::now(), start + wait);
            EXPECT_LT(Clock::now(), start + kPrompt);
        }
        EXPECT_EQ(socket_.WaitWritable(Clock::now() + kLong), WaitStatus::kReady);
        const std::jthread sender([&] { peer_->Send({1}); });
        EXPECT_EQ(ReceiveOne(kLong), IoStatus::kDone);
    }
}

TEST_F(TcpSocketTest, SendsOnWhenThePeerReads)
{
    const std::size_t sent = SendUntilBlocked();
    EXPECT_EQ(socket_.Send(CountUp(1)).status, IoStatus::kBlocked);
    // What comes the other way makes it no more writable, and is not lost by the wait.
    peer_->Send({1});
    const auto deadline = Clock::now() + kShort;
    EXPECT_EQ(socket_.WaitWritable(deadline), WaitStatus::kTimedOut);
    EXPECT_GE(Clock::now(), deadline);
    EXPECT_EQ(ReceiveUpTo(1), Bytes{1});

    std::thread reader([&] { EXPECT_EQ(peer_->Receive(sent), CountUp(sent)); });
    EXPECT_EQ(socket_.WaitWritable(Clock::now() + kLong), WaitStatus::kReady);
    reader.join();
    EXPECT_EQ(socket_.Send(CountUp(4, 9)).bytes, 4U);
    EXPECT_EQ(peer_->Receive(4), CountUp(4, 9));
    peer_->Reset();
    EXPECT_EQ(ReceiveOne(kLong), IoStatus::kClosed);
    EXPECT_EQ(socket_.Send(CountUp(1)).status, IoStatus::kClosed);
}

TEST_F(TcpSocketTest, CloseAndInterruptWakeAllWhoWait)
{
    // In all ways at once, from before or after the moment of the end.
    for (int round = 0; round < 60; ++round) {
        const bool closes = round % 2 == 0;
        if (round % 4 < 2) SendUntilBlocked();
        test::StartingLine together(3);
        std::jthread receiver([&] {
            together.ArriveAndWait();
            EXPECT_NE(ReceiveOne(kLong), IoStatus::kTimedOut);
        });
        std::jthread writer([&] {
            const TcpSocket::Use use(socket_);
            together.ArriveAndWait();
            socket_.WaitWritable(Clock::now() + kLong);
        });
        together.ArriveAndWait();
        const auto begin = Clock::now();
        while (Clock::now() < begin + std::chrono::microseconds(10 * round)) {
            std::this_thread::yield();
        }
        closes ? socket_.Close() : socket_.Interrupt();
        EXPECT_LT(Clock::now() - begin, kPrompt);
        receiver.join();
        writer.join();
        EXPECT_LT(Clock::now() - begin, kPrompt);
        ASSERT_EQ(socket_.IsOpen(), !closes);
        // What is broken stays so until the next open.
        EXPECT_EQ(socket_.Send(CountUp(1)).status, closes ? IoStatus::kFailed : IoStatus::kClosed);
        EXPECT_NE(ReceiveOne(kLong), IoStatus::kTimedOut);
        EXPECT_EQ(socket_.WaitWritable(begin), closes ? WaitStatus::kFailed : WaitStatus::kReady);
        ASSERT_NO_FATAL_FAILURE(Connect());
    }
}

TEST_F(TcpSocketTest, NoUseSeesAnotherConnection)
{
    // Its descriptor's number is nobody else's before the last use is over.
    for (const bool opens : {false, true}) {
        std::optional<TcpSocket::Use> use(socket_);
        auto ended = std::async(std::launch::async, [&] { opens ? Connect() : socket_.Close(); });
        EXPECT_EQ(ended.wait_for(kShort), std::future_status::timeout);
        use.reset();
        EXPECT_EQ(ended.wait_for(kLong), std::future_status::ready);
    }
}

} // namespace
} // namespace zelq::platform
