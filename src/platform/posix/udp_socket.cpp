#include "platform/udp_socket.h"

#include "platform/posix/poll_time.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zelq::platform {

bool UdpSocket::Open(const char* address, std::uint16_t port)
{
    Close();
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(port);
    if (inet_pton(AF_INET, address, &target.sin_addr) != 1) return false;
    static_assert(sizeof(target) <= sizeof(destination_));
    std::memcpy(destination_.data(), &target, sizeof(target));

    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_UDP);
    if (descriptor < 0) return false;
    state_.descriptor = descriptor;
    const int on = 1;
    if (setsockopt(descriptor, SOL_SOCKET, SO_BROADCAST, &on, sizeof(on)) == 0) return true;
    Close();
    return false;
}

void UdpSocket::Close()
{
    if (state_.descriptor >= 0) close(state_.descriptor);
    state_.descriptor = -1;
}

IoStatus UdpSocket::Send(std::span<const std::uint8_t> datagram)
{
    const ssize_t sent =
        sendto(state_.descriptor, datagram.data(), datagram.size(), 0,
               reinterpret_cast<const sockaddr*>(destination_.data()), sizeof(sockaddr_in));
    if (sent >= 0) return IoStatus::kDone;
    return errno == EAGAIN || errno == EWOULDBLOCK ? IoStatus::kBlocked : IoStatus::kFailed;
}

IoResult UdpSocket::Receive(std::span<std::uint8_t> area)
{
    const ssize_t got = recv(state_.descriptor, area.data(), area.size(), MSG_TRUNC);
    if (got < 0) {
        // What a datagram sent earlier met on its way is reported here: it ends nothing.
        return {IoStatus::kBlocked, 0};
    }
    const auto bytes = static_cast<std::size_t>(got);
    return {IoStatus::kDone, bytes <= area.size() ? bytes : 0};
}

WaitStatus UdpSocket::WaitReadable(Deadline deadline)
{
    return Poll(state_.descriptor, POLLIN, deadline);
}

} // namespace zelq::platform
