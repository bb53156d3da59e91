#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <numeric>

namespace zelq::test {

namespace {

using ParametersTest = WireTest;

constexpr std::array<unsigned short, 33> kAxes = {7, 40, 7};

TEST_F(ParametersTest, Set)
{
    static constexpr std::array<int, 33> kValues = {-1, 70000, 3};
    Run({
        {.name = "one: class and number before the count; the line does not show the value",
         .call = [] { return zelQ_ParamSet(kNumber, 31, 255, 254, -2); },
         .frames = {{0x0101, 0x0150, 255, 254, 1, 31, 0xFFFE, 0xFFFF}},
         .trace = "0=zelQ_ParamSet(5,31,255,254,0)"},
        {.name = "several, axes as given",
         .call = [] { return zelQ_mParamSet(kNumber, 3, kAxes.data(), 1, 2, kValues.data()); },
         .result = 80,
         .frames = {Join(
             {{0x0101, 0x0150, 1, 2, 3, 7}, Long(-1), {40}, Long(70000), {7}, Long(3)})},
         .controllerResult = 80,
         .trace = "80=zelQ_mParamSet(5,3,1,2)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_ParamSet(n, 99, 999, 999, 0); });
    ExpectNumberChecks([](short n) { return zelQ_mParamSet(n, 0, nullptr, 999, 999, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_ParamSet(kNumber, 32, 256, 256, 0); }});
    ExpectRefused(-1702, {[] { return zelQ_ParamSet(kNumber, 31, 256, 256, 0); }});
    ExpectRefused(-1703, {[] { return zelQ_ParamSet(kNumber, 31, 255, 256, 0); }});
    // For several axes the codes are others: count, class, number.
    ExpectRefused(-1703, {[] { return zelQ_mParamSet(kNumber, 0, nullptr, 256, 256, nullptr); },
                          [] { return zelQ_mParamSet(kNumber, 33, nullptr, 256, 256, nullptr); }});
    ExpectRefused(-1701, {[] { return zelQ_mParamSet(kNumber, 1, nullptr, 256, 256, nullptr); }});
    ExpectRefused(-1702,
                  {[] { return zelQ_mParamSet(kNumber, 1, kAxes.data(), 255, 256, nullptr); },
                   [] { return zelQ_mParamSet(kNumber, 1, nullptr, 255, 255, nullptr); }});
    ExpectRefused(-1705,
                  {[] { return zelQ_mParamSet(kNumber, 1, kAxes.data(), 255, 255, nullptr); }});
}

TEST_F(ParametersTest, ThirtyTwoAxesFitIntoOneFrame)
{
    std::array<unsigned short, 32> axes{};
    std::iota(axes.begin(), axes.end(), std::uint16_t{0});
    std::array<int, 32> values{};
    std::iota(values.begin(), values.end(), -16);
    Words registers = {0x0101, 0x0150, 3, 4, 32};
    for (std::uint16_t axis = 0; axis < 32; ++axis) {
        registers = Join({registers, {axis}, Long(axis - 16)});
    }
    Run({{.name = "set",
          .call = [&] { return zelQ_mParamSet(kNumber, 32, axes.data(), 3, 4, values.data()); },
          .frames = {registers},
          .trace = "0=zelQ_mParamSet(5,32,3,4)"}});
    EXPECT_EQ(registers.size(), 101U);

    Words request = {0x0101, 0x0151, 3, 4, 32};
    request.insert(request.end(), axes.begin(), axes.end());
    Words data;
    for (int i = 0; i < 32; ++i) {
        data = Join({data, Long(-1000 * i)});
    }
    Run({{.name = "get",
          .call = [&] { return zelQ_mParamGet(kNumber, 32, axes.data(), 3, 4, values.data()); },
          .frames = {request},
          .readQuantity = 65,
          .data = data,
          .trace = "0=zelQ_mParamGet(5,32,3,4)"}});
    EXPECT_EQ(values[0], 0);
    EXPECT_EQ(values[31], -31000);
}

TEST_F(ParametersTest, Get)
{
    int value = 777;
    std::array<int, 3> values = {777, 777, 777};
    Run({
        {.name = "one",
         .call = [&] { return zelQ_ParamGet(kNumber, 31, 255, 254, &value); },
         .frames = {{0x0101, 0x0151, 255, 254, 1, 31}},
         .readQuantity = 3,
         .data = {0xFFFE, 0xFFFF},
         .trace = "0=zelQ_ParamGet(5,31,255,254)",
         .check = [&] { EXPECT_EQ(value, -2); }},
        {.name = "into nothing",
         .call = [] { return zelQ_ParamGet(kNumber, 0, 0, 0, nullptr); },
         .frames = {{0x0101, 0x0151, 0, 0, 1, 0}},
         .readQuantity = 3,
         .trace = "0=zelQ_ParamGet(5,0,0,0)"},
        {.name = "refused by the controller: nothing is written",
         .call = [&] { return zelQ_ParamGet(kNumber, 1, 2, 3, &value); },
         .result = 81,
         .frames = {{0x0101, 0x0151, 2, 3, 1, 1}},
         .readQuantity = 3,
         .data = {},
         .controllerResult = 81,
         .trace = "81=zelQ_ParamGet(5,1,2,3)",
         .check = [&] { EXPECT_EQ(value, -2); }},
        {.name = "several, in the order of the axes",
         .call = [&] { return zelQ_mParamGet(kNumber, 2, kAxes.data(), 8, 9, values.data()); },
         .frames = {{0x0101, 0x0151, 8, 9, 2, 7, 40}},
         .readQuantity = 5,
         .data = Join({Long(-70000), Long(5)}),
         .trace = "0=zelQ_mParamGet(5,2,8,9)",
         .check =
             [&] {
                 EXPECT_EQ(values, (std::array<int, 3>{-70000, 5, 777}));
             }},
    });
    ExpectNumberChecks([](short n) { return zelQ_ParamGet(n, 99, 999, 999, nullptr); });
    ExpectNumberChecks([](short n) {
        return zelQ_mParamGet(static_cast<unsigned short>(n), 0, nullptr, 999, 999, nullptr);
    });
    // The axis comes last here, and for several the count.
    ExpectRefused(-1701, {[] { return zelQ_ParamGet(kNumber, 32, 256, 256, nullptr); },
                          [] { return zelQ_mParamGet(kNumber, 0, nullptr, 256, 256, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_ParamGet(kNumber, 32, 255, 256, nullptr); },
                          [] { return zelQ_mParamGet(kNumber, 0, nullptr, 255, 256, nullptr); },
                          [&] { return zelQ_mParamGet(kNumber, 1, nullptr, 255, 255, &value); }});
    ExpectRefused(-2002, {[] { return zelQ_ParamGet(kNumber, 32, 255, 255, nullptr); }});
    ExpectRefused(-2004, {[] { return zelQ_mParamGet(kNumber, 0, nullptr, 255, 255, nullptr); },
                          [] { return zelQ_mParamGet(kNumber, 33, nullptr, 255, 255, nullptr); }});
    ExpectRefused(-1705, {[] { return zelQ_mParamGet(kNumber, 1, nullptr, 255, 255, nullptr); }});
}

TEST_F(ParametersTest, ValidationAndSaving)
{
    Run({
        {.name = "validate one",
         .call = [] { return zelQ_CParamValid(kNumber, 31); },
         .frames = {{0x0101, 0x0152, 1, 31}},
         .trace = "0=zelQ_CParamValid(5,31)"},
        {.name = "validate several",
         .call = [] { return zelQ_mCParamValid(kNumber, 3, kAxes.data()); },
         .frames = {{0x0101, 0x0152, 3, 7, 40, 7}},
         .trace = "0=zelQ_mCParamValid(5,3)"},
        {.name = "save one",
         .call = [] { return zelQ_ParamWriteEeprom(kNumber, 0); },
         .frames = {{0x0101, 0x0153, 1, 0}},
         .trace = "0=zelQ_ParamWriteEeprom(5,0)"},
        {.name = "save several",
         .call = [] { return zelQ_mParamWriteEeprom(kNumber, 2, kAxes.data()); },
         .result = 3,
         .frames = {{0x0101, 0x0153, 2, 7, 40}},
         .controllerResult = 3,
         .trace = "3=zelQ_mParamWriteEeprom(5,2)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_CParamValid(n, 99); });
    ExpectNumberChecks([](short n) { return zelQ_mCParamValid(n, 0, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_ParamWriteEeprom(n, 99); });
    ExpectNumberChecks([](short n) { return zelQ_mParamWriteEeprom(n, 0, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_CParamValid(kNumber, 32); },
                          [] { return zelQ_ParamWriteEeprom(kNumber, 32); }});
    ExpectRefused(-2004, {[] { return zelQ_mCParamValid(kNumber, 0, nullptr); },
                          [] { return zelQ_mCParamValid(kNumber, 33, kAxes.data()); },
                          [] { return zelQ_mParamWriteEeprom(kNumber, 0, nullptr); },
                          [] { return zelQ_mParamWriteEeprom(kNumber, 33, kAxes.data()); }});
    ExpectRefused(-1702, {[] { return zelQ_mCParamValid(kNumber, 1, nullptr); },
                          [] { return zelQ_mParamWriteEeprom(kNumber, 1, nullptr); }});
}

TEST_F(ParametersTest, IdentificationIsCopiedLowByteFirst)
{
    std::array<unsigned char, 81> id{};
    id.fill(0xA5);
    Words data;
    for (unsigned i = 0; i < 40; ++i) {
        data.push_back(static_cast<std::uint16_t>((2 * i + 1) << 8 | 2 * i));
    }
    Run({
        {.name = "refused by the controller: nothing is written",
         .call = [&] { return zelQ_ParamGetSysID(kNumber, 31, id.data()); },
         .result = 3,
         .frames = {{0x0101, 0x0154, 31}},
         .readQuantity = 41,
         .controllerResult = 3,
         .trace = "3=zelQ_ParamGetSysID(5,31)",
         .check = [&] { EXPECT_EQ(id[0], 0xA5); }},
        {.name = "no count in the command",
         .call = [&] { return zelQ_ParamGetSysID(kNumber, 2, id.data()); },
         .frames = {{0x0101, 0x0154, 2}},
         .readQuantity = 41,
         .data = data,
         .trace = "0=zelQ_ParamGetSysID(5,2)",
         .check =
             [&] {
                 for (std::size_t i = 0; i < 80; ++i) {
                     EXPECT_EQ(id[i], i);
                 }
                 EXPECT_EQ(id[80], 0xA5);
             }},
    });
    ExpectNumberChecks([](short n) { return zelQ_ParamGetSysID(n, 99, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_ParamGetSysID(kNumber, 32, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_ParamGetSysID(kNumber, 31, nullptr); }});
}

TEST_F(ParametersTest, Monitors)
{
    static constexpr std::array<short, 33> kItems = {3, 3, -1};
    static constexpr std::array<unsigned short, 33> kMonitors = {0, 500, 0xFFFF};
    unsigned int value = 777;
    std::array<unsigned int, 4> values = {777, 777, 777, 777};
    Run({
        {.name = "axis and monitor are the controller's to judge; the line says Get",
         .call = [&] { return zelQ_MonitorRead(kNumber, 40, -2, &value); },
         .frames = {{0x0101, 0x0155, 1, 40, 0xFFFE}},
         .readQuantity = 3,
         .data = {0x5678, 0x9234},
         .trace = "0=zelQ_MonitorGet(5,40,-2)",
         .check = [&] { EXPECT_EQ(value, 0x92345678U); }},
        {.name = "refused by the controller: nothing is written",
         .call = [&] { return zelQ_MonitorRead(kNumber, -1, 1, &value); },
         .result = 3,
         .frames = {{0x0101, 0x0155, 1, 0xFFFF, 1}},
         .readQuantity = 3,
         .controllerResult = 3,
         .trace = "3=zelQ_MonitorGet(5,-1,1)",
         .check = [&] { EXPECT_EQ(value, 0x92345678U); }},
        {.name = "several items, axes may repeat",
         .call =
             [&] {
                 return zelQ_mMonitorRead(kNumber, 3, kItems.data(), kMonitors.data(),
                                          values.data());
             },
         .frames = {{0x0101, 0x0155, 3, 3, 0, 3, 500, 0xFFFF, 0xFFFF}},
         .readQuantity = 7,
         .data = Join({Long(-1), Long(70000), Long(2)}),
         .trace = "0=zelQ_MonitorGet(5,3)",
         .check =
             [&] {
                 EXPECT_EQ(values, (std::array<unsigned int, 4>{0xFFFFFFFFU, 70000, 2, 777}));
             }},
    });
    ExpectNumberChecks([](short n) { return zelQ_MonitorRead(n, 99, 0, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_mMonitorRead(n, 0, nullptr, nullptr, nullptr); });
    ExpectRefused(-2004,
                  {[] { return zelQ_mMonitorRead(kNumber, 0, nullptr, nullptr, nullptr); },
                   [] { return zelQ_mMonitorRead(kNumber, 33, nullptr, nullptr, nullptr); }});
    ExpectRefused(-1704, {[] { return zelQ_MonitorRead(kNumber, 0, 0, nullptr); },
                          [] { return zelQ_mMonitorRead(kNumber, 1, nullptr, nullptr, nullptr); }});
    ExpectRefused(-1702, {[&] { return zelQ_mMonitorRead(kNumber, 1, nullptr, nullptr, &value); }});
    ExpectRefused(-1703,
                  {[&] { return zelQ_mMonitorRead(kNumber, 1, kItems.data(), nullptr, &value); }});
}

} // namespace

} // namespace zelq::test
