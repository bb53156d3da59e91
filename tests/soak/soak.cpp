// Calls without end against simulated controllers behind a line that is as bad as lines get, each
// answer judged: zelq_soak [--calls N] [--seconds N] [--seed N]. Ends with 1 on a wrong answer, or
// where memory or descriptors have grown.
#include "server/server.h"
#include "soak/fault_proxy.h"
#include "soak/worker.h"
#include "support/process_resources.h"
#include "zelq.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace zelq::soak {

namespace {

using std::chrono::steady_clock;

struct Settings
{
    std::uint64_t calls = 1'000'000;
    int seconds = 1800;
    unsigned seed = 1;
};

struct Resources
{
    std::size_t bytes = 0;
    std::size_t descriptors = 0;

    static Resources Now() { return {test::ResidentBytes(), test::OpenDescriptors()}; }
};

/// One call in a hundred has its reply come after the waits; everything else is rarer.
constexpr FaultRates kRates = {0, 100, 50, 100, 50, 20, 20, 50, 20, 20};

std::unique_ptr<lumosim::Server> StartController(short number)
{
    lumosim::ServerConfig config;
    config.controller.number = number;
    config.controller.axes = kThreads;
    config.address = "127.0.0." + std::to_string(number);
    config.clock = lumosim::Clock::kByHand;
    auto server = std::make_unique<lumosim::Server>(config);
    server->Start();
    return server;
}

/// The simulated controllers and the lines to them.
struct Field
{
    std::vector<std::unique_ptr<lumosim::Server>> controllers;
    std::vector<std::unique_ptr<FaultProxy>> lines;

    explicit Field(unsigned seed)
    {
        for (short i = 0; i < kControllers; ++i) {
            const auto number = static_cast<short>(kFirstNumber + i);
            controllers.push_back(StartController(number));
            lines.push_back(std::make_unique<FaultProxy>(number, controllers.back()->Port(),
                                                         seed + static_cast<unsigned>(i)));
        }
    }

    bool Connect() const
    {
        // The waits add up to six times the last of these, 30 ms.
        constexpr short kConnectMs = 2000;
        constexpr short kSendMs = 1000;
        constexpr short kReceiveMs = 5;
        constexpr short kPatientMs = 1000;
        bool connected = true;
        for (short i = 0; i < kControllers; ++i) {
            const auto number = static_cast<short>(kFirstNumber + i);
            zelQ_SetNetPortNum(number, lines[static_cast<std::size_t>(i)]->Port());
            zelQ_Connect(number, 127, 0, 0);
            zelQ_TMOSet(number, kConnectMs, kSendMs, kPatientMs);
            connected = zelQ_Connect(number, 127, 0, 0) == 0 && connected;
            zelQ_TMOSet(number, kConnectMs, kSendMs, kReceiveMs);
        }
        return connected;
    }

    void SetRates(const FaultRates& rates) const
    {
        for (const auto& line : lines) {
            line->SetRates(rates);
        }
    }
};

/// All threads make calls until there are enough of them, or the time is over.
void RunUntil(std::vector<Worker>& workers, std::atomic<std::uint64_t>& made, std::uint64_t calls,
              steady_clock::time_point end)
{
    std::vector<std::thread> threads;
    for (Worker& worker : workers) {
        threads.emplace_back([&] {
            while (made.fetch_add(1) < calls && steady_clock::now() < end) {
                worker.CallOnce();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void PrintFaults(const Field& field)
{
    std::printf("\n| fault | calls |\n|---|---|\n");
    for (std::size_t kind = 0; kind < kFaultKinds; ++kind) {
        const auto fault = static_cast<Fault>(kind);
        std::uint64_t count = 0;
        for (const auto& line : field.lines) {
            count += line->Injected(fault);
        }
        std::printf("| %s | %llu |\n", NameOf(fault), static_cast<unsigned long long>(count));
    }
}

/// The number of calls and of wrong answers.
std::pair<std::uint64_t, std::uint64_t> PrintResults(const std::vector<Worker>& workers)
{
    std::map<short, std::uint64_t> results;
    std::uint64_t calls = 0;
    std::uint64_t wrong = 0;
    for (const Worker& worker : workers) {
        for (const auto& [result, count] : worker.Results()) {
            results[result] += count;
            calls += count;
        }
        wrong += worker.WrongCount();
        for (const std::string& what : worker.Wrong()) {
            std::printf("wrong: %s\n", what.c_str());
        }
    }
    std::printf("\n| result | calls |\n|---|---|\n");
    for (const auto& [result, count] : results) {
        std::printf("| %d | %llu |\n", result, static_cast<unsigned long long>(count));
    }
    return {calls, wrong};
}

int Run(const Settings& settings)
{
    constexpr std::size_t kTolerance = std::size_t{1} << 20U;
    const Field field(settings.seed);
    std::vector<Worker> workers;
    for (int thread = 0; thread < kThreads; ++thread) {
        workers.emplace_back(thread, settings.seed + static_cast<unsigned>(thread));
    }
    bool prepared = field.Connect();
    for (Worker& worker : workers) {
        prepared = prepared && worker.Prepare();
    }
    if (!prepared) {
        std::printf("the controllers do not answer\n");
        return 1;
    }
    field.SetRates(kRates);
    const auto start = steady_clock::now();
    const auto end = start + std::chrono::seconds(settings.seconds);
    std::atomic<std::uint64_t> made = 0;
    RunUntil(workers, made, settings.calls / 5, end); // all that is made once is made by now
    const Resources before = Resources::Now();
    made = settings.calls / 5;
    RunUntil(workers, made, settings.calls, end);
    const Resources after = Resources::Now();
    const double seconds = std::chrono::duration<double>(steady_clock::now() - start).count();

    PrintFaults(field);
    const auto [calls, wrong] = PrintResults(workers);
    const auto grown =
        static_cast<std::int64_t>(after.bytes) - static_cast<std::int64_t>(before.bytes);
    const auto descriptors = static_cast<std::int64_t>(after.descriptors) -
                             static_cast<std::int64_t>(before.descriptors);
    std::printf("\n| calls | wrong answers | seconds | memory grown (KB) | descriptors grown |\n"
                "|---|---|---|---|---|\n| %llu | %llu | %.0f | %lld | %lld |\n",
                static_cast<unsigned long long>(calls), static_cast<unsigned long long>(wrong),
                seconds, static_cast<long long>(grown / 1024), static_cast<long long>(descriptors));
    // The lines have one connection more or less at any time, on either side.
    const bool stays =
        grown < static_cast<std::int64_t>(kTolerance) && descriptors <= 2 * kControllers;
    return wrong == 0 && stays ? 0 : 1;
}

} // namespace

} // namespace zelq::soak

int main(int argc, char** argv)
{
    zelq::soak::Settings settings;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "--calls") settings.calls = std::stoull(argv[i + 1]);
        if (option == "--seconds") settings.seconds = std::stoi(argv[i + 1]);
        if (option == "--seed") settings.seed = static_cast<unsigned>(std::stoul(argv[i + 1]));
    }
    return zelq::soak::Run(settings);
}
