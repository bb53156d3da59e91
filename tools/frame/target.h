// Which controller is meant.
#pragma once

#include "frame/settings.h"

#include <array>
#include <optional>
#include <string>

namespace zelq::tool {

/// What the command line says of it; empty or without a value: nothing.
struct TargetOptions
{
    std::string name;
    std::string network;
    std::optional<int> controller;
    std::optional<int> port;
};

struct Target
{
    std::string name; ///< in the configuration file; empty: it is not there
    std::array<short, 3> network{};
    short number = 0;
    int port = 0;
    std::map<int, AxisSettings> axes;

    [[nodiscard]] std::string Address() const; ///< "192.168.0.3"
    [[nodiscard]] std::string Text() const;    ///< "controller 3 at 192.168.0.3, port 502"
    [[nodiscard]] const AxisSettings& Axis(int axis) const;
};

/// The options come first; then the target that an option names; then ZELQ_NETWORK, ZELQ_CONTROLLER
/// and ZELQ_PORT; then the target that ZELQ_TARGET names, or the file's default. However it was
/// found, the units and limits that the file has for this address hold.
Target ResolveTarget(const TargetOptions& options, const Settings& settings);

/// "192.168.0" as three octets; throws a Failure.
std::array<short, 3> ParseNetwork(const std::string& text);
/// "255.255.255.0" as four octets; throws a Failure.
std::array<short, 4> ParseMask(const std::string& text);

} // namespace zelq::tool
