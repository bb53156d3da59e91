// Takes the connections of hosts at one address.
#pragma once

#include "connection.h"
#include "network.h"
#include "shared_controller.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <set>

namespace lumosim {

// Members are called on the thread that runs `io`, or while none does; Port and Connections on any.
class Listener
{
  public:
    Listener(asio::io_context& io, SharedController& controller, WireFilter& filter)
        : io_(io), controller_(controller), filter_(filter)
    {}

    // Port 0 takes a free one. NetworkError when the address cannot be listened on.
    void Open(const asio::ip::address& address, std::uint16_t port);
    void Close(); // the connections, too
    void CloseConnections();

    [[nodiscard]] std::uint16_t Port() const { return port_; } // the last one bound
    [[nodiscard]] std::size_t Connections() const { return connectionCount_; }

  private:
    void Accept();
    void Take(asio::ip::tcp::socket socket);
    void PauseAccepting();

    asio::io_context& io_;
    SharedController& controller_;
    WireFilter& filter_;
    asio::ip::tcp::acceptor acceptor_{io_};
    asio::steady_timer acceptPause_{io_};
    std::set<std::shared_ptr<Connection>> connections_;
    std::atomic<std::uint16_t> port_ = 0;
    std::atomic<std::size_t> connectionCount_ = 0;
};

} // namespace lumosim
