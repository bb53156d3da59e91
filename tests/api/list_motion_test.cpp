#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <cstring>

namespace zelq::test {

namespace {

/// Node k: 100 k + 1 to 100 k + 5 as values, k and -k as codes.
struct Nodes
{
    static constexpr std::size_t kMax = 51;
    std::array<std::array<double, kMax>, 5> values{};
    std::array<std::array<short, kMax>, 2> codes{};

    Nodes()
    {
        for (std::size_t k = 0; k < kMax; ++k) {
            for (std::size_t i = 0; i < values.size(); ++i) {
                values[i][k] = 100.0 * static_cast<double>(k) + static_cast<double>(i) + 1.9;
            }
            codes[0][k] = static_cast<short>(k);
            codes[1][k] = static_cast<short>(-codes[0][k]);
        }
    }

    static Words Registers(int k)
    {
        const auto code = static_cast<std::uint16_t>(k);
        return Join({Long(100 * k + 1),
                     Long(100 * k + 2),
                     Long(100 * k + 3),
                     Long(100 * k + 4),
                     Long(100 * k + 5),
                     {code, static_cast<std::uint16_t>(-k)}});
    }

    /// The frames of `count` nodes for axis 2.
    static std::vector<Words> Frames(int count)
    {
        const int total = (count + 8) / 9;
        std::vector<Words> frames;
        for (int k = 0; k < count; ++k) {
            if (k % 9 == 0) {
                frames.push_back({static_cast<std::uint16_t>(total << 8 | (k / 9 + 1))});
            }
            if (k == 0) {
                frames.back() =
                    Join({frames.back(), {0x0101, 2, static_cast<std::uint16_t>(count)}});
            }
            frames.back() = Join({frames.back(), Registers(k)});
        }
        return frames;
    }
};

class ListMotionTest : public WireTest
{
  protected:
    short Add(short count, unsigned short* reply1, unsigned short* reply2)
    {
        return Add(kNumber, 2, count, reply1, reply2);
    }

    short Add(short zelNo, unsigned short axis, short count, unsigned short* reply1,
              unsigned short* reply2)
    {
        return zelQ_LmAddNode(static_cast<unsigned short>(zelNo), axis, count,
                              nodes_.values[0].data(), nodes_.values[1].data(),
                              nodes_.values[2].data(), nodes_.values[3].data(),
                              nodes_.values[4].data(), nodes_.codes[0].data(),
                              nodes_.codes[1].data(), reply1, reply2);
    }

    /// The next request is answered frame by frame with these words behind the result register;
    /// where they end before the frames do, with a reply that belongs to none.
    void ThenWords(std::vector<Words> words)
    {
        controller_.Then([this, words = std::move(words)](const Request& request) {
            Answer answer;
            for (std::size_t i = 0; i < words.size(); ++i) {
                const Bytes frame = controller_.ProperReply(request.at(i), 0, words[i]);
                answer.bytes.insert(answer.bytes.end(), frame.begin(), frame.end());
            }
            if (words.size() < request.size()) {
                const Bytes stray = StrayReply(request).bytes;
                answer.bytes.insert(answer.bytes.end(), stray.begin(), stray.end());
            }
            return answer;
        });
    }

