#include "platform/echo.h"

#include "platform/posix/echo_reply.h"
#include "platform/posix/poll_time.h"

#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <span>
#include <sys/socket.h>
#include <unistd.h>

namespace zelq::platform {

namespace {

constexpr std::size_t kRequestBytes = kEchoHeaderBytes + kEchoDataBytes;
constexpr std::size_t kReplyBytes = 60 + kRequestBytes; // the longest IPv4 header, then the echo

/// An ICMP socket: the unprivileged kind, which the kernel numbers and filters by itself, else a
/// raw one where this process may have it.
class EchoSocket
{
  public:
    EchoSocket() : descriptor_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_ICMP))
    {
        if (descriptor_ >= 0) return;
        form_ = EchoForm::kPacket;
        descriptor_ = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
    }
    ~EchoSocket()
    {
        if (descriptor_ >= 0) close(descriptor_);
    }
    EchoSocket(const EchoSocket&) = delete;
    EchoSocket& operator=(const EchoSocket&) = delete;

    [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }
    [[nodiscard]] int Descriptor() const { return descriptor_; }
    [[nodiscard]] EchoForm Form() const { return form_; }

  private:
    int descriptor_;
    EchoForm form_ = EchoForm::kMessage;
};

/// A dotted address, or else a host name.
bool Resolve(const char* host, sockaddr_in& address)
{
    address.sin_family = AF_INET;
    if (inet_pton(AF_INET, host, &address.sin_addr) == 1) return true;
    addrinfo hints{};
    hints.ai_family = AF_INET;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &found) != 0) return false;
    std::memcpy(&address, found->ai_addr, sizeof(address));
    freeaddrinfo(found);
    return true;
}

std::uint16_t Checksum(std::span<const std::uint8_t> bytes)
{
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        sum += static_cast<std::uint32_t>(bytes[i] << 8 | bytes[i + 1]);
    }
    while (sum >> 16 != 0) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return htons(static_cast<std::uint16_t>(~sum));
}

/// The marks of one echo, which no other call of this process has. The unprivileged kind of
/// socket puts an id of its own in place of ours.
EchoMarks NextMarks(const sockaddr_in& target)
{
    static std::atomic<std::uint16_t> sequence = 0;
    return {target.sin_addr.s_addr, static_cast<std::uint16_t>(getpid()), ++sequence};
}

std::array<std::uint8_t, kRequestBytes> EchoRequest(const EchoMarks& marks)
{
    std::array<std::uint8_t, kRequestBytes> request{};
    request.fill(0xFF);
    icmphdr header{};
    static_assert(sizeof(header) == kEchoHeaderBytes);
    header.type = ICMP_ECHO;
    header.un.echo.id = htons(marks.id);
    header.un.echo.sequence = htons(marks.sequence);
    std::memcpy(request.data(), &header, sizeof(header));
    header.checksum = Checksum(request);
    std::memcpy(request.data(), &header, sizeof(header));
    return request;
}

/// The numbers that callers know on both systems.
std::uint32_t EchoError(int error)
{
    switch (error) {
    case ENOMEM:
        return kEchoNotEnoughMemory;
    case EOPNOTSUPP:
        return kEchoNotSupported;
    case EINVAL:
        return kEchoInvalidParameter;
    case ENOBUFS:
        return kEchoInsufficientBuffer;
    case EMSGSIZE:
        return kEchoBufferTooSmall;
    case ETIMEDOUT:
        return kEchoTimedOut;
    default:
        return static_cast<std::uint32_t>(error);
    }
}

/// Waits for the reply; 0, or the system's error number.
int AwaitReply(const EchoSocket& echo, const EchoMarks& marks, Deadline deadline)
{
    std::array<std::uint8_t, kReplyBytes> packet{};
    do {
        const WaitStatus ready = Poll(echo.Descriptor(), POLLIN, deadline);
        if (ready == WaitStatus::kTimedOut) return ETIMEDOUT;
        if (ready == WaitStatus::kFailed) return errno;
        sockaddr_in from{};
        socklen_t size = sizeof(from);
        const ssize_t got = recvfrom(echo.Descriptor(), packet.data(), packet.size(), MSG_DONTWAIT,
                                     reinterpret_cast<sockaddr*>(&from), &size);
        if (got < 0 && errno != EAGAIN && errno != EINTR) return errno;
        if (got < 0) continue;
        const std::span<const std::uint8_t> received(packet.data(), static_cast<std::size_t>(got));
        if (AnswersEcho(received, from.sin_addr.s_addr, echo.Form(), marks)) return 0;
    } while (Clock::now() < deadline);
    return ETIMEDOUT;
}

} // namespace

EchoResult SendEcho(const char* host, std::uint32_t timeoutMs)
{
    EchoResult result{EchoStatus::kUnavailable, 0, {}};
    sockaddr_in target{};
    if (!Resolve(host, target)) return result;
    const EchoSocket echo;
    if (!echo.IsOpen()) return result;

    const EchoMarks marks = NextMarks(target);
    const auto request = EchoRequest(marks);
    const Deadline deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    const ssize_t sent = sendto(echo.Descriptor(), request.data(), request.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&target), sizeof(target));
    const int error = sent < 0 ? errno : AwaitReply(echo, marks, deadline);
    result.status = error == 0 ? EchoStatus::kReply : EchoStatus::kNoReply;
    result.error = error == 0 ? 0 : EchoError(error);
    if (error == 0) {
        inet_ntop(AF_INET, &target.sin_addr, result.sender.data(), result.sender.size());
    }
    return result;
}

} // namespace zelq::platform
