#include "families.h"

namespace lumosim {

std::vector<std::unique_ptr<Family>> MakeFamilies(Controller& controller)
{
    std::vector<std::unique_ptr<Family>> families;
    families.push_back(MakeSystemStatus(controller));
    families.push_back(MakeAxisStatus(controller));
    families.push_back(MakeAxisSetup(controller));
    families.push_back(MakeMoves(controller));
    families.push_back(MakePaths(controller));
    return families;
}

} // namespace lumosim
