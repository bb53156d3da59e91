#include "platform/echo.h"

#include "platform/windows/system.h"
#include "platform/windows/winsock_use.h"

#include <cstring>

// In this order, since the second needs the first.
// clang-format off
#include <iphlpapi.h>
#include <icmpapi.h>
// clang-format on

namespace zelq::platform {

namespace {

constexpr std::size_t kDataBytes = 32;
constexpr std::size_t kReplyBytes = 72;

class EchoHandle
{
  public:
    EchoHandle() : handle_(IcmpCreateFile()) {}
    ~EchoHandle()
    {
        if (IsOpen()) IcmpCloseHandle(handle_);
    }
    EchoHandle(const EchoHandle&) = delete;
    EchoHandle& operator=(const EchoHandle&) = delete;

    [[nodiscard]] bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    [[nodiscard]] HANDLE Get() const { return handle_; }

  private:
    HANDLE handle_;
};

/// A dotted address, or else a host name.
bool Resolve(const char* host, in_addr& address)
{
    if (inet_pton(AF_INET, host, &address) == 1) return true;
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &found) != 0) return false;
    sockaddr_in first{};
    std::memcpy(&first, found->ai_addr, sizeof(first));
    address = first.sin_addr;
    freeaddrinfo(found);
    return true;
}

} // namespace

EchoResult SendEcho(const char* host, std::uint32_t timeoutMs)
{
    EchoResult result{EchoStatus::kUnavailable, 0, {}};
    const WinsockUse winsock;
    in_addr target{};
    if (winsock.Error() != 0 || !Resolve(host, target)) return result;
    const EchoHandle echo;
    if (!echo.IsOpen()) return result;

    std::array<std::uint8_t, kDataBytes> data{};
    data.fill(0xFF);
    alignas(ICMP_ECHO_REPLY) std::array<std::uint8_t, kReplyBytes> area{};
    const DWORD replies = IcmpSendEcho(echo.Get(), target.s_addr, data.data(), kDataBytes, nullptr,
                                       area.data(), kReplyBytes, timeoutMs);
    ICMP_ECHO_REPLY reply{};
    std::memcpy(&reply, area.data(), sizeof(reply));
    result.status = EchoStatus::kNoReply;
    if (replies == 0 || reply.Status != IP_SUCCESS) {
        // What a router says, such as "host unreachable", is no reply of the host.
        result.error = replies == 0 ? static_cast<std::uint32_t>(WSAGetLastError()) : reply.Status;
        return result;
    }
    if (reply.Address != target.s_addr) {
        result.error = kEchoTimedOut; // nor is what somebody else sends
        return result;
    }
    result.status = EchoStatus::kReply;
    in_addr sender{};
    sender.s_addr = reply.Address;
    inet_ntop(AF_INET, &sender, result.sender.data(), result.sender.size());
    return result;
}

} // namespace zelq::platform
