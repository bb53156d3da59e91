#pragma once

#include <cstddef>

namespace zelq::test {

/// Descriptors (Linux) or handles (Windows) that this process has open.
std::size_t OpenDescriptors();

/// How many of them a child process would inherit.
std::size_t InheritableDescriptors();

/// Bytes of memory that this process occupies.
std::size_t ResidentBytes();

/// Bytes of memory that are allocated in this process and not freed.
std::size_t AllocatedBytes();

} // namespace zelq::test
