#include "support/process_resources.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <string>
#include <unistd.h>

namespace zelq::test {

std::size_t OpenDescriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    const auto count = std::distance(begin(entries), end(entries));
    return static_cast<std::size_t>(count) - 1; // the listing's own
}

std::size_t InheritableDescriptors()
{
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int flags = fcntl(std::stoi(entry.path().filename()), F_GETFD);
        if (flags >= 0 && (flags & FD_CLOEXEC) == 0) ++count;
    }
    return count;
}

std::size_t ResidentBytes()
{
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t AllocatedBytes()
{
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

} // namespace zelq::test
