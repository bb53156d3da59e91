#include "threads.h"

#include "clients.h"
#include "subject.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdio>
#include <deque>
#include <random>

namespace bench {

namespace {

constexpr int kControllers = 64;
constexpr int kRounds = 25;
constexpr std::chrono::milliseconds kSlice{100};

/// What each of the threads does over and over, and how many times a second all of them did.
struct Work
{
    const char* name;
    std::function<void(Clients&)> call;
    std::size_t base;
    std::vector<double> rates = {};
};

double Rate(std::deque<Clients>& all, const std::function<void(Clients&)>& call)
{
    std::barrier start(kControllers + 1);
    std::atomic<bool> over = false;
    std::atomic<long> calls = 0;
    std::vector<std::jthread> threads;
    for (Clients& clients : all) {
        threads.emplace_back([&] {
            long done = 0;
            start.arrive_and_wait();
            for (; !over.load(std::memory_order_relaxed); ++done) {
                call(clients);
            }
            calls += done;
        });
    }
    start.arrive_and_wait();
    const auto begin = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(kSlice);
    over = true;
    threads.clear();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    return static_cast<double>(calls) / time.count();
}

double MedianRatio(const Work& part, const Work& base)
{
    std::vector<double> ratios;
    for (std::size_t i = 0; i < part.rates.size(); ++i) {
        ratios.push_back(part.rates[i] / base.rates[i]);
    }
    return Percentile(ratios, 50);
}

void MeasureInTurn(std::deque<Clients>& all, std::vector<Work>& works)
{
    std::mt19937 random; // NOLINT(*-msc51*): the same order in each run
    std::vector<Work*> order;
    for (Work& work : works) {
        order.push_back(&work);
    }
    for (int round = 0; round < kRounds; ++round) {
        std::ranges::shuffle(order, random);
        for (Work* work : order) {
            work->rates.push_back(Rate(all, work->call));
        }
    }
}

} // namespace

void MeasureThreads()
{
    PinThisThread(-1);
    std::deque<Clients> all;
    for (int number = 1; number <= kControllers; ++number) {
        all.emplace_back(number);
    }
    const Exchange move = MoveExchange();
    const Exchange snapshot = SnapshotExchange(32);
    std::vector<Work> works = {
        {"raw exchanges of a move's bytes", [&](Clients& it) { it.raw.Run(move); }, 0},
        {"a move's system calls, nothing else", [&](Clients& it) { it.bare.Run(move); }, 0},
        {"**`zelQ_MoveAbs`**", [](Clients& it) { MoveAbs(it.number); }, 0},
        {"raw exchanges of a snapshot's bytes", [&](Clients& it) { it.raw.Run(snapshot); }, 3},
        {"a snapshot's system calls, nothing else", [&](Clients& it) { it.bare.Run(snapshot); }, 3},
        {"**`zelQ_GetAllStatus`**, 32 axes", [](Clients& it) { Snapshot(it.number); }, 3},
    };
    MeasureInTurn(all, works);
    std::printf("\n### 64 threads, each with a controller of its own\n\n"
                "| | calls a second | to raw |\n|---|---|---|\n");
    for (const Work& work : works) {
        const Work& base = works[work.base];
        std::printf("| %s | %.0f |", work.name, Percentile(work.rates, 50));
        if (&work == &base) {
            std::printf(" |\n");
        } else {
            std::printf(" %.2f |\n", MedianRatio(work, base));
        }
    }
}

} // namespace bench
