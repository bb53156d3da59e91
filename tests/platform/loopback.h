#pragma once

#include <asio.hpp>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zelq::test {

using Bytes = std::vector<std::uint8_t>;
using asio::ip::tcp;

/// The far end of a connection.
class Peer
{
  public:
    explicit Peer(tcp::socket socket) : socket_(std::move(socket)) {}

    void Send(const Bytes& bytes) { asio::write(socket_, asio::buffer(bytes)); }

    /// Exactly `count` bytes; waits for them.
    Bytes Receive(std::size_t count)
    {
        Bytes bytes(count);
        asio::read(socket_, asio::buffer(bytes));
        return bytes;
    }

    /// All bytes until the connection ends in whatever way.
    Bytes ReceiveAll()
    {
        Bytes bytes;
        asio::error_code ended;
        asio::read(socket_, asio::dynamic_buffer(bytes), ended);
        return bytes;
    }

    void Close() { socket_.close(); }

    void Reset()
    {
        socket_.set_option(asio::socket_base::linger(true, 0));
        socket_.close();
    }

  private:
    tcp::socket socket_;
};

/// Listens on a free port of 127.0.0.1.
class Listener
{
  public:
    explicit Listener(int backlog = asio::socket_base::max_listen_connections)
        : acceptor_(context_, tcp::v4())
    {
        acceptor_.bind({asio::ip::address_v4::loopback(), 0});
        acceptor_.listen(backlog);
    }

    [[nodiscard]] std::uint16_t Port() const { return acceptor_.local_endpoint().port(); }

    /// The next connection; waits for it.
    Peer Accept() { return Peer(acceptor_.accept()); }

    /// Whether a connection stands there to be accepted.
    bool HasConnection()
    {
        acceptor_.non_blocking(true);
        asio::error_code none;
        const tcp::socket accepted = acceptor_.accept(none);
        return !none;
    }

  private:
    asio::io_context context_;
    tcp::acceptor acceptor_;
};

} // namespace zelq::test
