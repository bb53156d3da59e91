// What a call of the DLL costs on loopback, beside raw Winsock in the same process.
//
//   zelq_bench latency        the measurement
//   zelq_bench repeat CALL N  makes N calls, for counting system calls from outside

#include "latency.h"
#include "repeat.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

int main(int argc, char** argv)
{
    try {
        const std::string_view verb = argc > 1 ? argv[1] : "";
        if (argc == 2 && verb == "latency") {
            bench::MeasureLatency("The DLL, under Wine", {-1, -1}, 100);
            return 0;
        }
        if (argc == 4 && verb == "repeat") {
            bench::Repeat(argv[2], std::atoi(argv[3]));
            return 0;
        }
        std::fputs("zelq_bench latency, or repeat CALL N\n", stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zelq_bench: %s\n", error.what());
    }
    return 1;
}
