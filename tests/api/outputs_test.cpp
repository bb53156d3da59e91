#include "support/wire_test.h"
#include "zelq.h"

#include <array>

namespace zelq::test {

namespace {

using U16 = unsigned short;

/// Output slaves 4, 9 and 31 beside servo axes.
class OutputsTest : public WireTest
{
  protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(WireTest::SetUp());
        std::vector<std::uint32_t> types(32, 1);
        types[4] = types[9] = types[31] = 3;
        ConnectWith(types);
    }

    void ConnectWith(const std::vector<std::uint32_t>& types)
    {
        controller_.SetSlaveTypes(types);
        ASSERT_NO_FATAL_FAILURE(controller_.Connect());
        capture_.Lines();
    }
};

TEST_F(OutputsTest, DrivesTakeTwoValuesInOneRegister)
{
    static constexpr std::array<U16, 3> kAxes = {7, 31, 40};
    static constexpr std::array<U16, 3> kOut1 = {1, 0, 0x0102};
    static constexpr std::array<U16, 3> kOut2 = {0, 1, 0x0304};
    Run({
        {.name = "first value in the low byte",
         .call = [] { return zelQ_SDOSet(kNumber, 3, 1, 0); },
         .frames = {{0x0101, 0x0180, 1, 3, 0x0001}},
         .trace = "0=zelQ_SDOSet(5,3,1,0)"},
        {.name = "second in the high one",
         .call = [] { return zelQ_SDOSet(kNumber, 31, 0, 1); },
         .result = 3,
         .frames = {{0x0101, 0x0180, 1, 31, 0x0100}},
         .controllerResult = 3,
         .trace = "3=zelQ_SDOSet(5,31,0,1)"},
        {.name = "pin and state",
         .call = [] { return zelQ_SDOSetPin(kNumber, 3, 2, 1); },
         .frames = {{0x0101, 0x0181, 1, 3, 0x0102}},
         .trace = "0=zelQ_SDOSetPin(5,3,2,1)"},
        {.name = "toggle",
         .call = [] { return zelQ_SDOSetTog(kNumber, 3, 1, 1); },
         .frames = {{0x0101, 0x0182, 1, 3, 0x0101}},
         .trace = "0=zelQ_SDOSetTog(5,3,1,1)"},
        {.name = "several, unchecked and not masked",
         .call = [] { return zelQ_mSDOSet(kNumber, 3, kAxes.data(), kOut1.data(), kOut2.data()); },
         .frames = {{0x0101, 0x0180, 3, 7, 0x0001, 31, 0x0100, 40, 0x0502}},
         .trace = "0=zelQ_mSDOSet(5,3,0)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_SDOSet(n, 99, 9, 9); });
    ExpectNumberChecks([](short n) { return zelQ_SDOSetPin(n, 99, 9, 9); });
    ExpectNumberChecks([](short n) { return zelQ_SDOSetTog(n, 99, 9, 9); });
    ExpectNumberChecks([](short n) { return zelQ_mSDOSet(n, 0, nullptr, nullptr, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_SDOSet(kNumber, 32, 9, 9); },
                          [] { return zelQ_SDOSetPin(kNumber, 0xFFFF, 9, 9); },
                          [] { return zelQ_SDOSetTog(kNumber, 32, 9, 9); }});
    ExpectRefused(-2004, {[] { return zelQ_mSDOSet(kNumber, 0, kAxes.data(), nullptr, nullptr); },
                          [] { return zelQ_mSDOSet(kNumber, 33, nullptr, nullptr, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_SDOSet(kNumber, 31, 2, 9); },
                          [] { return zelQ_SDOSetTog(kNumber, 31, 2, 9); },
                          [] { return zelQ_SDOSetPin(kNumber, 31, 0, 9); },
                          [] { return zelQ_SDOSetPin(kNumber, 31, 3, 9); },
                          [] { return zelQ_mSDOSet(kNumber, 1, nullptr, nullptr, nullptr); }});
    ExpectRefused(-1703, {[] { return zelQ_SDOSet(kNumber, 31, 1, 2); },
                          [] { return zelQ_SDOSetTog(kNumber, 31, 1, 2); },
                          [] { return zelQ_SDOSetPin(kNumber, 31, 1, 2); },
                          [] { return zelQ_mSDOSet(kNumber, 1, kAxes.data(), nullptr, nullptr); }});
    ExpectRefused(-1704,
                  {[] { return zelQ_mSDOSet(kNumber, 1, kAxes.data(), kOut1.data(), nullptr); }});
}

TEST_F(OutputsTest, OutputSlavesByNumber)
{
    static constexpr std::array<U16, 4> kPins = {32, 5, 31, 5};
    static constexpr std::array<U16, 4> kStates = {1, 1, 2, 0};
    Run({
        {.name = "whole word",
         .call = [] { return zelQ_RDOSet(kNumber, 2, 0xFFFE1234U); },
         .frames = {{0x0101, 0x0190, 1, 2, 0x1234, 0xFFFE}},
         .trace = "0=zelQ_RDOSet(5,2,-126412)"},
        {.name = "pin and state as 32 bits",
         .call = [] { return zelQ_RDOSetPin(kNumber, 31, 31, 1); },
         .frames = {{0x0101, 0x0191, 1, 31, 0x1F01, 0}},
         .trace = "0=zelQ_RDOSetPin(5,31,31,1)"},
        {.name = "toggle pin",
         .call = [] { return zelQ_RDOSetTogPin(kNumber, 31, 30); },
         .frames = {{0x0101, 0x0192, 1, 31, 30}},
         .trace = "0=zelQ_RDOSetTogPin(5,31,30)"},
        {.name = "pins: 32 is pin 0, any state but 1 is off, both masks may have a pin",
         .call = [] { return zelQ_RDOSetPins(kNumber, 4, 4, kPins.data(), kStates.data()); },
         .frames = {{0x0101, 0x0193, 1, 4, 0x0021, 0, 0x0020, 0x8000}},
         .trace = "0=zelQ_RDOSetPins(5,4,4)"},
        {.name = "toggle pins",
         .call = [] { return zelQ_RDOSetTogPins(kNumber, 4, 4, kPins.data()); },
         .result = 7,
         .frames = {{0x0101, 0x0194, 1, 4, 0x0021, 0x8000}},
         .controllerResult = 7,
         .trace = "7=zelQ_RDOSetTogPins(5,4,4)"},
    });
    static constexpr std::array<U16, 2> kTooHigh = {0, 33};
    ExpectNumberChecks([](short n) { return zelQ_RDOSet(n, 99, 0); });
    ExpectNumberChecks([](short n) { return zelQ_RDOSetPin(n, 99, 99, 9); });
    ExpectNumberChecks([](short n) { return zelQ_RDOSetTogPin(n, 99, 99); });
    ExpectNumberChecks([](short n) { return zelQ_RDOSetPins(n, 99, 0, nullptr, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_RDOSetTogPins(n, 99, 0, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_RDOSet(kNumber, 32, 0); },
                          [] { return zelQ_RDOSetPin(kNumber, 32, 99, 9); },
                          [] { return zelQ_RDOSetTogPin(kNumber, 32, 99); },
                          [] { return zelQ_RDOSetPins(kNumber, 32, 0, nullptr, nullptr); },
                          [] { return zelQ_RDOSetTogPins(kNumber, 0xFFFF, 0, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_RDOSetPin(kNumber, 31, 32, 9); },
                          [] { return zelQ_RDOSetPin(kNumber, 31, -1, 9); },
                          [] { return zelQ_RDOSetTogPin(kNumber, 31, 32); },
                          [] { return zelQ_RDOSetTogPin(kNumber, 31, -1); },
                          [] { return zelQ_RDOSetPins(kNumber, 31, 0, nullptr, nullptr); },
                          [] { return zelQ_RDOSetPins(kNumber, 31, 33, nullptr, nullptr); },
                          [] { return zelQ_RDOSetTogPins(kNumber, 31, 33, nullptr); }});
    ExpectRefused(-1703, {[] { return zelQ_RDOSetPin(kNumber, 31, 31, 2); },
                          [] { return zelQ_RDOSetPins(kNumber, 31, 1, nullptr, nullptr); },
                          [] { return zelQ_RDOSetTogPins(kNumber, 31, 1, nullptr); }});
    ExpectRefused(-3080, {[] { return zelQ_RDOSetPins(kNumber, 31, 2, kTooHigh.data(), nullptr); },
                          [] { return zelQ_RDOSetTogPins(kNumber, 31, 2, kTooHigh.data()); }});
    ExpectRefused(-1704,
                  {[] { return zelQ_RDOSetPins(kNumber, 31, 1, kTooHigh.data(), nullptr); }});
}

TEST_F(OutputsTest, OutputSlavesByIndex)
{
    static constexpr std::array<unsigned int, 3> kWords = {1, 0x80000000U, 0x00020003U};
    static constexpr std::array<U16, 5> kIndexes = {2, 0xFFFF, 0, 0x8000, 2};
    static constexpr std::array<U16, 5> kPins = {31, 37, 0, 64, 31};
    static constexpr std::array<U16, 5> kStates = {1, 0, 1, 1, 7};
    Run({
        {.name = "whole words of the first slaves, under another name",
         .call = [] { return zelQ_aRDOSet(kNumber, 3, kWords.data()); },
         .frames = {{0x0101, 0x0190, 3, 4, 1, 0, 9, 0, 0x8000, 31, 3, 2}},
         .trace = "0=zelQ_mRDOSet(5,3,0)"},
        {.name = "pin and state in one register",
         .call = [] { return zelQ_aRDOSetPin(kNumber, 2, 31, 1); },
         .frames = {{0x0101, 0x0191, 1, 31, 0x1F01}},
         .trace = "0=zelQ_aRDOSetPin(5,31,1)"},
        {.name = "pin over all slaves",
         .call = [] { return zelQ_aRDOSetPin(kNumber, 0xFFFF, 37, 1); },
         .frames = {{0x0101, 0x0191, 1, 9, 0x0501}},
         .trace = "0=zelQ_aRDOSetPin(5,37,1)"},
        {.name = "toggle pin",
         .call = [] { return zelQ_aRDOSetTogPin(kNumber, 1, 8); },
         .frames = {{0x0101, 0x0192, 1, 9, 8}},
         .trace = "0=zelQ_aRDOSetTogPin(5,8)"},
        {.name = "toggle the last pin of all",
         .call = [] { return zelQ_aRDOSetTogPin(kNumber, 0x8000, 95); },
         .frames = {{0x0101, 0x0192, 1, 31, 31}},
         .trace = "0=zelQ_aRDOSetTogPin(5,95)"},
        {.name = "pins by slave, in ascending order",
         .call =
             [] {
                 return zelQ_aRDOSetPins(kNumber, 5, kIndexes.data(), kPins.data(), kStates.data());
             },
         .frames = {{0x0101, 0x0193, 3, 4, 1, 0, 0, 0, 9, 0, 0, 0x20, 0, 31, 1, 0x8000, 0, 0x8000}},
         .trace = "0=zelQ_aRDOSetPins(5,5)"},
        {.name = "toggle pins, twice is once",
         .call = [] { return zelQ_aRDOSetTogPins(kNumber, 5, kIndexes.data(), kPins.data()); },
         .frames = {{0x0101, 0x0194, 3, 4, 1, 0, 9, 0x20, 0, 31, 1, 0x8000}},
         .trace = "0=zelQ_aRDOSetTogPins(5,5)"},
        {.name = "no pins at all",
         .call = [] { return zelQ_aRDOSetPins(kNumber, 0, nullptr, nullptr, nullptr); },
         .frames = {{0x0101, 0x0193, 0}},
         .trace = "0=zelQ_aRDOSetPins(5,0)"},
        {.name = "fewer than none",
         .call = [] { return zelQ_aRDOSetTogPins(kNumber, -3, nullptr, nullptr); },
         .frames = {{0x0101, 0x0194, 0}},
         .trace = "0=zelQ_aRDOSetTogPins(5,-3)"},
    });
}

TEST_F(OutputsTest, IndexesBeyondTheSlavesAreRefused)
{
    static constexpr std::array<unsigned int, 4> kWords{};
    static constexpr std::array<U16, 1> kIndex = {3};
    static constexpr std::array<U16, 1> kLast = {0x7FFF};
    static constexpr std::array<U16, 1> kGlobal = {0xFFFF};
    static constexpr std::array<U16, 1> kPin = {0};
    static constexpr std::array<U16, 1> kNegativePin = {0xFFFF};
    static constexpr std::array<U16, 1> kPastAll = {96};
    ExpectNumberChecks([](short n) { return zelQ_aRDOSet(n, 0, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_aRDOSetPin(n, 99, 99, 9); });
    ExpectNumberChecks([](short n) { return zelQ_aRDOSetTogPin(n, 99, 99); });
    ExpectNumberChecks([](short n) { return zelQ_aRDOSetPins(n, 1, nullptr, nullptr, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_aRDOSetTogPins(n, 1, nullptr, nullptr); });
    ExpectRefused(-1701, {[] { return zelQ_aRDOSet(kNumber, 0, nullptr); },
                          [] { return zelQ_aRDOSet(kNumber, 33, nullptr); }});
    ExpectRefused(-1703, {[] { return zelQ_aRDOSetPin(kNumber, 3, 99, 2); },
                          [] { return zelQ_aRDOSetPin(kNumber, 3, 99, -1); }});
    ExpectRefused(
        -3080,
        {[] { return zelQ_aRDOSet(kNumber, 4, nullptr); },
         [] { return zelQ_aRDOSetPin(kNumber, 0, 32, 1); },
         [] { return zelQ_aRDOSetPin(kNumber, 0, -1, 1); },
         [] { return zelQ_aRDOSetPin(kNumber, 3, 0, 1); },
         [] { return zelQ_aRDOSetPin(kNumber, 0x7FFF, 0, 1); },
         [] { return zelQ_aRDOSetPin(kNumber, 0xFFFF, -1, 1); },
         [] { return zelQ_aRDOSetPin(kNumber, 0xFFFF, 96, 1); },
         [] { return zelQ_aRDOSetTogPin(kNumber, 0, 32); },
         [] { return zelQ_aRDOSetTogPin(kNumber, 0xFFFF, 96); },
         [] { return zelQ_aRDOSetPins(kNumber, 1, kIndex.data(), kPin.data(), kPin.data()); },
         [] { return zelQ_aRDOSetPins(kNumber, 1, kLast.data(), kPin.data(), kPin.data()); },
         [] {
             return zelQ_aRDOSetPins(kNumber, 1, kGlobal.data(), kNegativePin.data(), kPin.data());
         },
         [] { return zelQ_aRDOSetTogPins(kNumber, 1, kGlobal.data(), kPastAll.data()); }});
    ExpectRefused(-1702, {[] { return zelQ_aRDOSet(kNumber, 3, nullptr); },
                          [] { return zelQ_aRDOSetTogPins(kNumber, 1, nullptr, kPin.data()); }});
    ExpectRefused(-1704,
                  {[] { return zelQ_aRDOSetPins(kNumber, 1, kPin.data(), kPin.data(), nullptr); }});

    ConnectWith({});
    ExpectRefused(-3080, {[] { return zelQ_aRDOSet(kNumber, 1, kWords.data()); },
                          [] { return zelQ_aRDOSetPin(kNumber, 0xFFFF, 0, 1); }});
}

TEST_F(OutputsTest, MasksOf24SlavesDoNotFitIntoOneCommand)
{
    ConnectWith(std::vector<std::uint32_t>(32, 3));
    std::array<U16, 32> indexes{};
    Words masks = {0x0101, 0x0193, 23};
    Words toggles = {0x0101, 0x0194, 32};
    for (U16 i = 0; i < 32; ++i) {
        indexes[i] = i;
        if (i < 23) masks = Join({masks, {i, 1, 0, 0, 0}});
        toggles = Join({toggles, {i, 1, 0}});
    }
    static constexpr std::array<U16, 32> kPins{};
    std::array<U16, 32> on{};
    on.fill(1);
    const auto set = [&](short count) {
        return zelQ_aRDOSetPins(kNumber, count, indexes.data(), kPins.data(), on.data());
    };
    Run({
        {.name = "23 fit",
         .call = [&] { return set(23); },
         .frames = {masks},
         .trace = "0=zelQ_aRDOSetPins(5,23)"},
        {.name = "24 are not sent, but traced",
         .call = [&] { return set(24); },
         .result = -12,
         .trace = "-12=zelQ_aRDOSetPins(5,24)"},
        {.name = "32 toggle masks fit",
         .call = [&] { return zelQ_aRDOSetTogPins(kNumber, 32, indexes.data(), kPins.data()); },
         .frames = {toggles},
         .trace = "0=zelQ_aRDOSetTogPins(5,32)"},
    });
}

TEST_F(OutputsTest, LinkFailKeepOut)
{
    static unsigned int value = 0;
    Run({
        {.name = "set",
         .call = [] { return zelQ_RDOLinkFailKeepOutSet(kNumber, 0x80000001U); },
         .frames = {{0x0101, 0x0195, 0, 1, 0x8000}},
         .trace = "0=zelQ_RDOLinkFailKeepOutSet(5,-2147483647)"},
        {.name = "get",
         .call = [] { return zelQ_RDOLinkFailKeepOutGet(kNumber, &value); },
         .frames = {{0x0101, 0x0195, 1}},
         .readQuantity = 3,
         .data = {0x1234, 0x0005},
         .trace = "0=zelQ_RDOLinkFailKeepOutGet(5,332340)",
         .check = [] { EXPECT_EQ(value, 0x00051234U); }},
        {.name = "get into nothing",
         .call = [] { return zelQ_RDOLinkFailKeepOutGet(kNumber, nullptr); },
         .frames = {{0x0101, 0x0195, 1}},
         .readQuantity = 3,
         .data = {7, 0},
         .trace = "0=zelQ_RDOLinkFailKeepOutGet(5,7)"},
        {.name = "refused: the output stays, the line shows 0",
         .call = [] { return zelQ_RDOLinkFailKeepOutGet(kNumber, &value); },
         .result = 9,
         .frames = {{0x0101, 0x0195, 1}},
         .readQuantity = 3,
         .controllerResult = 9,
         .trace = "9=zelQ_RDOLinkFailKeepOutGet(5,0)",
         .check = [] { EXPECT_EQ(value, 0x00051234U); }},
    });
    ExpectNumberChecks([](short n) { return zelQ_RDOLinkFailKeepOutSet(n, 1); });
    ExpectNumberChecks([](short n) { return zelQ_RDOLinkFailKeepOutGet(n, nullptr); });
}

TEST_F(OutputsTest, MainBoard)
{
    static constexpr std::array<U16, 5> kPins = {0, 3, 7, 8, 0xFFFF};
    static constexpr std::array<U16, 5> kStates = {1, 0, 2, 1, 0};
    static constexpr std::array<U16, 2> kTwice = {5, 5};
    static constexpr std::array<short, 4> kToggled = {7, 1, -1, 300};
    Run({
        {.name = "all",
         .call = [] { return zelQ_MDOSet(kNumber, 0xA5); },
         .frames = {{0x0101, 0x01A0, 0x00A5}},
         .trace = "0=zelQ_MDOSet(5,165)"},
        {.name = "pin",
         .call = [] { return zelQ_MDOSetPin(kNumber, 7, 1); },
         .frames = {{0x0101, 0x01A1, 7, 1}},
         .trace = "0=zelQ_MDOSetPin(5,7,1)"},
        {.name = "toggle pin",
         .call = [] { return zelQ_MDOSetTogPin(kNumber, 6); },
         .frames = {{0x0101, 0x01A2, 6}},
         .trace = "0=zelQ_MDOSetTogPin(5,6)"},
        {.name = "pins: a state of 2 is off, pins that do not exist count for nothing",
         .call = [] { return zelQ_MDOSetPins(kNumber, 5, kPins.data(), kStates.data()); },
         .frames = {{0x0101, 0x01A3, 0x0001, 0x0088}},
         .trace = "0=zelQ_MDOSetPins(5,0,0,0)"},
        {.name = "a pin with both states stands in both masks",
         .call = [] { return zelQ_MDOSetPins(kNumber, 2, kTwice.data(), kStates.data()); },
         .frames = {{0x0101, 0x01A3, 0x0020, 0x0020}},
         .trace = "0=zelQ_MDOSetPins(5,0,0,0)"},
        {.name = "toggle pins",
         .call = [] { return zelQ_MDOSetTogPins(kNumber, 4, kToggled.data()); },
         .frames = {{0x0101, 0x01A4, 0x0082}},
         .trace = "0=zelQ_MDOSetTogPins(5)"},
        {.name = "limit time",
         .call = [] { return zelQ_MDOSetLimitTime(kNumber, 7, 2, 0xFFFFFFFEU); },
         .result = 7,
         .frames = {{0x0101, 0x01A5, 7, 2, 0xFFFE, 0xFFFF}},
         .controllerResult = 7,
         .trace = "7=zelQ_MDOSetLimitTime(5,7,2,-2)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_MDOSet(n, 256); });
    ExpectNumberChecks([](short n) { return zelQ_MDOSetPin(n, 8, 2); });
    ExpectNumberChecks([](short n) { return zelQ_MDOSetTogPin(n, 8); });
    ExpectNumberChecks([](short n) { return zelQ_MDOSetPins(n, 0, nullptr, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_MDOSetTogPins(n, 0, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_MDOSetLimitTime(n, 8, 3, 0); });
    ExpectRefused(-1701, {[] { return zelQ_MDOSet(kNumber, 256); },
                          [] { return zelQ_MDOSetPin(kNumber, 8, 2); },
                          [] { return zelQ_MDOSetTogPin(kNumber, 8); },
                          [] { return zelQ_MDOSetPins(kNumber, 0, nullptr, nullptr); },
                          [] { return zelQ_MDOSetPins(kNumber, 9, nullptr, nullptr); },
                          [] { return zelQ_MDOSetTogPins(kNumber, 9, nullptr); },
                          [] { return zelQ_MDOSetTogPins(kNumber, -1, nullptr); },
                          [] { return zelQ_MDOSetLimitTime(kNumber, 8, 3, 0); }});
    ExpectRefused(-1702, {[] { return zelQ_MDOSetPin(kNumber, 7, 2); },
                          [] { return zelQ_MDOSetPins(kNumber, 8, nullptr, nullptr); },
                          [] { return zelQ_MDOSetTogPins(kNumber, 8, nullptr); },
                          [] { return zelQ_MDOSetLimitTime(kNumber, 7, 3, 0); }});
    ExpectRefused(-1703, {[] { return zelQ_MDOSetPins(kNumber, 5, kPins.data(), nullptr); }});
}

TEST_F(OutputsTest, LimitTimeIsReadBack)
{
    U16 a = 99;
    U16 b = 99;
    U16 c = 99;
    unsigned int time = 99;
    const auto row = [](const char* name, std::function<short()> call,
                        std::function<void()> check) {
        return WireCase{.name = name,
                        .call = std::move(call),
                        .frames = {{0x0101, 0x01A6, 7}},
                        .readQuantity = 4,
                        .data = {0xFFC5, 0x0001, 0x8000},
                        .trace = "0=zelQ_MDOGetLimitTime(5,7)",
                        .check = std::move(check)};
    };
    Run({row(
             "without limitB neither of the others, without time no time",
             [&] { return zelQ_MDOGetLimitTime(kNumber, 7, &a, nullptr, &c, nullptr); },
             [&] {
                 EXPECT_EQ(a, 99);
                 EXPECT_EQ(c, 99);
             }),
         row(
             "limitB alone",
             [&] { return zelQ_MDOGetLimitTime(kNumber, 7, nullptr, &b, nullptr, &time); },
             [&] {
                 EXPECT_EQ(b, 1);
                 EXPECT_EQ(time, 0x80000001U);
             }),
         row(
             "all", [&] { return zelQ_MDOGetLimitTime(kNumber, 7, &a, &b, &c, &time); },
             [&] {
                 EXPECT_EQ(a, 3);
                 EXPECT_EQ(b, 1);
                 EXPECT_EQ(c, 1);
             }),
         {.name = "refused",
          .call = [&] { return zelQ_MDOGetLimitTime(kNumber, 0, &a, &b, &c, &time); },
          .result = 100,
          .frames = {{0x0101, 0x01A6, 0}},
          .readQuantity = 4,
          .controllerResult = 100,
          .trace = "100=zelQ_MDOGetLimitTime(5,0)",
          .check = [&] { EXPECT_EQ(time, 0x80000001U); }}});
    ExpectNumberChecks(
        [](short n) { return zelQ_MDOGetLimitTime(n, 8, nullptr, nullptr, nullptr, nullptr); });
    ExpectRefused(-1701, {[] {
        return zelQ_MDOGetLimitTime(kNumber, 8, nullptr, nullptr, nullptr, nullptr);
    }});
}

} // namespace

} // namespace zelq::test
