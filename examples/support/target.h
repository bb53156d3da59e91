#pragma once

#include "server/server.h"

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace example {

/// An option that one example has for itself.
struct Option
{
    const char* name; ///< "--speed"
    const char* text; ///< what it is for
    std::variant<std::string*, double*, std::uint16_t*, std::uint32_t*> value;
    double lowest = 0.0;
    double highest = 0.0; ///< no more than the lowest: any value will do
};

/// Which controller an example talks to: the one that the command line names, or a simulated one
/// inside the program.
class Target
{
  public:
    /// Reads the command line: --controller, --network, --port, --time-scale and the example's own
    /// options. Where it is wrong, or asks for help, the program ends here.
    Target(int argc, char** argv, const char* about, const std::vector<Option>& options = {});

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
