#include "peer.h"

#include <cstring>
#include <stdexcept>

namespace bench {

Peer::Peer(int host, int axes, int processor)
    : host_(host),
      axes_(axes),
      listener_(Socket::Listening(host)),
      port_(listener_.Port()),
      thread_([this, processor] {
          PinThisThread(processor);
          Accept();
      })
{}

Peer::~Peer()
{
    ending_ = true;
    {
        const Socket last = Socket::Connected(host_, port_);
    }
    thread_.join();
}

void Peer::Accept()
{
    while (!ending_) {
        Serve(listener_.Accept());
    }
}

void Peer::Serve(const Socket& connection) const
{
    std::array<std::uint8_t, 4096> request{};
    std::array<std::uint8_t, 16384> reply{};
    while (const std::size_t got = connection.Receive(request)) {
        std::size_t size = 0;
        for (std::size_t at = 0; at < got; at += 6U + WordAt(request.data() + at + 4)) {
            size += Reply(request.data() + at, reply.data() + size);
        }
        connection.Send(std::span(reply).first(size));
    }
}

/// Writes the reply to one request frame; its size.
std::size_t Peer::Reply(const std::uint8_t* frame, std::uint8_t* reply) const
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

/// Registers read as 0, except that the configuration stands and the first slaves are servo axes.
std::uint16_t Peer::RegisterValue(std::uint16_t address) const
{
    if (address == 0xF414) return 1;
    return (address & 0xFF) == 0x38 && address >> 8 < axes_ ? 1 : 0;
}

void RawClient::ConnectAgain()
{
    socket_ = Socket(-1); // closed first
    socket_ = Socket::Connected(host_, port_);
}

void RawClient::Run(const Exchange& exchange)
{
    socket_.Send(exchange.request);
    for (std::size_t got = 0; got < exchange.replySize;) {
        const std::size_t part = socket_.Receive(reply_);
        if (part == 0) throw std::runtime_error("the raw client gets no reply");
        got += part;
    }
}

} // namespace bench
