// What a call costs on loopback, beside a raw exchange of the same bytes, beside the system calls
// alone, and beside libmodbus.
//
//   zelq_bench latency|cpp|growth|threads|memory  one of the measurements
//   zelq_bench repeat CALL N                  makes N calls, for counting system calls from outside
//   zelq_bench peer                           prints the port of a peer, which ends with its input
//
// Where the environment names a folder as ZELQ_BENCH_DATA, figures for the plot go there.

#include "cpp_binding.h"
#include "growth.h"
#include "latency.h"
#include "peer.h"
#include "posix/memory.h"
#include "posix/modbus_reads.h"
#include "repeat.h"
#include "threads.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

namespace {

std::string DataFile(const char* name)
{
    const char* folder = std::getenv("ZELQ_BENCH_DATA");
    return folder == nullptr ? std::string() : std::string(folder) + '/' + name;
}

void MeasureLatencies()
{
    bench::MeasureLatency("On two processors", {0, 1}, 200, bench::ModbusReads);
    bench::MeasureLatency("Both ends on one processor", {0, 0}, 400, bench::ModbusReads,
                          DataFile("spread.dat"));
}

// For clients in other languages.
void ServePeer()
{
    const bench::Peer peer(1);
    std::printf("%d\n", peer.Port());
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
}

bool Run(std::string_view what)
{
    if (what == "latency")
        MeasureLatencies();
    else if (what == "cpp")
        bench::MeasureCppBinding();
    else if (what == "growth")
        bench::MeasureGrowth(DataFile("growth.dat"));
    else if (what == "threads")
        bench::MeasureThreads();
    else if (what == "memory")
        bench::MeasureMemory();
    else if (what == "peer")
        ServePeer();
    else
        return false;
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const bool repeats = argc == 4 && std::string_view(argv[1]) == "repeat";
        if (repeats) bench::Repeat(argv[2], std::atoi(argv[3]));
        if (repeats || (argc == 2 && Run(argv[1]))) return 0;
        std::fputs("zelq_bench latency|cpp|growth|threads|memory|peer, or repeat CALL N\n", stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zelq_bench: %s\n", error.what());
    }
    return 1;
}
