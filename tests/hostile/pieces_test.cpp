#include "hostile/hostile_test.h"

#include <gtest/gtest.h>

namespace zelq::test {

namespace {

/// Replies that come in pieces.
class Pieces : public HostileTest
{
  protected:
    /// Between two pieces, so that the library mostly sees them apart.
    static constexpr std::chrono::microseconds kPause{200};

    void SetUp() override
    {
        HostileTest::SetUp();
        SetReceiveTimeOut(kPatientMs);
    }

    static std::vector<Call> Calls() { return {Move(), Speeds(), Serial(), Servo(), All()}; }

    /// Runs the call with its proper reply cut up like this; gives the size of the reply.
    std::size_t Expect(const Call& call, const Bytes& proper, Answer cut)
    {
        std::size_t size = 0;
        controller_.Then([&](const Request& request) {
            cut.bytes = controller_.ProperReply(request);
            size = cut.bytes.size();
            return cut;
        });
        Bytes output;
        EXPECT_EQ(call.run(output), 0);
        EXPECT_EQ(output, proper);
        return size;
    }
};

TEST_F(Pieces, ASplitReplyIsOneReplyWhereverItIsSplit)
{
    for (const Call& call : Calls()) {
        SCOPED_TRACE(call.name);
        Bytes proper;
        ASSERT_EQ(call.run(proper), 0);
        std::size_t size = 2;
        for (std::size_t split = 1; split < size && !HasFailure(); ++split) {
            SCOPED_TRACE("at " + std::to_string(split));
            size = Expect(call, proper, {.firstPiece = split, .pause = kPause});
        }
        EXPECT_GE(size, 11U);
    }
    EXPECT_EQ(controller_.Connections(), 1);
}

TEST_F(Pieces, AReplyMayComeByteByByte)
{
    for (const Call& call : Calls()) {
        SCOPED_TRACE(call.name);
        Bytes proper;
        ASSERT_EQ(call.run(proper), 0);
        Expect(call, proper, {.pieceSize = 1, .pause = kPause});
        Expect(call, proper, {.pieceSize = 1});
    }
    EXPECT_EQ(controller_.Connections(), 1);
}

TEST_F(Pieces, ComeWhileConnecting)
{
    const auto inPieces = [&](const Request& request) {
        return Answer{.bytes = controller_.ProperReply(request), .pieceSize = 7, .pause = kPause};
    };
    controller_.Then(inPieces);
    controller_.Then(inPieces);
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 7, 1.0), 0) << "a servo, as the type words say";
}

TEST_F(Pieces, DoNotStretchTheWaits)
{
    // Each byte comes well within the first wait, but the reply as a whole does not.
    SetReceiveTimeOut(kBriefMs);
    controller_.Then([&](const Request& request) {
        return Answer{.bytes = controller_.ProperReply(request),
                      .pieceSize = 1,
                      .pause = milliseconds(kBriefMs * 3 / 4)};
    });
    short result = 0;
    const auto spent = Spent([&] { result = zelQ_MoveAbs(kNumber, 0, 1.0); });
    EXPECT_TRUE(result == -10 || result == -12) << result;
    EXPECT_GE(spent, Waits(kBriefMs));
    EXPECT_LT(spent, Waits(kBriefMs) + kSlack);
    EXPECT_EQ(controller_.TakeRequests().size(), 1U);
    // The rest of that reply is still on its way, and nobody's.
    SetReceiveTimeOut(kPatientMs);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 2.0), 0);
}

} // namespace

} // namespace zelq::test
