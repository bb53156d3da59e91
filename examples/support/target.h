#pragma once

#include "server/server.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

namespace example {

/// Which controller an example talks to: the one that the command line names, or a simulated one
/// inside the program.
class Target
{
  public:
    /// Adds --controller, --network, --port and --time-scale.
    explicit Target(CLI::App& app);

    /// Starts the simulator where no network was given, and connects. Throws std::runtime_error
    /// with a plain message when that fails.
    void Connect();

    [[nodiscard]] short Number() const { return number_; }
    [[nodiscard]] bool IsSimulated() const { return network_.empty(); }
    /// The simulated controller, to be set up before Connect or looked at afterwards.
    [[nodiscard]] lumosim::ServerConfig& SimulatorConfig() { return simulatorConfig_; }
    [[nodiscard]] lumosim::Server& Simulator() { return *simulator_; }

  private:
    short number_ = 7;
    std::string network_; ///< "192.168.0"; empty: simulated
    int port_ = 502;
    lumosim::ServerConfig simulatorConfig_;
    std::unique_ptr<lumosim::Server> simulator_;
};

} // namespace example
