#include "families.h"

namespace lumosim {

namespace {

constexpr FamilyMaker* kMakers[] = {
    MakeSystemStatus, MakeAxisStatus, MakeAxisSetup, MakeMoves, MakeSearch, MakeOverrides,
    MakeStops, MakeDriveModes, MakePositionSet, MakeHoming, MakePaths, MakeListMotion,
    MakeDriveOutputs, MakeRemoteOutputs, MakeMainOutputs, MakeSerialPort, MakeMaintenance,
    MakeMemory, MakeTorqueLimits, MakeStopModes, MakeHandWheel, MakeAlarms, MakeSlaveProperties,
    MakeDrives,
    // Programs wait for what all others do, so they come behind them.
    MakeSequences};

} // namespace

std::span<FamilyMaker* const> FamilyMakers()
{
    return kMakers;
}

} // namespace lumosim
