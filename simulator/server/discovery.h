// Answers hosts that ask over UDP who is there.
#pragma once

#include "network.h"
#include "shared_controller.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace lumosim {

// Every request is answered, so a host that asks twice hears twice. What is no request is ignored.
// Members are called on the thread that runs `io`, or while none does.
class DiscoveryResponder
{
  public:
    DiscoveryResponder(asio::io_context& io, SharedController& controller)
        : io_(io), controller_(controller)
    {}

    // Listens at the controller's address and for broadcasts; port 0 takes a free one.
    // NetworkError when it cannot.
    void Open(const asio::ip::address& address, std::uint16_t port);
    void Close();

    [[nodiscard]] std::uint16_t Port() const { return port_; }

  private:
    struct Ear
    {
        explicit Ear(asio::io_context& io) : socket(io) {}

        asio::ip::udp::socket socket;
        asio::ip::udp::endpoint sender;
        std::array<std::uint8_t, 65536> datagram{}; // there are no larger ones
    };

    std::shared_ptr<Ear> OpenEar(const asio::ip::udp::endpoint& endpoint);
    void Listen(const std::shared_ptr<Ear>& ear);
    void Answer(std::span<const std::uint8_t> request, const asio::ip::udp::endpoint& sender);

    asio::io_context& io_;
    SharedController& controller_;
    std::uint16_t port_ = 0;
    std::vector<std::shared_ptr<Ear>> ears_; // the first stands at the controller's own address
};

} // namespace lumosim
