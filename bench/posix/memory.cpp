#include "posix/memory.h"

#include "library.h"
#include "posix/allocations.h"
#include "transport/device_session.h"

#include <cstdio>
#include <fstream>
#include <string>

namespace bench {

namespace {

/// Resident memory in KiB.
long Resident()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmRSS:") {
            long kib = 0;
            status >> kib;
            return kib;
        }
    }
    return 0;
}

} // namespace

void MeasureMemory()
{
    const Peer peer(1);
    const Connection connection(peer);
    MoveAbs(1);
    Snapshot(1);
    const long residentBefore = Resident();
    const std::uint64_t before = Allocations();
    constexpr int kCalls = 20000;
    for (int i = 0; i < kCalls; ++i) {
        MoveAbs(1);
        Snapshot(1);
    }
    const std::uint64_t allocations = Allocations() - before;
    std::printf("\n### Memory\n\n- heap allocations in %d calls: %llu\n"
                "- resident memory, growth over them: %ld KiB\n- a session: %zu bytes\n"
                "- the locks of all sessions of a user: one page of 4 KiB\n",
                2 * kCalls, static_cast<unsigned long long>(allocations),
                Resident() - residentBefore, sizeof(zelq::DeviceSession));
}

} // namespace bench
