// Looking for controllers. The library is linked in here with all its inner pieces, so that the
// controllers of the tests can stand at any free port in place of port 7000.
#include "common/result_codes.h"
#include "platform/shared_lock.h"
#include "server/server.h"
#include "support/trace_capture.h"
#include "transport/discovery.h"
#include "transport/engine.h"
#include "zelq.h"

#include <array>
#include <asio.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace zelq::test {

namespace {

using asio::ip::udp;
using Bytes = std::vector<std::uint8_t>;
using Answers = std::vector<Bytes>;
using Address = std::array<unsigned short, 4>;

constexpr std::size_t kEntryWords = 22;
constexpr std::size_t kMostEntries = 44;
constexpr unsigned short kUntouched = 0xA5A5;
constexpr Address kLoopback = {127, 0, 0, 1};

/// Room for all entries that there can be, and for one that there must not be.
struct Entries
{
    std::array<unsigned short, kEntryWords*(kMostEntries + 1)> words;

    Entries() { words.fill(kUntouched); }
    [[nodiscard]] unsigned short Word(std::size_t entry, std::size_t word) const
    {
        return words.at(entry * kEntryWords + word);
    }
};

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

    ~ScriptedAnswerer()
    {
        asio::post(io_, [this] { socket_.close(); });
        thread_.join();
    }

    ScriptedAnswerer(const ScriptedAnswerer&) = delete;
    ScriptedAnswerer& operator=(const ScriptedAnswerer&) = delete;

    /// Ends the answering, too.
    std::vector<Bytes> Requests()
    {
        asio::post(io_, [this] { socket_.close(); });
        thread_.join();
        thread_ = std::thread([] {});
        return requests_;
    }

  private:
    void Listen()
    {
        socket_.async_receive_from(
            asio::buffer(area_), sender_, [this](const asio::error_code& error, std::size_t size) {
                if (error) return;
                requests_.emplace_back(area_.begin(), area_.begin() + static_cast<int>(size));
                if (requests_.size() % 2 == 1) Answer();
                Listen();
            });
    }

    void Answer()
    {
        for (const Bytes& answer : script_(requests_.back())) {
            asio::error_code ignored;
            socket_.send_to(asio::buffer(answer), sender_, 0, ignored);
        }
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
        return zelQ_GetEnumList(address.data(), 0, entries_.words.data());
    }

    void ExpectTrace(const std::string& line)
    {
        const std::string traced = capture_.Next();
        EXPECT_EQ(traced.substr(traced.find(',') + 1), line + "\n");
    }

    TraceCapture capture_;
    Entries entries_;
};

std::unique_ptr<lumosim::Server> StartSimulator(int number, std::uint16_t port)
{
    lumosim::ServerConfig config;
    config.controller.number = number;
    config.address = "127.0.0." + std::to_string(number);
    config.discoveryPort = port;
    auto server = std::make_unique<lumosim::Server>(config);
    server->Start();
    SetDiscoveryPort(server->DiscoveryPort());
    return server;
}

TEST_F(DiscoveryTest, BroadcastFindsEightControllers)
{
    std::vector<std::unique_ptr<lumosim::Server>> servers;
    for (int number = 31; number < 39; ++number) {
        servers.push_back(
            StartSimulator(number, servers.empty() ? 0 : servers.back()->DiscoveryPort()));
    }
    EXPECT_EQ(Find({127, 255, 255, 255}), 8);
    ExpectTrace("16=zelQ_GetEnumList(127,255,255,255)");
    std::set<int> numbers;
    for (std::size_t i = 0; i < 8; ++i) {
        numbers.insert(entries_.Word(i, 3));
        EXPECT_EQ(entries_.Word(i, 0), 127);
        EXPECT_EQ(entries_.Word(i, 18), 8);
        EXPECT_EQ(entries_.Word(i, 19), kUntouched);
        EXPECT_EQ(entries_.Word(i, 21), kUntouched);
    }
    EXPECT_EQ(numbers, (std::set<int>{31, 32, 33, 34, 35, 36, 37, 38}));
    EXPECT_EQ(entries_.Word(8, 0), kUntouched);
}

TEST_F(DiscoveryTest, OneControllersAddressFindsIt)
{
    const auto server = StartSimulator(35, 0);
    EXPECT_EQ(Find({127, 0, 0, 35}), 1);
    EXPECT_EQ(entries_.Word(0, 3), 35);
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
        EXPECT_EQ(entries_.Word(i, 3), i + 1);
    }
    EXPECT_EQ(entries_.Word(0, 11), 77);
    EXPECT_EQ(entries_.Word(0, 15), 2020);
    EXPECT_EQ(entries_.Word(3, 0), kUntouched);

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
    EXPECT_EQ(entries_.Word(43, 3), 43);
    EXPECT_EQ(entries_.Word(44, 0), kUntouched);
}

TEST_F(DiscoveryTest, ImpossibleDateLeavesWithoutATrace)
{
    const ScriptedAnswerer answerer([](const Bytes& request) {
        return Answers{AnswerOf(request, 1), AnswerOf(request, 2, 32)};
    });
    EXPECT_EQ(Find(), -1005);
    EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
    EXPECT_EQ(entries_.Word(1, 0), kUntouched);
}

TEST_F(DiscoveryTest, NobodyAndNonsenseAreNoControllers)
{
    {
        const ScriptedAnswerer silent([](const Bytes&) { return Answers(); });
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Find(), 0);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(590))
            << "an answer has three times 200 ms to come";
        ExpectTrace("0=zelQ_GetEnumList(127,0,0,1)");
    }
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
        return Answers{{0}, foreign, cut, longer, another, miscounted, proper, cut};
    });
    EXPECT_EQ(Find(), 1);
    ExpectTrace("1=zelQ_GetEnumList(127,0,0,1)");
    EXPECT_EQ(entries_.Word(1, 0), kUntouched);
}

TEST_F(DiscoveryTest, WrongArgumentsAreRefusedAtOnce)
{
    const ScriptedAnswerer answerer(
        [](const Bytes& request) { return Answers{AnswerOf(request, 1)}; });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(zelQ_GetEnumList(nullptr, 0, entries_.words.data()), -1700);
    EXPECT_EQ(Find({127, 0, 0, 256}), -3);
    EXPECT_EQ(zelQ_GetEnumList(Address{127, 0, 0, 256}.data(), 0, nullptr), -3);
    EXPECT_EQ(zelQ_GetEnumList(kLoopback.data(), 0, nullptr), -1702);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
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
    std::promise<void> held;
    std::promise<void> mayEnd;
    std::thread stuck([&] {
        platform::SharedLock lock(0);
        EXPECT_EQ(lock.Wait(std::chrono::milliseconds(0)), platform::LockStatus::kHeld);
        held.set_value();
        mayEnd.get_future().wait();
        lock.Release();
    });
    held.get_future().wait();
    const ScriptedAnswerer answerer(
        [](const Bytes& request) { return Answers{AnswerOf(request, 1)}; });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Find(), 1);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    mayEnd.set_value();
    stuck.join();
}

TEST_F(DiscoveryTest, TwoAtOnceTakeTurns)
{
    const ScriptedAnswerer answerer(
        [](const Bytes& request) { return Answers{AnswerOf(request, 1)}; });
    Entries others;
    short found = 0;
    std::thread other([&] { found = zelQ_GetEnumList(kLoopback.data(), 0, others.words.data()); });
    EXPECT_EQ(Find(), 1);
    other.join();
    EXPECT_EQ(found, 1);
}

} // namespace

} // namespace zelq::test
