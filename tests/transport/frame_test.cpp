#include "transport/frame.h"
#include "transport/frames.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace zelq::test {

namespace {

using testing::ElementsAre;

constexpr std::uint8_t kRead = kReadRegisters;
constexpr std::uint8_t kWrite = kWriteRegisters;
constexpr std::uint8_t kCommand = kReadWriteRegisters;

/// The bytes from `at` on.
Bytes Part(const RequestBuffer& buffer, std::size_t at, std::size_t count)
{
    const auto part = buffer.Bytes().subspan(at, count);
    return {part.begin(), part.end()};
}

TEST(FrameValidity, HoldsTheLimitsOfEachFunction)
{
    struct Case
    {
        FrameFields fields;
        std::size_t size; ///< 0: invalid
    };
    const Case cases[] = {
        {{kRead, 1, 0, 6}, 12},
        {{kRead, 125, 0, 6}, 12},
        {{kRead, 126, 0, 6}, 0},
        {{kRead, 0, 0, 6}, 0},
        {{kRead, 65535, 0, 6}, 0},
        {{kRead, 1, 0, 5}, 0},
        {{kRead, 1, 0, 7}, 0},
        {{kRead, 1, 0, 65535}, 0},
        {{kRead, 1, 0, 6, 1}, 0},
        {{kRead, 1, 0, 6, 0x0100}, 0},
        {{kWrite, 1, 2, 9}, 15},
        {{kWrite, 123, 246, 253}, 259},
        {{kWrite, 124, 248, 255}, 0},
        {{kWrite, 0, 0, 7}, 0},
        {{kWrite, 128, 0, 7}, 0},
        {{kWrite, 129, 2, 9}, 0},
        {{kWrite, 2, 2, 9}, 0},
        {{kWrite, 2, 4, 9}, 0},
        {{kWrite, 1, 2, 10}, 0},
        {{kWrite, 1, 2, 9, 1}, 0},
        {{kCommand, 1, 2, 13}, 19},
        {{kCommand, 121, 242, 253}, 259},
        {{kCommand, 122, 244, 255}, 0},
        {{kCommand, 0, 0, 11}, 0},
        {{kCommand, 128, 0, 11}, 0},
        {{kCommand, 129, 2, 13}, 0},
        {{kCommand, 2, 2, 13}, 0},
        {{kCommand, 1, 2, 12}, 0},
        {{kCommand, 1, 2, 13, 256}, 0},
        {{0, 1, 0, 6}, 0},
        {{4, 1, 0, 6}, 0},
        {{0x83, 1, 0, 6}, 0},
        {{0x97, 1, 2, 13}, 0},
    };
    for (const auto& [fields, size] : cases) {
        SCOPED_TRACE(testing::Message() << "function " << unsigned{fields.function} << ", quantity "
                                        << fields.quantity << ", length " << fields.length);
        RequestBuffer buffer;
        PutFrame(buffer.Data(), fields);
        EXPECT_EQ(Validity(buffer), size);
    }
}

TEST(FrameValidity, ReadsNoFieldBehindTheBytes)
{
    for (const FrameFields& fields : {FrameFields{kRead, 1, 0, 6}, FrameFields{kWrite, 2, 4, 11},
                                      FrameFields{kCommand, 2, 4, 15}}) {
        RequestBuffer buffer;
        PutFrame(buffer.Data(), fields);
        const std::size_t size = fields.length + 6U;
        for (std::size_t count = 0; count <= size; ++count) {
            // A copy of its own, so that the address sanitizer guards the end.
            const Bytes bytes = Part(buffer, 0, count);
            EXPECT_EQ(ValidateFrame(std::span<const std::uint8_t>(bytes)), count < size ? 0 : size);
        }
    }
}

TEST(FrameConversion, SwapsWordsAndLeavesSingleBytes)
{
    RequestBuffer buffer;
    ASSERT_TRUE(buffer.StartReadFrame(0x1234, 0x0056));
    StoreHost16(buffer.Data(), 0xABCD);
    EXPECT_EQ(ValidateFrame(std::span(buffer.Data(), kBufferBytes), true), 12U);
    EXPECT_THAT(Part(buffer, 0, 12),
                ElementsAre(0xAB, 0xCD, 0, 0, 0, 6, 1, 3, 0x12, 0x34, 0, 0x56));

    RequestBuffer command;
    command.StartCommandFrame(2);
    command.AppendRegister(0x0101);
    command.AppendRegister32(0xFFFE1234);
    EXPECT_EQ(ValidateFrame(std::span(command.Data(), kBufferBytes), true), 23U);
    EXPECT_THAT(Part(command, 0, 24), ElementsAre(0, 0, 0, 0, 0, 17, 1, 23, 0xF0, 0, 0, 2, 0, 0, 0,
                                                  3, 6, 1, 1, 0x12, 0x34, 0xFF, 0xFE, 0));

    RequestBuffer write;
    PutFrame(write.Data(), {kWrite, 1, 2, 9});
    StoreHost16(write.Data() + field::kStart, 0x0A0B);
    StoreHost16(write.Data() + 13, 0x0C0D);
    EXPECT_EQ(ValidateFrame(std::span(write.Data(), kBufferBytes), true), 15U);
    EXPECT_THAT(Part(write, 0, 15),
                ElementsAre(0, 0, 0, 0, 0, 9, 1, 16, 0x0A, 0x0B, 0, 1, 2, 0x0C, 0x0D));
}

TEST(FrameConversion, LeavesAnInvalidFrameAsItIs)
{
    RequestBuffer buffer;
    PutFrame(buffer.Data(), {kCommand, 122, 244, 255});
    const Bytes before = Part(buffer, 0, kBufferBytes);
    EXPECT_EQ(ValidateFrame(std::span(buffer.Data(), kBufferBytes), true), 0U);
    EXPECT_EQ(Part(buffer, 0, kBufferBytes), before);
}

TEST(RequestBuilder, PutsFramesBackToBack)
{
    RequestBuffer buffer;
    for (unsigned i = 0; i < 121; ++i) {
        ASSERT_TRUE(buffer.StartReadFrame(AxisRegister(i, 0x38), 2)) << i;
        EXPECT_EQ(Validity(buffer, std::size_t{12} * i), 12U);
    }
    EXPECT_FALSE(buffer.Overflowed());
    EXPECT_FALSE(buffer.StartReadFrame(0, 1));
    EXPECT_TRUE(buffer.Overflowed());
    EXPECT_EQ(Validity(buffer, 121 * 12), 0U);
}

TEST(RequestBuilder, TellsThatTheFirstFrameIsNoValidOne)
{
    RequestBuffer buffer;
    EXPECT_TRUE(buffer.StartReadFrame(0, 126)) << "the first is not looked at by itself";
    EXPECT_FALSE(buffer.StartReadFrame(0, 1));
}

TEST(RequestBuilder, AppendsToTheOpenFrameOnly)
{
    RequestBuffer buffer;
    buffer.AppendRegister(1); // none is open
    ASSERT_TRUE(buffer.StartReadFrame(1, 1));
    buffer.AppendRegister(2); // a read writes nothing
    EXPECT_EQ(Validity(buffer), 12U);
    EXPECT_EQ(Part(buffer, 12, 4), Bytes(4, 0));
    buffer.StartCommandFrame();
    buffer.AppendRegister(3);
    buffer.StartCommandFrame();
    buffer.AppendRegister32(static_cast<std::uint32_t>(-1));
    EXPECT_EQ(Validity(buffer, 12), 19U);
    EXPECT_EQ(Validity(buffer, 31), 21U);
    EXPECT_EQ(Part(buffer, 48, 5), Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0}));
}

