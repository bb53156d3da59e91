#include "platform/tcp_socket.h"

#include "platform/windows/system.h"
#include "platform/windows/wait_time.h"
#include "platform/windows/winsock_use.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <shared_mutex>

namespace zelq::platform {

namespace {

constexpr std::intptr_t kNoEvent = -1;
constexpr long kBlockingMode = static_cast<long>(FIONBIO);

std::uint32_t LastErrorNumber()
{
    return static_cast<std::uint32_t>(WSAGetLastError());
}

SOCKET Native(std::intptr_t handle)
{
    return static_cast<SOCKET>(handle);
}

WSAEVENT NativeEvent(std::intptr_t event)
{
    return reinterpret_cast<WSAEVENT>(event); // NOLINT(performance-no-int-to-ptr): a handle
}

timeval SelectTime(std::chrono::milliseconds time)
{
    const auto count = WaitTime(time);
    return {static_cast<long>(count / 1000), static_cast<long>(count % 1000 * 1000)};
}

/// Whether the socket becomes writable, or its connect fails, within the time.
int SelectForWriting(SOCKET handle, std::chrono::milliseconds time)
{
    fd_set writable{1, {handle}};
    fd_set failed{1, {handle}};
    timeval limit = SelectTime(time);
    return select(0, nullptr, &writable, &failed, &limit);
}

/// A non-blocking connect ends writable or with an exception: ask the socket which error it has.
int FinishConnect(SOCKET handle, std::chrono::milliseconds timeout)
{
    const int ready = SelectForWriting(handle, timeout);
    if (ready == 0) return WSAETIMEDOUT;
    int error = 0;
    int size = sizeof(error);
    auto* result = reinterpret_cast<char*>(&error);
    if (ready < 0 || getsockopt(handle, SOL_SOCKET, SO_ERROR, result, &size) != 0) {
        return WSAGetLastError();
    }
    return error;
}

bool SetOn(SOCKET handle, int level, int option)
{
    const int on = 1;
    return setsockopt(handle, level, option, reinterpret_cast<const char*>(&on), sizeof(on)) == 0;
}

int ConnectTo(SOCKET handle, const sockaddr_in& address, std::chrono::milliseconds timeout)
{
    u_long nonBlocking = 1;
    if (!SetOn(handle, SOL_SOCKET, SO_REUSEADDR)) return WSAGetLastError();
    if (ioctlsocket(handle, kBlockingMode, &nonBlocking) != 0) return WSAGetLastError();
    if (!SetOn(handle, IPPROTO_TCP, TCP_NODELAY)) return WSAGetLastError();
    if (connect(handle, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
        return 0;
    }
    const int error = WSAGetLastError();
    return error == WSAEWOULDBLOCK ? FinishConnect(handle, timeout) : error;
}

/// A connected, non-blocking socket that no child process inherits, or the system's error number.
int OpenConnected(const char* address, std::uint32_t port, std::chrono::milliseconds timeout,
                  SOCKET& handle)
{
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(static_cast<std::uint16_t>(port));
    if (port > UINT16_MAX || inet_pton(AF_INET, address, &target.sin_addr) != 1) return WSAEINVAL;
    constexpr DWORD kFlags = WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT;
    handle = WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, kFlags);
    return handle == INVALID_SOCKET ? WSAGetLastError() : ConnectTo(handle, target, timeout);
}

/// The errors that mean that the connection is gone.
bool MeansBroken(int error)
{
    return error == WSAENETDOWN || error == WSAENETRESET || error == WSAECONNABORTED ||
           error == WSAECONNRESET || error == WSAENOTCONN;
}

/// Whether a step would not block now. Looking for bytes is a receive, after which the system
/// sets the event for the next ones.
bool IsReady(SOCKET handle, bool forWriting)
{
    if (forWriting) return SelectForWriting(handle, std::chrono::milliseconds{0}) != 0;
    char next = 0;
    return recv(handle, &next, 1, MSG_PEEK) >= 0 || WSAGetLastError() != WSAEWOULDBLOCK;
}

/// Has the event set whenever the socket becomes readable, writable or closed. An event that serves
/// several connections may be set late, for one that is gone, which costs no more than a look.
bool SignalReadiness(SOCKET handle, std::atomic<std::intptr_t>& event)
{
    if (event.load() == kNoEvent) {
        const WSAEVENT created = WSACreateEvent();
        if (created == WSA_INVALID_EVENT) return false;
        event.store(reinterpret_cast<std::intptr_t>(created));
    }
    return WSAEventSelect(handle, NativeEvent(event.load()), FD_READ | FD_WRITE | FD_CLOSE) == 0;
}

void CloseEvent(std::atomic<std::intptr_t>& event)
{
    const std::intptr_t closed = event.exchange(kNoEvent);
    if (closed != kNoEvent) WSACloseEvent(NativeEvent(closed));
}

void CloseSocket(SOCKET handle)
{
    closesocket(handle);
    WSACleanup();
}

} // namespace

TcpSocket::~TcpSocket()
{
    Close();
}

IoStatus TcpSocket::Failed(std::uint32_t error)
{
    const int number = static_cast<int>(error);
    if (number == WSAEWOULDBLOCK) return IoStatus::kBlocked;
    lastError_.store(error, std::memory_order_relaxed);
    return MeansBroken(number) ? IoStatus::kClosed : IoStatus::kFailed;
}

bool TcpSocket::Open(const char* address, std::uint32_t port, std::chrono::milliseconds timeout)
{
    Close();
    WinsockUse winsock;
    SOCKET handle = INVALID_SOCKET;
    int error = winsock.Error();
    if (error == 0) error = OpenConnected(address, port, timeout, handle);
    if (error == 0) {
        const std::unique_lock alone(inUse_);
        if (SignalReadiness(handle, event_)) {
            const Handle replaced = handle_.exchange(static_cast<Handle>(handle));
            if (replaced != kNone) CloseSocket(Native(replaced));
            winsock.Keep();
            return true;
        }
        error = WSAGetLastError();
        if (handle_.load() == kNone) CloseEvent(event_);
    }
    lastError_.store(static_cast<std::uint32_t>(error), std::memory_order_relaxed);
    if (handle != INVALID_SOCKET) closesocket(handle);
    return false;
}

void TcpSocket::Close()
{
    const Handle handle = handle_.exchange(kNone);
    if (handle == kNone) return;
    {
        // Whoever still waits on the socket is woken by this, and lets go of it.
        const std::shared_lock step(inUse_);
        shutdown(Native(handle), SD_BOTH);
        WSASetEvent(NativeEvent(event_.load()));
    }
    const std::unique_lock alone(inUse_);
    CloseSocket(Native(handle));
    // Another thread may have connected meanwhile, and waits by the same event.
    if (handle_.load() == kNone) CloseEvent(event_);
}

IoStatus TcpSocket::Drain()
{
    const std::shared_lock step(inUse_);
    char first = 0;
    const int got = recv(Native(handle_.load()), &first, 1, 0);
    if (got == 0) return IoStatus::kClosed;
    if (got > 0) return DiscardPending();
    const IoStatus status = Failed(LastErrorNumber());
    return status == IoStatus::kBlocked ? IoStatus::kDone : status;
}

IoStatus TcpSocket::DiscardPending()
{
    const SOCKET handle = Native(handle_.load());
    u_long pending = 0;
    if (ioctlsocket(handle, FIONREAD, &pending) != 0) return Failed(LastErrorNumber());
    // No more than stood there at the start: a peer that never stops sending holds nobody up.
    std::array<char, 4096> waste; // NOLINT(*-member-init): overwritten before any use
    while (pending > 0) {
        const auto wanted = std::min(waste.size(), static_cast<std::size_t>(pending));
        const int got = recv(handle, waste.data(), static_cast<int>(wanted), 0);
        if (got == 0) return IoStatus::kClosed;
        if (got < 0) return Failed(LastErrorNumber());
        pending -= static_cast<u_long>(got);
    }
    return IoStatus::kDone;
}

IoResult TcpSocket::Send(std::span<const std::uint8_t> bytes)
{
    const std::shared_lock step(inUse_);
    const auto* data = reinterpret_cast<const char*>(bytes.data());
    const int sent = send(Native(handle_.load()), data, static_cast<int>(bytes.size()), 0);
    if (sent < 0) return {Failed(LastErrorNumber()), 0};
    return {IoStatus::kDone, static_cast<std::size_t>(sent)};
}

IoResult TcpSocket::Receive(std::span<std::uint8_t> area)
{
    const std::shared_lock step(inUse_);
    auto* data = reinterpret_cast<char*>(area.data());
    const int got = recv(Native(handle_.load()), data, static_cast<int>(area.size()), 0);
    if (got < 0) return {Failed(LastErrorNumber()), 0};
    if (got == 0) return {IoStatus::kClosed, 0};
    return {IoStatus::kDone, static_cast<std::size_t>(got)};
}

IoResult TcpSocket::ReceiveWithin(std::span<std::uint8_t> area, std::chrono::milliseconds wait)
{
    const WaitStatus ready = Wait(false, Clock::now() + wait);
    if (ready == WaitStatus::kTimedOut) return {IoStatus::kTimedOut, 0};
    if (ready == WaitStatus::kFailed) return {IoStatus::kFailed, 0};
    return Receive(area);
}

WaitStatus TcpSocket::Wait(bool forWriting, Deadline deadline)
{
    const std::shared_lock step(inUse_);
    const WSAEVENT event = NativeEvent(event_.load());
    bool broken = false;
    while (true) {
        const Handle handle = handle_.load();
        if (handle == kNone) {
            // Close has set the event, but this thread may have reset it before others saw it.
            if (event_.load() != kNone) WSASetEvent(event);
            return WaitStatus::kFailed;
        }
        // The event only says when to look again; what is seen here counts. So it may be set for
        // something that was taken long ago, or another thread may have reset it.
        if (broken || IsReady(Native(handle), forWriting)) return WaitStatus::kReady;
        const auto left = Left(deadline);
        if (left.count() == 0) return WaitStatus::kTimedOut;
        const DWORD wait = WSAWaitForMultipleEvents(1, &event, FALSE, WaitTime(left), FALSE);
        if (wait == WSA_WAIT_FAILED) return WaitStatus::kFailed;
        WSANETWORKEVENTS seen{};
        if (wait == WSA_WAIT_EVENT_0 && WSAEnumNetworkEvents(Native(handle), event, &seen) != 0) {
            return WaitStatus::kFailed;
        }
        broken = (seen.lNetworkEvents & FD_CLOSE) != 0;
    }
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
