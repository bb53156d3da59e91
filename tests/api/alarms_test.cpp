#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <numeric>
#include <thread>

namespace zelq::test {

namespace {

class AlarmsTest : public WireTest
{
  protected:
    static constexpr std::array<unsigned short, 33> kAxes = {9, 40, 9};

    std::array<unsigned short, 4> numbers_ = {777, 777, 777, 777};
    std::array<unsigned short, 4> subNumbers_ = {777, 777, 777, 777};
    std::array<unsigned short, 4> data_ = {777, 777, 777, 777};

    short GetOne(short zelNo, unsigned short axis, unsigned short index)
    {
        return zelQ_AlarmListGet(zelNo, axis, index, numbers_.data(), subNumbers_.data(),
                                 data_.data());
    }

    short GetSeveral(short zelNo, short count, unsigned short index)
    {
        return zelQ_mAlarmListGet(static_cast<unsigned short>(zelNo), count, kAxes.data(), index,
                                  numbers_.data(), subNumbers_.data(), data_.data());
    }
};

TEST_F(AlarmsTest, ResetAndClearNameTheAxes)
{
    Run({
        {.name = "reset one; the line's fourth number is 0",
         .call = [] { return zelQ_AlarmResetReq(kNumber, 31); },
         .frames = {{0x0101, 0x0140, 1, 31}},
         .trace = "0=zelQ_AlarmResetReq(5,31,0)"},
        {.name = "reset several, whatever they are",
         .call = [] { return zelQ_mAlarmResetReq(kNumber, 3, kAxes.data()); },
         .frames = {{0x0101, 0x0140, 3, 9, 40, 9}},
         .trace = "0=zelQ_mAlarmResetReq(5,3,0)"},
        {.name = "clear one",
         .call = [] { return zelQ_AlarmListClear(kNumber, 0); },
         .frames = {{0x0101, 0x0142, 1, 0}},
         .trace = "0=zelQ_AlarmListClear(5,0,0)"},
        {.name = "clear several; the controller's result",
         .call = [] { return zelQ_mAlarmListClear(kNumber, 2, kAxes.data()); },
         .result = 3,
         .frames = {{0x0101, 0x0142, 2, 9, 40}},
         .controllerResult = 3,
         .trace = "3=zelQ_mAlarmListClear(5,2,0)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_AlarmResetReq(n, 99); });
    ExpectNumberChecks([](short n) { return zelQ_mAlarmResetReq(n, 0, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_AlarmListClear(n, 99); });
    ExpectNumberChecks([](short n) { return zelQ_mAlarmListClear(n, 0, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_AlarmResetReq(kNumber, 32); },
                          [] { return zelQ_AlarmListClear(kNumber, 32); }});
    ExpectRefused(-2004, {[] { return zelQ_mAlarmResetReq(kNumber, 0, nullptr); },
                          [] { return zelQ_mAlarmResetReq(kNumber, 33, kAxes.data()); },
                          [] { return zelQ_mAlarmListClear(kNumber, 0, nullptr); },
                          [] { return zelQ_mAlarmListClear(kNumber, 33, kAxes.data()); }});
    ExpectRefused(-1702, {[] { return zelQ_mAlarmResetReq(kNumber, 1, nullptr); },
                          [] { return zelQ_mAlarmListClear(kNumber, 1, nullptr); }});
}

TEST_F(AlarmsTest, ResetWaitsLongerThanTheSessionDoes)
{
    using namespace std::chrono_literals;
    // The session gives a reply 6 times 5 ms, three times over; the controller takes longer.
    zelQ_TMOSet(kNumber, 1000, 5, 5);
    capture_.Lines();
    const int connections = controller_.Connections();
    const auto lateAnswer = [this](const Request& request) {
        std::this_thread::sleep_for(120ms);
        return Answer{controller_.ProperReply(request)};
    };
    controller_.Then(lateAnswer);
    controller_.Then(lateAnswer);
    Run({
        {.name = "one",
         .call = [] { return zelQ_AlarmResetReq(kNumber, 1); },
         .frames = {{0x0101, 0x0140, 1, 1}},
         .trace = "0=zelQ_AlarmResetReq(5,1,0)"},
        {.name = "several",
         .call = [] { return zelQ_mAlarmResetReq(kNumber, 1, kAxes.data()); },
         .frames = {{0x0101, 0x0140, 1, 9}},
         .trace = "0=zelQ_mAlarmResetReq(5,1,0)"},
    });
    EXPECT_EQ(controller_.Connections(), connections);
}

TEST_F(AlarmsTest, ResetDoesNotWaitAsLongAsTheSessionWould)
{
    using namespace std::chrono_literals;
    zelQ_TMOSet(kNumber, 1000, 30'000, 30'000);
    capture_.Lines();
    const auto silence = [](const Request&) { return Answer{}; };
    controller_.Then(silence);
    const auto begin = std::chrono::steady_clock::now();
    // The first request is lost; the second one, over a new connection, is answered.
    EXPECT_EQ(zelQ_AlarmResetReq(kNumber, 1), 0);
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, 1200ms); // 200 + 400 + 600
    EXPECT_LT(waited, 10s);
    EXPECT_EQ(controller_.TakeRequests().size(), 2U);
}

TEST_F(AlarmsTest, OneEntryIsRead)
{
    Run({
        {.name = "number in the low byte, sub-number in the high one",
         .call = [this] { return GetOne(kNumber, 31, 14); },
         .frames = {{0x0101, 0x0141, 1, 14, 31}},
         .readQuantity = 3,
         .data = {0x0310, 0xFFFE},
         .trace = "0=zelQ_AlarmListGet(5,14,31)",
         .check =
             [this] {
                 EXPECT_EQ(numbers_[0], 0x10);
                 EXPECT_EQ(subNumbers_[0], 3);
                 EXPECT_EQ(data_[0], 0xFFFE);
             }},
        {.name = "into nothing",
         .call = [] { return zelQ_AlarmListGet(kNumber, 0, 0, nullptr, nullptr, nullptr); },
         .frames = {{0x0101, 0x0141, 1, 0, 0}},
         .readQuantity = 3,
         .trace = "0=zelQ_AlarmListGet(5,0,0)"},
        {.name = "refused by the controller: nothing is written",
         .call = [this] { return GetOne(kNumber, 1, 2); },
         .result = 3,
         .frames = {{0x0101, 0x0141, 1, 2, 1}},
         .readQuantity = 3,
         .controllerResult = 3,
         .trace = "3=zelQ_AlarmListGet(5,2,1)",
         .check = [this] { EXPECT_EQ(numbers_[0], 0x10); }},
    });
    ExpectNumberChecks([this](short n) { return GetOne(n, 99, 99); });
    ExpectRefused(-2002, {[this] { return GetOne(kNumber, 32, 15); }});
    ExpectRefused(-1702, {[this] { return GetOne(kNumber, 31, 15); }});
}

TEST_F(AlarmsTest, EntriesOfSeveralDrivesRunOutOfRegisters)
{
    using Values = std::array<unsigned short, 4>;
    Run({
        {.name = "one axis: half an entry, nothing is stored",
         .call = [this] { return GetSeveral(kNumber, 1, 0); },
         .result = -1004,
         .frames = {{0x0101, 0x0141, 1, 0, 9}},
         .readQuantity = 2,
         .data = {0x0310},
         .check =
             [this] {
                 EXPECT_EQ(numbers_, (Values{777, 777, 777, 777}));
             }},
        {.name = "three axes: one entry",
         .call = [this] { return GetSeveral(kNumber, 3, 14); },
         .result = -1004,
         .frames = {{0x0101, 0x0141, 3, 14, 9, 40, 9}},
         .readQuantity = 4,
         .data = {0x0310, 11, 0x0420},
         .check =
             [this] {
                 EXPECT_EQ(numbers_, (Values{0x10, 777, 777, 777}));
                 EXPECT_EQ(subNumbers_, (Values{3, 777, 777, 777}));
                 EXPECT_EQ(data_, (Values{11, 777, 777, 777}));
             }},
        {.name = "four axes: two entries",
         .call = [this] { return GetSeveral(kNumber, 4, 1); },
         .result = -1004,
         .frames = {{0x0101, 0x0141, 4, 1, 9, 40, 9, 0}},
         .readQuantity = 5,
         .data = {0x0100, 12, 0x0230, 13},
         .check =
             [this] {
                 EXPECT_EQ(numbers_, (Values{0, 0x30, 777, 777}));
                 EXPECT_EQ(subNumbers_, (Values{1, 2, 777, 777}));
                 EXPECT_EQ(data_, (Values{12, 13, 777, 777}));
             }},
        {.name = "refused by the controller: the index is traced before the count",
         .call = [this] { return GetSeveral(kNumber, 2, 7); },
         .result = 3,
         .frames = {{0x0101, 0x0141, 2, 7, 9, 40}},
         .readQuantity = 3,
         .controllerResult = 3,
         .trace = "3=zelQ_mAlarmListGet(5,7,2)"},
    });
}

TEST_F(AlarmsTest, EntriesOfSeveralDrivesAreCheckedInOrder)
{
    unsigned short* out = data_.data();
    const auto get = [](short count, unsigned short index, const unsigned short* axes,
                        unsigned short* number, unsigned short* subNumber, unsigned short* data) {
        return zelQ_mAlarmListGet(kNumber, count, axes, index, number, subNumber, data);
    };
    ExpectNumberChecks([this](short n) { return GetSeveral(n, 0, 99); });
    ExpectRefused(-2004, {[&] { return get(0, 15, nullptr, nullptr, nullptr, nullptr); },
                          [&] { return get(33, 15, nullptr, nullptr, nullptr, nullptr); }});
    ExpectRefused(-1703, {[&] { return get(1, 15, nullptr, nullptr, nullptr, nullptr); }});
    ExpectRefused(-1704, {[&] { return get(1, 14, nullptr, nullptr, nullptr, nullptr); }});
    ExpectRefused(-1705, {[&] { return get(1, 14, nullptr, out, nullptr, nullptr); }});
    ExpectRefused(-1706, {[&] { return get(1, 14, nullptr, out, out, nullptr); }});
    ExpectRefused(-1702, {[&] { return get(1, 14, nullptr, out, out, out); }});
}

} // namespace

} // namespace zelq::test
