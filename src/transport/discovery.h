#pragma once

#include "platform/udp_socket.h"
#include "platform/use_lock.h"
#include "transport/reply.h"
#include "transport/request.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <span>

namespace zelq {

/// Stands in place of a controller number for all controllers that answer a discovery.
inline constexpr short kAllControllers = -255;

inline constexpr std::uint16_t kDiscoveryPort = 7000;

/// Where the next discoveries are sent to; tests have their controllers elsewhere.
void SetDiscoveryPort(std::uint16_t port);

/// What a discovery needs, from its begin to its end. There is one at a time: a thread that wants
/// another waits for the end of the first.
class DiscoveryContext
{
  public:
    DiscoveryContext();
    ~DiscoveryContext();
    DiscoveryContext(const DiscoveryContext&) = delete;
    DiscoveryContext& operator=(const DiscoveryContext&) = delete;

    /// The one there is, or null.
    static DiscoveryContext* Current();

    /// Directs the discovery to a controller's address or to a broadcast address; false when it is
    /// no address, or there is no socket or lock to be had.
    bool Open(const std::array<std::uint16_t, 4>& octets);

    /// Sends the request and collects the answers that come within three waits of `wait` in all.
    int Exchange(const RequestBuffer& request, ReplyData* reply, std::chrono::milliseconds wait);

    /// In a forked child: no discovery is under way in this process.
    static void Abandon();

  private:
    int SendTwice(std::span<const std::uint8_t> datagram);
    int Gather(const RequestBuffer& request, ReplyData* reply, std::chrono::milliseconds wait);

    const std::lock_guard<platform::UseLock> alone_;
    platform::UdpSocket socket_;
};

} // namespace zelq
