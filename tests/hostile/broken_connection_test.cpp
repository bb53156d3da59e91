#include "hostile/hostile_test.h"

#include <gtest/gtest.h>
#include <thread>

namespace zelq::test {

namespace {

using testing::AnyOf;
using Then = Answer::Then;

Answer Silence(const Request&)
{
    return {};
}

class BrokenConnection : public HostileTest
{
  protected:
    /// Until the controller has closed its end: from then on this end can see it.
    void AwaitClose() const
    {
        constexpr std::chrono::seconds kPatience{10};
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        while (controller_.OpenConnections() > 0 && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
        EXPECT_EQ(controller_.OpenConnections(), 0);
    }
};

TEST_F(BrokenConnection, ASilentControllerSeesThreeRequestsAndThreeNewConnections)
{
    for (const short ms : {short{10}, kBriefMs, short{60}}) {
        const int connections = controller_.Connections();
        for (int i = 0; i < 3; ++i) {
            controller_.Then(Silence);
        }
        Expect(Servo(), -7, 3, ms);
        const std::vector<Request> requests = controller_.TakeRequests();
        ASSERT_EQ(requests.size(), 3U);
        for (const Request& request : requests) {
            ASSERT_EQ(request.size(), 2U);
            EXPECT_EQ(request[0].id, requests[0][0].id) << "the same frames are sent again";
            EXPECT_EQ(request[1].id, requests[0][1].id);
        }
        // The next call goes through the third of the new connections.
        Expect(Move(), 0);
        EXPECT_EQ(controller_.Connections(), connections + 3);
    }
}

TEST_F(BrokenConnection, AControllerThatWakesUpIsAskedAgain)
{
    controller_.Then(Silence);
    controller_.Then(Silence);
    Expect(Move(), 0, 2);
    EXPECT_EQ(controller_.TakeRequests().size(), 3U);
    EXPECT_EQ(controller_.Connections(), 3);
}

TEST_F(BrokenConnection, ACloseIsToldAndTheNextCallHeals)
{
    struct Case
    {
        std::string name;
        std::size_t bytes; ///< of the 56 of both replies
        Then then;
        testing::Matcher<short> result;
    };
    const Case cases[] = {
        {"close before the reply", 0, Then::kClose, -5},
        {"close inside a header", 4, Then::kClose, -5},
        {"close after 8 bytes", 8, Then::kClose, -5},
        {"close inside a frame", 10, Then::kClose, -5},
        {"close between two frames", 11, Then::kClose, -5},
        {"close inside the second", 55, Then::kClose, -5},
        {"close after the reply", 56, Then::kClose, 0},
        {"reset before the reply", 0, Then::kReset, -5},
        {"reset inside a frame", 10, Then::kReset, -5},
        {"reset between two frames", 11, Then::kReset, -5},
        // A reset may overtake what was sent before it.
        {"reset after the reply", 56, Then::kReset, AnyOf(0, -5)},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        controller_.Then([&](const Request& request) {
            Bytes bytes = controller_.ProperReply(request);
            EXPECT_EQ(bytes.size(), 56U);
            bytes.resize(row.bytes);
            return Answer{.bytes = bytes, .then = row.then};
        });
        Expect(Servo(), row.result);
        EXPECT_EQ(controller_.TakeRequests().size(), 1U) << "it was sent again";
        AwaitClose();
        ExpectRight(Move(), 1);
    }
}

TEST_F(BrokenConnection, ARefusedReconnectEndsInAClosedSession)
{
    controller_.StopListening();
    // Three attempts to send, each on a connection that cannot be had.
    Expect(Move(), -1);
    Expect(Move(), -4);
    Expect(All(), -4);
    EXPECT_TRUE(controller_.TakeRequests().empty());
    EXPECT_EQ(controller_.Connections(), 1);

    ScriptedController again(kNumber);
    ASSERT_EQ(zelQ_SetNetPortNum(kNumber, again.Port()), 0);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -4) << "only connecting opens it again";
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
}

TEST_F(BrokenConnection, ARefusedReconnectAfterSilenceEndsTheAttempts)
{
    controller_.Then([](const Request&) { return Answer{.then = Then::kRefuse}; });
    Expect(Move(), -1, 1);
    EXPECT_EQ(controller_.TakeRequests().size(), 1U);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -4);
}

TEST_F(BrokenConnection, EndlessBytesHoldNobodyUp)
{
    // Read from anywhere, they look like the header of a frame that never ends.
    controller_.Then(
        [](const Request&) { return Answer{.bytes = Bytes(4096, 0xFF), .then = Then::kRepeat}; });
    Expect(Servo(), -9);
    ExpectRight(Move(), 1);
}

TEST_F(BrokenConnection, EndlessRepliesAnswerOnlyTheirOwnCall)
{
    ThenProperReply({.then = Then::kRepeat});
    // More than any reply can be may have come by the time it is looked at.
    Expect(Move(), AnyOf(0, -9));
    // Whatever has come by the next call, and wherever in a frame it ends: nobody waits for it, and
    // no call but the next can be troubled by it.
    Expect(Move(), testing::_);
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    ExpectRight(Move());
}

} // namespace

} // namespace zelq::test
