#include "system.h"

#include <arpa/inet.h>
#include <cstddef>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace bench {

namespace {

void Require(bool condition, const char* what)
{
    if (!condition) throw std::runtime_error(what);
}

int Number(std::intptr_t handle)
{
    return static_cast<int>(handle);
}

sockaddr_in Loopback(int host, int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl((INADDR_LOOPBACK & ~0xFFU) | static_cast<unsigned>(host));
    return address;
}

int NewSocket()
{
    const int number = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(number, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    return number;
}

} // namespace

Socket Socket::Listening(int host)
{
    Socket made(NewSocket());
    const sockaddr_in address = Loopback(host, 0);
    Require(bind(Number(made.handle_), reinterpret_cast<const sockaddr*>(&address),
                 sizeof(address)) == 0 &&
                listen(Number(made.handle_), 4) == 0,
            "cannot listen");
    return made;
}

Socket Socket::Connected(int host, int port)
{
    Socket made(NewSocket());
    const sockaddr_in address = Loopback(host, port);
    Require(connect(Number(made.handle_), reinterpret_cast<const sockaddr*>(&address),
                    sizeof(address)) == 0,
            "cannot connect");
    return made;
}

Socket::~Socket()
{
    if (handle_ >= 0) close(Number(handle_));
}

Socket::Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}

Socket& Socket::operator=(Socket&& other) noexcept
{
    if (handle_ >= 0) close(Number(handle_));
    handle_ = std::exchange(other.handle_, -1);
    return *this;
}

int Socket::Port() const
{
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    Require(getsockname(Number(handle_), reinterpret_cast<sockaddr*>(&address), &size) == 0,
            "a socket has no port");
    return ntohs(address.sin_port);
}

// It inherits the listener's TCP_NODELAY.
Socket Socket::Accept() const
{
    const int number = accept(Number(handle_), nullptr, nullptr);
    Require(number >= 0, "cannot accept");
    return Socket(number);
}

void Socket::Send(std::span<const std::uint8_t> bytes) const
{
    const ssize_t sent = send(Number(handle_), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    Require(sent == static_cast<ssize_t>(bytes.size()), "cannot send");
}

std::size_t Socket::Receive(std::span<std::uint8_t> area) const
{
    const ssize_t got = recv(Number(handle_), area.data(), area.size(), 0);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

BareClient::BareClient(int host, int port)
    : host_(host),
      port_(port),
      socket_(Socket::Connected(host, port)),
      other_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
{
    ConnectAgain();
}

BareClient::~BareClient()
{
    close(Number(other_));
}

void BareClient::ConnectAgain()
{
    shutdown(Number(socket_.Handle()), SHUT_RDWR);
    socket_ = Socket(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int number = Number(socket_.Handle());
    const int on = 1;
    setsockopt(number, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    setsockopt(number, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    const sockaddr_in address = Loopback(host_, port_);
    pollfd entry{number, POLLOUT, 0};
    int error = 0;
    socklen_t size = sizeof(error);
    int nonBlocking = 0;
    const timeval limit{1, 0};
    Require((connect(number, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 ||
             poll(&entry, 1, -1) == 1) &&
                getsockopt(number, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0 &&
                ioctl(number, FIONBIO, &nonBlocking) == 0 &&
                setsockopt(number, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) == 0,
            "cannot connect");
}

void BareClient::Run(const Exchange& exchange)
{
    const int number = Number(socket_.Handle());
    const Bytes& request = exchange.request;
    Require(recv(number, reply_.data(), reply_.size(), MSG_DONTWAIT) < 0, "stale bytes");
    Require(send(number, request.data(), request.size(), MSG_NOSIGNAL | MSG_DONTWAIT) > 0,
            "cannot send");
    for (std::size_t got = 0; got < exchange.replySize;) {
        const ssize_t part = recv(number, reply_.data(), reply_.size(), 0);
        Require(part > 0, "no reply");
        got += static_cast<std::size_t>(part);
    }
    constexpr char kViewer[] = "Quillet";
    sockaddr_un viewer{};
    viewer.sun_family = AF_UNIX;
    std::memcpy(viewer.sun_path + 1, kViewer, sizeof(kViewer) - 1);
    constexpr socklen_t kSize = offsetof(sockaddr_un, sun_path) + sizeof(kViewer);
    Require(connect(Number(other_), reinterpret_cast<sockaddr*>(&viewer), kSize) != 0,
            "a trace viewer is running: the figures would be those of another case");
}

void PinThisThread(int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    for (std::size_t i = 0; i < CPU_SETSIZE; ++i) {
        if (processor < 0 || i == static_cast<std::size_t>(processor)) CPU_SET(i, &set);
    }
    pthread_setaffinity_np(pthread_self(), sizeof(set), &set);
}

} // namespace bench
