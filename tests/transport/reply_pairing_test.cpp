#include "common/result_codes.h"
#include "transport/frames.h"
#include "transport/reply_pairing.h"

#include <gtest/gtest.h>
#include <string>

namespace zelq::test {

namespace {

constexpr std::uint8_t kRead = kReadRegisters;
constexpr std::uint8_t kWrite = kWriteRegisters;
constexpr std::uint8_t kCommand = kReadWriteRegisters;
constexpr std::uint16_t kAxisStart = 0x0138;

/// Reads of two registers each.
RequestBuffer Reads(int frames, std::uint16_t start = kAxisStart)
{
    RequestBuffer request;
    for (int i = 0; i < frames; ++i) {
        request.StartReadFrame(start, 2);
    }
    return request;
}

RequestBuffer Commands(int frames, std::uint16_t readQuantity = 1)
{
    RequestBuffer request;
    for (int i = 0; i < frames; ++i) {
        request.StartCommandFrame(readQuantity);
        request.AppendRegister(0x0101);
    }
    return request;
}

/// A write of three registers, which the library never sends.
const Bytes kWriteFrame = {0, 1, 0, 0, 0, 13, 1, kWrite, 0, 0, 0, 3, 6, 0, 1, 0, 2, 0, 3};

RequestBuffer CommandThenRead()
{
    RequestBuffer request = Commands(1);
    request.StartReadFrame(kAxisStart, 2);
    return request;
}

RequestBuffer ReadThenCommand()
{
    RequestBuffer request = Reads(1);
    request.StartCommandFrame();
    request.AppendRegister(0x0101);
    return request;
}

struct PairingCase
{
    PairingCase(std::string caseName, RequestBuffer built, Bytes bytes, int outcome,
                Words registers = {}, bool complete = true,
                PairingMode pairingMode = PairingMode::kOneReplyEach)
        : name(std::move(caseName)),
          frames(built.Finish()),
          replies(std::move(bytes)),
          result(outcome),
          data(std::move(registers)),
          settled(complete),
          mode(pairingMode)
    {
        built.Number(1);
        request.assign(built.Bytes().begin(), built.Bytes().end());
    }
    /// A request of one frame as it travels.
    PairingCase(std::string caseName, Bytes frame, Bytes bytes, int outcome, bool complete = true)
        : name(std::move(caseName)),
          request(std::move(frame)),
          frames(1),
          replies(std::move(bytes)),
          result(outcome),
          settled(complete)
    {}

