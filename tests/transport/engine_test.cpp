#include "common/result_codes.h"
#include "transport/engine.h"
#include "transport/frames.h"
#include "transport/session_table.h"
#include "zelq.h"

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace zelq::test {

namespace {

constexpr short kUnknown = 21; ///< never connected
constexpr short kNumber = 22;

RequestBuffer Reads(int frames)
{
    RequestBuffer request;
    for (int i = 0; i < frames; ++i) {
        request.StartReadFrame(0x0100, 1);
    }
    return request;
}

/// `reads` reads and then commands that write so many registers each.
RequestBuffer Mixed(int reads, std::initializer_list<int> commands)
{
    RequestBuffer request = Reads(reads);
    for (const int registers : commands) {
        request.StartCommandFrame();
        for (int i = 0; i < registers; ++i) {
            request.AppendRegister(1);
        }
    }
    return request;
}

/// Takes the very first id of the process, ahead of all tests.
class FirstIdTaker : public testing::Environment
{
  public:
    void SetUp() override
    {
        RequestBuffer request = Reads(1);
        EXPECT_EQ(TransactFrames(kUnknown, request), kNotOpen);
        firstId = request.FirstId();
    }

    static inline std::uint16_t firstId = 0;
};

const testing::Environment* const kFirstIdTaker =
    testing::AddGlobalTestEnvironment(new FirstIdTaker);

TEST(TransactionIds, StartAtOne)
{
    EXPECT_EQ(FirstIdTaker::firstId, 1);
}

TEST(TransactionIds, AreOneMoreThanThereAreFrames)
{
    RequestBuffer three = Reads(3);
    EXPECT_EQ(TransactFrames(kUnknown, three), kNotOpen) << "refused, but numbered";
    const std::uint16_t first = three.FirstId();
    RequestBuffer none;
    EXPECT_EQ(TransactFrames(kUnknown, none), kNotOpen);
    EXPECT_EQ(none.FirstId(), static_cast<std::uint16_t>(first + 4));
    RequestBuffer one = Reads(1);
    EXPECT_EQ(TransactFrames(kUnknown, one), kNotOpen);
    EXPECT_EQ(one.FirstId(), static_cast<std::uint16_t>(first + 5));
}

TEST(TransactionIds, WrapToZero)
{
    RequestBuffer empty;
    do {
        TransactFrames(kUnknown, empty);
    } while (empty.FirstId() != 65535);
    RequestBuffer one = Reads(1);
    TransactFrames(kUnknown, one);
    EXPECT_EQ(one.FirstId(), 0);
}

/// A connected controller.
class EngineTest : public testing::Test
{
  protected:
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(controller_.Connect()); }
    void TearDown() override { EXPECT_EQ(controller_.UnusedSteps(), 0U); }

    ScriptedController controller_{kNumber};
};

TEST_F(EngineTest, NothingIsSentForARequestWithoutFrames)
{
    RequestBuffer empty;
    EXPECT_EQ(TransactFrames(kNumber, empty), kReplyMismatch);
    RequestBuffer overlong = Mixed(0, {122});
    EXPECT_EQ(TransactFrames(kNumber, overlong), kReplyMismatch);
    RequestBuffer whole = Mixed(100, {56, 57}); // 1460 bytes
    EXPECT_EQ(TransactFrames(kNumber, whole), kOverflow);
    EXPECT_TRUE(controller_.TakeRequests().empty());
    zelQ_Disconnect(kNumber);
    EXPECT_EQ(TransactFrames(kNumber, empty), kNotOpen);
}

TEST_F(EngineTest, FramesEndAtTheFirstInvalidOne)
{
    RequestBuffer request = Mixed(1, {122, 1});
    EXPECT_EQ(TransactFrames(kNumber, request), kOk);
    const auto requests = controller_.TakeRequests();
    ASSERT_EQ(requests.size(), 1U);
    ASSERT_EQ(requests[0].size(), 1U);
    EXPECT_EQ(requests[0][0].function, 3);
}

TEST_F(EngineTest, AllFramesTravelInOnePiece)
{
    controller_.SetRegister(0x0100, 0xBEEF);
    RequestBuffer request = Mixed(90, {121});
    ReplyData data;
    EXPECT_EQ(TransactFrames(kNumber, request, &data), kOk);
    EXPECT_EQ(DataWords(data).size(), 91U);
    EXPECT_EQ(DataWords(data)[89], 0xBEEF);
    const auto requests = controller_.TakeRequests();
    ASSERT_EQ(requests.size(), 1U);
    ASSERT_EQ(requests[0].size(), 91U);
    std::uint16_t id = request.FirstId();
    for (const RequestFrame& frame : requests[0]) {
        EXPECT_EQ(frame.id, id++);
        EXPECT_EQ(frame.unit, 1);
    }
    EXPECT_EQ(requests[0].back().written, Words(121, 1));
}

TEST_F(EngineTest, TheControllersResultIsNotSignExtended)
{
    controller_.ThenResult(0xFFFF);
    RequestBuffer request = Mixed(0, {1});
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

} // namespace

} // namespace zelq::test
