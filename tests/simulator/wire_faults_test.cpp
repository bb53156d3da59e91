// Every fault of the line, as a host sees it.

#include "host_sockets.h"
#include "server/wire_faults.h"
#include "server/wire_filter.h"

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace lumosim {
namespace {

using std::chrono::milliseconds;
using test::Await;
using test::Bytes;
using test::CommandFrame;
using test::Frame;
using test::Joined;
using test::TcpHost;

constexpr const char* kRead = "03 0038 0002";
constexpr const char* kAnswer = "03 04 0001 0000";
const Bytes kFirst = Frame(kAnswer, 1);
const Bytes kSecond = Frame(kAnswer, 2);

// A host that has two requests on their way, which arrive together.
class AskingHost : public TcpHost
{
  public:
    explicit AskingHost(const Server& server) : TcpHost(server)
    {
        Send(Joined({Frame(kRead, 1), Frame(kRead, 2)}));
    }
};

class WireFaults : public testing::Test
{
  protected:
    void SetUp() override { server_.Start(); }

    void Apply(const std::string& name, const FaultValues& values = {})
    {
        server_.With([&](Controller&) { server_.Faults().Apply(name, values); });
    }
    void Clear()
    {
        server_.With([&](Controller&) { server_.Faults().ClearAll(); });
    }

    Server server_{test::ByHand()};
};

TEST_F(WireFaults, ChangeOneReplyOfTwo)
{
    struct Row
    {
        const char* fault;
        FaultValues values;
        Bytes seen;
    };
    const Row rows[] = {
        {"lost-reply", {}, kSecond},
        {"doubled-reply", {}, Joined({kFirst, kFirst, kSecond})},
        {"wrong-id", {{"offset", 0x0102}}, {}},
        {"wrong-unit", {{"unit", 9}}, Joined({Frame(kAnswer, 1, 9), kSecond})},
        {"exception", {{"code", 6}}, Joined({Frame("83 06", 1), kSecond})},
        {"late-reply", {{"ms", 30}}, Joined({kSecond, kFirst})},
        {"sliced-reply", {{"bytes", 4}}, Joined({kFirst, kSecond})},
        {"delay", {{"ms", 5}}, Joined({kFirst, kSecond})},
        {"jitter", {{"ms", 5}}, Joined({kFirst, kSecond})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        FaultValues once = row.values;
        once["count"] = 1;
        Bytes seen = row.seen;
        if (seen.empty()) { // an id of two bytes
            seen = Joined({kFirst, kSecond});
            seen[0] = 1;
            seen[1] = 3;
        }
        Apply(row.fault, once);
        AskingHost host(server_);
        EXPECT_EQ(host.Receive(seen.size()), seen);
        Clear();
        host.Send(Frame(kRead, 3));
        EXPECT_EQ(host.Receive(13), Frame(kAnswer, 3)) << "nothing else has come";
    }
}

TEST_F(WireFaults, TakeTheirTime)
{
    const auto timeOf = [this](const std::string& fault, const FaultValues& values) {
        Apply(fault, values);
        TcpHost host(server_);
        const auto start = std::chrono::steady_clock::now();
        host.Send(Frame(kRead, 1));
        EXPECT_EQ(host.Receive(13), kFirst);
        Clear();
        return std::chrono::steady_clock::now() - start;
    };
    EXPECT_GE(timeOf("delay", {{"ms", 40}}), milliseconds(40));
    EXPECT_GE(timeOf("sliced-reply", {{"bytes", 4}, {"pause-ms", 10}}), milliseconds(30));
    EXPECT_GE(timeOf("slow-reader", {{"bytes", 4}, {"ms", 10}}), milliseconds(30));
}

TEST_F(WireFaults, EndConnections)
{
    Apply("cut-reply", {{"count", 1}});
    const Bytes part = AskingHost(server_).Receive(26);
    EXPECT_GE(part.size(), 1U);
    EXPECT_LT(part.size(), kFirst.size());
    EXPECT_TRUE(std::equal(part.begin(), part.end(), kFirst.begin()));

    Apply("reset", {{"count", 1}});
    EXPECT_TRUE(AskingHost(server_).ClosedByServer());
    EXPECT_TRUE(Await([this] { return server_.Connections() == 0; }));

    Apply("refuse", {{"count", 1}});
    EXPECT_TRUE(TcpHost(server_).ClosedByServer());
    AskingHost taken(server_);
    EXPECT_EQ(taken.Receive(26), Joined({kFirst, kSecond})) << "all faults are used up";
}

TEST_F(WireFaults, AHangingConnectionRunsItsCommandAndAnswersNothing)
{
    Apply("hang", {{"count", 1}});
    TcpHost hanging(server_);
    hanging.Send(CommandFrame("0101 01A0 0003"));
    EXPECT_TRUE(
        Await([this] { return server_.With([](Controller& c) { return c.MainOutputs() == 3; }); }));
    hanging.Send(Frame(kRead, 1));
    EXPECT_EQ(AskingHost(server_).Receive(26).size(), 26U) << "others are answered";
    server_.DropConnections();
    EXPECT_TRUE(hanging.Receive(1).empty());
}

std::vector<std::vector<WirePiece>> PassMany(std::uint64_t seed, const std::string& fault,
                                             const FaultValues& values, int count = 10'000)
{
    WireFilter filter(seed);
    FaultRegistry registry;
    AddWireFaults(registry, filter);
    registry.Apply(fault, values);
    std::vector<std::vector<WirePiece>> passed;
    for (int i = 0; i < count; ++i) {
        passed.push_back(filter.Pass(kFirst));
    }
    return passed;
}

std::size_t Late(const std::vector<std::vector<WirePiece>>& passed)
{
    return static_cast<std::size_t>(std::ranges::count_if(
        passed, [](const auto& pieces) { return pieces.front().wait == milliseconds(80); }));
}

TEST(WireFilter, StrikesAsOftenAsItIsTold)
{
    const auto late = Late(PassMany(1, "late-reply", {{"probability", 0.01}}));
    EXPECT_GT(late, 60U);
    EXPECT_LT(late, 140U);
    EXPECT_EQ(Late(PassMany(1, "late-reply", {{"probability", 0.01}, {"count", 7}})), 7U);
    EXPECT_EQ(Late(PassMany(1, "late-reply", {{"probability", 0}})), 0U);
}

TEST(WireFilter, DrawsTheSameBySeed)
{
    const auto garbage = [](std::uint64_t seed) {
        return PassMany(seed, "garbage", {{"bytes", 5}}, 1).front().front().bytes;
    };
    EXPECT_EQ(garbage(1).size(), 5U);
    EXPECT_EQ(garbage(1), garbage(1));
    EXPECT_NE(garbage(1), garbage(2));

    std::set<std::chrono::microseconds> waits;
    for (const auto& pieces : PassMany(3, "jitter", {{"ms", 2}}, 100)) {
        waits.insert(pieces.front().wait);
    }
    EXPECT_GT(waits.size(), 50U);
    EXPECT_LT(*waits.rbegin(), milliseconds(2));
}

} // namespace
} // namespace lumosim
