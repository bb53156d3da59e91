#include "posix/allocations.h"

#include <cstddef>

// Every allocation of the process passes these, the library's own included.

namespace {

thread_local std::uint64_t count = 0;

} // namespace

extern "C" {

void* __libc_malloc(std::size_t size);                // NOLINT(*-identifier*): the system's names
void* __libc_calloc(std::size_t n, std::size_t size); // NOLINT(*-identifier*)
void* __libc_realloc(void* old, std::size_t size);    // NOLINT(*-identifier*)

void* malloc(std::size_t size)
{
    ++count;
    return __libc_malloc(size);
}

void* calloc(std::size_t n, std::size_t size)
{
    ++count;
    return __libc_calloc(n, size);
}

void* realloc(void* old, std::size_t size)
{
    ++count;
    return __libc_realloc(old, size);
}
}

namespace bench {

std::uint64_t Allocations()
{
    return count;
}

} // namespace bench
