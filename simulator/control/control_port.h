// Simulated controllers as seen and handled from outside: HTTP with JSON, and WebSocket.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace lumosim {

class Server;

// docs/control-port.md describes what can be asked of it. The servers outlive it.
class ControlPort
{
  public:
    // Port 0 takes a free one. std::system_error when the address cannot be listened on.
    ControlPort(const std::string& address, std::uint16_t port,
                const std::vector<Server*>& servers);
    ~ControlPort();
    ControlPort(const ControlPort&) = delete;
    ControlPort& operator=(const ControlPort&) = delete;

    [[nodiscard]] std::uint16_t Port() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace lumosim
