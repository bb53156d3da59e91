// One page for a controller, served to browsers.
#pragma once

#include "frame/controller.h"
#include "frame/system.h"
#include "panel/simulator_port.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace zelq::tool {

struct PanelSettings
{
    std::string address = "127.0.0.1";
    std::uint16_t port = 0; ///< 0: a free one
    Milliseconds period{20};
    bool readOnly = false;
    std::optional<SimulatorPort> simulator;
};

/// Works until it ends; what it has set in motion is stopped then.
class Panel
{
  public:
    Panel(Controller& controller, const PanelSettings& settings);
    ~Panel();
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    /// "http://127.0.0.1:8080/#0123...": who has it may do what the panel may.
    [[nodiscard]] std::string Address() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace zelq::tool
