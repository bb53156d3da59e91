// What users of such libraries have suffered from, by what they saw.
#include "hostile/hostile_test.h"

#include <asio.hpp>
#include <gtest/gtest.h>

namespace zelq::test {

namespace {

using asio::ip::tcp;

class Pains : public HostileTest
{
  protected:
    static constexpr milliseconds kWorkTime{2}; ///< of a controller that takes its time

    /// The requests that come next are answered properly, each after its time.
    void AnswerSlowly(int requests)
    {
        for (int i = 0; i < requests; ++i) {
            controller_.Then([this](const Request& request) {
                return Answer{.bytes = controller_.ProperReply(request), .pause = kWorkTime};
            });
        }
    }

    /// Reads a parameter that has another value each time; how many reads failed, and with what.
    /// A value of another read is none of the results.
    std::vector<short> FailuresAmong(int calls)
    {
        std::vector<short> failures;
        AnswerSlowly(calls);
        for (int call = 0; call < calls; ++call) {
            controller_.SetRegister(0xF001, static_cast<std::uint16_t>(1000 + call));
            int value = 0;
            const short result = zelQ_ParamGet(kNumber, 1, 2, 3, &value);
            if (result != 0) failures.push_back(result);
            EXPECT_EQ(result == 0 ? value & 0xFFFF : 1000 + call, 1000 + call)
                << "the answer of another call";
        }
        return failures;
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
    controller_.Then([&](const Request& request) {
        const Bytes own = controller_.ProperReply(request);
        Bytes bytes = first;
        bytes.insert(bytes.end(), own.begin(), own.end());
        return Answer{.bytes = bytes, .pieceSize = own.size(), .later = kWorkTime};
    });
    int value = 0;
    EXPECT_EQ(zelQ_ParamGet(kNumber, 1, 2, 3, &value), 0);
    EXPECT_EQ(zelQ_ParamGet(kNumber, 1, 2, 3, &value), -12);
    EXPECT_EQ(FailuresAmong(298), std::vector<short>{});
    EXPECT_EQ(controller_.Connections(), 1);
}

TEST_F(Pains, ALateReplyIsNotTakenForTheNextCalls)
{
    // A stray frame ends the call; its own reply comes while the next ones are made.
    controller_.Then([&](const Request& request) {
        Bytes bytes = StrayReply(request).bytes;
        const std::size_t stray = bytes.size();
        const Bytes own = controller_.ProperReply(request);
        bytes.insert(bytes.end(), own.begin(), own.end());
        return Answer{
            .bytes = bytes, .pieceSize = own.size(), .firstPiece = stray, .later = kWorkTime};
    });
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -12);
    EXPECT_EQ(FailuresAmong(299), std::vector<short>{});
    EXPECT_EQ(controller_.Connections(), 1);
}

TEST_F(Pains, ATornStatusFailsOneCallAndNoMore)
{
    controller_.SetSlaveTypes(std::vector<std::uint32_t>(32, 1));
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    const int connections = controller_.Connections();
    SetReceiveTimeOut(kBriefMs);
    constexpr std::size_t kTornAt = 1348;
    controller_.Then([&](const Request& request) {
        return Answer{.bytes = controller_.ProperReply(request),
                      .firstPiece = kTornAt,
                      .later = Waits(kBriefMs) + milliseconds(kBriefMs)};
    });
    Bytes output;
    EXPECT_EQ(All().run(output), -12);
    EXPECT_EQ(output, Bytes(output.size(), kUntouched));
    SetReceiveTimeOut(kPatientMs);
    EXPECT_EQ(FailuresAmong(300), std::vector<short>{});
    EXPECT_EQ(controller_.Connections(), connections + 1) << "where a frame starts was lost";
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
        AnswerSlowly(1);
        Bytes none;
        EXPECT_EQ(Speeds().run(none), 5);
        EXPECT_EQ(zelQ_StopSudden(kNumber, 0), 0);
    }
}

TEST_F(Pains, ATimeOutIsNeitherEarlyNorLateNorMistold)
{
    for (const short ms : std::initializer_list<short>{10, 30, 60}) {
        SetReceiveTimeOut(ms);
        for (int attempt = 0; attempt < 3; ++attempt) {
            controller_.Then([](const Request&) { return Answer{}; });
        }
        short result = 0;
        const auto spent = Spent([&] { result = zelQ_MoveAbs(kNumber, 0, 1.0); });
        EXPECT_EQ(result, -7);
        EXPECT_GE(spent, 3 * Waits(ms));
        EXPECT_LT(spent, 3 * Waits(ms) + kSlack);
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
        queue.back().async_connect(acceptor.local_endpoint(), [](asio::error_code) {});
    }
    io.poll();
    zelQ_SetNetPortNum(kStalled, acceptor.local_endpoint().port());
    zelQ_Connect(kStalled, 127, 0, 0); // makes the session, by default times
    zelQ_TMOSet(kStalled, kConnectMs, 30, 30);
    short result = 0;
    const auto spent = Spent([&] { result = zelQ_Connect(kStalled, 127, 0, 0); });
    EXPECT_EQ(result, -1);
    EXPECT_GE(spent, milliseconds(kConnectMs));
    EXPECT_LT(spent, milliseconds(kConnectMs) + kSlack);
    // Others are not held up by it.
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
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
