#pragma once

namespace bench {

/// How many calls 64 threads get done, each with a controller of its own, beside as many threads
/// of raw exchanges.
void MeasureThreads();

} // namespace bench
