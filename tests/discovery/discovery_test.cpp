// Looking for controllers. The library is linked in here with all its inner pieces, so that the
// controllers of the tests can stand at any free port in place of port 7000.
#include "common/result_codes.h"
#include "network.h"
#include "platform/shared_lock.h"
#include "server/server.h"
#include "support/trace_capture.h"
#include "transport/discovery.h"
#include "transport/engine.h"
#include "transport/turn.h"
#include "zelq.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace zelq::test {

namespace {

using asio::ip::udp;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;
using Answers = std::vector<Bytes>;
using Address = std::array<unsigned short, 4>;

constexpr std::size_t kEntryWords = 22;
constexpr std::size_t kMostEntries = 44;
constexpr std::size_t kWords = kEntryWords * (kMostEntries + 1); ///< one more than there may be
constexpr unsigned short kUntouched = 0xA5A5;
constexpr Address kLoopback = {127, 0, 0, 1};

/// An answer to `request`: a block of the controller `id`.
Bytes AnswerOf(const Bytes& request, std::uint8_t id, std::uint8_t day = 15)
{
    // Byte k of the block travels in register k / 2, whose high byte goes first.
    Bytes block = {0, 1, 2, 20, 6, day, 8, 0, 0, 0, 0, 0, 10, 0, 0, id, 0, 0, 0, 0, 0, 0, 0, 77};
    Bytes answer = {request[0], request[1], 0, 0, 0, 27, 1, 3, 24};
    for (std::size_t i = 0; i < block.size(); i += 2) {
        answer.push_back(block[i + 1]);
        answer.push_back(block[i]);
    }
    return answer;
}

Answers OneController(const Bytes& request)
{
    return {AnswerOf(request, 1)};
}

/// Answers the first datagram of every discovery as a test tells it; keeps all of them.
class ScriptedAnswerer
{
  public:
    using Script = std::function<Answers(const Bytes& request)>;

    explicit ScriptedAnswerer(Script script) : script_(std::move(script))
    {
        SetDiscoveryPort(socket_.local_endpoint().port());
        Listen();
        thread_ = std::thread([this] { io_.run(); });
    }

    ~ScriptedAnswerer() { Requests(); }
    ScriptedAnswerer(const ScriptedAnswerer&) = delete;
    ScriptedAnswerer& operator=(const ScriptedAnswerer&) = delete;

    /// Ends the answering, too.
    std::vector<Bytes> Requests()
    {
        io_.stop();
        if (thread_.joinable()) thread_.join();
        return requests_;
    }

  private:
    void Listen()
    {
        socket_.async_receive_from(
            asio::buffer(area_), sender_, [this](const ErrorCode& error, std::size_t size) {
                if (error) return;
                requests_.emplace_back(area_.data(), area_.data() + size);
                const bool first = requests_.size() % 2 == 1;
                for (const Bytes& answer : first ? script_(requests_.back()) : Answers()) {
                    ErrorCode ignored;
                    socket_.send_to(asio::buffer(answer), sender_, 0, ignored);
                }
                Listen();
            });
    }

    Script script_;
    asio::io_context io_;
    udp::socket socket_{io_, {asio::ip::address_v4::loopback(), 0}};
    udp::endpoint sender_;
    std::array<std::uint8_t, 2000> area_{};
    std::vector<Bytes> requests_;
    std::thread thread_;
};

class DiscoveryTest : public testing::Test
{
  protected:
    void TearDown() override { SetDiscoveryPort(kDiscoveryPort); }

    short Find(const Address& address = kLoopback)
    {
        return zelQ_GetEnumList(address.data(), 0, entries_.data());
    }

    [[nodiscard]] unsigned short Word(std::size_t entry, std::size_t word) const
    {
        return entries_.at(entry * kEntryWords + word);
    }

    void ExpectTrace(const std::string& line)
    {
        const std::string traced = capture_.Next();
        EXPECT_EQ(traced.substr(traced.find(',') + 1), line + "\n");
    }

