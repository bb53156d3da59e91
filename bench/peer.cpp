#include "peer.h"

#include <arpa/inet.h>
#include <array>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace bench {

namespace {

void Require(bool condition, const char* what)
{
    if (!condition) throw std::runtime_error(what);
}

std::uint16_t WordAt(const std::uint8_t* at)
{
    return static_cast<std::uint16_t>(at[0] << 8 | at[1]);
}

void PutWord(Bytes& bytes, std::uint16_t word)
{
    bytes.push_back(static_cast<std::uint8_t>(word >> 8));
    bytes.push_back(static_cast<std::uint8_t>(word));
}

/// Registers read as 0, except that the configuration stands and every slave is a servo axis.
std::uint16_t RegisterValue(std::uint16_t address)
{
    if (address == 0xF414) return 1;
    return (address & 0xFF) == 0x38 && address < 0x2000 ? 1 : 0;
}

/// Writes the reply to one request frame; its size.
std::size_t Reply(const std::uint8_t* frame, std::uint8_t* reply)
{
    const std::uint16_t start = WordAt(frame + 8);
    const std::size_t quantity = WordAt(frame + 10);
    std::memcpy(reply, frame, 8);
    const std::size_t length = 3 + 2 * quantity;
    reply[4] = static_cast<std::uint8_t>(length >> 8);
    reply[5] = static_cast<std::uint8_t>(length);
    reply[8] = static_cast<std::uint8_t>(2 * quantity);
    for (std::size_t i = 0; i < quantity; ++i) {
        const std::uint16_t value = RegisterValue(static_cast<std::uint16_t>(start + i));
        reply[9 + 2 * i] = static_cast<std::uint8_t>(value >> 8);
        reply[10 + 2 * i] = static_cast<std::uint8_t>(value);
    }
    return 6 + length;
}

void PinHandle(pthread_t thread, int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    for (std::size_t i = 0; i < CPU_SETSIZE; ++i) {
        if (processor < 0 || i == static_cast<std::size_t>(processor)) CPU_SET(i, &set);
    }
    pthread_setaffinity_np(thread, sizeof(set), &set);
}

sockaddr_in Loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
    return address;
}

} // namespace

Peer::Peer() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), wake_{-1, -1}
{
    sockaddr_in address = Loopback(0);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof(address);
    Require(bind(listener_, generic, size) == 0 && listen(listener_, 4) == 0 &&
                getsockname(listener_, generic, &size) == 0 && pipe(wake_) == 0,
            "the peer cannot listen");
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Accept(); });
}

Peer::~Peer()
{
    close(wake_[1]);
    thread_.join();
    close(wake_[0]);
    close(listener_);
}

void Peer::PinTo(int processor) const
{
    PinHandle(const_cast<std::thread&>(thread_).native_handle(), processor);
}

void Peer::Accept()
{
    while (true) {
        std::array<pollfd, 2> entries{{{listener_, POLLIN, 0}, {wake_[0], POLLIN, 0}}};
        poll(entries.data(), entries.size(), -1);
        if (entries[1].revents != 0) return;
        const int connection = accept(listener_, nullptr, nullptr);
        if (connection < 0) continue;
        const int on = 1;
        setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
        Serve(connection);
        close(connection);
    }
}

void Peer::Serve(int connection)
{
    std::array<std::uint8_t, 4096> request{};
    std::array<std::uint8_t, 16384> reply{};
    while (true) {
        const ssize_t got = recv(connection, request.data(), request.size(), 0);
        if (got <= 0) return;
        std::size_t size = 0;
        for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
            size += Reply(request.data() + at, reply.data() + size);
            at += 6U + WordAt(request.data() + at + 4);
        }
        if (send(connection, reply.data(), size, MSG_NOSIGNAL) < 0) return;
    }
}

RawClient::RawClient(int port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const sockaddr_in address = Loopback(port);
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    Require(connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0,
            "the raw client cannot connect");
    reply_.resize(4096);
}

RawClient::~RawClient()
{
    close(socket_);
}

void RawClient::Exchange(const Bytes& request, std::size_t replySize)
{
    Require(send(socket_, request.data(), request.size(), MSG_NOSIGNAL) ==
                static_cast<ssize_t>(request.size()),
            "raw send");
    for (std::size_t got = 0; got < replySize;) {
        const ssize_t part = recv(socket_, reply_.data(), reply_.size(), 0);
        Require(part > 0, "raw receive");
        got += static_cast<std::size_t>(part);
    }
}

Bytes ReadFrame(std::uint16_t start, std::uint16_t quantity)
{
    Bytes frame = {0, 1, 0, 0, 0, 6, 1, 3};
    PutWord(frame, start);
    PutWord(frame, quantity);
    return frame;
}

Bytes CommandFrame(const std::vector<std::uint16_t>& registers)
{
    Bytes frame = {0, 1, 0, 0, 0, static_cast<std::uint8_t>(11 + 2 * registers.size()), 1, 23};
    for (const std::size_t word :
         {std::size_t{0xF000}, std::size_t{1}, std::size_t{0}, registers.size()}) {
        PutWord(frame, static_cast<std::uint16_t>(word));
    }
    frame.push_back(static_cast<std::uint8_t>(2 * registers.size()));
    for (const std::uint16_t word : registers) {
        PutWord(frame, word);
    }
    return frame;
}

std::size_t ReplySize(const Bytes& request)
{
    std::size_t size = 0;
    for (std::size_t at = 0; at < request.size(); at += 6U + WordAt(request.data() + at + 4)) {
        size += 9U + 2U * WordAt(request.data() + at + 10);
    }
    return size;
}

void PinThisThread(int processor)
{
    PinHandle(pthread_self(), processor);
}

} // namespace bench
