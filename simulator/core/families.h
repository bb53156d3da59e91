// The families that every controller is made of. A new one is a file with a class of its own, its
// maker declared here, and the same name in the list in families.cpp.
#pragma once

#include "family.h"

#include <memory>
#include <span>

namespace lumosim {

class Controller;

using FamilyMaker = std::unique_ptr<Family>(Controller& controller);

FamilyMaker MakeAlarms, MakeAxisSetup, MakeAxisStatus, MakeDriveModes, MakeDriveOutputs, MakeDrives,
    MakeHandWheel, MakeHoming, MakeListMotion, MakeMainOutputs, MakeMaintenance, MakeMemory,
    MakeMoves, MakeOverrides, MakePaths, MakePositionSet, MakeRemoteOutputs, MakeSearch,
    MakeSequences, MakeSerialPort, MakeSlaveProperties, MakeStopModes, MakeStops, MakeSystemStatus,
    MakeTorqueLimits;

std::span<FamilyMaker* const> FamilyMakers();

} // namespace lumosim