    TraceCapture capture_;
    std::vector<unsigned short> entries_ = std::vector(kWords, kUntouched);
};

TEST_F(DiscoveryTest, FindsControllersByBroadcastOrByTheirAddress)
{
    std::vector<std::unique_ptr<lumosim::Server>> servers;
    std::set<int> expected;
    lumosim::ServerConfig config;
    config.discoveryPort = 0; // the first one's is that of all
    for (int number = 31; number < 39; ++number) {
        config.controller.number = number;
        config.address = "127.0.0." + std::to_string(number);
        servers.push_back(std::make_unique<lumosim::Server>(config));
        servers.back()->Start();
        config.discoveryPort = servers.back()->DiscoveryPort();
        expected.insert(number);
    }
    SetDiscoveryPort(servers.back()->DiscoveryPort());
    EXPECT_EQ(Find({127, 255, 255, 255}), 8);
    ExpectTrace("16=zelQ_GetEnumList(127,255,255,255)");
    std::set<int> numbers;
    for (std::size_t i = 0; i < 8; ++i) {
        numbers.insert(Word(i, 3));
        for (const auto& [word, value] :
             {std::pair(0U, 127), {18U, 8}, {19U, +kUntouched}, {21U, +kUntouched}}) {
            EXPECT_EQ(Word(i, word), value);
        }
    }
    EXPECT_EQ(numbers, expected);
    EXPECT_EQ(Word(8, 0), kUntouched);

    // By itself: where several share a port, some systems let any of them have what comes.
    std::swap(servers[0], servers[4]);
    servers.resize(1);
    EXPECT_EQ(Find({127, 0, 0, 35}), 1);
    EXPECT_EQ(Word(0, 3), 35);
    ExpectTrace("2=zelQ_GetEnumList(127,0,0,35)");
}

TEST_F(DiscoveryTest, AsksTwiceAndEntersEveryControllerOnce)
{
    ScriptedAnswerer answerer([](const Bytes& request) {
        Bytes otherUnit = AnswerOf(request, 2);
        otherUnit[6] = 99;
        const Bytes exception = {request[0], request[1], 0, 0, 0, 5, 1, 0x83, 3, 0, 7};
        return Answers{AnswerOf(request, 1), otherUnit,      exception,
                       AnswerOf(request, 1), Bytes(1461, 0), AnswerOf(request, 2),
                       AnswerOf(request, 3)};
    });
    EXPECT_EQ(Find(), 3);
    ExpectTrace("5=zelQ_GetEnumList(127,0,0,1)");
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(Word(i, 3), i + 1);
    }
    EXPECT_EQ(Word(0, 11), 77);
    EXPECT_EQ(Word(0, 15), 2020);
    EXPECT_EQ(Word(3, 0), kUntouched);

    const std::vector<Bytes> requests = answerer.Requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0], requests[1]);
    EXPECT_EQ(Bytes(requests[0].begin() + 2, requests[0].end()),
              (Bytes{0, 0, 0, 6, 255, 3, 0xF4, 0x00, 0, 12}));
}

TEST_F(DiscoveryTest, FloodFillsNoMoreThan44Entries)
{
    const ScriptedAnswerer answerer([](const Bytes& request) {
        Answers answers;
        for (int i = 0; i < 200; ++i) {
            answers.push_back(AnswerOf(request, static_cast<std::uint8_t>(i)));
        }
        return answers;
    });
    EXPECT_EQ(Find(), 44);
    ExpectTrace("44=zelQ_GetEnumList(127,0,0,1)");
    EXPECT_EQ(Word(43, 3), 43);
    EXPECT_EQ(Word(44, 0), kUntouched);
}

TEST_F(DiscoveryTest, ImpossibleDateLeavesWithoutATrace)
{
    const ScriptedAnswerer answerer([](const Bytes& request) {
        return Answers{AnswerOf(request, 1), AnswerOf(request, 2, 32)};
    });
    EXPECT_EQ(Find(), -1005);
    EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
    EXPECT_EQ(Word(1, 0), kUntouched);
}

