#include "transport/frames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelq::test {

namespace {

using testing::ElementsAre;

/// What would be sent.
Bytes Sent(RequestBuffer request)
{
    request.Finish();
    return {request.Bytes().begin(), request.Bytes().end()};
}

RequestBuffer Command(int registers)
{
    RequestBuffer request;
    request.StartCommandFrame();
    for (int i = 0; i < registers; ++i) {
        request.AppendRegister(7);
    }
    return request;
}

TEST(RequestBuilder, BuildsFramesAsTheyTravel)
{
    RequestBuffer request;
    request.AppendRegister(1); // none is open
    request.StartReadFrame(0x1234, 0x0056);
    request.AppendRegister(2); // a read writes nothing
    request.StartCommandFrame(2);
    request.AppendRegister(0x0101);
    request.AppendRegister32(0xFFFE1234);
    EXPECT_EQ(request.Finish(), 2U);
    request.Number(0xABCD);
    EXPECT_THAT(request.Bytes(), ElementsAre(0xAB, 0xCD, 0, 0, 0, 6, 1, 3, 0x12, 0x34, 0, 0x56, //
                                             0xAB, 0xCE, 0, 0, 0, 17, 1, 23, 0xF0, 0, 0, 2, 0, 0, 0,
                                             3, 6, 1, 1, 0x12, 0x34, 0xFF, 0xFE));
    EXPECT_EQ(request.FirstId(), 0xABCD);
}

TEST(RequestBuilder, AnInvalidFrameEndsTheRequest)
{
    struct Case
    {
        std::uint16_t quantity;
        bool valid;
    };
    for (const auto [quantity, valid] :
         {Case{0, false}, Case{1, true}, Case{125, true}, Case{126, false}, Case{65535, false}}) {
        RequestBuffer request;
        request.StartReadFrame(0, 1);
        request.StartReadFrame(0, quantity);
        request.StartReadFrame(0, 1);
        EXPECT_EQ(Sent(request).size(), valid ? 36U : 12U) << quantity;
        EXPECT_FALSE(request.TooLong());

        RequestBuffer first;
        first.StartReadFrame(0, quantity);
        EXPECT_EQ(Sent(first).size(), valid ? 12U : 0U) << quantity;
        EXPECT_FALSE(first.TooLong());
        first.StartReadFrame(0, 1);
        EXPECT_EQ(first.TooLong(), !valid) << "behind an invalid first frame nothing fits";
    }
    EXPECT_EQ(Sent(Command(0)).size(), 0U);
    EXPECT_EQ(Sent(Command(1)).size(), 19U);
    EXPECT_EQ(Sent(Command(121)).size(), 259U);
    // The byte count wraps every 128 registers, the quantity after 65536: neither may come back.
    for (const int registers : {122, 128, 129, 249, 65536, 65537, 65536 + 121}) {
        RequestBuffer request = Command(registers);
        request.StartCommandFrame();
        request.AppendRegister(1);
        EXPECT_EQ(request.Finish(), 0U) << registers;
        EXPECT_TRUE(request.Bytes().empty());
        EXPECT_FALSE(request.TooLong());
    }
}

TEST(RequestBuilder, WhatDoesNotFitIsTold)
{
    RequestBuffer reads;
    for (int i = 0; i < 121; ++i) {
        reads.StartReadFrame(0, 1);
    }
    EXPECT_EQ(Sent(reads).size(), 1452U);
    EXPECT_FALSE(reads.TooLong());
    reads.StartReadFrame(0, 1);
    EXPECT_TRUE(reads.TooLong());

    // Five full commands and one of 74 registers have 1460 bytes: a whole buffer is refused.
    RequestBuffer commands;
    for (int i = 0; i < 5 * 121 + 73; ++i) {
        if (i % 121 == 0) commands.StartCommandFrame();
        commands.AppendRegister(7);
    }
    RequestBuffer whole = commands;
    EXPECT_EQ(Sent(commands).size(), 1458U);
    EXPECT_FALSE(commands.TooLong());
    whole.AppendRegister(7);
    EXPECT_TRUE(whole.TooLong());
    whole.AppendRegister(7);
    whole.StartCommandFrame();
    whole.StartReadFrame(0, 1);
    EXPECT_TRUE(whole.TooLong());
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

    ReplyData resultAlone;
    ASSERT_TRUE(resultAlone.AppendReplyData(Bytes{0, 5}));
    ReplyReader alone(resultAlone);
    alone.SkipResult();
    EXPECT_FALSE(alone.Read(word)) << "a result register is never data";
}

} // namespace

} // namespace zelq::test
