// Calls without end against simulated controllers behind a line that is as bad as lines get, each
// answer judged: zelq_soak [--calls N] [--seconds N] [--seed N]. Ends with 1 on a wrong answer, or
// where memory or descriptors have grown.
#include "fault_proxy.h"
#include "server/server.h"
#include "support/process_resources.h"
#include "worker.h"
#include "zelq.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <thread>

namespace soak {

namespace {

using std::chrono::steady_clock;

/// A simulated controller and the line to it.
struct Place
{
    Place(short place, unsigned seed) : number(place), controller(Config(place))
    {
        controller.Start();
        line = std::make_unique<FaultProxy>(number, controller.Port(), seed);
    }

    static lumosim::ServerConfig Config(short number)
    {
        lumosim::ServerConfig config;
        config.controller.number = number;
        config.controller.axes = kThreads;
        config.address = "127.0.0." + std::to_string(number);
        config.clock = lumosim::Clock::kByHand;
        return config;
    }

    /// With waits that add up to 30 ms.
    [[nodiscard]] bool Connect() const
    {
        zelQ_SetNetPortNum(number, line->port);
        zelQ_Connect(number, 127, 0, 0); // makes the session
        zelQ_TMOSet(number, 2000, 1000, 1000);
        const short result = zelQ_Connect(number, 127, 0, 0);
        zelQ_TMOSet(number, 2000, 1000, 5);
        return result == 0;
    }

    const short number;
    lumosim::Server controller;
    std::unique_ptr<FaultProxy> line;
};

/// All threads make calls until there are enough of them, or the time is over.
void RunUntil(std::vector<Worker>& workers, std::int64_t calls, steady_clock::time_point end)
{
    std::atomic<std::int64_t> left = calls;
    std::vector<std::thread> threads;
    threads.reserve(workers.size());
    for (Worker& worker : workers) {
        threads.emplace_back([&] {
            while (left-- > 0 && steady_clock::now() < end) {
                worker.CallOnce();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void PrintFaults(const std::list<Place>& places)
{
    std::printf("\n| fault | calls |\n|---|---|\n");
    for (std::size_t kind = 0; kind < kFaultKinds; ++kind) {
        unsigned long long count = 0;
        for (const Place& place : places) {
            count += place.line->injected.at(kind);
        }
        std::printf("| %s | %llu |\n", kFaults[kind].name, count);
    }
}

/// The number of calls and of wrong answers.
std::pair<unsigned long long, unsigned long long> PrintResults(const std::vector<Worker>& workers)
{
    std::map<short, unsigned long long> results;
    unsigned long long calls = 0;
    unsigned long long wrong = 0;
    for (const Worker& worker : workers) {
        for (const auto& [result, count] : worker.results) {
            results[result] += count;
            calls += count;
        }
        wrong += worker.wrongCount;
        for (const std::string& what : worker.wrong) {
            std::printf("wrong: %s\n", what.c_str());
        }
    }
    std::printf("\n| result | calls |\n|---|---|\n");
    for (const auto& [result, count] : results) {
        std::printf("| %d | %llu |\n", result, count);
    }
    return {calls, wrong};
}

int Run(std::int64_t calls, std::int64_t seconds, unsigned seed)
{
    constexpr long long kTolerance = 1LL << 20U;
    std::list<Place> places;
    bool prepared = true;
    for (short i = 0; i < kControllers; ++i) {
        const Place& place = places.emplace_back(static_cast<short>(kFirstNumber + i),
                                                 seed + static_cast<unsigned>(i));
        prepared = place.Connect() && prepared;
    }
    std::vector<Worker> workers;
    for (unsigned short thread = 0; thread < kThreads; ++thread) {
        workers.emplace_back(thread, seed + thread);
        prepared = prepared && workers.back().Prepare();
    }
    if (!prepared) {
        std::printf("the controllers do not answer\n");
        return 1;
    }
    for (const Place& place : places) {
        place.line->begun = true;
    }
    const auto start = steady_clock::now();
    const auto end = start + std::chrono::seconds(seconds);
    RunUntil(workers, calls / 5, end); // all that is made once is made by now
    const auto bytes = static_cast<long long>(zelq::test::ResidentBytes());
    const auto open = static_cast<long long>(zelq::test::OpenDescriptors());
    RunUntil(workers, calls - calls / 5, end);
    const long long grown = static_cast<long long>(zelq::test::ResidentBytes()) - bytes;
    const long long opened = static_cast<long long>(zelq::test::OpenDescriptors()) - open;
    const double spent = std::chrono::duration<double>(steady_clock::now() - start).count();

    PrintFaults(places);
    const auto [made, wrong] = PrintResults(workers);
    std::printf("\n| calls | wrong answers | seconds | memory grown (KB) | descriptors grown |\n"
                "|---|---|---|---|---|\n| %llu | %llu | %.0f | %lld | %lld |\n",
                made, wrong, spent, grown / 1024, opened);
    // The lines have one connection more or less at any time, on either side.
    return wrong == 0 && grown < kTolerance && opened <= 2 * kControllers ? 0 : 1;
}

} // namespace

} // namespace soak

int main(int argc, char** argv)
{
    std::map<std::string, long long> settings = {
        {"--calls", 1'000'000}, {"--seconds", 1800}, {"--seed", 1}};
    for (int i = 1; i + 1 < argc; i += 2) {
        settings[argv[i]] = std::stoll(argv[i + 1]);
    }
    return soak::Run(settings["--calls"], settings["--seconds"],
                     static_cast<unsigned>(settings["--seed"]));
}
