// A machine described in a file: its controllers, their axes, inputs and sensors.
#pragma once

#include "sensors.h"
#include "server/server.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace lumosim {

struct MachineConfig
{
    ServerConfig server;
    std::map<int, AxisMechanics> axes; // those that are not as all others
    std::map<int, std::uint32_t> slaveInputs;
    Word inputs = 0; // of the main board
    std::vector<SensorConfig> sensors;
};

// What the file leaves out is as in `common`; a controller without an address stands at
// 127.0.0.NUMBER. std::runtime_error names the place in the file that is wrong.
std::vector<MachineConfig> ReadMachineFile(const std::string& path, const MachineConfig& common);

// Makes the server's controller what the description says beyond the server's own configuration.
void SetUpMachine(Server& server, const MachineConfig& machine);

} // namespace lumosim
