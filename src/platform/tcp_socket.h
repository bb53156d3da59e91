#pragma once

#include "native/tcp_state.h"
#include "platform/clock.h"
#include "platform/io_status.h"
#include "platform/use_lock.h"

#include <cstdint>
#include <shared_mutex>
#include <span>

namespace zelq::platform {

/// A TCP client connection that never blocks but in its two waits.
///
/// One thread at a time leads an exchange, but a thread that gave up waiting for its turn goes on
/// without it. So every member may be called from any thread, and a descriptor is closed only
/// after the last use of it has ended: its number can never belong to another connection while
/// somebody still uses it, and nobody finds another connection in the middle of a use.
class TcpSocket
{
  public:
    TcpSocket() = default;
    ~TcpSocket() { Close(); }
    TcpSocket(const TcpSocket&) = delete;
    TcpSocket& operator=(const TcpSocket&) = delete;

    // These stand outside a Use.

    /// Connects to a dotted IPv4 address; text that is none fails without a name look-up.
    bool Open(const char* address, std::uint32_t port, std::chrono::milliseconds timeout);
    /// Wakes those that wait on the connection, and closes it when the last of them has let go.
    void Close();
    /// Breaks the connection and ends all waits on it, but waits for nobody and closes nothing.
    void Interrupt();
    /// In a forked child: lets go of what it inherited, without a word to the parent's peer.
    void Abandon();

    [[nodiscard]] bool IsOpen() const { return state_.IsOpen(); }

    /// Keeps the descriptor from being closed while it lives. Each of the steps below stands in
    /// one, in which the connection stays the same or is gone.
    class Use
    {
      public:
        explicit Use(TcpSocket& socket) : lock_(socket.inUse_) {}

      private:
        std::shared_lock<UseLock> lock_;
    };

    /// What has come so far, without waiting; kBlocked for nothing.
    IoResult ReceivePending(std::span<std::uint8_t> area);
    IoResult Send(std::span<const std::uint8_t> bytes);
    /// Waits for bytes, and receives those that have come by then; kBlocked when it was interrupted
    /// by a signal.
    IoResult ReceiveWithin(std::span<std::uint8_t> area, const Wait& wait);
    WaitStatus WaitWritable(Deadline deadline);

  private:
    TcpState state_;
    UseLock inUse_; ///< shared by every use, exclusive to open and to close
};

} // namespace zelq::platform
