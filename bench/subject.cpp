#include "subject.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>

namespace bench {

namespace {

std::mt19937 random; // NOLINT(*-msc51*): the same order in each run

void MeasureChunk(Subject& subject)
{
    using Clock = std::chrono::steady_clock;
    for (int i = 0; i < subject.calls; ++i) {
        const auto start = Clock::now();
        subject.call();
        subject.times.push_back(
            std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
}

std::vector<double> Values(const Subject& subject, Statistic statistic)
{
    const std::size_t step = statistic.chunks * static_cast<std::size_t>(subject.calls);
    std::vector<double> values;
    for (std::size_t at = 0; at + step <= subject.times.size(); at += step) {
        const auto first = subject.times.begin() + static_cast<std::ptrdiff_t>(at);
        const std::vector<double> part(first, first + static_cast<std::ptrdiff_t>(step));
        values.push_back(Percentile(part, statistic.percent));
    }
    return values;
}

} // namespace

double Percentile(std::vector<double> values, double percent)
{
    const auto index =
        static_cast<std::size_t>(percent / 100.0 * static_cast<double>(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(index),
                     values.end());
    return values[index];
}

double Value(const Subject& subject, Statistic statistic)
{
    return Percentile(Values(subject, statistic), 50);
}

double Ratio(const Subject& part, const Subject& base, Statistic statistic)
{
    std::vector<double> ratios = Values(part, statistic);
    const std::vector<double> bases = Values(base, statistic);
    for (std::size_t i = 0; i < ratios.size(); ++i) {
        ratios[i] /= bases[i];
    }
    return Percentile(ratios, 50);
}

void Interleave(std::vector<Subject>& subjects, int chunks)
{
    constexpr int kWarmUp = 5;
    std::vector<Subject*> order;
    for (Subject& subject : subjects) {
        subject.times.reserve(static_cast<std::size_t>(chunks * subject.calls));
        order.push_back(&subject);
    }
    for (int round = -kWarmUp; round < chunks; ++round) {
        std::ranges::shuffle(order, random);
        for (Subject* subject : order) {
            if (round == 0) subject->times.clear();
            MeasureChunk(*subject);
        }
    }
}

void PrintTable(const std::vector<Subject>& subjects)
{
    std::printf("| | p50, µs | p99, µs | p50 to raw | p99 to raw |\n|---|---|---|---|---|\n");
    for (const Subject& subject : subjects) {
        const Subject& base = subjects[subject.base];
        std::printf("| %s | %.1f | %.1f |", subject.name.c_str(), Value(subject, kUsual),
                    Value(subject, kTail));
        if (&subject == &base) {
            std::printf(" | |\n");
        } else {
            std::printf(" %.2f | %.2f |\n", Ratio(subject, base, kUsual),
                        Ratio(subject, base, kTail));
        }
    }
}

} // namespace bench
