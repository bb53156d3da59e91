#include "support/process_resources.h"

#include <cstdint>

// In this order, since the second needs the first.
// clang-format off
#include <windows.h>
#include <psapi.h>
// clang-format on

namespace zelq::test {

std::size_t OpenDescriptors()
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

std::size_t InheritableDescriptors()
{
    constexpr std::uintptr_t kStep = 4; // handles are multiples of it, and small
    constexpr std::uintptr_t kEnd = 0x10000;
    std::size_t count = 0;
    for (std::uintptr_t value = kStep; value < kEnd; value += kStep) {
        DWORD flags = 0;
        const HANDLE handle = reinterpret_cast<HANDLE>(value); // NOLINT(*-no-int-to-ptr)
        if (GetHandleInformation(handle, &flags) == 0) continue;
        if ((flags & HANDLE_FLAG_INHERIT) != 0) ++count;
    }
    return count;
}

std::size_t ResidentBytes()
{
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters.WorkingSetSize;
}

} // namespace zelq::test
