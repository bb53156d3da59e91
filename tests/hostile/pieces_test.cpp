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
};

TEST_F(Pieces, AreOneReplyWhereverItIsSplit)
{
    for (const Call& call : {Move(), Speeds(), Serial(), Servo(), All()}) {
        SCOPED_TRACE(call.name);
        const Bytes proper = ExpectRight(call);
        const auto expect = [&](const Answer& cut) {
            ThenProperReply(cut);
            EXPECT_EQ(Expect(call, 0), proper);
        };
        expect({.pieceSize = 1, .pause = kPause});
        expect({.pieceSize = 1});
        EXPECT_GE(replyBytes_, 11U);
        for (std::size_t split = 1; split < replyBytes_ && !HasFailure(); ++split) {
            SCOPED_TRACE("at " + std::to_string(split));
            expect({.firstPiece = split, .pause = kPause});
        }
    }
    EXPECT_EQ(controller_.Connections(), 1);
}

TEST_F(Pieces, ComeWhileConnecting)
{
    ThenProperReply({.pieceSize = 7, .pause = kPause});
    ThenProperReply({.pieceSize = 7, .pause = kPause});
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 7, 1.0), 0) << "a servo, as the type words say";
}

TEST_F(Pieces, DoNotStretchTheWaits)
{
    // Each byte comes well within the first wait, but the reply as a whole does not.
    ThenProperReply({.pieceSize = 1, .pause = milliseconds(kBriefMs * 3 / 4)});
    Expect(Move(), testing::AnyOf(-10, -12), 1);
    EXPECT_EQ(controller_.TakeRequests().size(), 1U);
    // The rest of that reply is still on its way, and nobody's.
    Expect(Move(), 0);
}

} // namespace

} // namespace zelq::test
