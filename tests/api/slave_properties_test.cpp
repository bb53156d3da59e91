#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <cstring>

namespace zelq::test {

namespace {

// Every field another value, and bits 22 and 24..31 set, which no field shows.
constexpr std::uint32_t kCodes = 5U << 4 | 9U << 7 | 6U << 11 | 2U << 15 | 1U << 17 | 4U << 19 |
                                 1U << 22 | 1U << 23 | 0xFFU << 24;

class SlavePropertiesTest : public WireTest
{
  protected:
    static std::vector<Read> TypeReads()
    {
        std::vector<Read> reads;
        for (std::uint16_t axis = 0; axis < 32; ++axis) {
            reads.push_back({static_cast<std::uint16_t>(axis << 8 | 0x38), 2});
        }
        return reads;
    }

    /// A record as the words that an application may read it by; 0xA5A5 is what was there before.
    static Words WordsOf(const SlaveProperty& property)
    {
        Words words(10);
        std::memcpy(words.data(), &property, sizeof(property));
        return words;
    }

    short Get(short axis)
    {
        std::memset(&one_, 0xA5, sizeof(one_));
        return zelQ_SlavePropertyGet(kNumber, axis, &one_);
    }

    short GetAll()
    {
        std::memset(all_.data(), 0xA5, sizeof(all_));
        return zelQ_SlavePropertyGetAll(kNumber, all_.data());
    }

    static short Configure(short zelNo, unsigned short axis = 1, unsigned short prop1 = 1,
                           short prop2 = 4, unsigned short prop3 = 3, unsigned short prop4 = 2,
                           unsigned short prop5 = 1)
    {
        return zelQ_ServoPropertyCfg(static_cast<unsigned short>(zelNo), axis, prop1, prop2, prop3,
                                     prop4, prop5, 0x80010002U);
    }

    SlaveProperty one_{};
    std::array<SlaveProperty, 32> all_{};
};

TEST_F(SlavePropertiesTest, OneSlaveIsReadByItsType)
{
    constexpr std::uint16_t kOld = 0xA5A5;
    controller_.SetSlaveTypes({1 | kCodes, 2 | kCodes, 3 | kCodes, 4 | kCodes, kCodes});
    const Words untouched(10, kOld);
    const auto expect = [this](Words words) {
        return [this, words = std::move(words)] { EXPECT_EQ(WordsOf(one_), words); };
    };
    const auto trace = [](int axis) {
        return "0=zelQ_SlavePropertyGet(5," + std::to_string(axis) + ")";
    };
    Run({
        {.name = "servo: all but the reserved word",
         .call = [this] { return Get(0); },
         .reads = {{0x0038, 2}},
         .trace = trace(0),
         .check = expect({0, 1, 5, 9, 6, 2, 1, 4, kOld, 1})},
        {.name = "input slave: number and type",
         .call = [this] { return Get(1); },
         .reads = {{0x0138, 2}},
         .trace = trace(1),
         .check = expect({1, 2, kOld, kOld, kOld, kOld, kOld, kOld, kOld, kOld})},
        {.name = "output slave: number and type",
         .call = [this] { return Get(2); },
         .reads = {{0x0238, 2}},
         .trace = trace(2),
         .check = expect({2, 3, kOld, kOld, kOld, kOld, kOld, kOld, kOld, kOld})},
        {.name = "another type: nothing, and no error",
         .call = [this] { return Get(3); },
         .reads = {{0x0338, 2}},
         .trace = trace(3),
         .check = expect(untouched)},
        {.name = "type 0, whatever stands above it: found after sending, not traced",
         .call = [this] { return Get(4); },
         .result = -2002,
         .reads = {{0x0438, 2}},
         .check = expect(untouched)},
    });
    ExpectNumberChecks(
        [](short n) { return zelQ_SlavePropertyGet(static_cast<unsigned short>(n), 99, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_SlavePropertyGet(kNumber, 32, nullptr); },
                          [] { return zelQ_SlavePropertyGet(kNumber, -1, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_SlavePropertyGet(kNumber, 31, nullptr); }});
}

TEST_F(SlavePropertiesTest, AllSlavesAreReadAndKept)
{
    constexpr std::uint16_t kOld = 0xA5A5;
    controller_.SetSlaveTypes({kCodes, 1 | kCodes, 2 | kCodes, 15});
    Run({{.name = "words 7 and 8 are left alone",
          .call = [this] { return GetAll(); },
          .reads = TypeReads(),
          .trace = "0=zelQ_SlavePropertyGetAll(5)"}});
    EXPECT_EQ(WordsOf(all_[0]), (Words{0xFFFF, 0, 5, 9, 6, 2, 1, kOld, kOld, 1}));
    EXPECT_EQ(WordsOf(all_[1]), (Words{1, 1, 5, 9, 6, 2, 1, kOld, kOld, 1}));
    EXPECT_EQ(WordsOf(all_[2]), (Words{2, 2, 5, 9, 6, 2, 1, kOld, kOld, 1}));
    EXPECT_EQ(WordsOf(all_[3]), (Words{3, 15, 0, 0, 0, 0, 0, kOld, kOld, 0}));
    EXPECT_EQ(WordsOf(all_[31]), (Words{0xFFFF, 0, 0, 0, 0, 0, 0, kOld, kOld, 0}));
    // The session knows them now: axis 1 is the only servo.
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 0, 1.0), -2007);
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 1, 1.0), 0);

    zelQ_Disconnect(kNumber);
    capture_.Lines();
    Run({{.name = "a failed read is traced, and writes nothing",
          .call = [this] { return GetAll(); },
          .result = -4,
          .trace = "-4=zelQ_SlavePropertyGetAll(5)"}});
    EXPECT_EQ(WordsOf(all_[1]), Words(10, kOld));
    ExpectNumberChecks([](short n) { return zelQ_SlavePropertyGetAll(n, nullptr); });
    ExpectRefused(-1701, {[] { return zelQ_SlavePropertyGetAll(kNumber, nullptr); }});
}

