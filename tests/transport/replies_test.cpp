#include "common/result_codes.h"
#include "transport/frames.h"
#include "transport/owed_replies.h"
#include "transport/reply_pairing.h"

#include <gtest/gtest.h>
#include <string>

namespace zelq::test {

namespace {

constexpr int kMismatch = kReplyMismatch;
constexpr bool kOpen = false;

/// Request frames as they travel, with the ids 1, 2, 3 ...
struct Asked
{
    Asked(const RequestBuffer& built) : Asked(Numbered(built).Bytes(), Numbered(built).Frames()) {}
    Asked(std::span<const std::uint8_t> bytes, std::size_t count)
        : request(bytes.begin(), bytes.end()), frames(count)
    {}
    Bytes request;
    std::size_t frames;
};

/// A write of three registers, which the library never sends.
const Asked kWrite(Bytes{0, 1, 0, 0, 0, 13, 1, 16, 0, 0, 0, 3, 6, 0, 1, 0, 2, 0, 3}, 1);

struct PairingCase
{
    std::string name;
    Asked asked;
    std::vector<Bytes> replies;
    int result;
    Words data = {};
    bool settled = true; ///< nothing more needs to be waited for
};

/// Everything that a caller sees of a pairing.
using Outcome = std::tuple<int, bool, Words>;

/// Delivers what comes: `first` bytes, then `step` bytes at a time, until all is settled.
Outcome Deliver(const PairingCase& row, PairingMode mode, const Bytes& replies, std::size_t first,
                std::size_t step)
{
    ReplyData data;
    ReplyPairing pairing(row.asked.request, row.asked.frames, &data, mode);
    bool settled = false;
    for (std::size_t count = first; !settled; count += step) {
        // A copy of its own, so that the address sanitizer guards the end of what has come.
        const std::size_t received = std::min(count, replies.size());
        settled = pairing.Advance(Bytes(replies.data(), replies.data() + received));
        if (received == replies.size()) break;
    }
    return {pairing.Result(), settled, DataWords(data)};
}

void Expect(const std::vector<PairingCase>& rows, PairingMode mode = PairingMode::kOneReplyEach)
{
    for (const PairingCase& row : rows) {
        SCOPED_TRACE(row.name);
        const Outcome expected{row.result, row.settled, row.data};
        const Bytes replies = Joined(row.replies);
        EXPECT_EQ(Deliver(row, mode, replies, 0, 1), expected) << "byte by byte";
        for (std::size_t split = 1; split <= replies.size(); ++split) {
            EXPECT_EQ(Deliver(row, mode, replies, split, replies.size()), expected)
                << "split at " << split;
        }
    }
}

Bytes WriteReply(unsigned quantity)
{
    return With(FrameBytes(1, kWriteRegisters, {0, 0, 0, 0}), 11, quantity);
}

/// The one exception that is taken, with the controller's word.
Bytes Exception(std::uint16_t id, unsigned function, std::uint16_t word)
{
    const auto high = static_cast<std::uint8_t>(word >> 8U);
    return FrameBytes(id, static_cast<std::uint8_t>(function | kExceptionBit),
                      {3, high, static_cast<std::uint8_t>(word)});
}

TEST(ReplyPairingRules, ReadsNeedEveryReplyToFit)
{
    const Bytes first = ReadReply(1, {10, 11});
    const Bytes second = ReadReply(2, {20, 21});
    const Bytes refused = Exception(1, kReadRegisters, 0x1234);
    const Bytes secondRefused = Exception(2, kReadRegisters, 5);
    Expect({
        {"one", Reads(1), {first}, kOk, {10, 11}},
        {"two", Reads(2), {first, second}, kOk, {10, 11, 20, 21}},
        {"more than asked for", Reads(1), {first, second}, kOk, {10, 11}},
        {"a tail behind the frame", Reads(1), {first, {1}}, kOk, {10, 11}},
        {"nothing", Reads(1), {}, kMismatch, {}, kOpen},
        {"the second is missing", Reads(2), {first}, kMismatch, {10, 11}, kOpen},
        {"the first is missing", Reads(2), {second}, kMismatch},
        {"swapped", Reads(2), {second, first}, kMismatch},
        {"the first twice", Reads(2), {first, first}, kMismatch, {10, 11}},
        {"one's length into the other", Reads(2), {With(first, 5, 12), second}, kMismatch},
        {"a write's reply", Reads(1), {WriteReply(2)}, kMismatch},
        {"too few registers", Reads(1), {ReadReply(1, {10})}, kMismatch},
        {"too many", Reads(1), {ReadReply(1, {10, 11, 12})}, kMismatch},
        {"a byte count that wraps", Reads(1), {ReadReply(1, Words(2 + 128))}, kMismatch},
        {"a smuggled tail", Reads(1), {With(first, 5, 8), {0}}, kMismatch},
        {"nothing but a header", Reads(1), {FrameBytes(1, kReadRegisters, {})}, kMismatch},
        {"an exception", Reads(1), {refused}, kMismatch},
        {"an exception of the result register", Reads(1, kResultRegister), {refused}, 0x1234},
        {"an exception in between", Reads(2), {first, secondRefused}, kMismatch, {10, 11}},
    });
}

TEST(ReplyPairingRules, CommandsGiveTheControllersResult)
{
    const Bytes done = CommandReply(1);
    const Bytes refused = Exception(1, kReadWriteRegisters, 0x8001);
    const Bytes secondRefused = Exception(2, kReadWriteRegisters, 0x0BAD);
    Expect({
        {"done", Commands({1}), {done}, kOk, {0}},
        {"done, with data", Commands({1}, 3), {CommandReply(1, {0, 7, 8})}, kOk, {0, 7, 8}},
        {"failed", Commands({1}), {CommandReply(1, {5})}, 5},
        {"failed with -1", Commands({1}), {CommandReply(1, {0xFFFF})}, 0xFFFF},
        {"failed, with data", Commands({1}, 2), {CommandReply(1, {5, 9})}, 5, {5, 9}},
        {"the first fails", Commands({1, 1}), {CommandReply(1, {6})}, 6},
        {"the second fails", Commands({1, 1}), {done, CommandReply(2, {7})}, 7, {0}},
        {"an exception", Commands({1}), {refused}, 0x8001},
        {"an exception with code 0", Commands({1}), {Exception(1, kReadWriteRegisters, 0)}, kOk},
        {"one in between", Commands({1, 1}), {done, secondRefused, done}, 0x0BAD, {0}},
        {"a read's exception", Commands({1}), {Exception(1, kReadRegisters, 5)}, kMismatch},
        {"too few registers", Commands({1}, 3), {CommandReply(1, {0, 7})}, kMismatch},
    });
}

TEST(ReplyPairingRules, AShortageIsJudgedByTheCommandsBefore)
{
    RequestBuffer commandThenRead = Commands({1});
    commandThenRead.StartReadFrame(0x0138, 2);
    const Bytes done = CommandReply(1);
    const Bytes second = CommandReply(2);
    const Bytes third = CommandReply(3);
    const Bytes read = ReadReply(1, {1, 2});
    Expect({
        {"none has come", Commands({1, 1}), {}, kMismatch, {}, kOpen},
        {"the first has succeeded", Commands({1, 1}), {done}, kOk, {0}, kOpen},
        {"inside the second", Commands({1, 1}), {done, {0, 2, 0}}, kOk, {0}, kOpen},
        {"the first is missing", Commands({1, 1}), {second}, kMismatch},
        {"the second is missing", Commands({1, 1, 1}), {done, third}, kOk, {0}},
        {"the first twice", Commands({1, 1}), {done, done}, kOk, {0}},
        {"the last first", Commands({1, 1, 1}), {third, done, second}, kMismatch},
        {"no length", Commands({1, 1}), {done, With(second, 5, 0)}, kOk, {0}},
        {"a short exception", Commands({1, 1}), {done, FrameBytes(2, 0x97, {3})}, kOk, {0}},
        {"another's function", Commands({1, 1}), {done, With(second, 7, 3)}, kMismatch, {0}},
        {"another's registers", Commands({1, 1}), {done, CommandReply(2, {0, 0})}, kMismatch, {0}},
        {"a read behind", commandThenRead, {done}, kOk, {0}, kOpen},
        {"a read ahead", Commands({1}, 1, Reads(1)), {read}, kMismatch, {1, 2}, kOpen},
    });
}

TEST(ReplyPairingRules, WritesEchoTheirQuantity)
{
    Expect({
        {"done", kWrite, {WriteReply(3)}, kOk},
        {"another quantity", kWrite, {WriteReply(4)}, kMismatch},
        {"too short", kWrite, {FrameBytes(1, kWriteRegisters, {0, 0, 0})}, kMismatch},
        {"too long", kWrite, {FrameBytes(1, kWriteRegisters, {0, 0, 0, 3, 0})}, kMismatch},
        {"another function", kWrite, {ReadReply(1, {1})}, kMismatch},
        {"exception, whatever its start", kWrite, {Exception(1, kWriteRegisters, 0x0102)}, 0x0102},
        {"missing", kWrite, {}, kMismatch, {}, kOpen},
    });
}

TEST(ReplyPairingRules, NoFieldOfAReplyMayBeAnother)
{
    constexpr std::size_t kHeaderAndCount = 9;
    std::vector<PairingCase> rows;
    const auto addRows = [&](const Asked& asked, const Bytes& reply) {
        for (std::size_t i = 0; i < kHeaderAndCount * 256; ++i) {
            const Bytes wrong = With(reply, i / 256, i % 256);
            // What claims to be longer than what has come is still to come.
            const bool settled = wrong[4] == 0 && wrong[5] <= reply[5];
            const std::string name =
                "byte " + std::to_string(i / 256) + " is " + std::to_string(i % 256);
            if (wrong != reply) rows.push_back({name, asked, {wrong}, kMismatch, {}, settled});
        }
    };
    addRows(Reads(1), ReadReply(1, {10, 11}));
    addRows(Commands({1}), CommandReply(1));
    Expect(rows);
}

TEST(ReplyPairingRules, ExceptionsOfOtherFormsAreNone)
{
    const Bytes bodies[] = {{}, {3}, {2, 0, 5}, {255, 255, 255}, {3, 0, 1, 0}};
    for (const Bytes& body : bodies) {
        Expect({
            {"of a read", Reads(1), {FrameBytes(1, 0x83, body)}, kMismatch},
            {"of a command", Commands({1}), {FrameBytes(1, 0x97, body)}, kMismatch},
            {"of a write", kWrite, {FrameBytes(1, 0x90, body)}, kMismatch},
        });
    }
}

TEST(ReplyPairingRules, GatheringTakesAnyNumberOfReplies)
{
    const Bytes reply = ReadReply(1, {1, 2});
    const Bytes another = With(reply, 6, 77);
    const Bytes foreign = With(reply, 1, 2);
    const Bytes refused = Exception(1, kReadRegisters, 5);
    const std::vector<PairingCase> rows = {
        {"none", Reads(1), {}, kMismatch, {}, kOpen},
        {"one", Reads(1), {reply}, kOk, {1, 2}, kOpen},
        {"three, of any unit", Reads(1), {reply, another, reply}, kOk, {1, 2, 1, 2, 1, 2}, kOpen},
        {"exceptions are skipped", Reads(1), {refused, reply, refused}, kOk, {1, 2}, kOpen},
        {"the end is cut", Reads(1), {reply, {0, 1, 0}}, kOk, {1, 2}, kOpen},
        {"a foreign one ends it", Reads(1), {reply, foreign, reply}, kOk, {1, 2}},
        {"a misfit fails it", Reads(1), {reply, ReadReply(1, {1})}, kMismatch, {1, 2}},
    };
    Expect(rows, PairingMode::kGather);
}

TEST(ReplyPairingData, IsTakenWholeOrNotAtAll)
{
    const RequestBuffer request = Numbered(Reads(1));
    ReplyData data;
    ASSERT_TRUE(data.AppendReplyData(Bytes(kBufferBytes - 2, 0)));
    ReplyPairing pairing(request, &data);
    EXPECT_TRUE(pairing.Advance(ReadReply(1, {1, 2})));
    EXPECT_EQ(pairing.Result(), kOverflow);
    EXPECT_EQ(data.Bytes().size(), kBufferBytes - 2);
    EXPECT_TRUE(data.AppendReplyData(Bytes{0x33, 0x44}));
    EXPECT_FALSE(data.AppendReplyData(Bytes(2, 0x55)));
    EXPECT_EQ(DataWords(data).back(), 0x3344);
}

Bytes Reply(std::uint16_t id)
{
    return ReadReply(id, {id});
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
    owed.Owe(Numbered(Reads(3), 10), 1, {});
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
    enum Left { kNothing, kReplies, kNoStep };
    struct Case
    {
        const char* name;
        std::size_t matched;
        Bytes rest;
        Left left;
    };
    const Case cases[] = {
        {"all paired", 2, {}, kNothing},
        {"one paired, then a stray one", 1, Reply(99), kReplies},
        {"the wrong way round", 0, Joined({Reply(2), Reply(1)}), kNothing},
        {"a stray one in between", 0, Joined({Reply(2), Reply(77), Reply(1)}), kNothing},
        {"refused by an exception", 1, FrameBytes(2, 0x83, {3, 0, 5}), kNothing},
        {"all paired, and one twice", 2, Reply(2), kNothing},
        {"a torn header behind a frame", 1, Joined({Reply(2), {0, 0}}), kNoStep},
        {"a torn frame", 1, Bytes(7, 0), kNoStep},
        {"a torn header", 2, {0}, kNoStep},
        {"another protocol", 1, With(Reply(2), 3, 1), kNoStep},
        {"too short to be a frame", 1, {0, 2, 0, 0, 0, 1, 1}, kNoStep},
        {"too long to be one", 1, FrameBytes(2, kReadRegisters, Bytes(253)), kNoStep},
        {"a tail behind the declared end", 1, With(Reply(2), 5, 4), kNoStep},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        OwedReplies owed;
        owed.Owe(Numbered(Reads(2)), row.matched, row.rest);
        EXPECT_EQ(owed.None(), row.left == kNothing);
        EXPECT_EQ(owed.LostStep(), row.left == kNoStep);
        owed.Forget();
        EXPECT_TRUE(owed.None());
    }
}

TEST(OwedReplies, IdsThatComeRoundBelongToTheNewCall)
{
    OwedReplies owed;
    owed.Owe(Numbered(Reads(2), 65535), 0, {});
    owed.Expect(Numbered(Reads(1), 0));
    EXPECT_EQ(Kept(owed, Joined({Reply(65535), Reply(0)})), Reply(0));
    EXPECT_TRUE(owed.None());
}

TEST(OwedReplies, TooManyAreNoStepToKeep)
{
    OwedReplies owed;
    owed.Owe(Numbered(Reads(121)), 0, {});
    EXPECT_FALSE(owed.LostStep());
    owed.Owe(Numbered(Reads(121), 200), 0, {});
    EXPECT_TRUE(owed.LostStep());
}

} // namespace

} // namespace zelq::test
