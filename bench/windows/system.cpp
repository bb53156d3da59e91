#include "system.h"

#include <stdexcept>
#include <utility>
#include <windows.h>
#include <winsock2.h>
#include <ws2tcpip.h>

namespace bench {

namespace {

void Require(bool condition, const char* what)
{
    if (!condition) throw std::runtime_error(what);
}

SOCKET Native(std::intptr_t handle)
{
    return static_cast<SOCKET>(handle);
}

WSAEVENT Event(std::intptr_t handle)
{
    return reinterpret_cast<WSAEVENT>(handle); // NOLINT(*-no-int-to-ptr): a handle of the system's
}

sockaddr_in Loopback(int host, int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl((INADDR_LOOPBACK & ~0xFFU) | static_cast<unsigned>(host));
    return address;
}

SOCKET NewSocket()
{
    static const bool kStarted = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    Require(kStarted, "no Winsock");
    const SOCKET handle = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    const int on = 1;
    setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof(on));
    return handle;
}

const char* Text(std::span<const std::uint8_t> bytes)
{
    return reinterpret_cast<const char*>(bytes.data());
}

} // namespace

Socket Socket::Listening(int host)
{
    Socket made(static_cast<std::intptr_t>(NewSocket()));
    const sockaddr_in address = Loopback(host, 0);
    Require(bind(Native(made.handle_), reinterpret_cast<const sockaddr*>(&address),
                 sizeof(address)) == 0 &&
                listen(Native(made.handle_), 4) == 0,
            "cannot listen");
    return made;
}

Socket Socket::Connected(int host, int port)
{
    Socket made(static_cast<std::intptr_t>(NewSocket()));
    const sockaddr_in address = Loopback(host, port);
    Require(connect(Native(made.handle_), reinterpret_cast<const sockaddr*>(&address),
                    sizeof(address)) == 0,
            "cannot connect");
    return made;
}

Socket::~Socket()
{
    if (handle_ != -1) closesocket(Native(handle_));
}

Socket::Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}

Socket& Socket::operator=(Socket&& other) noexcept
{
    if (handle_ != -1) closesocket(Native(handle_));
    handle_ = std::exchange(other.handle_, -1);
    return *this;
}

int Socket::Port() const
{
    sockaddr_in address{};
    int size = sizeof(address);
    Require(getsockname(Native(handle_), reinterpret_cast<sockaddr*>(&address), &size) == 0,
            "a socket has no port");
    return ntohs(address.sin_port);
}

Socket Socket::Accept() const
{
    const SOCKET handle = accept(Native(handle_), nullptr, nullptr);
    Require(handle != INVALID_SOCKET, "cannot accept");
    const int on = 1;
    setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof(on));
    return Socket(static_cast<std::intptr_t>(handle));
}

void Socket::Send(std::span<const std::uint8_t> bytes) const
{
    const int size = static_cast<int>(bytes.size());
    Require(send(Native(handle_), Text(bytes), size, 0) == size, "cannot send");
}

std::size_t Socket::Receive(std::span<std::uint8_t> area) const
{
    const int got = recv(Native(handle_), reinterpret_cast<char*>(area.data()),
                         static_cast<int>(area.size()), 0);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

BareClient::BareClient(int host, int port)
    : host_(host),
      port_(port),
      socket_(Socket::Connected(host, port)),
      other_(reinterpret_cast<std::intptr_t>(WSACreateEvent()))
{
    ConnectAgain();
}

BareClient::~BareClient()
{
    WSACloseEvent(Event(other_));
}

void BareClient::ConnectAgain()
{
    shutdown(Native(socket_.Handle()), SD_BOTH);
    const SOCKET made = WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0,
                                   WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    socket_ = Socket(static_cast<std::intptr_t>(made));
    const int on = 1;
    const auto* value = reinterpret_cast<const char*>(&on);
    u_long nonBlocking = 1;
    setsockopt(made, SOL_SOCKET, SO_REUSEADDR, value, sizeof(on));
    ioctlsocket(made, static_cast<long>(FIONBIO), &nonBlocking);
    setsockopt(made, IPPROTO_TCP, TCP_NODELAY, value, sizeof(on));
    const sockaddr_in address = Loopback(host_, port_);
    connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    fd_set writable{1, {made}};
    int error = 0;
    int size = sizeof(error);
    constexpr long kReady = FD_READ | FD_WRITE | FD_CLOSE;
    Require(select(0, nullptr, &writable, nullptr, nullptr) == 1 &&
                getsockopt(made, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) ==
                    0 &&
                error == 0 && WSAEventSelect(made, Event(other_), kReady) == 0,
            "cannot connect");
}

void BareClient::Run(const Exchange& exchange)
{
    const SOCKET handle = Native(socket_.Handle());
    const WSAEVENT event = Event(other_);
    Require(socket_.Receive(reply_) == 0, "stale bytes");
    socket_.Send(exchange.request);
    for (std::size_t got = 0; got < exchange.replySize;) {
        const std::size_t part = socket_.Receive(reply_);
        got += part;
        if (part > 0) continue;
        WSANETWORKEVENTS seen{};
        WSAWaitForMultipleEvents(1, &event, FALSE, 1000, FALSE);
        WSAEnumNetworkEvents(handle, event, &seen);
    }
    Require(FindWindowA("TfrmMain", "Quillet") == nullptr,
            "a trace viewer is running: the figures would be those of another case");
    OutputDebugStringA("");
}

void PinThisThread(int processor)
{
    DWORD_PTR all = 0;
    DWORD_PTR ofSystem = 0;
    GetProcessAffinityMask(GetCurrentProcess(), &all, &ofSystem);
    SetThreadAffinityMask(GetCurrentThread(), processor < 0 ? all : DWORD_PTR{1} << processor);
}

} // namespace bench
