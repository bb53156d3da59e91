#include "transport/frames.h"
#include "transport/owed_replies.h"

#include <gtest/gtest.h>

namespace zelq::test {

namespace {

RequestBuffer Reads(int frames, std::uint16_t first)
{
    RequestBuffer request;
    for (int i = 0; i < frames; ++i) {
        request.StartReadFrame(0, 1);
    }
    return Numbered(request, first);
}

Bytes Reply(std::uint16_t id)
{
    return RegistersReply(id, kReadRegisters, {id});
}

/// What stays of the bytes that have come.
Bytes Kept(OwedReplies& owed, Bytes received, std::size_t from = 0)
{
    received.resize(owed.DropLate(received, from));
    return received;
}

TEST(OwedReplies, ComeLateAndAreDroppedByTheirIds)
{
    OwedReplies owed;
    owed.Owe(Reads(3, 10), 1, {});
    EXPECT_FALSE(owed.None());
    EXPECT_FALSE(owed.LostStep());
    // The call's own reply stands between two late ones, of which one is not all there.
    const Bytes whole = Joined({Reply(11), Reply(20), Reply(12)});
    EXPECT_EQ(Kept(owed, Bytes(whole.begin(), whole.end() - 1)),
              Joined({Reply(20), Bytes(whole.end() - 11, whole.end() - 1)}));
    EXPECT_FALSE(owed.None());
    EXPECT_EQ(Kept(owed, Joined({Reply(20), Reply(12)}), Reply(20).size()), Reply(20));
    EXPECT_TRUE(owed.None());
    EXPECT_EQ(Kept(owed, whole), whole) << "each once";
}

TEST(OwedReplies, WhatTheExchangeHasSeenIsNotOwed)
{
    struct Case
    {
        const char* name;
        std::size_t matched;
        Bytes rest;
        bool none;
        bool lostStep;
    };
    const Case cases[] = {
        {"all paired", 2, {}, true, false},
        {"one paired, then a stray one", 1, Reply(99), false, false},
        {"the wrong way round", 0, Joined({Reply(2), Reply(1)}), true, false},
        {"refused by an exception", 1, ExceptionReply(2, kReadRegisters, 5), true, false},
        {"all paired, and one twice", 2, Reply(2), true, false},
        {"a torn frame", 1, Bytes(7, 0), false, true},
        {"a torn header", 2, {0}, false, true},
        {"another protocol", 1, With(Reply(2), 3, 1), false, true},
        {"too short to be a frame", 1, With(Reply(2), 5, 1), false, true},
        {"too long to be one", 1, With(With(Reply(2), 4, 1), 5, 255), false, true},
        {"a tail behind the declared end", 1, With(Reply(2), 5, 4), false, true},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        OwedReplies owed;
        owed.Owe(Reads(2, 1), row.matched, row.rest);
        EXPECT_EQ(owed.None(), row.none);
        EXPECT_EQ(owed.LostStep(), row.lostStep);
        owed.Forget();
        EXPECT_TRUE(owed.None());
    }
}

TEST(OwedReplies, StaleBytesAreFramesOrTheStepIsLost)
{
    OwedReplies owed;
    owed.Owe(Reads(2, 1), 0, {});
    owed.Discard(Joined({Reply(2), Reply(77), Reply(1)}));
    EXPECT_TRUE(owed.None());
    owed.Discard(Joined({Reply(3), {0, 0}}));
    EXPECT_TRUE(owed.LostStep());
}

TEST(OwedReplies, IdsThatComeRoundBelongToTheNewCall)
{
    OwedReplies owed;
    owed.Owe(Reads(2, 65535), 0, {});
    owed.Expect(Reads(1, 0));
    EXPECT_EQ(Kept(owed, Joined({Reply(65535), Reply(0)})), Reply(0));
    EXPECT_TRUE(owed.None());
}

TEST(OwedReplies, TooManyAreNoStepToKeep)
{
    OwedReplies owed;
    owed.Owe(Reads(121, 1), 0, {});
    EXPECT_FALSE(owed.LostStep());
    owed.Owe(Reads(121, 200), 0, {});
    EXPECT_TRUE(owed.LostStep());
}

} // namespace

} // namespace zelq::test
