#include "support/calls.h"

namespace zelq::test {

namespace {

/// Node k: 100 k + 1 to 100 k + 5 as values, k and -k as codes.
class ListMotionTest : public CallTest
{
  protected:
    ListMotionTest()
    {
        for (short k = 0; k < 51; ++k) {
            const auto at = static_cast<std::size_t>(k);
            for (std::size_t i = 0; i < 5; ++i) {
                values_[i][at] = 100.0 * k + static_cast<double>(i) + 1.9;
            }
            codes_[0][at] = k;
            codes_[1][at] = static_cast<short>(-k);
        }
    }

    /// Adds nodes to axis 2, the array at `null` (an argument's position) missing.
    ApiCall Add(short count, U16* reply1, U16* reply2, U16 axis = 2, int null = 0)
    {
        const std::string shown = "2," + std::to_string(count);
        return {"zelQ_LmAddNode", shown.c_str(), [=, this](Number n) {
                    std::array<const double*, 5> v{};
                    for (std::size_t i = 0; i < 5; ++i) {
                        v[i] = null == static_cast<int>(i) + 3 ? nullptr : values_[i].data();
                    }
                    const short* f = null == 8 ? nullptr : codes_[0].data();
                    const short* g = null == 9 ? nullptr : codes_[1].data();
                    return zelQ_LmAddNode(n, axis, count, v[0], v[1], v[2], v[3], v[4], f, g,
                                          reply1, reply2);
                }};
    }

    static std::vector<Words> Frames(U16 count)
    {
        const int total = (count + 8) / 9;
        std::vector<Words> frames;
        for (U16 k = 0; k < count; ++k) {
            if (k % 9 == 0) frames.push_back({static_cast<U16>(total << 8 | (k / 9 + 1))});
            if (k == 0) frames.back() = Join({frames.back(), {0x0101, 2, count}});
            for (int i = 1; i <= 5; ++i) {
                frames.back() = Join({frames.back(), Long(100 * k + i)});
            }
            frames.back() = Join({frames.back(), {k, static_cast<U16>(-k)}});
        }
        return frames;
    }

    /// The row of so many nodes; its frames are answered with these words behind the result, where
    /// they end before the frames do, with a reply that belongs to none.
    void ExpectAdded(U16 count, const std::vector<Words>& words, short result, U16* reply1,
                     U16* reply2, U16 wanted1, U16 wanted2)
    {
        reply1_ = 0xAAAA;
        reply2_ = 0xBBBB;
        controller_.Then([&](const Request& request) {
            Answer answer;
            for (std::size_t i = 0; i <= words.size() && i < request.size(); ++i) {
                const Bytes frame = i < words.size()
                                        ? controller_.ProperReply(request.at(i), 0, words[i])
                                        : StrayReply(request).bytes;
                answer.bytes.insert(answer.bytes.end(), frame.begin(), frame.end());
            }
            return answer;
        });
        ExpectOnce(Row(Add(static_cast<short>(count), reply1, reply2))
                       .Frames(Frames(count), 3)
                       .Gives(result));
        EXPECT_EQ(reply1_, wanted1);
        EXPECT_EQ(reply2_, wanted2);
    }

