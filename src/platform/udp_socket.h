#pragma once

#include "native/udp_state.h"
#include "platform/clock.h"
#include "platform/io_status.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zelq::platform {

/// Sends datagrams to one destination, a broadcast address too, and takes those that anybody sends
/// back. Used by one thread.
class UdpSocket
{
  public:
    UdpSocket() = default;
    ~UdpSocket() { Close(); }
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    /// `address` is a dotted IPv4 address; text that is none fails without a name look-up.
    bool Open(const char* address, std::uint16_t port);
    void Close();

    IoStatus Send(std::span<const std::uint8_t> datagram);
    /// Takes one datagram. One that does not fit whole is dropped, and counts as an empty one.
    IoResult Receive(std::span<std::uint8_t> area);
    WaitStatus WaitReadable(Deadline deadline);

  private:
    UdpState state_;
    alignas(8) std::array<std::byte, 32> destination_{}; ///< the system's form of the address
};

} // namespace zelq::platform
