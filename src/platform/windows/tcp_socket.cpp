#include "platform/tcp_socket.h"

#include "platform/windows/native_handle.h"
#include "platform/windows/wait_time.h"
#include "platform/windows/winsock_use.h"

#include <mutex>
#include <shared_mutex>

namespace zelq::platform {

namespace {

constexpr long kBlockingMode = static_cast<long>(FIONBIO);

timeval SelectTime(std::chrono::milliseconds time)
{
    const auto count = WaitTime(time);
    return {static_cast<long>(count / 1000), static_cast<long>(count % 1000 * 1000)};
}

/// Waits until the socket becomes writable or, where `failed` is asked for, its connect fails; 0
/// when neither happened within the time.
int SelectForWriting(SOCKET handle, std::chrono::milliseconds time, fd_set* failed)
{
    fd_set writable{1, {handle}};
    timeval limit = SelectTime(time);
    return select(0, nullptr, &writable, failed, &limit);
}

/// A non-blocking connect ends writable or with an exception: the socket tells which error it has.
/// An exception whose error it does not know is none the less one.
int FinishConnect(SOCKET handle, std::chrono::milliseconds timeout)
{
    fd_set failed{1, {handle}};
    const int ready = SelectForWriting(handle, timeout, &failed);
    if (ready == 0) return WSAETIMEDOUT;
    int error = 0;
    int size = sizeof(error);
    auto* result = reinterpret_cast<char*>(&error);
    if (ready < 0 || getsockopt(handle, SOL_SOCKET, SO_ERROR, result, &size) != 0) {
        return WSAGetLastError();
    }
    return error == 0 && failed.fd_count > 0 ? WSAECONNREFUSED : error;
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

/// What an error comes to; some mean that the connection is gone.
IoResult Failed(int error)
{
    switch (error) {
    case WSAEWOULDBLOCK:
        return {IoStatus::kBlocked, 0};
    case WSAENETDOWN:
    case WSAENETRESET:
    case WSAECONNABORTED:
    case WSAECONNRESET:
    case WSAENOTCONN:
    case WSAESHUTDOWN:
        return {IoStatus::kClosed, 0};
    default:
        return {IoStatus::kFailed, 0};
    }
}

/// Has the event set whenever the socket becomes readable, writable or closed. An event that serves
/// several connections may be set late, for one that is gone, which costs no more than a look.
bool SignalReadiness(SOCKET handle, std::atomic<std::intptr_t>& event)
{
    if (event.load() == TcpState::kNone) {
        const WSAEVENT created = WSACreateEvent();
        if (created == WSA_INVALID_EVENT) return false;
        event.store(reinterpret_cast<std::intptr_t>(created));
    }
    return WSAEventSelect(handle, NativeEvent(event.load()), FD_READ | FD_WRITE | FD_CLOSE) == 0;
}

void CloseEvent(std::atomic<std::intptr_t>& event)
{
    const std::intptr_t closed = event.exchange(TcpState::kNone);
    if (closed != TcpState::kNone) WSACloseEvent(NativeEvent(closed));
}

void CloseSocket(SOCKET handle)
{
    closesocket(handle);
    WSACleanup();
}

/// Shuts the connection down and wakes all who wait on it.
void Break(SOCKET handle, const std::atomic<std::intptr_t>& event)
{
    shutdown(handle, SD_BOTH);
    WSASetEvent(NativeEvent(event.load()));
}

enum class Turn {
    kLook,   ///< something may have changed
    kClosed, ///< the peer has closed, or the connection is broken
    kTimedOut,
    kFailed, ///< the connection was closed or broken by another thread
};

/// Waits until it is worth looking at the socket again. The event only says when; what is seen
/// there counts. So it may be set for something that was taken long ago, or another thread may have
/// reset it.
Turn AwaitChange(TcpState& state, Deadline deadline)
{
    const WSAEVENT event = NativeEvent(state.event.load());
    const std::intptr_t handle = state.handle.load();
    if (handle == TcpState::kNone || state.broken) {
        // It was set for all, but this thread may have reset it before others saw it.
        if (state.event.load() != TcpState::kNone) WSASetEvent(event);
        return Turn::kFailed;
    }
    const auto left = Left(deadline);
    if (left.count() == 0) return Turn::kTimedOut;
    const DWORD wait = WSAWaitForMultipleEvents(1, &event, FALSE, WaitTime(left), FALSE);
    if (wait == WSA_WAIT_FAILED) return Turn::kFailed;
    if (wait != WSA_WAIT_EVENT_0) return Turn::kLook;
    WSANETWORKEVENTS seen{};
    if (WSAEnumNetworkEvents(Native(handle), event, &seen) != 0) return Turn::kFailed;
    return (seen.lNetworkEvents & FD_CLOSE) != 0 ? Turn::kClosed : Turn::kLook;
}

} // namespace

bool TcpSocket::Open(const char* address, std::uint32_t port, std::chrono::milliseconds timeout)
{
    Close();
    WinsockUse winsock;
    SOCKET handle = INVALID_SOCKET;
    if (winsock.Error() != 0) return false;
    bool opened = OpenConnected(address, port, timeout, handle) == 0;
    if (opened) {
        const std::unique_lock alone(inUse_);
        opened = SignalReadiness(handle, state_.event);
        if (opened) {
            state_.broken = false;
            const auto replaced = state_.handle.exchange(static_cast<std::intptr_t>(handle));
            if (replaced != TcpState::kNone) CloseSocket(Native(replaced));
            winsock.Keep();
        } else if (!state_.IsOpen()) {
            CloseEvent(state_.event);
        }
    }
    if (!opened && handle != INVALID_SOCKET) closesocket(handle);
    return opened;
}

void TcpSocket::Close()
{
    const std::intptr_t handle = state_.handle.exchange(TcpState::kNone);
    if (handle != TcpState::kNone) {
        const Use use(*this);
        Break(Native(handle), state_.event);
    }
    const std::unique_lock alone(inUse_);
    if (handle == TcpState::kNone) return;
    CloseSocket(Native(handle));
    // Another thread may have connected meanwhile, and waits by the same event.
    if (!state_.IsOpen()) CloseEvent(state_.event);
}

void TcpSocket::Interrupt()
{
    const Use use(*this);
    const std::intptr_t handle = state_.handle.load();
    if (handle == TcpState::kNone) return;
    state_.broken = true;
    Break(Native(handle), state_.event);
}

// No process of this system is a copy of another, which would inherit a connection.
void TcpSocket::Abandon()
{
    Close();
}

IoResult TcpSocket::ReceivePending(std::span<std::uint8_t> area)
{
    auto* data = reinterpret_cast<char*>(area.data());
    const int got = recv(Native(state_.handle.load()), data, static_cast<int>(area.size()), 0);
    if (got < 0) return Failed(WSAGetLastError());
    if (got == 0) return {IoStatus::kClosed, 0};
    return {IoStatus::kDone, static_cast<std::size_t>(got)};
}

IoResult TcpSocket::Send(std::span<const std::uint8_t> bytes)
{
    const auto* data = reinterpret_cast<const char*>(bytes.data());
    const int size = static_cast<int>(bytes.size());
    const int sent = send(Native(state_.handle.load()), data, size, 0);
    if (sent < 0) return Failed(WSAGetLastError());
    return {IoStatus::kDone, static_cast<std::size_t>(sent)};
}

IoResult TcpSocket::ReceiveWithin(std::span<std::uint8_t> area, const Wait& wait)
{
    bool closed = false;
    while (true) {
        const IoResult received = ReceivePending(area);
        if (received.status != IoStatus::kBlocked) return received;
        // What came before the close has been taken by now.
        if (closed) return {IoStatus::kClosed, 0};
        const Turn turn = AwaitChange(state_, wait.deadline);
        if (turn == Turn::kTimedOut) return {IoStatus::kTimedOut, 0};
        if (turn == Turn::kFailed) return {IoStatus::kFailed, 0};
        closed = turn == Turn::kClosed;
    }
}

WaitStatus TcpSocket::WaitWritable(Deadline deadline)
{
    while (state_.IsOpen()) {
        const SOCKET handle = Native(state_.handle.load());
        if (SelectForWriting(handle, std::chrono::milliseconds{0}, nullptr) != 0) break;
        const Turn turn = AwaitChange(state_, deadline);
        if (turn == Turn::kTimedOut) return WaitStatus::kTimedOut;
        if (turn == Turn::kFailed) return WaitStatus::kFailed;
        if (turn == Turn::kClosed) break;
    }
    return state_.IsOpen() ? WaitStatus::kReady : WaitStatus::kFailed;
}

} // namespace zelq::platform
