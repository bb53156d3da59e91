#pragma once

#include "platform/clock.h"
#include "platform/use_lock.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zelq::platform {

/// What a step on a socket came to.
enum class IoStatus {
    kDone,     ///< bytes were moved
    kBlocked,  ///< nothing can be moved now: wait for readiness, or try again
    kTimedOut, ///< nothing came in time
    kClosed,   ///< the peer has closed, or the connection is broken
    kFailed,   ///< any other error, told by LastError
};

struct IoResult
{
    IoStatus status;
    std::size_t bytes;
};

enum class WaitStatus { kReady, kTimedOut, kFailed };

/// A TCP client connection that never blocks but in its two waits.
///
/// One thread at a time leads an exchange, but a thread that gave up waiting for its turn goes on
/// without it. So every member may be called from any thread, and a descriptor is closed only
/// after the last step on it has ended: its number can never belong to another connection while
/// somebody still uses it.
class TcpSocket
{
  public:
    TcpSocket() = default;
    ~TcpSocket();
    TcpSocket(const TcpSocket&) = delete;
    TcpSocket& operator=(const TcpSocket&) = delete;

    /// Connects to a dotted IPv4 address; text that is none fails without a name look-up.
    bool Open(const char* address, std::uint32_t port, std::chrono::milliseconds timeout);
    void Close();
    [[nodiscard]] bool IsOpen() const { return handle_.load(std::memory_order_relaxed) != kNone; }

    /// Throws away what has come so far; a peer that has closed is noticed here.
    IoStatus Drain();
    IoResult Send(std::span<const std::uint8_t> bytes);
    IoResult Receive(std::span<std::uint8_t> area);
    /// Waits at most `wait` for bytes and receives those that have come by then; kBlocked when it
    /// was interrupted.
    IoResult ReceiveWithin(std::span<std::uint8_t> area, std::chrono::milliseconds wait);

    WaitStatus WaitWritable(Deadline deadline);
    WaitStatus WaitReadable(Deadline deadline);

    /// The system's number of the last error.
    [[nodiscard]] std::uint32_t LastError() const
    {
        return lastError_.load(std::memory_order_relaxed);
    }

  private:
    using Handle = std::intptr_t;
    static constexpr Handle kNone = -1;

    IoStatus Failed(std::uint32_t error);
    IoStatus DiscardPending();
    WaitStatus Wait(bool forWriting, Deadline deadline);

    std::atomic<Handle> handle_ = kNone;
    std::atomic<Handle> event_ = kNone; ///< readiness event where the system has one
    std::atomic<std::uint32_t> lastError_ = 0;
    std::atomic<std::int64_t> receiveLimit_ = 0; ///< ms that the system lets a receive wait
    UseLock inUse_;                              ///< shared by every step, exclusive to close
};

} // namespace zelq::platform
