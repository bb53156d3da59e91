#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One thing that is measured.
struct Subject
{
    std::string name;
    std::function<void()> call;
    std::size_t base = 0;           ///< the subject that it is compared with
    int calls = 50;                 ///< in a chunk
    std::vector<double> times = {}; ///< microseconds, of every call
};

/// What is taken of the times: a percentile of each so many chunks, and the median of those, which
/// a disturbance of the machine moves little.
struct Statistic
{
    std::size_t chunks;
    double percent;
};

inline constexpr Statistic kUsual{1, 50};
inline constexpr Statistic kTail{20, 99};

double Percentile(std::vector<double> values, double percent);
double Value(const Subject& subject, Statistic statistic);
/// The median of the ratios of what was measured at about the same time.
double Ratio(const Subject& part, const Subject& base, Statistic statistic);

/// Measures all subjects `chunks` times, in an order that is shuffled each time: so whatever else
/// the machine does befalls all of them alike, and none always comes behind the same other.
void Interleave(std::vector<Subject>& subjects, int chunks);

/// Their times, and how they compare with their bases.
void PrintTable(const std::vector<Subject>& subjects);

} // namespace bench
