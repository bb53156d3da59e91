#include "support/wire_test.h"
#include "zelq.h"

#include <array>

namespace zelq::test {

namespace {

using MaintenanceTest = WireTest;

constexpr std::array<short, 4> kOctets = {192, 168, 0, 255};
constexpr std::array<short, 4> kMask = {255, 254, 253, 252};

TEST_F(MaintenanceTest, SettingsAndReset)
{
    Run({
        {.name = "network: no count, and the address has three octets",
         .call =
             [] { return zelQ_CfgNetwork(kNumber, kOctets.data(), kMask.data(), kOctets.data()); },
         .frames = {{0x0101, 0x01B1, 192, 168, 0, 255, 254, 253, 252, 192, 168, 0, 255}},
         .trace = "0=zelQ_CfgNetwork(5,192,168,0,255,254,253,252,192,168,0,255)"},
        {.name = "hardware information",
         .call = [] { return zelQ_CfgHwInfo(kNumber, -2); },
         .frames = {{0x0101, 0x1001, 0xFFFE}},
         .trace = "0=zelQ_CfgHwInfo(5,-2)"},
        {.name = "reset",
         .call = [] { return zelQ_Reset(kNumber, 3); },
         .result = 1,
         .frames = {{0x0101, 0x1002, 3}},
         .controllerResult = 1,
         .trace = "1=zelQ_Reset(5,3)"},
    });
    ExpectNumberChecks([](short n) {
        return zelQ_CfgNetwork(static_cast<unsigned short>(n), nullptr, nullptr, nullptr);
    });
    ExpectNumberChecks([](short n) { return zelQ_CfgHwInfo(n, 0); });
    ExpectNumberChecks([](short n) { return zelQ_Reset(n, 4); });
    ExpectRefused(-1701, {[] { return zelQ_Reset(kNumber, 4); }});
}

TEST_F(MaintenanceTest, NetworkOctetsAreCheckedInTurn)
{
    const auto configure = [](const short* address, const short* second, const short* third) {
        return [=] { return zelQ_CfgNetwork(kNumber, address, second, third); };
    };
    static constexpr std::array<short, 3> kTooHigh = {192, 168, 256};
    static constexpr std::array<short, 3> kNegative = {-1, 168, 0};
    static constexpr std::array<short, 4> kFirstBad = {256, 0, 0, 0};
    static constexpr std::array<short, 4> kLastBad = {0, 0, 0, -1};
    ExpectRefused(-1701, {configure(kTooHigh.data(), kFirstBad.data(), nullptr),
                          configure(kNegative.data(), kMask.data(), kMask.data()),
                          configure(nullptr, kMask.data(), kMask.data())});
    // The second's octet comes before the third's of the same place, but behind its earlier ones.
    ExpectRefused(-1702, {configure(kMask.data(), kFirstBad.data(), kFirstBad.data()),
                          configure(kMask.data(), kLastBad.data(), kLastBad.data()),
                          configure(kMask.data(), nullptr, nullptr)});
    ExpectRefused(-1703, {configure(kMask.data(), kLastBad.data(), kFirstBad.data()),
                          configure(kMask.data(), kMask.data(), kLastBad.data()),
                          configure(kMask.data(), kMask.data(), nullptr)});
}

TEST_F(MaintenanceTest, ServoNetworkSettings)
{
    static unsigned short first = 0;
    static unsigned short second = 0;
    Run({
        {.name = "default parameters",
         .call = [] { return zelQ_UseMaroDefParamSet(kNumber, 1); },
         .frames = {{0x0101, 0x1007, 0, 1}},
         .trace = "0=zelQ_UseMaroDefParamSet(5,1)"},
        {.name = "read",
         .call = [] { return zelQ_UseMaroDefParamGet(kNumber, &first); },
         .frames = {{0x0101, 0x1007, 1}},
         .readQuantity = 2,
         .data = {0xFFFF},
         .trace = "0=zelQ_UseMaroDefParamGet(5,65535)",
         .check = [] { EXPECT_EQ(first, 0xFFFF); }},
        {.name = "read into nothing",
         .call = [] { return zelQ_UseMaroDefParamGet(kNumber, nullptr); },
         .frames = {{0x0101, 0x1007, 1}},
         .readQuantity = 2,
         .data = {1},
         .trace = "0=zelQ_UseMaroDefParamGet(5,1)"},
        {.name = "refused",
         .call = [] { return zelQ_UseMaroDefParamGet(kNumber, &first); },
         .result = 2,
         .frames = {{0x0101, 0x1007, 1}},
         .readQuantity = 2,
         .controllerResult = 2,
         .trace = "2=zelQ_UseMaroDefParamGet(5,0)",
         .check = [] { EXPECT_EQ(first, 0xFFFF); }},
        {.name = "cycle, the third as 32 bits",
         .call = [] { return zelQ_RtexCycleSet(kNumber, 1, 2, 70000); },
         .frames = {{0x0101, 0x1008, 0, 1, 2, 0x1170, 0x0001}},
         .trace = "0=zelQ_RtexCycleSet(5,1,2,70000)"},
        {.name = "read",
         .call = [] { return zelQ_RtexCycleGet(kNumber, &first, &second); },
         .frames = {{0x0101, 0x1008, 1}},
         .readQuantity = 3,
         .data = {10, 20},
         .trace = "0=zelQ_RtexCycleGet(5,10,20)",
         .check =
             [] {
                 EXPECT_EQ(first, 10);
                 EXPECT_EQ(second, 20);
             }},
        {.name = "read the second alone",
         .call = [] { return zelQ_RtexCycleGet(kNumber, nullptr, &second); },
         .frames = {{0x0101, 0x1008, 1}},
         .readQuantity = 3,
         .data = {11, 21},
         .trace = "0=zelQ_RtexCycleGet(5,11,21)",
         .check = [] { EXPECT_EQ(second, 21); }},
        {.name = "refused",
         .call = [] { return zelQ_RtexCycleGet(kNumber, &first, &second); },
         .result = 2,
         .frames = {{0x0101, 0x1008, 1}},
         .readQuantity = 3,
         .controllerResult = 2,
         .trace = "2=zelQ_RtexCycleGet(5,0,0)",
         .check = [] { EXPECT_EQ(first, 10); }},
    });
    ExpectNumberChecks([](short n) { return zelQ_UseMaroDefParamSet(n, 2); });
    ExpectNumberChecks([](short n) { return zelQ_UseMaroDefParamGet(n, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_RtexCycleSet(n, 1, 2, 3); });
    ExpectNumberChecks([](short n) { return zelQ_RtexCycleGet(n, nullptr, nullptr); });
    ExpectRefused(-1701, {[] { return zelQ_UseMaroDefParamSet(kNumber, 2); }});
}

/// A reply that carries the result register alone is none of theirs: no output takes it for data.
TEST_F(MaintenanceTest, ReplyWithoutWords)
{
    static unsigned short word = 7;
    const auto answerShort = [this] {
        controller_.Then([](const Request& request) {
            return Answer{FrameBytes(request.front().id, 23, {2, 0, 0})};
        });
    };
    answerShort();
    EXPECT_EQ(zelQ_UseMaroDefParamGet(kNumber, &word), -12);
    answerShort();
    EXPECT_EQ(zelQ_RtexCycleGet(kNumber, &word, &word), -12);
    EXPECT_EQ(word, 7);
    EXPECT_EQ(NextTrace(), "-12=zelQ_UseMaroDefParamGet(5,0)");
    EXPECT_EQ(NextTrace(), "-12=zelQ_RtexCycleGet(5,0,0)");
}

} // namespace

} // namespace zelq::test
