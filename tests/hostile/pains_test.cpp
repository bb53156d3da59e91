// What users of such libraries have suffered from, by what they saw.
#include "hostile/hostile_test.h"
#include "network.h"

#include <future>
#include <gtest/gtest.h>

namespace zelq::test {

namespace {

using asio::ip::tcp;

class Pains : public HostileTest
{
  protected:
    static constexpr milliseconds kWorkTime{2}; ///< of a controller that takes its time

    /// The next request is answered by other bytes, and its proper reply a little later.
    void ThenOther(const std::function<Bytes(const Request& request)>& other,
                   const std::function<void()>& whenSent = {})
    {
        controller_.Then([this, other, whenSent](const Request& request) {
            Bytes bytes = other(request);
            const std::size_t first = bytes.size();
            const Bytes own = controller_.ProperReply(request);
            bytes.insert(bytes.end(), own.begin(), own.end());
            return Answer{
                .bytes = bytes, .firstPiece = first, .later = kWorkTime, .whenSent = whenSent};
        });
    }

    /// Reads a parameter that has another value each time, from a controller that takes its time:
    /// each read gives its own value, over the connection that there is.
    void ExpectParameters(int connections)
    {
        constexpr int kCalls = 300;
        SetReceiveTimeOut(kPatientMs);
        for (int expected = 1000; expected < 1000 + kCalls; ++expected) {
            ThenProperReply({.pause = kWorkTime});
            controller_.SetRegister(0xF001, static_cast<std::uint16_t>(expected));
            int value = 0;
            ASSERT_EQ(zelQ_ParamGet(kNumber, 1, 2, 3, &value), 0);
            ASSERT_EQ(value & 0xFFFF, expected) << "the answer of another call";
        }
        EXPECT_EQ(controller_.Connections(), connections);
    }
};

TEST_F(Pains, AReplySentTwiceFailsOneCallAndNoMore)
{
    // The second one comes when the next request is under way.
    Bytes first;
    controller_.Then([&](const Request& request) {
        first = controller_.ProperReply(request);
        return Answer{.bytes = first};
    });
    ThenOther([&](const Request&) { return first; });
    Expect(Parameter(), 0);
    Expect(Parameter(), -12);
    ExpectParameters(1);
}

TEST_F(Pains, ALateReplyIsNotTakenForTheNextCalls)
{
    // A stray frame ends the call; its own reply comes while the next ones are made.
    ThenOther([](const Request& request) { return StrayReply(request).bytes; });
    Expect(Move(), -12);
    ExpectParameters(1);
}

TEST_F(Pains, ALateReplyThatHasComeIsThrownAwayWhole)
{
    std::promise<void> sent;
    ThenOther([](const Request& request) { return StrayReply(request).bytes; },
              [&sent] { sent.set_value(); });
    Expect(Move(), -12);
    sent.get_future().wait();
    ExpectRight(Move()); // over the same connection
}

TEST_F(Pains, ATornStatusFailsOneCallAndNoMore)
{
    constexpr std::size_t kTornAt = 1348;
    controller_.SetSlaveTypes(std::vector<std::uint32_t>(32, 1));
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    const int connections = controller_.Connections();
    ThenProperReply({.firstPiece = kTornAt, .later = Waits(kBriefMs) + milliseconds(kBriefMs)});
    Expect(All(), -12, 1);
    ExpectParameters(connections + 1); // where a frame starts was lost
}

TEST_F(Pains, AStopBehindARefusedCommandIsExecutedAndToldSo)
{
    // The first frame is refused; the replies to the others come while the stop is under way.
    for (int round = 0; round < 10; ++round) {
        controller_.Then([&](const Request& request) {
            Bytes bytes;
            for (const RequestFrame& frame : request) {
                const Bytes reply = controller_.ProperReply(frame, 5);
                bytes.insert(bytes.end(), reply.begin(), reply.end());
            }
            return Answer{.bytes = bytes, .pieceSize = 11, .later = kWorkTime};
        });
        ThenProperReply({.pause = kWorkTime});
        Expect(Speeds(), 5);
        EXPECT_EQ(zelQ_StopSudden(kNumber, 0), 0);
    }
}

TEST_F(Pains, AStalledConnectEndsInTime)
{
    // Once its queue is full, nobody is let in, and nobody is refused either.
    constexpr short kStalled = 7;
    constexpr short kConnectMs = 200;
    asio::io_context io;
    tcp::acceptor acceptor(io);
    acceptor.open(tcp::v4());
    acceptor.bind({asio::ip::make_address("127.0.0.7"), 0});
    acceptor.listen(0);
    std::vector<tcp::socket> queue;
    for (int i = 0; i < 8; ++i) {
        queue.emplace_back(io);
        queue.back().async_connect(acceptor.local_endpoint(), [](ErrorCode) {});
    }
    io.poll();
    zelQ_SetNetPortNum(kStalled, acceptor.local_endpoint().port());
    zelQ_Connect(kStalled, 127, 0, 0); // makes the session, by default times
    zelQ_TMOSet(kStalled, kConnectMs, 30, 30);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(zelQ_Connect(kStalled, 127, 0, 0), -1);
    const auto spent = std::chrono::steady_clock::now() - start;
    EXPECT_GE(spent, milliseconds(kConnectMs));
    EXPECT_LT(spent, milliseconds(kConnectMs) + kSlack);
    // Others are not held up by it.
    Expect(Move(), 0);
}

TEST_F(Pains, SlavesOfAnEarlierControllerAreNotReportedForGood)
{
    // Another controller stands there now, and its slaves cannot be read while connecting.
    controller_.SetSlaveTypes({1, 1, 1});
    controller_.Then(StrayReply);
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    ControllerStatus status{};
    EXPECT_EQ(zelQ_GetAllStatus(kNumber, &status), 0);
    EXPECT_EQ(status.servoCount, 3);
    EXPECT_EQ(status.outputCount, 0);
}

} // namespace

} // namespace zelq::test
