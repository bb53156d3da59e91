#include "families.h"

namespace lumosim {

std::vector<std::unique_ptr<Family>> MakeFamilies(Controller& controller)
{
    std::vector<std::unique_ptr<Family>> families;
    families.push_back(MakeSystemStatus(controller));
    families.push_back(MakeAxisStatus(controller));
    families.push_back(MakeAxisSetup(controller));
    families.push_back(MakeMoves(controller));
    families.push_back(MakeSearch(controller));
    families.push_back(MakeOverrides(controller));
    families.push_back(MakeStops(controller));
    families.push_back(MakeDriveModes(controller));
    families.push_back(MakePositionSet(controller));
    families.push_back(MakeHoming(controller));
    families.push_back(MakeListMotion(controller));
    families.push_back(MakeTorqueLimits(controller));
    families.push_back(MakeStopModes(controller));
    families.push_back(MakeHandWheel(controller));
    families.push_back(MakeAlarms(controller));
    families.push_back(MakeSlaveProperties(controller));
    families.push_back(MakeDrives(controller));
    // Programs wait for what all others do, so they come behind them.
    families.push_back(MakeSequences(controller));
    return families;
}

} // namespace lumosim
