// What of a controller can be recorded, by name.
#pragma once

#include <functional>
#include <string>

namespace lumosim {

class Controller;

struct Channel
{
    std::string name; // "0.command", "30.inputs", "outputs"
    std::function<double(const Controller&)> read;
};

// std::invalid_argument says what there is instead.
Channel FindChannel(const std::string& name);

} // namespace lumosim
