#include "platform/tcp_socket.h"

#include "platform/posix/poll_time.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <shared_mutex>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zelq::platform {

namespace {

std::uint32_t ErrorNumber()
{
    return static_cast<std::uint32_t>(errno);
}

/// Waits for `events` on one descriptor; interrupted, it goes on with the time that is left.
WaitStatus Poll(int descriptor, short events, Deadline deadline)
{
    pollfd entry{descriptor, events, 0};
    while (true) {
        const int ready = poll(&entry, 1, PollTime(deadline));
        if (ready > 0) return WaitStatus::kReady;
        if (ready == 0) return WaitStatus::kTimedOut;
        if (errno != EINTR) return WaitStatus::kFailed;
    }
}

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
    const int flags = fcntl(descriptor, F_GETFL);
    return flags >= 0 && fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) == 0;
}

/// The errors that mean that the connection is gone; EPIPE is this system's word for it.
bool MeansBroken(int error)
{
    return error == ENETDOWN || error == ENETRESET || error == ECONNABORTED ||
           error == ECONNRESET || error == ENOTCONN || error == EPIPE;
}

} // namespace

TcpSocket::~TcpSocket()
{
    Close();
}

IoStatus TcpSocket::Failed(std::uint32_t error)
{
    const int number = static_cast<int>(error);
    if (number == EAGAIN || number == EWOULDBLOCK || number == EINTR) return IoStatus::kBlocked;
    lastError_.store(error, std::memory_order_relaxed);
    return MeansBroken(number) ? IoStatus::kClosed : IoStatus::kFailed;
}

bool TcpSocket::Open(const char* address, std::uint32_t port, std::chrono::milliseconds timeout)
{
    Close();
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(static_cast<std::uint16_t>(port));
    if (port > UINT16_MAX || inet_pton(AF_INET, address, &target.sin_addr) != 1) {
        lastError_.store(EINVAL, std::memory_order_relaxed);
        return false;
    }
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP);
    int error = descriptor < 0 ? errno : ConnectTo(descriptor, target, timeout);
    if (error == 0 && !MakeBlocking(descriptor)) error = errno;
    if (error == 0) {
        const std::unique_lock alone(inUse_);
        receiveLimit_ = 0;
        const Handle replaced = handle_.exchange(descriptor);
        if (replaced != kNone) close(static_cast<int>(replaced));
        return true;
    }
    lastError_.store(static_cast<std::uint32_t>(error), std::memory_order_relaxed);
    if (descriptor >= 0) close(descriptor);
    return false;
}

void TcpSocket::Close()
{
    const Handle handle = handle_.exchange(kNone);
    if (handle == kNone) return;
    {
        // Whoever still waits on the descriptor is woken by this, and lets go of it.
        const std::shared_lock step(inUse_);
        shutdown(static_cast<int>(handle), SHUT_RDWR);
    }
    const std::unique_lock alone(inUse_);
    close(static_cast<int>(handle));
}

IoStatus TcpSocket::Drain()
{
    const std::shared_lock step(inUse_);
    std::uint8_t first = 0;
    const ssize_t got = recv(static_cast<int>(handle_.load()), &first, 1, MSG_DONTWAIT);
    if (got == 0) return IoStatus::kClosed;
    if (got > 0) return DiscardPending();
    const IoStatus status = Failed(ErrorNumber());
    return status == IoStatus::kBlocked ? IoStatus::kDone : status;
}

IoStatus TcpSocket::DiscardPending()
{
    const int descriptor = static_cast<int>(handle_.load());
    int pending = 0;
    if (ioctl(descriptor, FIONREAD, &pending) != 0) return Failed(ErrorNumber());
    // No more than stood there at the start: a peer that never stops sending holds nobody up.
    std::array<std::uint8_t, 4096> waste; // NOLINT(*-member-init): overwritten before any use
    while (pending > 0) {
        const auto wanted = std::min(waste.size(), static_cast<std::size_t>(pending));
        const ssize_t got = recv(descriptor, waste.data(), wanted, MSG_DONTWAIT);
        if (got == 0) return IoStatus::kClosed;
        if (got < 0) return Failed(ErrorNumber());
        pending -= static_cast<int>(got);
    }
    return IoStatus::kDone;
}

IoResult TcpSocket::Send(std::span<const std::uint8_t> bytes)
{
    const std::shared_lock step(inUse_);
    const ssize_t sent = send(static_cast<int>(handle_.load()), bytes.data(), bytes.size(),
                              MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) return {Failed(ErrorNumber()), 0};
    return {IoStatus::kDone, static_cast<std::size_t>(sent)};
}

IoResult TcpSocket::Receive(std::span<std::uint8_t> area)
{
    const std::shared_lock step(inUse_);
    const ssize_t got =
        recv(static_cast<int>(handle_.load()), area.data(), area.size(), MSG_DONTWAIT);
    if (got < 0) return {Failed(ErrorNumber()), 0};
    if (got == 0) return {IoStatus::kClosed, 0};
    return {IoStatus::kDone, static_cast<std::size_t>(got)};
}

IoResult TcpSocket::ReceiveWithin(std::span<std::uint8_t> area, std::chrono::milliseconds wait)
{
    const std::shared_lock step(inUse_);
    const int descriptor = static_cast<int>(handle_.load());
    // Most receives wait equally long: the system is told when that changes. It takes a limit of
    // 0 for none at all.
    if (wait.count() > 0 && receiveLimit_.exchange(wait.count()) != wait.count()) {
        const timeval limit{static_cast<time_t>(wait.count() / 1000),
                            static_cast<suseconds_t>(wait.count() % 1000 * 1000)};
        setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    }
    const int flags = wait.count() > 0 ? 0 : MSG_DONTWAIT;
    const ssize_t got = recv(descriptor, area.data(), area.size(), flags);
    if (got > 0) return {IoStatus::kDone, static_cast<std::size_t>(got)};
    if (got == 0) return {IoStatus::kClosed, 0};
    if (errno == EAGAIN || errno == EWOULDBLOCK) return {IoStatus::kTimedOut, 0};
    return {Failed(ErrorNumber()), 0};
}

WaitStatus TcpSocket::Wait(bool forWriting, Deadline deadline)
{
    const std::shared_lock step(inUse_);
    const int descriptor = static_cast<int>(handle_.load());
    if (descriptor == kNone) return WaitStatus::kFailed;
    return Poll(descriptor, static_cast<short>(forWriting ? POLLOUT : POLLIN), deadline);
}

WaitStatus TcpSocket::WaitWritable(Deadline deadline)
{
    return Wait(true, deadline);
}

WaitStatus TcpSocket::WaitReadable(Deadline deadline)
{
    return Wait(false, deadline);
}

} // namespace zelq::platform
