#include "support/calls.h"

#include <chrono>
#include <ctime>

namespace zelq::test {

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

using ConnectionTest = CallTest;

TEST_F(ConnectionTest, ConnectReadsSlavesAndCounterOnANewConnection)
{
    std::vector<Read> reads = TypeReads();
    reads.push_back({0xF414, 1});
    controller_.SetSlaveTypes({1});
    controller_.SetRegister(0xF414, 0x0003);
    ExpectOnce(Row(CALL(Connect, 127, 0, 0)).Reads(reads));
    EXPECT_EQ(controller_.Connections(), 2);
    ControllerStatus status;
    ExpectOnce(Row(CALL(GetAllStatus, &status)).Shows("").Reads({{0xF414, 3}, {0x0000, 18}}));

    // What it gives is the counter's read, not the slaves', which are then still those of before.
    controller_.Then(StrayReply);
    ThenProperReply();
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 0, 1.0), 0);
    ThenProperReply();
    controller_.Then(StrayReply);
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), -12);
}

TEST_F(ConnectionTest, FailedConnectsLeaveAKnownButClosedController)
{
    constexpr short kClosed = 77;
    EXPECT_EQ(zelQ_TMOSet(kClosed, 1, 1, 1), -3);
    ScriptedController gone(kClosed);
    ASSERT_EQ(zelQ_SetNetPortNum(kClosed, gone.Port()), 0);
    gone.StopListening();
    Forget();
    const auto start = steady_clock::now();
    EXPECT_EQ(zelQ_Connect(kClosed, 127, 0, 0), -1);
    EXPECT_EQ(NextTrace(), "-1=zelQ_Connect(77,127,0,0)");
    EXPECT_EQ(zelQ_MoveAbs(kClosed, 0, 1.0), -4);
    EXPECT_EQ(NextTrace(), "-4=zelQ_MoveAbs(77,0,1)");
    EXPECT_EQ(zelQ_Connect(kClosed, 127, 0, 256), -1);
    EXPECT_EQ(NextTrace(), "-1=zelQ_Connect(77,127,0,256)");
    EXPECT_EQ(zelQ_Connect(kClosed, -127, 0, 0), -1);
    EXPECT_EQ(NextTrace(), "-1=zelQ_Connect(77,-127,0,0)");
    // A refusal is no time-out, and no name is looked up.
    EXPECT_LT(steady_clock::now() - start, 2s);
    for (const short number : std::initializer_list<short>{0, 255, -1}) {
        EXPECT_EQ(zelQ_Connect(number, 127, 0, 0), -2);
        EXPECT_EQ(zelQ_SetNetPortNum(number, 1), -2);
        EXPECT_EQ(zelQ_PingCheck(number, 127, 0, 0, 10), -2);
    }
    EXPECT_TRUE(capture_.Lines().empty());
}

TEST_F(ConnectionTest, DisconnectKeepsTheSession)
{
    SetUnits({{1, 0.5}});
    zelQ_Disconnect(kNumber);
    EXPECT_EQ(NextTrace(), "zelQ_Disconnect(5)");
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -4);
    EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, 1), 0.5);
    Forget();
    zelQ_Disconnect(0);
    zelQ_Disconnect(255);
    zelQ_Disconnect(kUnknown);
    EXPECT_TRUE(capture_.Lines().empty());
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
}

TEST_F(ConnectionTest, TimeOutsAndPort)
{
    U16 connect = 0;
    U16 send = 0;
    U16 receive = 0;
    Expect({
        Row(CALL(TMOSet, 500, 0, -1)),
        // Kept without sign.
        Row(CALL(TMOGet, &connect, &send, &receive))
            .Shows("")
            .Gets(connect, 500)
            .Gets(send, 0)
            .Gets(receive, 65535),
        Row(CALL(TMOGet, nullptr, nullptr, nullptr)).Shows(""),
    });
    // A port may be set before any session; a negative one is the usual.
    EXPECT_EQ(zelQ_SetNetPortNum(kUnknown, 5020), 0);
    EXPECT_EQ(NextTrace(), "0=zelQ_SetNetPortNum(6,5020)");
    EXPECT_EQ(zelQ_SetNetPortNum(kUnknown, -1), 0);
    EXPECT_EQ(NextTrace(), "0=zelQ_SetNetPortNum(6,502)");
}

TEST_F(ConnectionTest, SendAndReceiveTimesOfZeroMeanThirtyMilliseconds)
{
    ASSERT_EQ(zelQ_TMOSet(kNumber, 1000, 0, 0), 0);
    const auto start = steady_clock::now();
    for (int i = 0; i < 3; ++i) {
        controller_.Then([](const Request&) { return Answer{}; });
    }
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -7);
    EXPECT_GE(steady_clock::now() - start, 540ms); // three times 30, 60 and 90
}

TEST_F(ConnectionTest, Ping)
{
    const short result = zelQ_PingCheck(7, 127, 0, 0, 1000);
    if (result == 0) {
        EXPECT_EQ(NextTrace(), "Host : 127.0.0.7");
    } else {
        // This system lets the process send no echo: then nothing is traced either.
        EXPECT_EQ(result, -5);
        EXPECT_TRUE(capture_.Lines().empty());
    }
}

