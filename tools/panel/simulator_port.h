// The control port of the simulator that is the controller.
#pragma once

#include "client.h"

#include <string>

namespace zelq::tool {

struct SimulatorPort
{
    web::Place place;
    int controller = 0;

    [[nodiscard]] std::string Target(const std::string& path) const
    {
        return "/controllers/" + std::to_string(controller) + path;
    }
};

} // namespace zelq::tool
