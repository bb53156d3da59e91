#pragma once

#include "frames.h"

#include <array>
#include <cstdint>
#include <span>

namespace bench {

/// A blocking TCP socket of the system's, with nothing around it. What it cannot do, it throws.
class Socket
{
  public:
    /// Listens at 127.0.0.`host`, at a free port.
    static Socket Listening(int host);
    static Socket Connected(int host, int port);

    /// Takes over what the system calls a socket.
    explicit Socket(std::intptr_t handle) : handle_(handle) {}
    ~Socket();
    Socket(Socket&& other) noexcept;
    Socket& operator=(Socket&& other) noexcept;

    [[nodiscard]] int Port() const;
    [[nodiscard]] Socket Accept() const;
    void Send(std::span<const std::uint8_t> bytes) const;
    /// How many bytes there were; 0 once the other end has closed.
    [[nodiscard]] std::size_t Receive(std::span<std::uint8_t> area) const;
    [[nodiscard]] std::intptr_t Handle() const { return handle_; }

  private:
    std::intptr_t handle_;
};

/// Asks of the system all that the library has to ask of it, and does nothing else: what such a
/// client takes is the least that the library can take.
class BareClient
{
  public:
    BareClient(int host, int port);
    ~BareClient();
    BareClient(const BareClient&) = delete;
    BareClient& operator=(const BareClient&) = delete;

    void ConnectAgain();
    void Run(const Exchange& exchange);

  private:
    const int host_;
    const int port_;
    Socket socket_;
    std::intptr_t other_; ///< the system's own: by which it looks for a viewer, or waits
    std::array<std::uint8_t, 4096> reply_{};
};

/// Keeps the calling thread to one processor; -1: to none.
void PinThisThread(int processor);

} // namespace bench