    Nodes nodes_;
    unsigned short reply1_ = 0xAAAA;
    unsigned short reply2_ = 0xBBBB;
};

TEST_F(ListMotionTest, CommandsSendWhatTheyAreTold)
{
    zelQ_UnitPerPulseSet(kNumber, 1, 0.5);
    capture_.Lines();
    Run({
        {.name = "configuration",
         .call = [] { return zelQ_LmSetCfg(kNumber, 31, 1, 255, 254); },
         .frames = {{0x0101, 0x0100, 31, 1, 255, 254}},
         .trace = "0=zelQ_LmSetCfg(5,31,1,255,254)"},
        {.name = "end of list, scaled and truncated",
         .call = [] { return zelQ_LmAddNodeEnd(kNumber, 1, -10.4); },
         .frames = {Join({{0x0101, 0x0102, 1}, Long(-20)})},
         .trace = "0=zelQ_LmAddNodeEnd(5,1,-10.4)"},
        {.name = "run",
         .call = [] { return zelQ_LmRunStop(kNumber, 3, 1); },
         .frames = {{0x0101, 0x0103, 3, 1}},
         .trace = "0=zelQ_LmRunStop(5,3)"},
        {.name = "stop, refused by the controller",
         .call = [] { return zelQ_LmRunStop(kNumber, 3, 0); },
         .result = 60,
         .frames = {{0x0101, 0x0103, 3, 0}},
         .controllerResult = 60,
         .trace = "60=zelQ_LmRunStop(5,3)"},
    });
}

TEST_F(ListMotionTest, NodesTravelNineToAFrame)
{
    for (const short count : {short{1}, short{9}, short{10}, short{50}}) {
        std::vector<Words> replies((static_cast<std::size_t>(count) + 8) / 9, Words{1, 2});
        replies.back() = {static_cast<std::uint16_t>(count), 0xFFFE};
        Run({{.name = std::to_string(count) + " nodes",
              .call =
                  [&] {
                      ThenWords(replies);
                      return Add(count, &reply1_, &reply2_);
                  },
              .frames = Nodes::Frames(count),
              .readQuantity = 3,
              .trace = "0=zelQ_LmAddNode(5,2," + std::to_string(count) + ")",
              .check =
                  [&] {
                      EXPECT_EQ(reply1_, count); // of the last frame
                      EXPECT_EQ(reply2_, 0xFFFE);
                  }}});
    }
    EXPECT_EQ(Nodes::Frames(9).front().size(), 112U);
    EXPECT_EQ(Nodes::Frames(50).back().front(), 0x0606);
}

TEST_F(ListMotionTest, NodesAreScaledByTheAxis)
{
    zelQ_UnitPerPulseSet(kNumber, 2, 100.0);
    capture_.Lines();
    nodes_.values[4][0] = -199.0;
    Run({{.name = "one node",
          .call =
              [&] {
                  ThenWords({{1, 511}});
                  return Add(1, &reply1_, &reply2_);
              },
          .frames = {Join(
              {{0x0101, 0x0101, 2, 1}, Long(0), Long(0), Long(0), Long(0), Long(-1), {0, 0}})},
          .readQuantity = 3,
          .trace = "0=zelQ_LmAddNode(5,2,1)"}});
}

TEST_F(ListMotionTest, MissingReplyWordsAreReportedAndTraced)
{
    const auto row = [this](std::string name, short count, const std::vector<Words>& words,
                            unsigned short* reply1, unsigned short* reply2,
                            std::function<void()> check) {
        return WireCase{.name = std::move(name),
                        .call =
                            [=, this] {
                                reply1_ = 0xAAAA;
                                reply2_ = 0xBBBB;
                                ThenWords(words);
                                return Add(count, reply1, reply2);
                            },
                        .result = -1004,
                        .frames = Nodes::Frames(count),
                        .readQuantity = 3,
                        .trace = "-1004=zelQ_LmAddNode(5,2," + std::to_string(count) + ")",
                        .check = std::move(check)};
    };
    Run({
        row("first null: it takes no word, so the second gets the first", 1, {{7, 8}}, nullptr,
            &reply2_, [this] { EXPECT_EQ(reply2_, 7); }),
        row("second null", 1, {{7, 8}}, &reply1_, nullptr, [this] { EXPECT_EQ(reply1_, 7); }),
        row("both null", 1, {{7, 8}}, nullptr, nullptr, [] {}),
        row("first null in two frames: the next is read from out of place", 10, {{7, 8}, {9, 10}},
            nullptr, &reply2_, [this] { EXPECT_EQ(reply2_, 0); }),
        row("the second frame's reply is missing", 10, {{7, 8}}, &reply1_, &reply2_,
            [this] {
                EXPECT_EQ(reply1_, 7);
                EXPECT_EQ(reply2_, 8);
            }),
    });
}

TEST_F(ListMotionTest, ResultsOfTheControllerLeaveTheReplyWordsAlone)
{
    for (const int result : {64, 0xFFF7}) { // the latter looks like an overflow in 16 bits
        const auto code = static_cast<short>(result);
        Run({{.name = std::to_string(result),
              .call = [&] { return Add(9, &reply1_, nullptr); },
              .result = code,
              .frames = Nodes::Frames(9),
              .readQuantity = 3,
              .controllerResult = static_cast<std::uint16_t>(result),
              .trace = std::to_string(code) + "=zelQ_LmAddNode(5,2,9)",
              .check = [this] { EXPECT_EQ(reply1_, 0xAAAA); }}});
    }
}

TEST_F(ListMotionTest, AnOverlongReplyHasNoWords)
{
    Run({{.name = "more bytes than one reply can have",
          .call =
              [&] {
                  controller_.Then([](const Request&) { return Answer{Bytes(1461, 0)}; });
                  return Add(1, &reply1_, &reply2_);
              },
          .result = -1004,
          .frames = Nodes::Frames(1),
          .readQuantity = 3,
          .trace = "-1004=zelQ_LmAddNode(5,2,1)",
          .check = [this] { EXPECT_EQ(reply1_, 0xAAAA); }}});
}

TEST_F(ListMotionTest, WrongArgumentsAreRefusedInOrder)
{
    ExpectNumberChecks([](short zelNo) { return zelQ_LmSetCfg(zelNo, 99, 9, 999, 999); });
    ExpectNumberChecks([this](short zelNo) { return Add(zelNo, 99, 0, nullptr, nullptr); });
    ExpectNumberChecks([](short zelNo) { return zelQ_LmAddNodeEnd(zelNo, 99, 0); });
    ExpectNumberChecks([](short zelNo) { return zelQ_LmRunStop(zelNo, 99, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_LmGetStatus(zelNo, 99, nullptr); });
    ExpectNumberChecks([](short zelNo) { return zelQ_LmGetAllStatus(zelNo, nullptr); });
    ExpectRefused(-2, {[this] { return Add(static_cast<short>(-3), 0, 1, nullptr, nullptr); }});
    ExpectRefused(-2002, {[] { return zelQ_LmSetCfg(kNumber, 32, 2, 256, 256); },
                          [this] { return Add(kNumber, 32, 0, nullptr, nullptr); },
                          [] { return zelQ_LmAddNodeEnd(kNumber, 32, 0); },
                          [] { return zelQ_LmAddNodeEnd(kNumber, -1, 0); },
                          [] { return zelQ_LmRunStop(kNumber, 32, 2); }});
    LmStatus status{};
    ExpectRefused(-1701, {[] { return zelQ_LmGetAllStatus(kNumber, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_LmSetCfg(kNumber, 0, 2, 256, 256); },
                          [this] { return Add(0, nullptr, nullptr); },
                          [this] { return Add(51, &reply1_, &reply2_); },
                          [this] { return Add(-1, &reply1_, &reply2_); },
                          [] { return zelQ_LmRunStop(kNumber, 0, 2); },
                          [] { return zelQ_LmGetStatus(kNumber, 99, nullptr); }});
    ExpectRefused(-1703, {[] { return zelQ_LmSetCfg(kNumber, 0, 1, 256, 256); }});
    ExpectRefused(-1704, {[] { return zelQ_LmSetCfg(kNumber, 0, 1, 255, 256); }});

    std::vector<std::uint32_t> none(32, 0);
    none[0] = 2;
    controller_.SetSlaveTypes(none);
    controller_.Connect();
    capture_.Lines();
    ExpectRefused(-1701, {[] { return zelQ_LmGetAllStatus(kNumber, nullptr); }});
    ExpectRefused(-2001, {[&] { return zelQ_LmGetAllStatus(kNumber, &status); }});
}

TEST_F(ListMotionTest, NullNodeArraysAreRefused)
{
    for (int null = 3; null <= 9; ++null) {
        const auto values = [&](int k) {
            return null == k + 3 ? nullptr : nodes_.values[static_cast<std::size_t>(k)].data();
        };
        const short* codeF = null == 8 ? nullptr : nodes_.codes[0].data();
        const short* codeG = null == 9 ? nullptr : nodes_.codes[1].data();
        ExpectRefused(static_cast<short>(-1700 - null), {[&] {
                          return zelQ_LmAddNode(kNumber, 2, 1, values(0), values(1), values(2),
                                                values(3), values(4), codeF, codeG, &reply1_,
                                                &reply2_);
                      }});
    }
}

/// Registers of a list's status in which every field has a value of its own.
const Words kStatusWords = {0x2FFF, 0x8001, 0x7FFE, 0x1234, 0x8765, 0xCBA9, 0x0FED};

/// The same decoded, with the bytes that are not written still 0xA5.
LmStatus DecodedStatus(unsigned short axis)
{
    LmStatus status;
    std::memset(&status, 0xA5, sizeof(status));
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

bool SameBytes(const LmStatus& a, const LmStatus& b)
{
    return std::memcmp(&a, &b, sizeof(LmStatus)) == 0;
}

TEST_F(ListMotionTest, StatusOfOneAxisWithoutARangeCheck)
{
    controller_.SetRegisters(0x0212, kStatusWords);
    LmStatus status;
    const auto row = [&](short axis, std::uint16_t start, const LmStatus& expected) {
        return WireCase{.name = "axis " + std::to_string(axis),
                        .call =
                            [&status, axis] {
                                std::memset(&status, 0xA5, sizeof(status));
                                return zelQ_LmGetStatus(kNumber, axis, &status);
                            },
                        .reads = {{start, 7}},
                        .trace = "0=zelQ_LmGetStatus(5," + std::to_string(axis) + ")",
                        .check = [&status, expected] { EXPECT_TRUE(SameBytes(status, expected)); }};
    };
    LmStatus empty = {};
    std::memset(&empty.reserved, 0xA5, sizeof(empty.reserved));
    empty.axis = 0xFFFF;
    Run({row(2, 0x0212, DecodedStatus(2)), row(0x0102, 0x0212, DecodedStatus(0x0102)),
         row(-1, 0xFF12, empty)});
}

TEST_F(ListMotionTest, AFailedStatusIsTracedAndLeavesTheRecordAlone)
{
    LmStatus status = DecodedStatus(9);
    std::array<LmStatus, 32> all{};
    const auto answerTooShort = [this](const Request& request) {
        RequestFrame shorter = request.front();
        shorter.quantity = 6;
        return Answer{controller_.ProperReply(shorter)};
    };
    Run({{.name = "one axis",
          .call =
              [&] {
                  controller_.Then(answerTooShort);
                  return zelQ_LmGetStatus(kNumber, 2, &status);
              },
          .result = -12,
          .reads = {{0x0212, 7}},
          .trace = "-12=zelQ_LmGetStatus(5,2)"},
         {.name = "all axes: not traced",
          .call =
              [&] {
                  controller_.SetSlaveTypes({1});
                  controller_.Connect();
                  capture_.Lines();
                  controller_.Then(answerTooShort);
                  return zelQ_LmGetAllStatus(kNumber, all.data());
              },
          .result = -12,
          .reads = {{0x0012, 7}}}});
    EXPECT_TRUE(SameBytes(status, DecodedStatus(9)));
    EXPECT_EQ(all[1].axis, 0);
}

TEST_F(ListMotionTest, StatusOfAllServoAxes)
{
    std::vector<std::uint32_t> types(32, 0);
    types[0] = types[5] = 1;
    types[3] = 2;
    controller_.SetSlaveTypes(types);
    controller_.Connect();
    capture_.Lines();
    controller_.SetRegisters(0x0012, kStatusWords);
    controller_.SetRegisters(0x0512, kStatusWords);
    std::array<LmStatus, 32> status;
    std::memset(status.data(), 0xA5, sizeof(status));
    Run({{.name = "axes 0 and 5",
          .call = [&] { return zelQ_LmGetAllStatus(kNumber, status.data()); },
          .reads = {{0x0012, 7}, {0x0512, 7}},
          .trace = "0=zelQ_LmGetAllStatus(5,2)"}});
    LmStatus absent;
    std::memset(&absent, 0xA5, sizeof(absent));
    absent.axis = 0xFFFF;
    for (unsigned short axis = 0; axis < 32; ++axis) {
        const LmStatus expected = axis == 0 || axis == 5 ? DecodedStatus(axis) : absent;
        EXPECT_TRUE(SameBytes(status[axis], expected)) << axis;
    }

    controller_.SetSlaveTypes(std::vector<std::uint32_t>(32, 1));
    controller_.Connect();
    capture_.Lines();
    std::vector<Read> reads;
    for (std::uint16_t axis = 0; axis < 32; ++axis) {
        reads.push_back({static_cast<std::uint16_t>(axis << 8 | 18), 7});
    }
    Run({{.name = "32 axes in one exchange",
          .call = [&] { return zelQ_LmGetAllStatus(kNumber, status.data()); },
          .reads = reads,
          .trace = "0=zelQ_LmGetAllStatus(5,32)"}});
}

} // namespace

} // namespace zelq::test
