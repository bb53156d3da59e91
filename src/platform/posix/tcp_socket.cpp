#include "platform/tcp_socket.h"

#include "platform/posix/poll_time.h"
#include "platform/posix/socket_calls.h"

#include <arpa/inet.h>
#include <cerrno>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <new>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zelq::platform {

namespace {

/// A non-blocking connect ends when the socket becomes writable, refused or not: ask it which.
int FinishConnect(int descriptor, Deadline deadline)
{
    const WaitStatus wait = Poll(descriptor, POLLOUT, deadline);
    if (wait == WaitStatus::kTimedOut) return ETIMEDOUT;
    if (wait == WaitStatus::kFailed) return errno;
    int error = 0;
    socklen_t size = sizeof(error);
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
    return error;
}

int ConnectTo(int descriptor, const sockaddr_in& address, std::chrono::milliseconds timeout)
{
    const int on = 1;
    if (setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0) return errno;
    if (setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on)) != 0) return errno;
    const Deadline deadline = Clock::now() + timeout;
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
        return 0;
    }
    if (errno != EINPROGRESS && errno != EINTR) return errno;
    return FinishConnect(descriptor, deadline);
}

/// From here on a receive waits by itself, which takes one system call instead of two; every other
/// step says that it does not wait.
bool MakeBlocking(int descriptor)
{
    int nonBlocking = 0;
    return ioctl(descriptor, FIONBIO, &nonBlocking) == 0;
}

/// What an error comes to. Some mean that the connection is gone; EPIPE is this system's word for
/// it.
IoResult Failed(int error)
{
    switch (error) {
    case EAGAIN:
    case EINTR:
        return {IoStatus::kBlocked, 0};
    case ENETDOWN:
    case ENETRESET:
    case ECONNABORTED:
    case ECONNRESET:
    case ENOTCONN:
    case EPIPE:
        return {IoStatus::kClosed, 0};
    default:
        return {IoStatus::kFailed, 0};
    }
}

IoResult Receive(int descriptor, std::span<std::uint8_t> area, int flags)
{
    const ssize_t got = ReceiveNow(descriptor, area.data(), area.size(), flags);
    if (got < 0) return Failed(errno);
    if (got == 0) return {IoStatus::kClosed, 0};
    return {IoStatus::kDone, static_cast<std::size_t>(got)};
}

/// Has the system let a receive wait for the larger part of `wait`, which takes one call where
/// waiting and receiving take two; 0 ms where the part is too small. It ends such a wait up to an
/// eighth and two ticks too late, so the rest must be waited for otherwise. Most waits are equally
/// long: the system is told when that changes.
std::chrono::milliseconds LetReceiveWait(TcpState& state, int descriptor,
                                         std::chrono::milliseconds wait)
{
    constexpr std::chrono::milliseconds kTwoTicks{20};
    const std::int64_t most = (wait * 3 / 4 - kTwoTicks).count();
    const std::int64_t set = state.receiveLimit.load(std::memory_order_relaxed);
    if (set > 0 && set <= most && most <= 2 * set) return std::chrono::milliseconds(set);
    if (most <= 0) return std::chrono::milliseconds(0);
    const timeval limit{static_cast<time_t>(most / 1000),
                        static_cast<suseconds_t>(most % 1000 * 1000)};
    if (setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) != 0) {
        return std::chrono::milliseconds(0);
    }
    state.receiveLimit.store(most, std::memory_order_relaxed);
    return std::chrono::milliseconds(most);
}

} // namespace

bool TcpSocket::Open(const char* address, std::uint32_t port, std::chrono::milliseconds timeout)
{
    Close();
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(static_cast<std::uint16_t>(port));
    if (port > UINT16_MAX || inet_pton(AF_INET, address, &target.sin_addr) != 1) return false;
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP);
    if (descriptor < 0) return false;
    if (ConnectTo(descriptor, target, timeout) != 0 || !MakeBlocking(descriptor)) {
        close(descriptor);
        return false;
    }
    const std::unique_lock alone(inUse_);
    state_.receiveLimit = 0;
    const int replaced = state_.descriptor.exchange(descriptor);
    if (replaced != TcpState::kNone) close(replaced);
    return true;
}

void TcpSocket::Close()
{
    const int descriptor = state_.descriptor.exchange(TcpState::kNone);
    if (descriptor != TcpState::kNone) {
        const Use use(*this);
        shutdown(descriptor, SHUT_RDWR);
    }
    const std::unique_lock alone(inUse_);
    if (descriptor != TcpState::kNone) close(descriptor);
}

void TcpSocket::Interrupt()
{
    const Use use(*this);
    const int descriptor = state_.descriptor.load();
    if (descriptor != TcpState::kNone) shutdown(descriptor, SHUT_RDWR);
}

void TcpSocket::Abandon()
{
    new (&inUse_) UseLock;
    const int descriptor = state_.descriptor.exchange(TcpState::kNone);
    if (descriptor != TcpState::kNone) close(descriptor);
}

IoResult TcpSocket::ReceivePending(std::span<std::uint8_t> area)
{
    return Receive(state_.descriptor.load(), area, MSG_DONTWAIT);
}

IoResult TcpSocket::Send(std::span<const std::uint8_t> bytes)
{
    const ssize_t sent =
        SendNow(state_.descriptor.load(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) return Failed(errno);
    return {IoStatus::kDone, static_cast<std::size_t>(sent)};
}

IoResult TcpSocket::ReceiveWithin(std::span<std::uint8_t> area, const Wait& wait)
{
    const int descriptor = state_.descriptor.load();
    if (descriptor == TcpState::kNone) return {IoStatus::kFailed, 0}; // poll() would wait for it
    if (LetReceiveWait(state_, descriptor, wait.left).count() > 0) {
        const IoResult received = Receive(descriptor, area, 0);
        // The signal that interrupts it is the caller's to look at before he goes on.
        if (received.status != IoStatus::kBlocked || errno == EINTR) return received;
    }
    const WaitStatus ready = Poll(descriptor, POLLIN, wait.deadline);
    if (ready == WaitStatus::kTimedOut) return {IoStatus::kTimedOut, 0};
    if (ready == WaitStatus::kFailed) return {IoStatus::kFailed, 0};
    return ReceivePending(area);
}

WaitStatus TcpSocket::WaitWritable(Deadline deadline)
{
    const int descriptor = state_.descriptor.load();
    if (descriptor == TcpState::kNone) return WaitStatus::kFailed;
    return Poll(descriptor, POLLOUT, deadline);
}

} // namespace zelq::platform
