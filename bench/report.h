#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One thing that is measured, by the time of each single call.
struct Subject
{
    std::string name;
    std::function<void()> call;
    std::vector<double> times = {};        ///< microseconds, of every call
    std::vector<double> chunkMedians = {}; ///< of each chunk of calls
};

/// Measures all subjects in turn, `chunks` times a chunk of `calls` each, so that whatever else the
/// machine does befalls them alike.
void Interleave(std::vector<Subject>& subjects, int chunks, int calls);

double Percentile(std::vector<double> values, double percent);

/// The median over all chunks of `part`'s median time to `base`'s.
double ChunkRatio(const Subject& part, const Subject& base);

void PrintTable(const std::vector<Subject>& subjects);

} // namespace bench
