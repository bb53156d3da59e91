// What can go wrong on the line to the hosts, by name.
#pragma once

#include "faults/fault_registry.h"

namespace lumosim {

class WireFilter;

void AddWireFaults(FaultRegistry& registry, WireFilter& filter);

} // namespace lumosim
