// The families a controller is made of. A new one is a file with a class of its own, a maker
// declared here, and a line in families.cpp.
#pragma once

#include "family.h"

#include <memory>
#include <vector>

namespace lumosim {

class Controller;

std::unique_ptr<Family> MakeAlarms(Controller& controller);
std::unique_ptr<Family> MakeAxisSetup(Controller& controller);
std::unique_ptr<Family> MakeAxisStatus(Controller& controller);
std::unique_ptr<Family> MakeDriveModes(Controller& controller);
std::unique_ptr<Family> MakeHoming(Controller& controller);
std::unique_ptr<Family> MakeMoves(Controller& controller);
std::unique_ptr<Family> MakeOverrides(Controller& controller);
std::unique_ptr<Family> MakePaths(Controller& controller);
std::unique_ptr<Family> MakePositionSet(Controller& controller);
std::unique_ptr<Family> MakeSearch(Controller& controller);
std::unique_ptr<Family> MakeStops(Controller& controller);
std::unique_ptr<Family> MakeListMotion(Controller& controller);
std::unique_ptr<Family> MakeSequences(Controller& controller);
std::unique_ptr<Family> MakeDriveOutputs(Controller& controller);
std::unique_ptr<Family> MakeMainOutputs(Controller& controller);
std::unique_ptr<Family> MakeMaintenance(Controller& controller);
std::unique_ptr<Family> MakeMemory(Controller& controller);
std::unique_ptr<Family> MakeRemoteOutputs(Controller& controller);
std::unique_ptr<Family> MakeSerialPort(Controller& controller);
std::unique_ptr<Family> MakeDrives(Controller& controller);
std::unique_ptr<Family> MakeHandWheel(Controller& controller);
std::unique_ptr<Family> MakeSlaveProperties(Controller& controller);
std::unique_ptr<Family> MakeStopModes(Controller& controller);
std::unique_ptr<Family> MakeSystemStatus(Controller& controller);
std::unique_ptr<Family> MakeTorqueLimits(Controller& controller);

std::vector<std::unique_ptr<Family>> MakeFamilies(Controller& controller);

} // namespace lumosim
