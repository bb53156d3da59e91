#include "see/pcap.h"

#include "frame/failure.h"
#include "see/trace_line.h"

#include <vector>

namespace zelq::tool {

namespace {

constexpr std::size_t kIpBytes = 20;
constexpr std::size_t kTcpBytes = 20;
constexpr std::size_t kPacketHeaderBytes = 16;
constexpr std::uint32_t kRawIp = 101; ///< packets begin with their IP header

constexpr std::uint8_t kFin = 0x01;
constexpr std::uint8_t kSyn = 0x02;
constexpr std::uint8_t kPush = 0x08;
constexpr std::uint8_t kAck = 0x10;

using PacketBytes = std::vector<std::uint8_t>;

/// The file's own numbers have their low byte first, those of the network their high one.
void PutLow(PacketBytes& to, std::uint32_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i) {
        to.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

void PutHigh(PacketBytes& to, std::uint32_t value, int bytes)
{
    for (int i = bytes - 1; i >= 0; --i) {
        to.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

void Set16(PacketBytes& in, std::size_t at, std::uint16_t value)
{
    in[at] = static_cast<std::uint8_t>(value >> 8);
    in[at + 1] = static_cast<std::uint8_t>(value);
}

/// The checksum of IP and TCP.
std::uint16_t Checksum(std::span<const std::uint8_t> bytes, std::uint32_t sum = 0)
{
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        sum += i % 2 == 0 ? std::uint32_t{bytes[i]} << 8 : bytes[i];
        sum = (sum & 0xFFFFU) + (sum >> 16);
    }
    return static_cast<std::uint16_t>(~sum);
}

PacketBytes IpHeader(const Endpoint& from, const Endpoint& to, std::size_t payload,
                     std::uint16_t id)
{
    PacketBytes header;
    PutHigh(header, 0x4500, 2);
    PutHigh(header, static_cast<std::uint32_t>(kIpBytes + payload), 2);
    PutHigh(header, id, 2);
    PutHigh(header, 0x4000, 2); // not to be fragmented
    PutHigh(header, 0x4006, 2); // 64 hops, TCP
    PutHigh(header, 0, 2);
    header.insert(header.end(), from.address.begin(), from.address.end());
    header.insert(header.end(), to.address.begin(), to.address.end());
    Set16(header, 10, Checksum(header));
    return header;
}

/// What TCP takes into its checksum of the IP header.
std::uint32_t PseudoHeaderSum(const PacketBytes& ip, std::size_t length)
{
    std::uint32_t sum = 6 + static_cast<std::uint32_t>(length);
    for (std::size_t i = 12; i < kIpBytes; i += 2) {
        sum += std::uint32_t{ip[i]} << 8 | ip[i + 1];
    }
    return sum;
}

} // namespace

PcapFile::PcapFile(const std::string& name, std::uint64_t mostBytes)
    : file_(name, std::ios::binary | std::ios::trunc), mostBytes_(mostBytes)
{
    if (!file_) throw Failure(kUsage, "cannot write " + name);
    PacketBytes header;
    PutLow(header, 0xA1B2C3D4, 4); // times in microseconds
    PutLow(header, 2, 2);
    PutLow(header, 4, 2);
    PutLow(header, 0, 4);
    PutLow(header, 0, 4);
    PutLow(header, 0xFFFF, 4);
    PutLow(header, kRawIp, 4);
    Write(header);
}

void PcapFile::Opened(Connection& connection)
{
    Packet(connection, true, kSyn, {});
    ++connection.clientNext;
    Packet(connection, false, kSyn | kAck, {});
    ++connection.serverNext;
    Packet(connection, true, kAck, {});
}

void PcapFile::Sent(Connection& connection, bool byClient, std::span<const std::uint8_t> bytes)
{
    Packet(connection, byClient, kPush | kAck, bytes);
    std::uint32_t& next = byClient ? connection.clientNext : connection.serverNext;
    next += static_cast<std::uint32_t>(bytes.size());
}

void PcapFile::Closed(Connection& connection, bool byClient)
{
    Packet(connection, byClient, kFin | kAck, {});
    ++(byClient ? connection.clientNext : connection.serverNext);
    Packet(connection, !byClient, kFin | kAck, {});
    ++(byClient ? connection.serverNext : connection.clientNext);
    Packet(connection, byClient, kAck, {});
    file_.flush();
}

void PcapFile::Packet(Connection& connection, bool byClient, std::uint8_t flags,
                      std::span<const std::uint8_t> bytes)
{
    const std::size_t size = kIpBytes + kTcpBytes + bytes.size();
    full_ = full_ || bytes_ + kPacketHeaderBytes + size > mostBytes_;
    if (full_) return;
    const Endpoint& from = byClient ? connection.client : connection.server;
    const Endpoint& to = byClient ? connection.server : connection.client;
    const std::uint32_t sequence = byClient ? connection.clientNext : connection.serverNext;
    const std::uint32_t seen = byClient ? connection.serverNext : connection.clientNext;

    PacketBytes tcp;
    PutHigh(tcp, from.port, 2);
    PutHigh(tcp, to.port, 2);
    PutHigh(tcp, sequence, 4);
    PutHigh(tcp, (flags & kAck) != 0 ? seen : 0, 4);
    PutHigh(tcp, 0x5000U | flags, 2);
    PutHigh(tcp, 0xFFFF, 2);
    PutHigh(tcp, 0, 4);
    tcp.insert(tcp.end(), bytes.begin(), bytes.end());
    const PacketBytes ip = IpHeader(from, to, tcp.size(), static_cast<std::uint16_t>(++packets_));
    Set16(tcp, 16, Checksum(tcp, PseudoHeaderSum(ip, tcp.size())));

    const Microseconds now = Now();
    PacketBytes header;
    PutLow(header, static_cast<std::uint32_t>(now / 1'000'000), 4);
    PutLow(header, static_cast<std::uint32_t>(now % 1'000'000), 4);
    PutLow(header, static_cast<std::uint32_t>(size), 4);
    PutLow(header, static_cast<std::uint32_t>(size), 4);
    Write(header);
    Write(ip);
    Write(tcp);
}

void PcapFile::Write(std::span<const std::uint8_t> bytes)
{
    file_.write(reinterpret_cast<const char*>(bytes.data()),
                static_cast<std::streamsize>(bytes.size()));
    bytes_ += bytes.size();
    if (!file_) throw Failure(kUsage, "cannot write any more to the file of packets");
}

} // namespace zelq::tool
