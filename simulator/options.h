// lumo-sim's command line.
#pragma once

#include "control/machine_file.h"
#include "faults/fault_registry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lumosim {

struct FaultRequest
{
    std::string name;
    FaultValues values;
};

struct Options
{
    std::vector<MachineConfig> machines; // at least one
    std::vector<FaultRequest> faults;    // of each
    std::string controlAddress = "127.0.0.1";
    std::optional<std::uint16_t> controlPort;
    bool quiet = false;
    bool verbose = false;
};

// What main returns.
constexpr int kEnded = 0;       // by Ctrl-C, or as asked
constexpr int kCannotStart = 1; // an address, a port or a pipe cannot be had
constexpr int kWrongUse = 2;    // the command line or the machine file is wrong

// Nothing, and `exitCode` what main returns, when all is said already: --help, --version, or what
// is wrong.
std::optional<Options> ParseOptions(int argc, char** argv, int& exitCode);

} // namespace lumosim
