// The bridge's file: the broker, how the bridge is called there, and the controllers.
#pragma once

#include "bridge/rules.h"

#include <array>
#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace zelq::bridge {

/// Says what is wrong, with file, line and place.
class ConfigError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

struct BrokerConfig
{
    std::string host;
    int port = 0;
    int keepAlive = 15; ///< seconds
    bool tls = false;
    std::string ca;
    std::string certificate;
    std::string key;
    std::string userFile;
    std::string passwordFile;

    bool operator==(const BrokerConfig&) const = default;
};

struct AxisConfig
{
    std::string name; ///< empty: its number
    std::string unit = "pulses";
    double unitPerPulse = 1.0;

    bool operator==(const AxisConfig&) const = default;
};

struct ControllerConfig
{
    std::string name;
    std::array<short, 3> network{};
    short number = 0; ///< the last octet of its address
    int port = 502;
    std::map<int, AxisConfig> axes;
    Rules rules;

    [[nodiscard]] std::string Address() const;
    bool operator==(const ControllerConfig&) const = default;
};

enum class FormatKind { kSparkplug, kJson };

/// What a new session with the broker is needed for when it changes.
struct NodeConfig
{
    BrokerConfig broker;
    std::string group;
    std::string node;
    FormatKind format = FormatKind::kSparkplug;
    std::string primaryHost; ///< empty: nobody is waited for
    std::string storeFile;
    std::size_t storeBytes = 0;

    bool operator==(const NodeConfig&) const = default;
};

struct Config
{
    NodeConfig node;
    std::vector<ControllerConfig> controllers;
};

Config LoadConfig(const std::string& file);

} // namespace zelq::bridge
