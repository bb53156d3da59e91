// One TCP connection of a host.
#pragma once

#include "modbus.h"
#include "network.h"
#include "shared_controller.h"

#include <array>
#include <functional>
#include <memory>

namespace lumosim {

// Lives as long as its socket is open. It reads again only when its answers are sent, so a host
// that does not fetch them costs a bounded amount of memory.
class Connection : public std::enable_shared_from_this<Connection>
{
  public:
    using Closed = std::function<void(const std::shared_ptr<Connection>&)>;

    Connection(asio::ip::tcp::socket socket, SharedController& controller, Closed closed);

    void Start();
    void Close();

  private:
    void Read();
    void Answer(std::size_t received);

    asio::ip::tcp::socket socket_;
    SharedController& controller_;
    Closed closed_;
    ModbusSession session_;
    std::array<std::uint8_t, 4096> received_{};
    ModbusSession::Bytes answers_;
};

} // namespace lumosim
