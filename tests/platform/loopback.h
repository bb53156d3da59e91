#pragma once

#include "network.h"
#include "platform/clock.h"
#include "platform/tcp_socket.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <numeric>
#include <optional>
#include <vector>

namespace zelq::platform {

using asio::ip::tcp;
using std::chrono::milliseconds;
using Bytes = std::vector<std::uint8_t>;

inline constexpr milliseconds kLong{20'000}; ///< a wait that is never meant to end by itself
inline constexpr milliseconds kShort{60};    ///< one that is
inline constexpr milliseconds kPrompt{
    5'000}; ///< far below kLong, above all that a busy machine adds

inline Bytes CountUp(std::size_t size, std::uint8_t first = 0)
{
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

/// The far end of a connection.
struct Peer : tcp::socket
{
    explicit Peer(tcp::socket accepted) : tcp::socket(std::move(accepted)) {}

    void Send(const Bytes& bytes) { asio::write(*this, asio::buffer(bytes)); }

    /// As many bytes, or fewer where the connection ends in whatever way before.
    Bytes Receive(std::size_t count)
    {
        Bytes bytes(count);
        ErrorCode ended;
        bytes.resize(asio::read(*this, asio::buffer(bytes), ended));
        return bytes;
    }

    void Reset()
    {
        set_option(asio::socket_base::linger(true, 0));
        close();
    }
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

  private:
    asio::io_context context_;
    tcp::acceptor acceptor_;
};

/// A connection and its far end.
class TcpSocketTest : public testing::Test
{
  protected:
    void SetUp() override { Connect(); }

    void Connect()
    {
        ASSERT_TRUE(socket_.Open("127.0.0.1", listener_.Port(), kLong));
        peer_.emplace(listener_.Accept());
    }

    /// Receives one byte, if there is one by then.
    IoStatus ReceiveOne(milliseconds wait)
    {
        const TcpSocket::Use use(socket_);
        return socket_.ReceiveWithin(std::span(area_).first(1), wait).status;
    }

    IoStatus Pending() { return socket_.ReceivePending(area_).status; }

    /// What the socket gives, until `count` bytes are there or a wait is over.
    Bytes ReceiveUpTo(std::size_t count)
    {
        const TcpSocket::Use use(socket_);
        Bytes all;
        while (all.size() < count) {
            const std::size_t wanted = std::min(area_.size(), count - all.size());
            const IoResult got = socket_.ReceiveWithin(std::span(area_).first(wanted), kLong);
            if (got.status != IoStatus::kDone) break;
            all.insert(all.end(), area_.data(), area_.data() + got.bytes);
        }
        return all;
    }

    /// Sends until nothing more goes out; the bytes that went.
    std::size_t SendUntilBlocked()
    {
        const TcpSocket::Use use(socket_);
        const Bytes chunk = CountUp(65'536);
        std::size_t sent = 0;
        while (true) {
            const IoResult result = socket_.Send(std::span(chunk).subspan(sent % chunk.size()));
            if (result.status != IoStatus::kDone) return sent;
            sent += result.bytes;
        }
    }

    Listener listener_;
    TcpSocket socket_;
    std::optional<Peer> peer_;
    std::array<std::uint8_t, 700> area_{};
};

} // namespace zelq::platform
