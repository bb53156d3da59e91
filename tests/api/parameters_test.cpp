#include "support/calls.h"

#include <chrono>

namespace zelq::test {

namespace {

/// Drive parameters, monitors and alarm lists.
class ParametersTest : public CallTest
{
  protected:
    const std::array<U16, 33> odd_ = {7, 40, 7}; ///< axes as callers may give them
    const U16* axes_ = odd_.data();
};

TEST_F(ParametersTest, Set)
{
    const int values[33] = {-1, 70000, 3};
    const auto all = Counting<U16, 32>(0);
    const auto numbers = Counting<int, 32>(-16);
    Words most = {0x0150, 3, 4, 32};
    for (U16 axis = 0; axis < 32; ++axis) {
        most = Join({most, {axis}, Long(axis - 16)});
    }
    Expect({
        // Class and number before the count; the line does not show the value.
        Row(CALL(ParamSet, 31, 255, 254, -2), {0x0150, 255, 254, 1, 31, 0xFFFE, 0xFFFF})
            .Shows("31,255,254,0"),
        Row(CALL(mParamSet, 3, axes_, 1, 2, values),
            Join({{0x0150, 1, 2, 3, 7}, Long(-1), {40}, Long(70000), {7}, Long(3)}))
            .Shows("3,1,2"),
        Row(CALL(mParamSet, 32, all.data(), 3, 4, numbers.data()), most).Shows("32,3,4"),
    });
    Refused(-2002, {CALL(ParamSet, 32, 256, 256, 0)});
    Refused(-1702, {CALL(ParamSet, 31, 256, 256, 0)});
    Refused(-1703, {CALL(ParamSet, 31, 255, 256, 0)});
    // For several axes the codes are others: count, class, number.
    Refused(-1703, {CALL(mParamSet, 0, nullptr, 256, 256, nullptr),
                    CALL(mParamSet, 33, nullptr, 256, 256, nullptr)});
    Refused(-1701, {CALL(mParamSet, 1, nullptr, 256, 256, nullptr)});
    Refused(-1702, {CALL(mParamSet, 1, axes_, 255, 256, nullptr),
                    CALL(mParamSet, 1, nullptr, 255, 255, nullptr)});
    Refused(-1705, {CALL(mParamSet, 1, axes_, 255, 255, nullptr)});
}

TEST_F(ParametersTest, Get)
{
    int value = 0;
    std::array<int, 33> values{};
    const auto all = Counting<U16, 32>(0);
    Words most = {0x0151, 3, 4, 32};
    most.insert(most.end(), all.begin(), all.end());
    Words data;
    std::vector<int> wanted;
    for (int i = 0; i < 32; ++i) {
        wanted.push_back(-1000 * i);
        data = Join({data, Long(-1000 * i)});
    }
    Expect({
        Row(CALL(ParamGet, 31, 255, 254, &value), {0x0151, 255, 254, 1, 31})
            .Data({0xFFFE, 0xFFFF}, "31,255,254")
            .NeedsNoData()
            .Gets(value, -2),
        Row(CALL(ParamGet, 0, 0, 0, nullptr), {0x0151, 0, 0, 1, 0})
            .Data({1, 2}, "0,0,0")
            .NeedsNoData(),
        Row(CALL(mParamGet, 2, axes_, 8, 9, values.data()), {0x0151, 8, 9, 2, 7, 40})
            .Data(Join({Long(-70000), Long(5)}), "2,8,9")
            .Fills(values, {-70000, 5}),
        Row(CALL(mParamGet, 32, all.data(), 3, 4, values.data()), most)
            .Data(data, "32,3,4")
            .Fills(values, wanted),
    });
    // The axis comes last here, and for several the count.
    Refused(-1701, {CALL(ParamGet, 32, 256, 256, nullptr),
                    CALL(mParamGet, 0, nullptr, 256, 256, nullptr)});
    Refused(-1702,
            {CALL(ParamGet, 32, 255, 256, nullptr), CALL(mParamGet, 0, nullptr, 255, 256, nullptr),
             CALL(mParamGet, 1, nullptr, 255, 255, &value)});
    Refused(-2002, {CALL(ParamGet, 32, 255, 255, nullptr)});
    Refused(-2004, {CALL(mParamGet, 0, nullptr, 255, 255, nullptr),
                    CALL(mParamGet, 33, nullptr, 255, 255, nullptr)});
    Refused(-1705, {CALL(mParamGet, 1, nullptr, 255, 255, nullptr)});
}

TEST_F(ParametersTest, CallsThatNameAxesAlone)
{
    Expect({
        {CALL(CParamValid, 31), {0x0152, 1, 31}},
        Row(CALL(mCParamValid, 3, axes_), {0x0152, 3, 7, 40, 7}).Shows("3"),
        {CALL(ParamWriteEeprom, 0), {0x0153, 1, 0}},
        Row(CALL(mParamWriteEeprom, 2, axes_), {0x0153, 2, 7, 40}).Shows("2"),
        // The lines on alarms have one number more, which is 0.
        Row(CALL(AlarmResetReq, 31), {0x0140, 1, 31}).Shows("31,0"),
        Row(CALL(mAlarmResetReq, 3, axes_), {0x0140, 3, 7, 40, 7}).Shows("3,0"),
        Row(CALL(AlarmListClear, 0), {0x0142, 1, 0}).Shows("0,0"),
        Row(CALL(mAlarmListClear, 2, axes_), {0x0142, 2, 7, 40}).Shows("2,0"),
    });
    Refused(-2002, {CALL(CParamValid, 32), CALL(ParamWriteEeprom, 32), CALL(AlarmResetReq, 32),
                    CALL(AlarmListClear, 32)});
    for (const short count : std::initializer_list<short>{0, 33}) {
        Refused(-2004,
                {CALL(mCParamValid, count, nullptr), CALL(mParamWriteEeprom, count, nullptr),
                 CALL(mAlarmResetReq, count, nullptr), CALL(mAlarmListClear, count, nullptr)});
    }
    Refused(-1702, {CALL(mCParamValid, 1, nullptr), CALL(mParamWriteEeprom, 1, nullptr),
                    CALL(mAlarmResetReq, 1, nullptr), CALL(mAlarmListClear, 1, nullptr)});
}

TEST_F(ParametersTest, IdentificationIsCopiedLowByteFirst)
{
    std::array<std::uint8_t, 81> id{};
    Words data;
    for (unsigned i = 0; i < 40; ++i) {
        data.push_back(static_cast<U16>((2 * i + 1) << 8 | 2 * i));
    }
    const auto bytes = Counting<std::uint8_t, 80>(0);
    // No count in the command.
    Expect({Row(CALL(ParamGetSysID, 2, id.data()), {0x0154, 2})
                .Data(data, "2")
                .Fills(id, {bytes.begin(), bytes.end()})});
    Refused(-2002, {CALL(ParamGetSysID, 32, nullptr)});
    Refused(-1702, {CALL(ParamGetSysID, 31, nullptr)});
}

TEST_F(ParametersTest, MonitorsAreTheControllersToJudge)
{
    const short items[] = {3, 3, -1};
    const U16 monitors[] = {0, 500, 0xFFFF};
    unsigned int value = 0;
    std::array<unsigned int, 4> values{};
    Expect({
        // The line says Get.
        Row(CALL(MonitorRead, 40, -2, &value), {0x0155, 1, 40, 0xFFFE})
            .Data({0x5678, 0x9234})
            .Line("zelQ_MonitorGet(5,40,-2)")
            .Gets(value, 0x92345678U),
        Row(CALL(mMonitorRead, 3, items, monitors, values.data()),
            {0x0155, 3, 3, 0, 3, 500, 0xFFFF, 0xFFFF})
            .Data(Join({Long(-1), Long(70000), Long(2)}))
            .Line("zelQ_MonitorGet(5,3)")
            .Fills(values, {0xFFFFFFFFU, 70000, 2}),
    });
    Refused(-2004, {CALL(mMonitorRead, 0, nullptr, nullptr, nullptr),
                    CALL(mMonitorRead, 33, nullptr, nullptr, nullptr)});
    Refused(-1704,
            {CALL(MonitorRead, 0, 0, nullptr), CALL(mMonitorRead, 1, nullptr, nullptr, nullptr)});
    Refused(-1702, {CALL(mMonitorRead, 1, nullptr, nullptr, &value)});
    Refused(-1703, {CALL(mMonitorRead, 1, items, nullptr, &value)});
}

TEST_F(ParametersTest, AlarmResetHasATimeOutOfItsOwn)
{
    using namespace std::chrono_literals;
    // The session gives a reply 6 times 5 ms, three times over; the controller takes longer.
    zelQ_TMOSet(kNumber, 1000, 5, 5);
    Forget();
    const auto late = [this](const Request& request) {
        Answer answer{controller_.ProperReply(request)};
        answer.pause = 120ms;
        return answer;
    };
    controller_.Then(late);
    ExpectOnce(Row(CALL(AlarmResetReq, 1), {0x0140, 1, 1}).Shows("1,0"));
    controller_.Then(late);
    ExpectOnce(Row(CALL(mAlarmResetReq, 1, axes_), {0x0140, 1, 7}).Shows("1,0"));
    EXPECT_EQ(controller_.Connections(), 1);

    // Nor does it wait as long as the session would: the first request is lost, the second one,
    // over a new connection, is answered.
    zelQ_TMOSet(kNumber, 1000, 2000, 2000);
    controller_.Then([](const Request&) { return Answer{}; });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(zelQ_AlarmResetReq(kNumber, 1), 0);
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, 1200ms); // 200 + 400 + 600
    EXPECT_LT(waited, 10s);    // the session's would be 12
    EXPECT_EQ(controller_.TakeRequests().size(), 2U);
}

TEST_F(ParametersTest, AlarmsAreRead)
{
    U16 no = 0;
    U16 sub = 0;
    U16 data = 0;
    Expect({
        // The number in the low byte, the sub-number in the high one; the index before the axis.
        Row(CALL(AlarmListGet, 31, 14, &no, &sub, &data), {0x0141, 1, 14, 31})
            .Data({0x0310, 0xFFFE}, "14,31")
            .Gets(no, 0x10)
            .Gets(sub, 3)
            .Gets(data, 0xFFFE),
        Row(CALL(AlarmListGet, 0, 0, nullptr, nullptr, nullptr), {0x0141, 1, 0, 0})
            .Data({1, 2}, "0,0"),
    });
    Refused(-2002, {CALL(AlarmListGet, 32, 15, nullptr, nullptr, nullptr)});
    Refused(-1702, {CALL(AlarmListGet, 31, 15, nullptr, nullptr, nullptr)});
    Refused(-2004, {CALL(mAlarmListGet, 0, nullptr, 15, nullptr, nullptr, nullptr),
                    CALL(mAlarmListGet, 33, nullptr, 15, nullptr, nullptr, nullptr)});
    Refused(-1703, {CALL(mAlarmListGet, 1, nullptr, 15, nullptr, nullptr, nullptr)});
    Refused(-1704, {CALL(mAlarmListGet, 1, nullptr, 14, nullptr, nullptr, nullptr)});
    Refused(-1705, {CALL(mAlarmListGet, 1, nullptr, 14, &no, nullptr, nullptr)});
    Refused(-1706, {CALL(mAlarmListGet, 1, nullptr, 14, &no, &sub, nullptr)});
    Refused(-1702, {CALL(mAlarmListGet, 1, nullptr, 14, &no, &sub, &data)});
}

TEST_F(ParametersTest, AlarmsOfSeveralDrivesRunOutOfRegisters)
{
    const U16 axes[] = {7, 40, 7, 0};
    std::array<U16, 4> no{};
    std::array<U16, 4> sub{};
    std::array<U16, 4> data{};
    struct Case
    {
        short count;
        Words reply; ///< one register an axis, where two are taken
        Words no, sub, data;
    };
    for (const Case& row :
         {Case{1, {0x0310}, {}, {}, {}}, Case{3, {0x0310, 11, 0x0420}, {0x10}, {3}, {11}},
          Case{4, {0x0100, 12, 0x0230, 13}, {0, 0x30}, {1, 2}, {12, 13}}}) {
        Words frame = {0x0101, 0x0141, static_cast<U16>(row.count), 14};
        frame.insert(frame.end(), axes, axes + row.count);
        Expect({Row(CALL(mAlarmListGet, row.count, axes, 14, no.data(), sub.data(), data.data()))
                    .Frames({frame})
                    .Data(row.reply)
                    .StopsWith(-1004)
                    .Line("")
                    .Fills(no, row.no)
                    .Fills(sub, row.sub)
                    .Fills(data, row.data)});
    }
    // Refused by the controller: traced, the index before the count.
    controller_.ThenResult(3);
    ExpectOnce(Row(CALL(mAlarmListGet, 2, axes, 7, no.data(), sub.data(), data.data()))
                   .Frames({{0x0101, 0x0141, 2, 7, 7, 40}}, 3)
                   .Gives(3)
                   .Shows("7,2")
                   .Fills(no, {}));
}

} // namespace

} // namespace zelq::test