TEST(RequestBuilder, AnOverlongBlockStaysInvalidAndInItsPlace)
{
    RequestBuffer buffer;
    buffer.StartCommandFrame();
    // The byte count wraps every 128 registers, the quantity after 65536: neither may come back.
    for (int registers = 1; registers <= 2 * 65536 + 200; ++registers) {
        buffer.AppendRegister(0xA5A5);
        const std::size_t size = registers <= 121 ? 17U + 2U * static_cast<unsigned>(registers) : 0;
        ASSERT_EQ(Validity(buffer), size) << registers;
    }
    EXPECT_FALSE(buffer.Overflowed());
    EXPECT_EQ(Part(buffer, 259, kBufferBytes - 259), Bytes(kBufferBytes - 259, 0));
}

TEST(RequestBuilder, ABlockThatWouldLeaveTheBufferOverflows)
{
    RequestBuffer buffer;
    for (int frame = 0; frame < 5; ++frame) {
        buffer.StartCommandFrame();
        for (int i = 0; i < 121; ++i) {
            buffer.AppendRegister(7);
        }
    }
    buffer.StartCommandFrame();
    constexpr std::size_t kLast = 5 * 259;
    for (std::size_t size = kLast + 19; size <= kBufferBytes; size += 2) {
        buffer.AppendRegister(7);
        EXPECT_EQ(Validity(buffer, kLast), size - kLast);
    }
    EXPECT_FALSE(buffer.Overflowed());
    buffer.AppendRegister(7);
    EXPECT_TRUE(buffer.Overflowed());
    EXPECT_EQ(Validity(buffer, kLast), 0U);
    // From here on nothing is taken.
    const Bytes before = Part(buffer, 0, kBufferBytes);
    buffer.AppendRegister(8);
    buffer.StartCommandFrame();
    EXPECT_FALSE(buffer.StartReadFrame(0, 1));
    EXPECT_EQ(Part(buffer, 0, kBufferBytes), before);
}

