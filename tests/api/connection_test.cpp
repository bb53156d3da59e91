#include "support/wire_test.h"
#include "zelq.h"

#include <chrono>

namespace zelq::test {

namespace {

using ConnectionTest = WireTest;

/// The 32 reads of the slave types, then the configuration counter.
std::vector<Read> ConnectReads()
{
    std::vector<Read> reads;
    for (std::uint16_t axis = 0; axis < 32; ++axis) {
        reads.push_back({static_cast<std::uint16_t>(axis << 8 | 0x38), 2});
    }
    reads.push_back({0xF414, 1});
    return reads;
}

TEST_F(ConnectionTest, ConnectReadsSlavesAndCounter)
{
    Run({{.name = "again, on a new connection",
          .call = [] { return zelQ_Connect(kNumber, 127, 0, 0); },
          .reads = ConnectReads(),
          .trace = "0=zelQ_Connect(5,127,0,0)"}});
    EXPECT_EQ(controller_.Connections(), 2);
}

TEST_F(ConnectionTest, ConnectReportsTheCounterReadNotTheSlaveRead)
{
    controller_.Then(StrayReply);
    controller_.Then(
        [this](const Request& request) { return Answer{controller_.ProperReply(request)}; });
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    // The slaves of before are still known.
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 7, 1.0), 0);

    controller_.Then(
        [this](const Request& request) { return Answer{controller_.ProperReply(request)}; });
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
    capture_.Lines();
    const auto start = std::chrono::steady_clock::now();
    Run({{.name = "refused",
          .call = [] { return zelQ_Connect(kClosed, 127, 0, 0); },
          .result = -1,
          .trace = "-1=zelQ_Connect(77,127,0,0)"},
         {.name = "later calls find it closed",
          .call = [] { return zelQ_MoveAbs(kClosed, 0, 1.0); },
          .result = -4,
          .trace = "-4=zelQ_MoveAbs(77,0,1)"},
         {.name = "an octet above 255",
          .call = [] { return zelQ_Connect(kClosed, 127, 0, 256); },
          .result = -1,
          .trace = "-1=zelQ_Connect(77,127,0,256)"},
         {.name = "a negative octet",
          .call = [] { return zelQ_Connect(kClosed, -127, 0, 0); },
          .result = -1,
          .trace = "-1=zelQ_Connect(77,-127,0,0)"}});
    // A refusal is no time-out, and no name is looked up.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    ExpectRefused(-2, {[] { return zelQ_Connect(0, 127, 0, 0); },
                       [] { return zelQ_Connect(255, 127, 0, 0); }});
}

TEST_F(ConnectionTest, DisconnectKeepsTheSession)
{
    zelQ_UnitPerPulseSet(kNumber, 1, 0.5);
    capture_.Lines();
    zelQ_Disconnect(kNumber);
    EXPECT_EQ(NextTrace(), "zelQ_Disconnect(5)");
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -4);
    EXPECT_EQ(zelQ_UnitPerPulseGet(kNumber, 1), 0.5);
    capture_.Lines();
    zelQ_Disconnect(0);
    zelQ_Disconnect(255);
    zelQ_Disconnect(kUnknown);
    EXPECT_TRUE(capture_.Lines().empty());
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
}

TEST_F(ConnectionTest, TimeOutsAndPort)
{
    static unsigned short times[3];
    Run({{.name = "set",
          .call = [] { return zelQ_TMOSet(kNumber, 500, 0, -1); },
          .trace = "0=zelQ_TMOSet(5,500,0,-1)"},
         {.name = "get: kept without sign",
          .call = [] { return zelQ_TMOGet(kNumber, &times[0], &times[1], &times[2]); },
          .trace = "0=zelQ_TMOGet(5)",
          .check =
              [] {
                  EXPECT_EQ(times[0], 500);
                  EXPECT_EQ(times[1], 0);
                  EXPECT_EQ(times[2], 65535);
              }},
         {.name = "get nothing",
          .call = [] { return zelQ_TMOGet(kNumber, nullptr, nullptr, nullptr); },
          .trace = "0=zelQ_TMOGet(5)"},
         {.name = "port, before any session",
          .call = [] { return zelQ_SetNetPortNum(kUnknown, 5020); },
          .trace = "0=zelQ_SetNetPortNum(6,5020)"},
         {.name = "a negative port is the usual one",
          .call = [] { return zelQ_SetNetPortNum(kUnknown, -1); },
          .trace = "0=zelQ_SetNetPortNum(6,502)"}});
    ExpectNumberChecks([](short zelNo) { return zelQ_TMOSet(zelNo, 1, 1, 1); });
    ExpectNumberChecks([](short zelNo) { return zelQ_TMOGet(zelNo, nullptr, nullptr, nullptr); });
    ExpectRefused(-2, {[] { return zelQ_SetNetPortNum(0, 1); }});
}

TEST_F(ConnectionTest, SendAndReceiveTimesOfZeroMeanThirtyMilliseconds)
{
    ASSERT_EQ(zelQ_TMOSet(kNumber, 1000, 0, 0), 0);
    const auto start = std::chrono::steady_clock::now();
    const auto silence = [](const Request&) { return Answer{}; };
    controller_.Then(silence);
    controller_.Then(silence);
    controller_.Then(silence);
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -7);
    // Three times 30, 60 and 90 ms.
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(540));
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
    ExpectRefused(-2, {[] { return zelQ_PingCheck(0, 127, 0, 0, 10); },
                       [] { return zelQ_PingCheck(255, 127, 0, 0, 10); }});
}

} // namespace

} // namespace zelq::test
