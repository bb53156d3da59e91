#include "transport/frames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelq::test {

namespace {

/// How many bytes would be sent.
std::size_t SentBytes(RequestBuffer request)
{
    request.Finish();
    return request.Bytes().size();
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
    EXPECT_THAT(request.Bytes(),
                testing::ElementsAre(0xAB, 0xCD, 0, 0, 0, 6, 1, 3, 0x12, 0x34, 0, 0x56, //
                                     0xAB, 0xCE, 0, 0, 0, 17, 1, 23, 0xF0, 0, 0, 2, 0, 0, 0, 3, 6,
                                     1, 1, 0x12, 0x34, 0xFF, 0xFE));
    EXPECT_EQ(request.FirstId(), 0xABCD);
}

TEST(RequestBuilder, AReadOfAnImpossibleQuantityEndsTheRequest)
{
    for (const unsigned quantity : {0U, 1U, 125U, 126U, 65535U}) {
        const bool valid = quantity == 1 || quantity == 125;
        RequestBuffer request = Reads(1);
        request.StartReadFrame(0, static_cast<std::uint16_t>(quantity));
        request.StartReadFrame(0, 1);
        EXPECT_EQ(SentBytes(request), valid ? 36U : 12U) << quantity;
        EXPECT_FALSE(request.TooLong());

        RequestBuffer first;
        first.StartReadFrame(0, static_cast<std::uint16_t>(quantity));
        EXPECT_EQ(SentBytes(first), valid ? 12U : 0U) << quantity;
        EXPECT_FALSE(first.TooLong());
        first.StartReadFrame(0, 1);
        EXPECT_EQ(first.TooLong(), !valid) << "behind an invalid first frame nothing fits";
    }
}

TEST(RequestBuilder, ACommandOfAnImpossibleSizeEndsTheRequest)
{
    EXPECT_EQ(SentBytes(Commands({0})), 0U);
    EXPECT_EQ(SentBytes(Commands({1})), 19U);
    EXPECT_EQ(SentBytes(Commands({121})), 259U);
    // The byte count wraps every 128 registers, the quantity after 65536: neither may come back.
    for (const int registers : {122, 128, 129, 249, 65536, 65537, 65536 + 121}) {
        RequestBuffer request = Commands({registers, 1});
        EXPECT_EQ(request.Finish(), 0U) << registers;
        EXPECT_TRUE(request.Bytes().empty());
        EXPECT_FALSE(request.TooLong());
    }
}

TEST(RequestBuilder, WhatDoesNotFitIsTold)
{
    EXPECT_EQ(SentBytes(Reads(121)), 1452U);
    EXPECT_FALSE(Reads(121).TooLong());
    EXPECT_TRUE(Reads(122).TooLong());
    // Another register makes 1460 bytes: a whole buffer is refused.
    EXPECT_EQ(SentBytes(Commands({121, 121, 121, 121, 121, 73})), 1458U);
    EXPECT_FALSE(Commands({121, 121, 121, 121, 121, 73}).TooLong());
    for (const int registers : {74, 75}) {
        RequestBuffer whole = Commands({121, 121, 121, 121, 121, registers});
        EXPECT_TRUE(whole.TooLong());
        whole.StartCommandFrame();
        whole.StartReadFrame(0, 1);
        EXPECT_TRUE(whole.TooLong());
    }
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
}

} // namespace

} // namespace zelq::test
