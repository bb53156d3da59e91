#pragma once

#include <cstddef>

namespace zelq::test {

/// Descriptors (Linux) or handles (Windows) that this process has open.
std::size_t OpenDescriptors();

/// Bytes of memory that this process occupies.
std::size_t ResidentBytes();

} // namespace zelq::test
