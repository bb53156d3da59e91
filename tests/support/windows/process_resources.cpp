#include "support/process_resources.h"

#include <algorithm>
#include <array>
#include <cstdint>

// In this order, since the second needs the first.
// clang-format off
#include <windows.h>
#include <psapi.h>
// clang-format on

namespace zelq::test {

namespace {

// Asks for each number that a handle may have: the system's own count is always 0 under Wine.
template <typename Counts>
std::size_t CountHandles(Counts counts)
{
    constexpr std::uintptr_t kStep = 4; // handles are multiples of it, and small
    constexpr std::uintptr_t kEnd = 0x2000;
    std::size_t count = 0;
    for (std::uintptr_t value = kStep; value < kEnd; value += kStep) {
        DWORD flags = 0;
        const HANDLE handle = reinterpret_cast<HANDLE>(value); // NOLINT(*-no-int-to-ptr)
        if (GetHandleInformation(handle, &flags) != FALSE && counts(flags)) ++count;
    }
    return count;
}

} // namespace

std::size_t OpenDescriptors()
{
    return CountHandles([](DWORD) { return true; });
}

std::size_t InheritableDescriptors()
{
    return CountHandles([](DWORD flags) { return (flags & HANDLE_FLAG_INHERIT) != 0; });
}

std::size_t ResidentBytes()
{
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters.WorkingSetSize;
}

std::size_t AllocatedBytes()
{
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(count, heaps.size()); ++i) {
        PROCESS_HEAP_ENTRY entry{};
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &entry) != FALSE) {
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
        }
        HeapUnlock(heaps[i]);
    }
    return bytes;
}

} // namespace zelq::test
