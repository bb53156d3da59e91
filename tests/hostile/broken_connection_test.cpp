#include "hostile/hostile_test.h"

#include <gmock/gmock.h>
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
    void SetUp() override
    {
        HostileTest::SetUp();
        connectionsBefore_ = controller_.Connections();
    }

    [[nodiscard]] int NewConnections() const
    {
        return controller_.Connections() - connectionsBefore_;
    }

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

    /// The next call finds the controller well-behaved, by so many new connections.
    void ExpectHealed(int newConnections)
    {
        const int connections = controller_.Connections();
        SetReceiveTimeOut(kPatientMs);
        controller_.TakeRequests();
        EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 2.0), 0);
        EXPECT_EQ(controller_.TakeRequests().size(), 1U);
        EXPECT_EQ(controller_.Connections(), connections + newConnections);
        capture_.Lines();
    }

    int connectionsBefore_ = 0;
};

TEST_F(BrokenConnection, ASilentControllerSeesThreeRequestsAndThreeNewConnections)
{
    SetReceiveTimeOut(kBriefMs);
    for (int i = 0; i < 3; ++i) {
        controller_.Then(Silence);
    }
    Bytes output;
    short result = 0;
    const auto spent = Spent([&] { result = Servo().run(output); });
    EXPECT_EQ(result, -7);
    EXPECT_EQ(output, Bytes(output.size(), kUntouched));
    EXPECT_GE(spent, 3 * Waits(kBriefMs));
    EXPECT_LT(spent, 3 * Waits(kBriefMs) + kSlack);
    const std::vector<Request> requests = controller_.TakeRequests();
    ASSERT_EQ(requests.size(), 3U);
    for (const Request& request : requests) {
        ASSERT_EQ(request.size(), 2U);
        EXPECT_EQ(request[0].id, requests[0][0].id) << "the same frames are sent again";
        EXPECT_EQ(request[1].id, requests[0][1].id);
    }
    // The next call goes through the third of the new connections.
    SetReceiveTimeOut(kPatientMs);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
    EXPECT_EQ(NewConnections(), 3);
}

TEST_F(BrokenConnection, AControllerThatWakesUpIsAskedAgain)
{
    SetReceiveTimeOut(kBriefMs);
    controller_.Then(Silence);
    controller_.Then(Silence);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
    EXPECT_EQ(controller_.TakeRequests().size(), 3U);
    EXPECT_EQ(NewConnections(), 2);
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
        controller_.TakeRequests();
        Bytes output;
        short result = 0;
        const auto spent = Spent([&] { result = Servo().run(output); });
        EXPECT_THAT(result, row.result);
        if (result != 0) {
            EXPECT_EQ(output, Bytes(output.size(), kUntouched));
        }
        EXPECT_LT(spent, Waits(kPatientMs) / 2) << "nothing is left to wait for";
        EXPECT_EQ(controller_.TakeRequests().size(), 1U) << "it was sent again";
        AwaitClose();
        ExpectHealed(1);
    }
}

TEST_F(BrokenConnection, ADeadLinkIsReplacedUnnoticed)
{
    for (const Then then : {Then::kClose, Then::kReset}) {
        controller_.Then([&](const Request& request) {
            return Answer{.bytes = controller_.ProperReply(request), .then = then};
        });
        EXPECT_THAT(zelQ_MoveAbs(kNumber, 0, 1.0), AnyOf(0, -5));
        AwaitClose();
        ExpectHealed(1);
    }
}

TEST_F(BrokenConnection, ARefusedReconnectEndsInAClosedSession)
{
    controller_.StopListening();
    // Three attempts to send, each on a connection that cannot be had.
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -1);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -4);
    Bytes output;
    EXPECT_EQ(All().run(output), -4);
    EXPECT_EQ(output, Bytes(output.size(), kUntouched));
    EXPECT_TRUE(controller_.TakeRequests().empty());
    EXPECT_EQ(NewConnections(), 0);

    ScriptedController again(kNumber);
    ASSERT_EQ(zelQ_SetNetPortNum(kNumber, again.Port()), 0);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -4) << "only connecting opens it again";
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
}

TEST_F(BrokenConnection, ARefusedReconnectAfterSilenceEndsTheAttempts)
{
    SetReceiveTimeOut(kBriefMs);
    controller_.Then([](const Request&) { return Answer{.then = Then::kRefuse}; });
    short result = 0;
    const auto spent = Spent([&] { result = zelQ_MoveAbs(kNumber, 0, 1.0); });
    EXPECT_EQ(result, -1);
    EXPECT_GE(spent, Waits(kBriefMs));
    EXPECT_LT(spent, Waits(kBriefMs) + kSlack);
    EXPECT_EQ(controller_.TakeRequests().size(), 1U);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -4);
}

TEST_F(BrokenConnection, EndlessBytesHoldNobodyUp)
{
    // Read from anywhere, they look like the header of a frame that never ends.
    controller_.Then(
        [](const Request&) { return Answer{.bytes = Bytes(4096, 0xFF), .then = Then::kRepeat}; });
    Bytes output;
    short result = 0;
    const auto spent = Spent([&] { result = Servo().run(output); });
    EXPECT_EQ(result, -9);
    EXPECT_EQ(output, Bytes(output.size(), kUntouched));
    EXPECT_LT(spent, Waits(kPatientMs) / 2);
    ExpectHealed(1);
}

TEST_F(BrokenConnection, EndlessRepliesAnswerOnlyTheirOwnCall)
{
    controller_.Then([&](const Request& request) {
        return Answer{.bytes = controller_.ProperReply(request), .then = Then::kRepeat};
    });
    // More than any reply can be may have come by the time it is looked at.
    EXPECT_THAT(zelQ_MoveAbs(kNumber, 0, 1.0), AnyOf(0, -9));
    // Whatever has come by the next call, and wherever in a frame it ends: nobody waits for it, and
    // no call but the next can be troubled by it.
    const auto spent = Spent([] { zelQ_MoveAbs(kNumber, 0, 2.0); });
    EXPECT_LT(spent, Waits(kPatientMs) / 2);
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    ExpectHealed(0);
}

} // namespace

} // namespace zelq::test