    std::array<std::array<double, 51>, 5> values_{};
    std::array<std::array<short, 51>, 2> codes_{};
    U16 reply1_ = 0xAAAA;
    U16 reply2_ = 0xBBBB;
};

TEST_F(ListMotionTest, CommandsSendWhatTheyAreTold)
{
    zelQ_UnitPerPulseSet(kNumber, 1, 0.5);
    capture_.Lines();
    Expect({
        {CALL(LmSetCfg, 31, 1, 255, 254), {0x0100, 31, 1, 255, 254}},
        {CALL(LmAddNodeEnd, 1, -10.4), Join({{0x0102, 1}, Long(-20)})},
        Row(CALL(LmRunStop, 3, 1), {0x0103, 3, 1}).Shows("3"),
        Row(CALL(LmRunStop, 3, 0), {0x0103, 3, 0}).Shows("3"),
    });
}

TEST_F(ListMotionTest, NodesTravelNineToAFrame)
{
    for (const U16 count : std::initializer_list<U16>{1, 9, 10, 50}) {
        std::vector<Words> replies((count + 8U) / 9, Words{1, 2});
        replies.back() = {count, 0xFFFE};
        ExpectAdded(count, replies, 0, &reply1_, &reply2_, count,
                    0xFFFE); // those of the last frame
    }
    EXPECT_EQ(Frames(9).front().size(), 112U);
    EXPECT_EQ(Frames(50).back().front(), 0x0606);
}

TEST_F(ListMotionTest, NodesAreScaledByTheAxis)
{
    zelQ_UnitPerPulseSet(kNumber, 2, 100.0);
    capture_.Lines();
    values_[4][0] = -199.0;
    const Words scaled = Join({{0x0101, 0x0101, 2, 1}, Words(8, 0), Long(-1), {0, 0}});
    ExpectOnce(Row(Add(1, &reply1_, &reply2_)).Frames({scaled}, 3));
}

TEST_F(ListMotionTest, MissingReplyWordsAreReportedAndTraced)
{
    // A null takes no word, so that the next one is read from out of place.
    ExpectAdded(1, {{7, 8}}, -1004, nullptr, &reply2_, 0xAAAA, 7);
    ExpectAdded(1, {{7, 8}}, -1004, &reply1_, nullptr, 7, 0xBBBB);
    ExpectAdded(1, {{7, 8}}, -1004, nullptr, nullptr, 0xAAAA, 0xBBBB);
    ExpectAdded(10, {{7, 8}, {9, 10}}, -1004, nullptr, &reply2_, 0xAAAA, 0);
    ExpectAdded(10, {{7, 8}}, -1004, &reply1_, &reply2_, 7, 8); // the second reply is missing
}

TEST_F(ListMotionTest, RefusalsAndOverlongRepliesLeaveTheReplyWordsAlone)
{
    for (const U16 result : std::initializer_list<U16>{64, 0xFFF7}) { // the latter looks like -9
        controller_.ThenResult(result);
        ExpectOnce(
            Row(Add(9, &reply1_, nullptr)).Frames(Frames(9), 3).Gives(static_cast<short>(result)));
    }
    controller_.Then([](const Request&) { return Answer{Bytes(1461, 0)}; });
    ExpectOnce(Row(Add(1, &reply1_, &reply2_)).Frames(Frames(1), 3).Gives(-1004));
    EXPECT_EQ(reply1_, 0xAAAA);
}

TEST_F(ListMotionTest, WrongArgumentsAreRefusedInOrder)
{
    LmStatus status{};
    Refused(-2002, {CALL(LmSetCfg, 32, 2, 256, 256), Add(0, nullptr, nullptr, 32),
                    CALL(LmAddNodeEnd, 32, 0), CALL(LmAddNodeEnd, -1, 0), CALL(LmRunStop, 32, 2)});
    Refused(-1701, {CALL(LmGetAllStatus, nullptr)});
    Refused(-1702,
            {CALL(LmSetCfg, 0, 2, 256, 256), Add(0, nullptr, nullptr), Add(51, &reply1_, &reply2_),
             Add(-1, &reply1_, &reply2_), CALL(LmRunStop, 0, 2), CALL(LmGetStatus, 99, nullptr)});
    Refused(-1703, {CALL(LmSetCfg, 0, 1, 256, 256)});
    Refused(-1704, {CALL(LmSetCfg, 0, 1, 255, 256)});
    for (int null = 3; null <= 9; ++null) {
        Refused(static_cast<short>(-1700 - null), {Add(1, &reply1_, &reply2_, 2, null)});
    }
    ConnectWith({2});
    Refused(-1701, {CALL(LmGetAllStatus, nullptr)});
    Refused(-2001, {CALL(LmGetAllStatus, &status)});
}

/// Registers of a list's status in which every field has a value of its own.
const Words kStatusWords = {0x2FFF, 0x8001, 0x7FFE, 0x1234, 0x8765, 0xCBA9, 0x0FED};

LmStatus Decoded(U16 axis)
{
    auto status = Untouched<LmStatus>();
    status.axis = axis;
    status.bit11 = 1;
    status.bit12 = 0;
    status.bit13 = 1;
    status.low11 = 0x7FF;
    status.word1 = 0x8001;
    status.word2 = 0x7FFE;
    status.long3 = 0x87651234;
    status.long5 = 0x0FEDCBA9;
    return status;
}

TEST_F(ListMotionTest, StatusOfOneAxisWithoutARangeCheck)
{
    controller_.SetRegisters(0x0212, kStatusWords);
    LmStatus status{};
    LmStatus empty{};
    std::memset(&empty.reserved, kUntouched, sizeof(empty.reserved));
    empty.axis = 0xFFFF;
    Expect({
        Row(CALL(LmGetStatus, 2, &status)).Reads({{0x0212, 7}}).Shows("2").Gets(status, Decoded(2)),
        Row(CALL(LmGetStatus, 0x0102, &status))
            .Reads({{0x0212, 7}}, "258")
            .Gets(status, Decoded(0x0102)),
        Row(CALL(LmGetStatus, -1, &status)).Reads({{0xFF12, 7}}).Shows("-1").Gets(status, empty),
    });
}

TEST_F(ListMotionTest, StatusOfAllServoAxesIsTracedIfItSucceeds)
{
    ConnectWith({1, 0, 0, 2, 0, 1});
    controller_.SetRegisters(0x0012, kStatusWords);
    controller_.SetRegisters(0x0512, kStatusWords);
    std::array<LmStatus, 32> status{};
    auto absent = Untouched<LmStatus>();
    absent.axis = 0xFFFF;
    std::vector<LmStatus> wanted(32, absent);
    wanted[0] = Decoded(0);
    wanted[5] = Decoded(5);
    Expect({Row(CALL(LmGetAllStatus, status.data()))
                .Reads({{0x0012, 7}, {0x0512, 7}})
                .Lines("zelQ_LmGetAllStatus(5,2)", "")
                .Fills(status, wanted)});
    ConnectWith(std::vector<std::uint32_t>(32, 1));
    std::vector<Read> reads;
    for (U16 axis = 0; axis < 32; ++axis) {
        reads.push_back({static_cast<U16>(axis << 8 | 18), 7});
    }
    Expect({Row(CALL(LmGetAllStatus, status.data())).Reads(reads).Shows("32")});
}

} // namespace

} // namespace zelq::test
