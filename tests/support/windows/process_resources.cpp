#include "support/process_resources.h"

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

std::size_t ResidentBytes()
{
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters.WorkingSetSize;
}

} // namespace zelq::test
