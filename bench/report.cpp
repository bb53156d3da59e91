#include "report.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace bench {

void Interleave(std::vector<Subject>& subjects, int chunks, int calls)
{
    using Clock = std::chrono::steady_clock;
    std::vector<double> chunk(static_cast<std::size_t>(calls));
    for (int round = 0; round < chunks; ++round) {
        for (Subject& subject : subjects) {
            for (double& time : chunk) {
                const auto start = Clock::now();
                subject.call();
                time = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
            }
            subject.times.insert(subject.times.end(), chunk.begin(), chunk.end());
            subject.chunkMedians.push_back(Percentile(chunk, 50));
        }
    }
}

double Percentile(std::vector<double> values, double percent)
{
    const auto index =
        static_cast<std::size_t>(percent / 100.0 * static_cast<double>(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(index),
                     values.end());
    return values[index];
}

double ChunkRatio(const Subject& part, const Subject& base)
{
    std::vector<double> ratios;
    for (std::size_t i = 0; i < part.chunkMedians.size(); ++i) {
        ratios.push_back(part.chunkMedians[i] / base.chunkMedians[i]);
    }
    return Percentile(ratios, 50);
}

void PrintTable(const std::vector<Subject>& subjects)
{
    std::printf("| %-34s | p50 us | p99 us |\n|---|---|---|\n", "call");
    for (const Subject& subject : subjects) {
        std::printf("| %-34s | %6.1f | %6.1f |\n", subject.name.c_str(),
                    Percentile(subject.times, 50), Percentile(subject.times, 99));
    }
}

} // namespace bench
