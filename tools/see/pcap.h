// A file of captured packets, as Wireshark and others open it.
#pragma once

#include <array>
#include <cstdint>
#include <fstream>
#include <span>
#include <string>

namespace zelq::tool {

/// One end of a connection.
struct Endpoint
{
    std::array<std::uint8_t, 4> address{};
    std::uint16_t port = 0;
};

/// Writes TCP packets with their IP headers. What passes a proxy has no packets of its own any
/// more: they are made up around the bytes, with sequence numbers and checksums that fit.
class PcapFile
{
  public:
    /// Throws a Failure when the file cannot be written.
    PcapFile(const std::string& name, std::uint64_t mostBytes);

    /// A conversation in the file.
    struct Connection
    {
        Endpoint client;
        Endpoint server;
        std::uint32_t clientNext = 1000; ///< sequence numbers of the next bytes
        std::uint32_t serverNext = 2000;
    };

    void Opened(Connection& connection);
    void Sent(Connection& connection, bool byClient, std::span<const std::uint8_t> bytes);
    void Closed(Connection& connection, bool byClient);

    /// The file has reached its size; nothing more is written.
    [[nodiscard]] bool IsFull() const { return full_; }
    [[nodiscard]] std::uint64_t Packets() const { return packets_; }
    [[nodiscard]] std::uint64_t Bytes() const { return bytes_; }

  private:
    void Packet(Connection& connection, bool byClient, std::uint8_t flags,
                std::span<const std::uint8_t> bytes);
    void Write(std::span<const std::uint8_t> bytes);

    std::ofstream file_;
    std::uint64_t mostBytes_;
    std::uint64_t bytes_ = 0;
    std::uint64_t packets_ = 0;
    bool full_ = false;
};

} // namespace zelq::tool