TEST_F(DiscoveryTest, NobodyAndNonsenseAreNoControllers)
{
    {
        const ScriptedAnswerer nobody([](const Bytes&) { return Answers(); });
    }
    // Its port is nobody's now, which some systems report.
    const auto start = steady_clock::now();
    EXPECT_EQ(Find(), 0);
    const auto spent = steady_clock::now() - start;
    EXPECT_GE(spent, milliseconds(590)) << "an answer has three times 200 ms to come";
    EXPECT_LT(spent, std::chrono::seconds(5));
    ExpectTrace("0=zelQ_GetEnumList(127,0,0,1)");
    // What is no answer is dropped whole, and hides nobody.
    const ScriptedAnswerer nonsense([](const Bytes& request) {
        const Bytes proper = AnswerOf(request, 1);
        Bytes foreign = proper;
        foreign[0] ^= 0xFF;
        Bytes cut = proper;
        cut.pop_back();
        Bytes longer = proper;
        longer.push_back(0);
        Bytes another = proper;
        another[7] = 16;
        Bytes miscounted = proper;
        miscounted[8] = 22;
        return Answers{{}, {0}, foreign, cut, longer, another, miscounted, AnswerOf(request, 2),
                       cut};
    });
    EXPECT_EQ(Find(), 1);
    EXPECT_EQ(Word(0, 3), 2);
    ExpectTrace("1=zelQ_GetEnumList(127,0,0,1)");
    EXPECT_EQ(Word(1, 0), kUntouched);
}

TEST_F(DiscoveryTest, WrongArgumentsAreRefusedAtOnce)
{
    const ScriptedAnswerer answerer(OneController);
    const auto start = steady_clock::now();
    EXPECT_EQ(zelQ_GetEnumList(nullptr, 0, entries_.data()), -1700);
    EXPECT_EQ(Find({127, 0, 0, 256}), -3);
    EXPECT_EQ(zelQ_GetEnumList(Address{127, 0, 0, 256}.data(), 0, nullptr), -3);
    EXPECT_EQ(zelQ_GetEnumList(kLoopback.data(), 0, nullptr), -1702);
    EXPECT_LT(steady_clock::now() - start, milliseconds(500));
    EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
    // What was refused has left nothing behind that would be in the way.
    RequestBuffer request;
    request.StartReadFrame(0xF400, 12);
    EXPECT_EQ(TransactFrames(kAllControllers, request), kConnectFailed);
    EXPECT_EQ(Find(), 1);
}

TEST_F(DiscoveryTest, GoesOnPastALockThatNobodyReleases)
{
    // As a process leaves it that was stopped, or on Windows killed, in the middle of a discovery.
    platform::SharedLock stuck(0);
    ASSERT_EQ(stuck.Wait(milliseconds(0)), platform::LockStatus::kHeld);
    const ScriptedAnswerer answerer(OneController);
    const auto start = steady_clock::now();
    DiscoveryContext discovery;
    std::thread([&] { EXPECT_TRUE(discovery.Open(kLoopback)); }).join();
    EXPECT_GE(steady_clock::now() - start, kTurnTimeOut - milliseconds(50));
    // What this thread has itself it need not wait for in vain.
    RequestBuffer request;
    request.StartReadFrame(0xF400, 12);
    EXPECT_EQ(TransactFrames(kAllControllers, request, nullptr, {.receive = 50}), kOk);
    EXPECT_LT(steady_clock::now() - start, 2 * kTurnTimeOut);
    stuck.Release();
}

TEST_F(DiscoveryTest, TwoAtOnceTakeTurns)
{
    const ScriptedAnswerer answerer(OneController);
    const std::jthread other([] {
        std::vector<unsigned short> entries(kWords);
        EXPECT_EQ(zelQ_GetEnumList(kLoopback.data(), 0, entries.data()), 1);
    });
    EXPECT_EQ(Find(), 1);
}

} // namespace

} // namespace zelq::test
