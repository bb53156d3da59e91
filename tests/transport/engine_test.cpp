#include "common/result_codes.h"
#include "support/wire_test.h"
#include "transport/engine.h"
#include "transport/frames.h"
#include "transport/session_table.h"
#include "transport/turn.h"
#include "zelq.h"

#include <array>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <thread>

namespace zelq::test {

namespace {

using EngineTest = WireTest;

/// The id that the first frame of a request gets that is never sent.
std::uint16_t IdOf(RequestBuffer request)
{
    constexpr short kNeverConnected = 21;
    EXPECT_EQ(TransactFrames(kNeverConnected, request), request.TooLong() ? kOverflow : kNotOpen);
    return request.FirstId();
}

/// The very first of the process, taken ahead of all tests.
const std::uint16_t kFirstId = IdOf(Reads(122));

TEST(TransactionIds, StartAtOneAndAreOneMoreThanThereAreFrames)
{
    EXPECT_EQ(kFirstId, 1);
    const std::uint16_t first = IdOf(Reads(3));
    ASSERT_EQ(IdOf({}), static_cast<std::uint16_t>(first + 4));
    ASSERT_EQ(IdOf(Reads(1)), static_cast<std::uint16_t>(first + 5));
    while (IdOf({}) != 65535) {
    }
    EXPECT_EQ(IdOf(Reads(1)), 0) << "they wrap to zero";
}

TEST_F(EngineTest, NothingIsSentForARequestWithoutFrames)
{
    RequestBuffer empty;
    EXPECT_EQ(TransactFrames(kNumber, empty), kReplyMismatch);
    RequestBuffer overlong = Commands({122});
    EXPECT_EQ(TransactFrames(kNumber, overlong), kReplyMismatch);
    RequestBuffer whole = Commands({56, 57}, 1, Reads(100)); // 1460 bytes
    EXPECT_EQ(TransactFrames(kNumber, whole), kOverflow);
    EXPECT_TRUE(controller_.TakeRequests().empty());
    zelQ_Disconnect(kNumber);
    EXPECT_EQ(TransactFrames(kNumber, empty), kNotOpen);
}

TEST_F(EngineTest, FramesUpToTheFirstInvalidOneTravelInOnePiece)
{
    controller_.SetRegister(0x0139, 0xBEEF);
    RequestBuffer request = Commands({121, 122, 1}, 1, Reads(60));
    ReplyData data;
    EXPECT_EQ(TransactFrames(kNumber, request, &data), kOk);
    EXPECT_EQ(DataWords(data).size(), 121U);
    EXPECT_EQ(DataWords(data)[119], 0xBEEF);
    const auto requests = controller_.TakeRequests();
    ASSERT_EQ(requests.size(), 1U);
    ASSERT_EQ(requests[0].size(), 61U);
    std::uint16_t id = request.FirstId();
    for (const RequestFrame& frame : requests[0]) {
        EXPECT_EQ(frame.id, id++);
        EXPECT_EQ(frame.unit, 1);
    }
    EXPECT_EQ(requests[0].back().written, Words(121, 7));
}

TEST_F(EngineTest, TheControllersResultIsNotSignExtended)
{
    controller_.ThenResult(0xFFFF);
    RequestBuffer request = Commands({1});
    EXPECT_EQ(TransactFrames(kNumber, request), 0xFFFF);
}

TEST_F(EngineTest, ThePictureOfAMapIsThatOfTheLastCommand)
{
    constexpr int kRounds = 100;
    constexpr std::size_t kCountAt = 3; // behind mark, code and map
    for (int round = 0; round < kRounds; ++round) {
        const auto set = [](short count) {
            constexpr std::array<unsigned short, 4> kAxes = {0, 1, 2, 3};
            EXPECT_EQ(zelQ_IMapSet(kNumber, 0, count, kAxes.data()), 0);
        };
        std::thread other(set, short{2});
        set(4);
        other.join();
        const Request last = controller_.TakeRequests().back();
        ASSERT_EQ(Sessions().Find(kNumber)->Map(0).count, last.front().written.at(kCountAt));
    }
}

TEST_F(EngineTest, TimesOfACallGoBeforeTheSessions)
{
    for (int i = 0; i < 3; ++i) {
        controller_.Then([](const Request&) { return Answer{}; });
    }
    RequestBuffer request = Reads(1);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(TransactFrames(kNumber, request, nullptr, {.send = 0, .receive = 20}), kNoReply);
    const auto spent = std::chrono::steady_clock::now() - start;
    EXPECT_GE(spent, std::chrono::milliseconds(3 * 6 * 20));
    EXPECT_LT(spent, std::chrono::seconds(5)) << "the session's would be 18 s";
}

TEST_F(EngineTest, ACallBehindAConnectIsJudgedByWhatCameOfIt)
{
    zelQ_Disconnect(kNumber);
    DeviceSession& session = *Sessions().Find(kNumber);
    std::future<int> behind;
    {
        const Turn turn(session.Lock());
        behind = std::async(std::launch::async, [] {
            RequestBuffer request = Reads(1);
            return TransactFrames(kNumber, request);
        });
        EXPECT_EQ(behind.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        EXPECT_TRUE(session.Open());
    }
    EXPECT_EQ(behind.get(), kOk);
}

} // namespace

} // namespace zelq::test