TEST(ReplyDecoding, AcceptsOnlyKnownFormsInFullLength)
{
    struct Case
    {
        const char* name;
        Bytes bytes;
        ReplyForm form;
        std::size_t size = 0;
    };
    const Bytes read = RegistersReply(1, kRead, {1, 2});
    const Case cases[] = {
        {"read", read, ReplyForm::kFrame, 13},
        {"read, more behind it", Joined({read, read}), ReplyForm::kFrame, 13},
        {"command", RegistersReply(1, kCommand, {0}), ReplyForm::kFrame, 11},
        {"write", WriteReply(1, 2), ReplyForm::kFrame, 12},
        {"exception with its code", ExceptionReply(1, kCommand, 5), ReplyForm::kFrame, 11},
        {"short exception", FrameBytes(1, 0x97, {3}), ReplyForm::kRefused},
        {"long exception", FrameBytes(1, 0x97, {3, 0, 1, 0}), ReplyForm::kRefused},
        {"exception 2", FrameBytes(1, 0x97, {2, 0, 1}), ReplyForm::kRefused},
        {"another function", FrameBytes(1, 4, {2, 0, 1}), ReplyForm::kRefused},
        {"length 0", With(read, 5, 0), ReplyForm::kRefused},
        {"length 1", With(read, 5, 1), ReplyForm::kRefused},
        {"length 2", With(read, 5, 2), ReplyForm::kFrame, 8},
        {"one byte short", With(read, 5, 8), ReplyForm::kIncomplete},
        {"length 254", With(read, 5, 254), ReplyForm::kIncomplete},
        {"length 65535", With(With(read, 4, 255), 5, 255), ReplyForm::kIncomplete},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        ReplyFrame frame;
        EXPECT_EQ(DecodeReply(row.bytes, frame), row.form);
        if (row.form == ReplyForm::kFrame) {
            EXPECT_EQ(frame.Size(), row.size);
        }
    }
}

TEST(ReplyDecoding, WaitsForTheWholeFrame)
{
    const Bytes reply = RegistersReply(0x1234, kCommand, {0, 0xABCD});
    for (std::size_t count = 0; count < reply.size(); ++count) {
        ReplyFrame frame;
        const Bytes part(reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(count));
        EXPECT_EQ(DecodeReply(part, frame), ReplyForm::kIncomplete) << count;
    }
    ReplyFrame frame;
    ASSERT_EQ(DecodeReply(reply, frame), ReplyForm::kFrame);
    EXPECT_EQ(frame.TransactionId(), 0x1234);
    EXPECT_EQ(frame.ProtocolId(), 0);
    EXPECT_EQ(frame.Length(), 7U);
    EXPECT_EQ(frame.Unit(), 1);
    EXPECT_EQ(frame.Function(), kCommand);
    EXPECT_EQ(frame.Byte8(), 4);
}

TEST(ReplyDataArea, TakesAReplyWholeOrNotAtAll)
{
    ReplyData data;
    const Bytes most(kBufferBytes - 2, 0x11);
    ASSERT_TRUE(data.AppendReplyData(most));
    EXPECT_FALSE(data.AppendReplyData(Bytes(4, 0x22)));
    EXPECT_EQ(data.Bytes().size(), kBufferBytes - 2);
    EXPECT_TRUE(data.AppendReplyData(Bytes{0x33, 0x44}));
    EXPECT_FALSE(data.AppendReplyData(Bytes(2, 0x55)));
    EXPECT_EQ(DataWords(data).size(), kBufferBytes / 2);
    EXPECT_EQ(DataWords(data).back(), 0x3344);
}

TEST(ReplyDataReader, StopsAtTheEnd)
{
    ReplyData data;
    ASSERT_TRUE(data.AppendReplyData(Bytes{0, 9, 0x56, 0x78, 0x92, 0x34, 0xFF, 0xFE}));
    ReplyReader reader(data);
    std::uint32_t unsignedValue = 0;
    std::int32_t signedValue = 77;
    std::uint16_t word = 0;
    reader.SkipResult();
    EXPECT_TRUE(reader.Read(unsignedValue));
    EXPECT_EQ(unsignedValue, 0x92345678U);
    EXPECT_FALSE(reader.Read(signedValue));
    EXPECT_EQ(signedValue, 77);
    EXPECT_TRUE(reader.Read(word));
    EXPECT_EQ(word, 0xFFFE);
    EXPECT_FALSE(reader.Read(word));
    reader.Skip(100);
    EXPECT_TRUE(reader.Rest().empty());

    ReplyReader again(data);
    again.Skip(2);
    EXPECT_TRUE(again.Read(signedValue));
    EXPECT_EQ(signedValue, static_cast<std::int32_t>(0x92345678U));

    ReplyData resultAlone;
    ASSERT_TRUE(resultAlone.AppendReplyData(Bytes{0, 5}));
    ReplyReader alone(resultAlone);
    alone.SkipResult();
    EXPECT_FALSE(alone.Read(word)) << "a result register is never data";
}

} // namespace

} // namespace zelq::test
