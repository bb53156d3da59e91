#include "support/calls.h"

namespace zelq::test {

namespace {

/// Output slaves 4, 9 and 31 beside servo axes.
class OutputsTest : public CallTest
{
  protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(WireTest::SetUp());
        std::vector<std::uint32_t> types(32, 1);
        types[4] = types[9] = types[31] = 3;
        ConnectWith(types);
    }
};

TEST_F(OutputsTest, DrivesTakeTwoValuesInOneRegister)
{
    const U16 axes[] = {7, 31, 40};
    const U16 on[] = {1, 0, 0x0102};
    const U16 off[] = {0, 1, 0x0304};
    Expect({
        {CALL(SDOSet, 3, 1, 0), {0x0180, 1, 3, 0x0001}},
        {CALL(SDOSet, 31, 0, 1), {0x0180, 1, 31, 0x0100}},
        {CALL(SDOSetPin, 3, 2, 1), {0x0181, 1, 3, 0x0102}},
        {CALL(SDOSetTog, 3, 1, 1), {0x0182, 1, 3, 0x0101}},
        // Unchecked, not masked; the line has a place for a value that is not shown.
        Row(CALL(mSDOSet, 3, axes, on, off), {0x0180, 3, 7, 0x0001, 31, 0x0100, 40, 0x0502})
            .Shows("3,0"),
    });
    Refused(-2002,
            {CALL(SDOSet, 32, 9, 9), CALL(SDOSetPin, 0xFFFF, 9, 9), CALL(SDOSetTog, 32, 9, 9)});
    Refused(-2004, {CALL(mSDOSet, 0, axes, nullptr, nullptr),
                    CALL(mSDOSet, 33, nullptr, nullptr, nullptr)});
    Refused(-1702, {CALL(SDOSet, 31, 2, 9), CALL(SDOSetTog, 31, 2, 9), CALL(SDOSetPin, 31, 0, 9),
                    CALL(SDOSetPin, 31, 3, 9), CALL(mSDOSet, 1, nullptr, nullptr, nullptr)});
    Refused(-1703, {CALL(SDOSet, 31, 1, 2), CALL(SDOSetTog, 31, 1, 2), CALL(SDOSetPin, 31, 1, 2),
                    CALL(mSDOSet, 1, axes, nullptr, nullptr)});
    Refused(-1704, {CALL(mSDOSet, 1, axes, on, nullptr)});
}

TEST_F(OutputsTest, OutputSlavesByNumber)
{
    const U16 pins[] = {32, 5, 31, 5};
    const U16 states[] = {1, 1, 2, 0};
    const U16 tooHigh[] = {0, 33};
    Expect({
        Row(CALL(RDOSet, 2, 0xFFFE1234U), {0x0190, 1, 2, 0x1234, 0xFFFE}).Shows("2,-126412"),
        {CALL(RDOSetPin, 31, 31, 1), {0x0191, 1, 31, 0x1F01, 0}},
        {CALL(RDOSetPin, 0, 0, 0), {0x0191, 1, 0, 0, 0}},
        {CALL(RDOSetTogPin, 31, 30), {0x0192, 1, 31, 30}},
        {CALL(RDOSetTogPin, 0, 0), {0x0192, 1, 0, 0}},
        // Pin 32 is pin 0, any state but 1 is off, both masks may have a pin.
        Row(CALL(RDOSetPins, 4, 4, pins, states), {0x0193, 1, 4, 0x0021, 0, 0x0020, 0x8000})
            .Shows("4,4"),
        Row(CALL(RDOSetTogPins, 4, 4, pins), {0x0194, 1, 4, 0x0021, 0x8000}).Shows("4,4"),
    });
    Refused(-2002,
            {CALL(RDOSet, 32, 0), CALL(RDOSetPin, 32, 99, 9), CALL(RDOSetTogPin, 32, 99),
             CALL(RDOSetPins, 32, 0, nullptr, nullptr), CALL(RDOSetTogPins, 0xFFFF, 0, nullptr)});
    Refused(-1702,
            {CALL(RDOSetPin, 31, 32, 9), CALL(RDOSetPin, 31, -1, 9), CALL(RDOSetTogPin, 31, 32),
             CALL(RDOSetTogPin, 31, -1), CALL(RDOSetPins, 31, 0, nullptr, nullptr),
             CALL(RDOSetPins, 31, 33, nullptr, nullptr), CALL(RDOSetTogPins, 31, 33, nullptr)});
    Refused(-1703, {CALL(RDOSetPin, 31, 31, 2), CALL(RDOSetPins, 31, 1, nullptr, nullptr),
                    CALL(RDOSetTogPins, 31, 1, nullptr)});
    Refused(-3080,
            {CALL(RDOSetPins, 31, 2, tooHigh, nullptr), CALL(RDOSetTogPins, 31, 2, tooHigh)});
    Refused(-1704, {CALL(RDOSetPins, 31, 1, tooHigh, nullptr)});
}

TEST_F(OutputsTest, OutputSlavesByIndex)
{
    const unsigned int words[] = {1, 0x80000000U, 0x00020003U};
    const U16 indexes[] = {2, 0xFFFF, 0, 0x8000, 2};
    const U16 pins[] = {31, 37, 0, 64, 31};
    const U16 states[] = {1, 0, 1, 1, 7};
    Expect({
        // Under another name.
        Row(CALL(aRDOSet, 3, words), {0x0190, 3, 4, 1, 0, 9, 0, 0x8000, 31, 3, 2})
            .Line("zelQ_mRDOSet(5,3,0)"),
        Row(CALL(aRDOSetPin, 2, 31, 1), {0x0191, 1, 31, 0x1F01}).Shows("31,1"),
        Row(CALL(aRDOSetPin, 0, 0, 0), {0x0191, 1, 4, 0}).Shows("0,0"),
        // A pin over all slaves; the last of all.
        Row(CALL(aRDOSetPin, 0xFFFF, 37, 1), {0x0191, 1, 9, 0x0501}).Shows("37,1"),
        Row(CALL(aRDOSetTogPin, 1, 8), {0x0192, 1, 9, 8}).Shows("8"),
        Row(CALL(aRDOSetTogPin, 0x8000, 95), {0x0192, 1, 31, 31}).Shows("95"),
        // By slave, in ascending order; toggled twice is once.
        Row(CALL(aRDOSetPins, 5, indexes, pins, states),
            {0x0193, 3, 4, 1, 0, 0, 0, 9, 0, 0, 0x20, 0, 31, 1, 0x8000, 0, 0x8000})
            .Shows("5"),
        Row(CALL(aRDOSetTogPins, 5, indexes, pins), {0x0194, 3, 4, 1, 0, 9, 0x20, 0, 31, 1, 0x8000})
            .Shows("5"),
        Row(CALL(aRDOSetPins, 0, nullptr, nullptr, nullptr), {0x0193, 0}).Shows("0"),
        Row(CALL(aRDOSetTogPins, -3, nullptr, nullptr), {0x0194, 0}).Shows("-3"),
    });
}

TEST_F(OutputsTest, IndexesBeyondTheSlavesAreRefused)
{
    const unsigned int words[4] = {};
    const U16 index[] = {3};
    const U16 last[] = {0x7FFF};
    const U16 global[] = {0xFFFF};
    const U16 pin[] = {0};
    const U16 negativePin[] = {0xFFFF};
    const U16 pastAll[] = {96};
    Refused(-1701, {CALL(aRDOSet, 0, nullptr), CALL(aRDOSet, 33, nullptr)});
    Refused(-1703, {CALL(aRDOSetPin, 3, 99, 2), CALL(aRDOSetPin, 3, 99, -1)});
    Refused(-3080,
            {CALL(aRDOSet, 4, nullptr), CALL(aRDOSetPin, 0, 32, 1), CALL(aRDOSetPin, 0, -1, 1),
             CALL(aRDOSetPin, 3, 0, 1), CALL(aRDOSetPin, 0x7FFF, 0, 1),
             CALL(aRDOSetPin, 0xFFFF, -1, 1), CALL(aRDOSetPin, 0xFFFF, 96, 1),
             CALL(aRDOSetTogPin, 0, 32), CALL(aRDOSetTogPin, 0xFFFF, 96),
             CALL(aRDOSetPins, 1, index, pin, pin), CALL(aRDOSetPins, 1, last, pin, pin),
             CALL(aRDOSetPins, 1, global, negativePin, pin),
             CALL(aRDOSetTogPins, 1, global, pastAll)});
    Refused(-1702, {CALL(aRDOSet, 3, nullptr), CALL(aRDOSetPins, 1, nullptr, nullptr, nullptr),
                    CALL(aRDOSetTogPins, 1, nullptr, nullptr)});
    Refused(-1703,
            {CALL(aRDOSetPins, 1, pin, nullptr, nullptr), CALL(aRDOSetTogPins, 1, pin, nullptr)});
    Refused(-1704, {CALL(aRDOSetPins, 1, pin, pin, nullptr)});
    ConnectWith({});
    Refused(-3080, {CALL(aRDOSet, 1, words), CALL(aRDOSetPin, 0xFFFF, 0, 1)});
}

TEST_F(OutputsTest, MasksOf24SlavesDoNotFitIntoOneCommand)
{
    ConnectWith(std::vector<std::uint32_t>(32, 3));
    const auto indexes = Counting<U16, 32>(0);
    std::array<U16, 32> on{};
    on.fill(1);
    const U16 pins[32] = {};
    Words masks = {0x0193, 23};
    Words toggles = {0x0194, 32};
    for (U16 i = 0; i < 32; ++i) {
        if (i < 23) masks = Join({masks, {i, 1, 0, 0, 0}});
        toggles = Join({toggles, {i, 1, 0}});
    }
    Expect({
        Row(CALL(aRDOSetPins, 23, indexes.data(), pins, on.data()), masks).Shows("23"),
        Row(CALL(aRDOSetPins, 24, indexes.data(), pins, on.data())).Gives(-12).Shows("24"),
        Row(CALL(aRDOSetTogPins, 32, indexes.data(), pins), toggles).Shows("32"),
    });
}

TEST_F(OutputsTest, LinkFailKeepOut)
{
    unsigned int value = 0;
    Expect({
        Row(CALL(RDOLinkFailKeepOutSet, 0x80000001U), {0x0195, 0, 1, 0x8000}).Shows("-2147483647"),
        Row(CALL(RDOLinkFailKeepOutGet, nullptr), {0x0195, 1}).Data({7, 0}).Shows("7", "0"),
        Row(CALL(RDOLinkFailKeepOutGet, &value), {0x0195, 1})
            .Data({0x1234, 0x0005}, "332340", "0")
            .Gets(value, 0x00051234U),
    });
}

TEST_F(OutputsTest, MainBoard)
{
    const U16 pins[] = {0, 3, 7, 8, 0xFFFF};
    const U16 states[] = {1, 0, 2, 1, 0};
    const U16 twice[] = {5, 5};
    const short toggled[] = {7, 1, -1, 300};
    Expect({
        {CALL(MDOSet, 165), {0x01A0, 0x00A5}},
        {CALL(MDOSetPin, 7, 1), {0x01A1, 7, 1}},
        {CALL(MDOSetTogPin, 6), {0x01A2, 6}},
        // A state of 2 is off, pins that do not exist count for nothing, a pin may stand in both.
        Row(CALL(MDOSetPins, 5, pins, states), {0x01A3, 0x0001, 0x0088}).Shows("0,0,0"),
        Row(CALL(MDOSetPins, 1, twice, states), {0x01A3, 0x0020, 0}).Shows("0,0,0"),
        Row(CALL(MDOSetPins, 2, twice, states), {0x01A3, 0x0020, 0x0020}).Shows("0,0,0"),
        Row(CALL(MDOSetTogPins, 4, toggled), {0x01A4, 0x0082}).Shows(""),
        Row(CALL(MDOSetLimitTime, 7, 2, 0xFFFFFFFEU), {0x01A5, 7, 2, 0xFFFE, 0xFFFF})
            .Shows("7,2,-2"),
    });
    Refused(-1701, {CALL(MDOSet, 256), CALL(MDOSetPin, 8, 2), CALL(MDOSetTogPin, 8),
                    CALL(MDOSetPins, 0, nullptr, nullptr), CALL(MDOSetPins, 9, nullptr, nullptr),
                    CALL(MDOSetTogPins, 9, nullptr), CALL(MDOSetTogPins, -1, nullptr),
                    CALL(MDOSetLimitTime, 8, 3, 0),
                    CALL(MDOGetLimitTime, 8, nullptr, nullptr, nullptr, nullptr)});
    Refused(-1702, {CALL(MDOSetPin, 7, 2), CALL(MDOSetPins, 8, nullptr, nullptr),
                    CALL(MDOSetTogPins, 8, nullptr), CALL(MDOSetLimitTime, 7, 3, 0)});
    Refused(-1703, {CALL(MDOSetPins, 5, pins, nullptr)});
}

TEST_F(OutputsTest, LimitTimeIsReadBack)
{
    U16 a = 0;
    U16 b = 0;
    U16 c = 0;
    unsigned int time = 0;
    const Words packed = {0xFFE6, 0x0001, 0x8000};
    Expect({
        Row(CALL(MDOGetLimitTime, 7, &a, &b, &c, &time), {0x01A6, 7})
            .Data(packed, "7")
            .Gets(a, 3)
            .Gets(b, 2)
            .Gets(c, 9)
            .Gets(time, 0x80000001U),
        Row(CALL(MDOGetLimitTime, 7, nullptr, &b, nullptr, &time), {0x01A6, 7})
            .Data(packed, "7")
            .Gets(b, 2)
            .Gets(time, 0x80000001U),
        // Without a place for the second, none of the three is wanted.
        Row(CALL(MDOGetLimitTime, 7, &a, nullptr, &c, nullptr), {0x01A6, 7})
            .Data(packed, "7")
            .Gets(a, 0xA5A5)
            .Gets(c, 0xA5A5),
    });
}

} // namespace

} // namespace zelq::test