TEST_F(ConnectionTest, LinesCarryTheLocalTime)
{
    const auto now = [] {
        const std::time_t seconds = std::time(nullptr);
        char text[16] = {};
        std::strftime(text, sizeof(text), "%Y%m%d%H%M%S", std::localtime(&seconds));
        return std::string(text).substr(2); // two digits of the year
    };
    const std::string before = now();
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    const std::string line = capture_.Next();
    const std::string after = now();
    ASSERT_GE(line.size(), 17U);
    const std::string stamp = line.substr(5, 12);
    EXPECT_LE(before, stamp);
    EXPECT_LE(stamp, after);
}

using Info = std::array<U16, 20>;

class DeviceInfoTest : public CallTest
{
  protected:
    /// Byte k of the block is 100 + k, but for a date.
    void SetBlock(const std::array<int, 3>& date)
    {
        auto bytes = Counting<int, 24>(100);
        std::copy(date.begin(), date.end(), bytes.begin() + 3);
        Words words;
        for (std::size_t i = 0; i < bytes.size(); i += 2) {
            words.push_back(static_cast<U16>(bytes[i + 1] << 8 | bytes[i]));
        }
        controller_.SetRegisters(0xF400, words);
    }
};

TEST_F(DeviceInfoTest, BytesFindTheirWordsAndImpossibleDatesLeaveNoTrace)
{
    using Date = std::array<int, 3>;
    Info info{};
    for (const Date& date : {Date{18, 12, 31}, Date{18, 1, 1}, Date{48, 12, 31}}) {
        SetBlock(date);
        const auto part = [&date](std::size_t i) { return static_cast<U16>(date.at(i)); };
        const auto year = static_cast<U16>(2000 + date[0]);
        Expect({Row(CALL(GetDevInfo, info.data()))
                    .Reads({{0xF400, 12}}, "")
                    .Fills(info, {112, 113, 114, 115, 116, 117, 118, 119, 120, 121, 122, 123, 100,
                                  101, 102, year, part(1), part(2), 106})});
    }
    for (const Date& date : {Date{17, 6, 15}, Date{49, 6, 15}, Date{20, 0, 15}, Date{20, 13, 15},
                             Date{20, 6, 0}, Date{20, 6, 32}}) {
        SetBlock(date);
        Expect({Row(CALL(GetDevInfo, info.data()))
                    .Reads({{0xF400, 12}})
                    .Line("")
                    .Gives(-1005)
                    .Fills(info, {})});
    }
    Refused(-1701, {CALL(GetDevInfo, nullptr), CALL(GetPowerResetCount, nullptr)});
}

TEST_F(DeviceInfoTest, PowerResets)
{
    unsigned int count = 0;
    controller_.SetRegisters(0xF410, {0x1170, 0x0001});
    Expect({Row(CALL(GetPowerResetCount, &count))
                .Reads({{0xF410, 2}}, "70000", "0")
                .Gets(count, 70000U)});
}

/// A text of 32 bytes that is full of 'x' before the call, as it is behind it.
struct Text
{
    char bytes[33];

    Text()
    {
        std::fill_n(bytes, 32, 'x');
        bytes[32] = '\0';
    }
    void Expect(const std::string& text) const
    {
        EXPECT_EQ(std::string(bytes), text);
        EXPECT_EQ(std::string(bytes + text.size() + 1), std::string(31 - text.size(), 'x'));
    }
};

TEST_F(DeviceInfoTest, Names)
{
    struct Case
    {
        short type;
        U16 size;
        short room;
        short typeResult;
        std::string typeName;
        short modelResult;
        std::string modelName;
    };
    for (const Case& row :
         {Case{0, 8, 12, 0, "Lumo", 0, "ZEL Lumo-32"}, Case{0, 8, 11, 0, "Lumo", -9, ""},
          Case{0, 2, 32, 0, "Lumo", 0, "ZEL Lumo-08"},
          Case{0, 65535, 32, 0, "Lumo", 0, "ZEL Lumo-262140"}, Case{0, 8, 5, 0, "Lumo", -9, ""},
          Case{0, 8, 4, -9, "", -9, ""}, Case{255, 8, 10, 0, "Lumo-FPGA", 0, ""},
          Case{255, 8, 9, -9, "", 0, ""}, Case{7, 8, 1, 0, "", 0, ""}}) {
        SCOPED_TRACE(std::to_string(row.type) + ", room " + std::to_string(row.room));
        Text type;
        EXPECT_EQ(zelQ_GetDevTypeStr(row.type, type.bytes, row.room), row.typeResult);
        type.Expect(row.typeName);
        Info info{};
        info[12] = static_cast<U16>(row.type);
        info[18] = row.size;
        Text model;
        EXPECT_EQ(zelQ_GetDevInfoToModelStr(info.data(), model.bytes, row.room), row.modelResult);
        model.Expect(row.modelName);
    }
    const Info info{};
    Text text;
    for (const short size : std::initializer_list<short>{0, -1, -32768}) {
        EXPECT_EQ(zelQ_GetDevTypeStr(7, text.bytes, size), -9);
        EXPECT_EQ(zelQ_GetDevInfoToModelStr(info.data(), text.bytes, size), -9);
    }
    EXPECT_EQ(std::string(text.bytes), std::string(32, 'x'));
    EXPECT_EQ(zelQ_GetDevInfoToModelStr(nullptr, nullptr, 0), -1700);
    EXPECT_EQ(zelQ_GetDevInfoToModelStr(info.data(), nullptr, 0), -1701);
    EXPECT_EQ(zelQ_GetDevTypeStr(0, nullptr, 0), -1701);
    EXPECT_TRUE(capture_.Lines().empty());
}

} // namespace

} // namespace zelq::test
