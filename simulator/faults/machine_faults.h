// What can go wrong with the machine: drives, sensors, loads, power, the servo network.
#pragma once

#include "fault_registry.h"

namespace lumosim {

class Controller;

// The controller must be there for as long as the registry is used.
void AddMachineFaults(FaultRegistry& registry, Controller& controller);

} // namespace lumosim
