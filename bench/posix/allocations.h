#pragma once

#include <cstdint>

namespace bench {

/// Heap allocations of the calling thread since it started.
std::uint64_t Allocations();

} // namespace bench
