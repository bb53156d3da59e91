// One TCP connection of a host.
#pragma once

#include "modbus.h"
#include "network.h"
#include "shared_controller.h"
#include "wire_filter.h"

#include <array>
#include <deque>
#include <functional>
#include <list>
#include <memory>

namespace lumosim {

// Lives as long as its socket is open. It reads again only when its answers are sent, so a host
// that does not fetch them costs a bounded amount of memory.
class Connection : public std::enable_shared_from_this<Connection>
{
  public:
    using Closed = std::function<void(const std::shared_ptr<Connection>&)>;

    Connection(asio::ip::tcp::socket socket, SharedController& controller, WireFilter& filter,
               Closed closed);

    void Start();
    void Close();

  private:
    void Reset();
    void Leave();
    void GoOn();
    void AwaitRequest();
    void Read();
    void Answer(std::size_t received);
    void Queue(WirePiece piece);
    void Send();
    void Sent();

    asio::ip::tcp::socket socket_;
    SharedController& controller_;
    WireFilter& filter_;
    Closed closed_;
    ModbusSession session_;
    std::array<std::uint8_t, 4096> received_{};
    std::deque<WirePiece> pieces_; // the first is being sent
    bool sending_ = false;
    bool reading_ = false;
    bool hangs_ = false;
    Pace pace_{};
    asio::steady_timer wait_;  // ahead of a piece
    asio::steady_timer pause_; // ahead of a read
    std::list<asio::steady_timer> overtaken_;
};

} // namespace lumosim
