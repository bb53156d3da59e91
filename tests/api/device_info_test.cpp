#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <cstring>
#include <numeric>

namespace zelq::test {

namespace {

using Info = std::array<unsigned short, 20>;

class DeviceInfoTest : public WireTest
{
  protected:
    /// Byte k of the block is 100 + k, but for a date and the size code.
    void SetBlock(int year, int month, int day)
    {
        std::array<int, 24> bytes{};
        std::iota(bytes.begin(), bytes.end(), 100);
        bytes[3] = year;
        bytes[4] = month;
        bytes[5] = day;
        Words words;
        for (std::size_t i = 0; i < bytes.size(); i += 2) {
            words.push_back(static_cast<std::uint16_t>(bytes[i + 1] << 8 | bytes[i]));
        }
        controller_.SetRegisters(0xF400, words);
    }

    static short GetInto(Info& info)
    {
        info.fill(0xA5A5);
        return zelQ_GetDevInfo(kNumber, info.data());
    }
};

TEST_F(DeviceInfoTest, BytesFindTheirWords)
{
    SetBlock(18, 12, 31);
    Info info{};
    Run({{.name = "info",
          .call = [&] { return GetInto(info); },
          .reads = {{0xF400, 12}},
          .trace = "0=zelQ_GetDevInfo(5)"}});
    EXPECT_EQ(info, (Info{112, 113, 114, 115, 116, 117,  118, 119, 120, 121,
                          122, 123, 100, 101, 102, 2018, 12,  31,  106, 0xA5A5}));
}

TEST_F(DeviceInfoTest, ImpossibleDatesLeaveNoTrace)
{
    Info info{};
    struct Date
    {
        int year, month, day;
        bool valid;
    };
    for (const Date& date :
         {Date{17, 6, 15, false}, Date{18, 1, 1, true}, Date{48, 12, 31, true},
          Date{49, 6, 15, false}, Date{20, 0, 15, false}, Date{20, 13, 15, false},
          Date{20, 6, 0, false}, Date{20, 6, 32, false}}) {
        SCOPED_TRACE(std::to_string(date.year) + "-" + std::to_string(date.month) + "-" +
                     std::to_string(date.day));
        SetBlock(date.year, date.month, date.day);
        EXPECT_EQ(GetInto(info), date.valid ? 0 : -1005);
        EXPECT_EQ(info[15], date.valid ? 2000 + date.year : 0xA5A5);
        EXPECT_EQ(capture_.Lines().size(), date.valid ? 1U : 0U);
    }
    controller_.TakeRequests();
}

TEST_F(DeviceInfoTest, FailuresAreTraced)
{
    Info info{};
    controller_.Then([](const Request& request) {
        Bytes body(23, 20);
        body[0] = 22;
        return Answer{FrameBytes(request.front().id, 3, body)};
    });
    EXPECT_EQ(GetInto(info), -12);
    EXPECT_EQ(NextTrace(), "-12=zelQ_GetDevInfo(5)");
    EXPECT_EQ(info[0], 0xA5A5);
    controller_.TakeRequests();
    ExpectNumberChecks([](short n) { return zelQ_GetDevInfo(n, nullptr); });
    ExpectRefused(-1701, {[] { return zelQ_GetDevInfo(kNumber, nullptr); }});
}

TEST_F(DeviceInfoTest, PowerResets)
{
    static unsigned int count = 7;
    controller_.SetRegisters(0xF410, {0x1170, 0x0001});
    Run({{.name = "count",
          .call = [] { return zelQ_GetPowerResetCount(kNumber, &count); },
          .reads = {{0xF410, 2}},
          .trace = "0=zelQ_GetPowerResetCount(5,70000)",
          .check = [] { EXPECT_EQ(count, 70000U); }}});
    controller_.Then([](const Request& request) {
        return Answer{FrameBytes(request.front().id, 3, {2, 0, 1})};
    });
    EXPECT_EQ(zelQ_GetPowerResetCount(kNumber, &count), -12);
    EXPECT_EQ(NextTrace(), "-12=zelQ_GetPowerResetCount(5,0)");
    EXPECT_EQ(count, 70000U);
    controller_.TakeRequests();
    ExpectNumberChecks([](short n) { return zelQ_GetPowerResetCount(n, nullptr); });
    ExpectRefused(-1701, {[] { return zelQ_GetPowerResetCount(kNumber, nullptr); }});
}

/// A text of 32 bytes that is full of 'x' before the call, as it is behind it.
struct Text
{
    std::array<char, 33> bytes;

    Text()
    {
        bytes.fill('x');
        bytes.back() = '\0';
    }
    [[nodiscard]] std::string Behind() const
    {
        return bytes.data() + std::strlen(bytes.data()) + 1;
    }
};

TEST_F(DeviceInfoTest, Names)
{
    struct Case
    {
        short type;
        unsigned short size;
        short room;
        short typeResult;
        const char* typeName;
        short modelResult;
        const char* modelName;
    };
    for (const Case& row : {
             Case{0, 8, 12, 0, "Lumo", 0, "ZEL Lumo-32"},
             Case{0, 8, 11, 0, "Lumo", -9, ""},
             Case{0, 2, 32, 0, "Lumo", 0, "ZEL Lumo-08"},
             Case{0, 65535, 32, 0, "Lumo", 0, "ZEL Lumo-262140"},
             Case{0, 8, 5, 0, "Lumo", -9, ""},
             Case{0, 8, 4, -9, "", -9, ""},
             Case{255, 8, 10, 0, "Lumo-FPGA", 0, ""},
             Case{255, 8, 9, -9, "", 0, ""},
             Case{7, 8, 1, 0, "", 0, ""},
         }) {
        SCOPED_TRACE(std::to_string(row.type) + ", room " + std::to_string(row.room));
        Text type;
        EXPECT_EQ(zelQ_GetDevTypeStr(row.type, type.bytes.data(), row.room), row.typeResult);
        EXPECT_STREQ(type.bytes.data(), row.typeName);
        EXPECT_EQ(type.Behind(), std::string(31 - std::strlen(row.typeName), 'x'));

        Info info{};
        info[12] = static_cast<unsigned short>(row.type);
        info[18] = row.size;
        Text model;
        EXPECT_EQ(zelQ_GetDevInfoToModelStr(info.data(), model.bytes.data(), row.room),
                  row.modelResult);
        EXPECT_STREQ(model.bytes.data(), row.modelName);
        EXPECT_EQ(model.Behind(), std::string(31 - std::strlen(row.modelName), 'x'));
    }
    EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
}

TEST_F(DeviceInfoTest, NamesWithoutRoom)
{
    static constexpr Info kInfo{};
    static Text text;
    for (const short size : std::initializer_list<short>{0, -1, -32768}) {
        ExpectRefused(
            -9, {[=] { return zelQ_GetDevTypeStr(7, text.bytes.data(), size); },
                 [=] { return zelQ_GetDevInfoToModelStr(kInfo.data(), text.bytes.data(), size); }});
    }
    EXPECT_EQ(std::string(text.bytes.data()), std::string(32, 'x'));
    ExpectRefused(-1700, {[] { return zelQ_GetDevInfoToModelStr(nullptr, nullptr, 0); }});
    ExpectRefused(-1701, {[] { return zelQ_GetDevTypeStr(0, nullptr, 0); },
                          [] { return zelQ_GetDevInfoToModelStr(kInfo.data(), nullptr, 0); }});
}

} // namespace

} // namespace zelq::test