TEST_F(SlavePropertiesTest, ConfiguringReadsTheSlavesAnew)
{
    const std::string arguments = "zelQ_ServoPropertyCfg(5,1,1,4,3,2,1,-2147418110)";
    const Words registers = {0x0101, 0x01B0, 1, 1, 4, 3, 2, 1, 2, 0x8001};
    controller_.SetSlaveTypes({0, 1});
    Run({{.name = "no count in the command",
          .call = [] { return Configure(kNumber); },
          .frames = {registers},
          .reads = TypeReads(),
          .trace = "0=" + arguments}});
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 0, 1.0), -2007);
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 1, 1.0), 0);
    capture_.Lines();

    controller_.SetSlaveTypes({1, 0});
    Run({{.name = "refused: the slaves are not read",
          .call = [] { return Configure(kNumber); },
          .result = 6,
          .frames = {registers},
          .controllerResult = 6,
          .trace = "6=" + arguments}});
    controller_.ThenResult(0);
    controller_.Then([this](const Request& request) {
        return Answer{controller_.ProperReply({request.front()})};
    });
    Run({{.name = "the slaves cannot be read: that is the result, and the old ones are kept",
          .call = [] { return Configure(kNumber); },
          .result = -12,
          .frames = {registers},
          .reads = TypeReads(),
          .trace = "-12=" + arguments}});
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 0, 1.0), -2007);
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 1, 1.0), 0);
}

TEST_F(SlavePropertiesTest, ConfiguringChecksInOrder)
{
    ExpectNumberChecks([](short n) { return Configure(n, 99, 9, 9, 9, 9, 9); });
    ExpectRefused(-2002, {[] { return Configure(kNumber, 32, 2, 0, 4, 4, 3); }});
    ExpectRefused(-1702, {[] { return Configure(kNumber, 31, 2, 0, 4, 4, 3); }});
    ExpectRefused(-1703, {[] { return Configure(kNumber, 31, 1, 0, 4, 4, 3); },
                          [] { return Configure(kNumber, 31, 1, 5, 4, 4, 3); },
                          [] { return Configure(kNumber, 31, 1, -1, 4, 4, 3); }});
    ExpectRefused(-1704, {[] { return Configure(kNumber, 31, 1, 1, 4, 4, 3); }});
    ExpectRefused(-1705, {[] { return Configure(kNumber, 31, 1, 4, 3, 4, 3); }});
    ExpectRefused(-1706, {[] { return Configure(kNumber, 31, 0, 4, 3, 3, 3); }});
}

} // namespace

} // namespace zelq::test
