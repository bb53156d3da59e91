// Hosts of a simulated controller, as plain sockets.
#pragma once

#include "modbus_frames.h"
#include "network.h"
#include "server/server.h"

#include <gtest/gtest.h>
#include <string>

namespace lumosim::test {

inline ServerConfig ByHand(int number = 1)
{
    ServerConfig config;
    config.clock = Clock::kByHand;
    config.controller.number = number;
    config.address = "127.0.0." + std::to_string(number);
    return config;
}

// A host's socket. A server that never answers fails the test instead of hanging it.
template <typename Socket>
class Host
{
  public:
    // What one call of `start` receives, at most `size` bytes.
    template <typename Start>
    Bytes Receive(std::size_t size, Start start)
    {
        Bytes bytes(size);
        std::size_t received = 0;
        bool ended = false;
        start(asio::buffer(bytes), [&](const ErrorCode&, std::size_t count) {
            received = count;
            ended = true;
        });
        io_.restart();
        io_.run_for(kPatience);
        EXPECT_TRUE(ended) << "no answer";
        socket_.cancel();
        io_.run();
        bytes.resize(received);
        return bytes;
    }

  protected:
    asio::io_context io_;
    Socket socket_{io_};
};

class TcpHost : public Host<asio::ip::tcp::socket>
{
  public:
    TcpHost(const std::string& address, std::uint16_t port)
    {
        socket_.connect({asio::ip::make_address(address), port});
        socket_.set_option(asio::ip::tcp::no_delay(true));
    }
    explicit TcpHost(const Server& server) : TcpHost(server.Address(), server.Port()) {}

    void Send(const Bytes& bytes) { asio::write(socket_, asio::buffer(bytes)); }

    // Up to `size` bytes, fewer when the server closes before.
    Bytes Receive(std::size_t size)
    {
        return Host<asio::ip::tcp::socket>::Receive(size, [this](auto buffer, auto handler) {
            asio::async_read(socket_, buffer, handler);
        });
    }
    bool ClosedByServer() { return Receive(1).empty(); }
};

} // namespace lumosim::test
