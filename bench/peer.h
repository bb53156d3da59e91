#pragma once

#include <cstdint>
#include <thread>
#include <vector>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

/// The cheapest controller there can be: on a thread of its own it receives a request, takes each
/// frame's id over into a reply of the right size, and sends the replies in one piece.
class Peer
{
  public:
    Peer();
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    [[nodiscard]] int Port() const { return port_; }
    /// The processor to run on; -1: any.
    void PinTo(int processor) const;

  private:
    void Accept();
    static void Serve(int connection);

    int listener_;
    int port_ = 0;
    int wake_[2];
    std::thread thread_;
};

/// A client without any library: one connection, one send and one receive for each exchange.
class RawClient
{
  public:
    explicit RawClient(int port);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    /// Sends the bytes and receives as many as the reply has.
    void Exchange(const Bytes& request, std::size_t replySize);

  private:
    int socket_;
    Bytes reply_;
};

/// A function-3 frame.
Bytes ReadFrame(std::uint16_t start, std::uint16_t quantity);
/// A command frame that writes these registers.
Bytes CommandFrame(const std::vector<std::uint16_t>& registers);
/// Size of the reply to a request of one or more frames.
std::size_t ReplySize(const Bytes& request);

void PinThisThread(int processor);

} // namespace bench