    std::string name;
    Bytes request;
    std::size_t frames;
    Bytes replies;
    int result;
    Words data;
    bool settled; ///< nothing more needs to be waited for
    PairingMode mode = PairingMode::kOneReplyEach;
};

/// Everything that a caller sees of a pairing.
struct Outcome
{
    int result;
    bool settled;
    Words data;

    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out)
{
    *out << "result " << outcome.result << (outcome.settled ? ", settled, " : ", open, ")
         << testing::PrintToString(outcome.data);
}

/// Delivers the replies: `first` bytes, then `step` bytes at a time, until all is settled.
Outcome Deliver(const PairingCase& row, std::size_t first, std::size_t step)
{
    ReplyData data;
    ReplyPairing pairing(row.request, row.frames, &data, row.mode);
    bool settled = false;
    for (std::size_t count = first; !settled; count += step) {
        const std::size_t received = std::min(count, row.replies.size());
        // A copy of its own, so that the address sanitizer guards the end of what has come.
        const Bytes bytes(row.replies.begin(),
                          row.replies.begin() + static_cast<std::ptrdiff_t>(received));
        settled = pairing.Advance(bytes);
        if (received == row.replies.size()) break;
    }
    return {pairing.Result(), settled, DataWords(data)};
}

void Expect(const std::vector<PairingCase>& rows)
{
    for (const PairingCase& row : rows) {
        SCOPED_TRACE(row.name);
        const Outcome expected{row.result, row.settled, row.data};
        const std::size_t size = row.replies.size();
        EXPECT_EQ(Deliver(row, size, 1), expected) << "all at once";
        EXPECT_EQ(Deliver(row, 0, 1), expected) << "byte by byte";
        for (std::size_t split = 1; split < size; ++split) {
            EXPECT_EQ(Deliver(row, split, size), expected) << "split at " << split;
        }
    }
}

TEST(ReplyPairingRules, ReadsNeedEveryReplyToFit)
{
    const Bytes first = RegistersReply(1, kRead, {10, 11});
    const Bytes second = RegistersReply(2, kRead, {20, 21});
    const Bytes exception = ExceptionReply(1, kRead, 0x1234);
    Expect({
        {"one", Reads(1), first, kOk, {10, 11}},
        {"two", Reads(2), Joined({first, second}), kOk, {10, 11, 20, 21}},
        {"more than asked for", Reads(1), Joined({first, second}), kOk, {10, 11}},
        {"nothing", Reads(1), {}, kReplyMismatch, {}, false},
        {"the second is missing", Reads(2), first, kReplyMismatch, {10, 11}, false},
        {"the first is missing", Reads(2), second, kReplyMismatch},
        {"swapped", Reads(2), Joined({second, first}), kReplyMismatch},
        {"the first twice", Reads(2), Joined({first, first}), kReplyMismatch, {10, 11}},
        {"another transaction", Reads(1), With(first, 0, 1), kReplyMismatch},
        {"another protocol", Reads(1), With(first, 3, 1), kReplyMismatch},
        {"another unit", Reads(1), With(first, 6, 2), kReplyMismatch},
        {"length 2", Reads(1), With(first, 5, 2), kReplyMismatch},
        {"a command's reply", Reads(1), With(first, 7, kCommand), kReplyMismatch},
        {"a write's reply", Reads(1), WriteReply(1, 2), kReplyMismatch},
        {"another function", Reads(1), With(first, 7, 4), kReplyMismatch},
        {"too few registers", Reads(1), RegistersReply(1, kRead, {10}), kReplyMismatch},
        {"too many", Reads(1), RegistersReply(1, kRead, {10, 11, 12}), kReplyMismatch},
        {"byte count off", Reads(1), With(first, 8, 2), kReplyMismatch},
        {"length off", Reads(1), Joined({With(first, 5, 8), {0}}), kReplyMismatch},
        {"nothing but a header", Reads(1), FrameBytes(1, kRead, {}), kReplyMismatch},
        {"length 0", Reads(1), With(first, 5, 0), kReplyMismatch},
        {"length 1", Reads(1), With(first, 5, 1), kReplyMismatch},
        {"length behind the bytes", Reads(1), With(first, 5, 8), kReplyMismatch, {}, false},
        {"length 255", Reads(1), With(first, 5, 255), kReplyMismatch, {}, false},
        {"length 65280", Reads(1), With(first, 4, 255), kReplyMismatch, {}, false},
        {"an exception", Reads(1), exception, kReplyMismatch},
        {"an exception in between",
         Reads(2),
         Joined({first, ExceptionReply(2, kRead, 5)}),
         kReplyMismatch,
         {10, 11}},
        {"an exception of the result register", Reads(1, kResultRegister), exception, 0x1234},
        {"a short exception", Reads(1), FrameBytes(1, 0x83, {3}), kReplyMismatch},
    });
}

TEST(ReplyPairingRules, CommandsGiveTheControllersResult)
{
    const Bytes done = RegistersReply(1, kCommand, {0});
    const Bytes doneToo = RegistersReply(2, kCommand, {0});
    const Bytes exception = ExceptionReply(2, kCommand, 0x0BAD);
    Expect({
        {"done", Commands(1), done, kOk, {0}},
        {"done, with data", Commands(1, 3), RegistersReply(1, kCommand, {0, 7, 8}), kOk, {0, 7, 8}},
        {"failed", Commands(1), RegistersReply(1, kCommand, {5}), 5},
        {"failed with -1", Commands(1), RegistersReply(1, kCommand, {0xFFFF}), 0xFFFF},
        {"failed, with data", Commands(1, 2), RegistersReply(1, kCommand, {5, 9}), 5, {5, 9}},
        {"the first fails", Commands(2), RegistersReply(1, kCommand, {6}), 6},
        {"the second fails", Commands(2), Joined({done, RegistersReply(2, kCommand, {7})}), 7, {0}},
        {"exception", Commands(1), ExceptionReply(1, kCommand, 0x8001), 0x8001},
        {"exception with code 0", Commands(1), ExceptionReply(1, kCommand, 0), kOk},
        {"an exception in between", Commands(3), Joined({done, exception, doneToo}), 0x0BAD, {0}},
        {"a read's exception", Commands(1), ExceptionReply(1, kRead, 5), kReplyMismatch},
        {"a short exception", Commands(1), FrameBytes(1, 0x97, {3}), kReplyMismatch},
        {"exception 2", Commands(1), FrameBytes(1, 0x97, {2, 0, 5}), kReplyMismatch},
        {"a long exception", Commands(1), FrameBytes(1, 0x97, {3, 0, 1, 0}), kReplyMismatch},
        {"too few registers", Commands(1, 3), RegistersReply(1, kCommand, {0, 7}), kReplyMismatch},
        {"another function", Commands(1), With(done, 7, kRead), kReplyMismatch},
        {"another unit", Commands(1), With(done, 6, 0), kReplyMismatch},
    });
}

TEST(ReplyPairingRules, AShortageIsJudgedByTheCommandsBefore)
{
    const Bytes done = RegistersReply(1, kCommand, {0});
    const Bytes third = RegistersReply(3, kCommand, {0});
    const Bytes read = RegistersReply(1, kRead, {1, 2});
    Expect({
        {"none has come", Commands(2), {}, kReplyMismatch, {}, false},
        {"the first has succeeded", Commands(2), done, kOk, {0}, false},
        {"inside the second", Commands(2), Joined({done, {0, 2, 0}}), kOk, {0}, false},
        {"the second is another's", Commands(3), Joined({done, third}), kOk, {0}},
        {"the second has no accepted form",
         Commands(2),
         Joined({done, FrameBytes(2, 0x97, {3})}),
         kOk,
         {0}},
        {"the second does not fit",
         Commands(2),
         Joined({done, RegistersReply(2, kCommand, {0, 0})}),
         kReplyMismatch,
         {0}},
        {"a read behind a command", CommandThenRead(), done, kOk, {0}, false},
        {"a command behind a read", ReadThenCommand(), read, kReplyMismatch, {1, 2}, false},
    });
}

TEST(ReplyPairingRules, WritesEchoTheirQuantity)
{
    const Bytes echo = WriteReply(1, 3);
    Expect({
        {"done", kWriteFrame, echo, kOk},
        {"another quantity", kWriteFrame, WriteReply(1, 4), kReplyMismatch},
        {"too short", kWriteFrame, FrameBytes(1, kWrite, {0, 0, 0}), kReplyMismatch},
        {"too long", kWriteFrame, FrameBytes(1, kWrite, {0, 0, 0, 3, 0}), kReplyMismatch},
        {"another function", kWriteFrame, RegistersReply(1, kRead, {1}), kReplyMismatch},
        {"exception, whatever its start", kWriteFrame, ExceptionReply(1, kWrite, 0x0102), 0x0102},
        {"a short exception", kWriteFrame, FrameBytes(1, 0x90, {3}), kReplyMismatch},
        {"missing", kWriteFrame, {}, kReplyMismatch, false},
    });
}

TEST(ReplyPairingRules, GatheringTakesAnyNumberOfReplies)
{
    constexpr PairingMode kGather = PairingMode::kGather;
    const Bytes reply = RegistersReply(1, kRead, {1, 2});
    const Bytes fromAnother = With(reply, 6, 77);
    const Bytes exception = ExceptionReply(1, kRead, 5);
    Expect({
        {"none", Reads(1), {}, kReplyMismatch, {}, false, kGather},
        {"one", Reads(1), reply, kOk, {1, 2}, false, kGather},
        {"three, of any unit",
         Reads(1),
         Joined({reply, fromAnother, reply}),
         kOk,
         {1, 2, 1, 2, 1, 2},
         false,
         kGather},
        {"exceptions are skipped",
         Reads(1),
         Joined({exception, reply, exception}),
         kOk,
         {1, 2},
         false,
         kGather},
        {"the end is cut", Reads(1), Joined({reply, {0, 1, 0}}), kOk, {1, 2}, false, kGather},
        {"one of another transaction ends it",
         Reads(1),
         Joined({reply, With(reply, 1, 2), reply}),
         kOk,
         {1, 2},
         true,
         kGather},
        {"one that does not fit fails it",
         Reads(1),
         Joined({reply, RegistersReply(1, kRead, {1, 2, 3})}),
         kReplyMismatch,
         {1, 2},
         true,
         kGather},
    });
}

TEST(ReplyPairingData, OverflowIsToldAndNothingTaken)
{
    const RequestBuffer request = Numbered(Reads(1));
    ReplyData data;
    ASSERT_TRUE(data.AppendReplyData(Bytes(kBufferBytes - 2, 0)));
    ReplyPairing pairing(request, &data);
    EXPECT_TRUE(pairing.Advance(RegistersReply(1, kRead, {1, 2})));
    EXPECT_EQ(pairing.Result(), kOverflow);
    EXPECT_EQ(data.Bytes().size(), kBufferBytes - 2);
}

TEST(ReplyPairingData, IsNotNeeded)
{
    const RequestBuffer request = Numbered(Commands(2));
    ReplyPairing pairing(request);
    EXPECT_TRUE(pairing.Advance(
        Joined({RegistersReply(1, kCommand, {0}), ExceptionReply(2, kCommand, 9)})));
    EXPECT_EQ(pairing.Result(), 9);
}

} // namespace

} // namespace zelq::test
