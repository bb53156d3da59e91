// A controller's state as the control port shows it.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace lumosim {

class FaultRegistry;
class Server;

// The snapshot of the controller with its clock, its faults and what the line has to it.
nlohmann::json StateOf(Server& server);
nlohmann::json ClockOf(Server& server);

// What can go wrong and what does.
nlohmann::json FaultKinds(const FaultRegistry& faults);

} // namespace lumosim
