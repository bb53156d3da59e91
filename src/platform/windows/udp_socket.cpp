#include "platform/udp_socket.h"

#include "platform/windows/native_handle.h"
#include "platform/windows/wait_time.h"
#include "platform/windows/winsock_use.h"

#include <cstring>

namespace zelq::platform {

namespace {

constexpr std::intptr_t kNoHandle = -1;

/// A broadcasting socket that no child process inherits.
SOCKET MakeSocket()
{
    constexpr DWORD kFlags = WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT;
    const SOCKET handle = WSASocketW(AF_INET, SOCK_DGRAM, IPPROTO_UDP, nullptr, 0, kFlags);
    if (handle == INVALID_SOCKET) return handle;
    const int on = 1;
    const auto* value = reinterpret_cast<const char*>(&on);
    if (setsockopt(handle, SOL_SOCKET, SO_BROADCAST, value, sizeof(on)) == 0) return handle;
    closesocket(handle);
    return INVALID_SOCKET;
}

/// An event that is set whenever a datagram has come; that makes the socket a non-blocking one.
std::intptr_t SignalDatagrams(SOCKET handle)
{
    const WSAEVENT event = WSACreateEvent();
    if (event == WSA_INVALID_EVENT) return kNoHandle;
    if (WSAEventSelect(handle, event, FD_READ) == 0) return reinterpret_cast<std::intptr_t>(event);
    WSACloseEvent(event);
    return kNoHandle;
}

/// Whether a datagram, or an error that an earlier one met, is there to be taken.
bool IsReadable(SOCKET handle)
{
    char next = 0;
    return recv(handle, &next, 1, MSG_PEEK) >= 0 || WSAGetLastError() != WSAEWOULDBLOCK;
}

} // namespace

bool UdpSocket::Open(const char* address, std::uint16_t port)
{
    Close();
    WinsockUse winsock;
    if (winsock.Error() != 0) return false;
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(port);
    if (inet_pton(AF_INET, address, &target.sin_addr) != 1) return false;
    static_assert(sizeof(target) <= sizeof(destination_));
    std::memcpy(destination_.data(), &target, sizeof(target));

    const SOCKET handle = MakeSocket();
    if (handle == INVALID_SOCKET) return false;
    state_.event = SignalDatagrams(handle);
    if (state_.event == kNoHandle) {
        closesocket(handle);
        return false;
    }
    state_.handle = static_cast<std::intptr_t>(handle);
    winsock.Keep();
    return true;
}

void UdpSocket::Close()
{
    if (state_.handle == kNoHandle) return;
    closesocket(Native(state_.handle));
    WSACloseEvent(NativeEvent(state_.event));
    WSACleanup();
    state_.handle = kNoHandle;
    state_.event = kNoHandle;
}

IoStatus UdpSocket::Send(std::span<const std::uint8_t> datagram)
{
    const auto* data = reinterpret_cast<const char*>(datagram.data());
    const auto* to = reinterpret_cast<const sockaddr*>(destination_.data());
    const int sent = sendto(Native(state_.handle), data, static_cast<int>(datagram.size()), 0, to,
                            sizeof(sockaddr_in));
    if (sent >= 0) return IoStatus::kDone;
    return WSAGetLastError() == WSAEWOULDBLOCK ? IoStatus::kBlocked : IoStatus::kFailed;
}

IoResult UdpSocket::Receive(std::span<std::uint8_t> area)
{
    auto* data = reinterpret_cast<char*>(area.data());
    const int got = recv(Native(state_.handle), data, static_cast<int>(area.size()), 0);
    if (got >= 0) return {IoStatus::kDone, static_cast<std::size_t>(got)};
    if (WSAGetLastError() == WSAEMSGSIZE) return {IoStatus::kDone, 0};
    // What a datagram sent earlier met on its way is reported here: it ends nothing.
    return {IoStatus::kBlocked, 0};
}

WaitStatus UdpSocket::WaitReadable(Deadline deadline)
{
    const WSAEVENT event = NativeEvent(state_.event);
    while (!IsReadable(Native(state_.handle))) {
        const auto left = Left(deadline);
        if (left.count() == 0) return WaitStatus::kTimedOut;
        const DWORD wait = WSAWaitForMultipleEvents(1, &event, FALSE, WaitTime(left), FALSE);
        if (wait == WSA_WAIT_FAILED) return WaitStatus::kFailed;
        WSAResetEvent(event);
    }
    return WaitStatus::kReady;
}

} // namespace zelq::platform
