#pragma once

#include "platform/tcp_socket.h"
#include "platform/use_lock.h"
#include "transport/owed_replies.h"
#include "transport/reply_pairing.h"
#include "transport/request.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <span>

namespace zelq {

/// How long one attempt may wait.
struct AttemptTimes
{
    std::chrono::milliseconds send;
    std::chrono::milliseconds receive; ///< waited for once, twice and thrice over
};

/// A session's connection: whether it counts as open, and what is still to come over it.
///
/// Whoever has the session's turn leads it. A thread that waited for its turn in vain goes on all
/// the same: so everything here may be called from any thread.
class Connection
{
  public:
    /// Whether calls may use it. A connection that is just being made anew by the call that has
    /// the turn is open.
    [[nodiscard]] bool IsOpen() const { return state_.load() == State::kOpen; }

    /// Connects, whatever was before.
    bool Open(const char* address, std::uint32_t port, std::chrono::milliseconds timeOut);
    /// Connects anew in the middle of an exchange; not once somebody has closed it.
    bool Reopen(const char* address, std::uint32_t port, std::chrono::milliseconds timeOut);
    /// From now on nobody uses it, and no exchange that is still under way opens it again.
    void Close();
    /// The same, without waiting for those who use it: they are woken, and leave.
    void Interrupt();
    /// In a forked child: the connection is the parent's, and stays what it is.
    void Abandon();

    /// Sends the request, once what came since the last exchange is thrown away, and pairs the
    /// replies. `sent` tells how far it came: up to there the controller has seen nothing.
    int Exchange(const RequestBuffer& request, ReplyPairing& pairing, const AttemptTimes& times,
                 bool& sent);

  private:
    enum class State : std::uint8_t {
        kClosed, ///< by the application
        kLost,   ///< it broke, and could not be had again
        kOpen,
    };

    int Send(std::span<const std::uint8_t> bytes, std::chrono::milliseconds timeOut);
    int Receive(const RequestBuffer& request, ReplyPairing& pairing,
                std::chrono::milliseconds timeOut);
    int DiscardStale();
    std::size_t DropLate(std::span<std::uint8_t> received, std::size_t from);
    void Settle(const RequestBuffer& request, const ReplyPairing& pairing,
                std::span<const std::uint8_t> received);
    void LoseStep();

    platform::TcpSocket socket_;
    std::atomic<State> state_ = State::kClosed;
    /// Nothing is owed, as between any two calls that went well: then `owed_` need not be asked.
    std::atomic<bool> settled_ = true;
    platform::UseLock owedLock_;
    OwedReplies owed_;
};

} // namespace zelq
