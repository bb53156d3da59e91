#pragma once

#include "system.h"

#include <atomic>
#include <thread>

namespace bench {

/// The cheapest controller there can be: on a thread of its own it receives a request, takes each
/// frame's id over into a reply of the right size, and sends the replies in one piece.
class Peer
{
  public:
    /// At 127.0.0.`host`, with so many servo axes; its thread is kept to `processor`.
    explicit Peer(int host, int axes = 32, int processor = -1);
    /// Its clients have closed their connections, or are about to.
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    [[nodiscard]] int Host() const { return host_; }
    [[nodiscard]] int Port() const { return port_; }

  private:
    void Accept();
    void Serve(const Socket& connection) const;
    std::size_t Reply(const std::uint8_t* frame, std::uint8_t* reply) const;
    [[nodiscard]] std::uint16_t RegisterValue(std::uint16_t address) const;

    const int host_;
    const int axes_;
    const Socket listener_;
    const int port_;
    std::atomic<bool> ending_ = false;
    std::thread thread_;
};

/// A client without any library: one connection, one send and one receive for each exchange.
class RawClient
{
  public:
    explicit RawClient(const Peer& peer)
        : host_(peer.Host()), port_(peer.Port()), socket_(Socket::Connected(host_, port_))
    {}

    void ConnectAgain();
    void Run(const Exchange& exchange);

  private:
    const int host_;
    const int port_;
    Socket socket_;
    std::array<std::uint8_t, 4096> reply_{};
};

} // namespace bench
