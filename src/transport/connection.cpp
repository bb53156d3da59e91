#include "transport/connection.h"

#include "common/result_codes.h"

#include <array>
#include <mutex>
#include <new>

namespace zelq {

namespace {

using platform::IoResult;
using platform::IoStatus;

constexpr std::size_t kShortestReply = 9;
/// A wait for a reply is t, then 2t, then 3t long.
constexpr std::int64_t kReceiveWaits = 1 + 2 + 3;

/// One byte more than any reply may have, so that a longer one is noticed.
using ReceiveArea = std::array<std::uint8_t, kBufferBytes + 1>;

} // namespace

bool Connection::Open(const char* address, std::uint32_t port, std::chrono::milliseconds timeOut)
{
    state_ = State::kLost;
    return Reopen(address, port, timeOut);
}

bool Connection::Reopen(const char* address, std::uint32_t port, std::chrono::milliseconds timeOut)
{
    State before = state_;
    if (before == State::kClosed) return false;
    const bool connected = socket_.Open(address, port, timeOut);
    {
        const std::lock_guard guard(owedLock_);
        owed_.Forget();
        settled_ = true;
    }
    const State now = connected ? State::kOpen : State::kLost;
    while (before != State::kClosed && !state_.compare_exchange_weak(before, now)) {
    }
    // Closed meanwhile, by somebody who had waited for his turn in vain: it stays closed.
    if (before == State::kClosed) socket_.Close();
    return connected && before != State::kClosed;
}

void Connection::Close()
{
    state_ = State::kClosed;
    socket_.Close();
}

void Connection::Interrupt()
{
    state_ = State::kClosed;
    socket_.Interrupt();
}

void Connection::Abandon()
{
    state_ = State::kClosed;
    socket_.Abandon();
    new (&owedLock_) platform::UseLock; // the thread that may have held it is not in this process
    owed_.Forget();
    settled_ = true;
}

int Connection::Exchange(const RequestBuffer& request, ReplyPairing& pairing,
                         const AttemptTimes& times, bool& sent)
{
    sent = false;
    if (!socket_.IsOpen()) return kNotOpen;
    const platform::TcpSocket::Use use(socket_);
    int result = DiscardStale();
    if (result == kOk && !settled_) {
        const std::lock_guard guard(owedLock_);
        owed_.Expect(request);
        // Where a frame starts is not known any more: the caller connects anew.
        if (owed_.LostStep()) result = kSocketFailed;
    }
    if (result == kOk) result = Send(request.Bytes(), times.send);
    if (result != kOk) return result;
    sent = true;
    return Receive(request, pairing, times.receive);
}

/// Throws away what has come since the last exchange.
int Connection::DiscardStale()
{
    ReceiveArea area; // NOLINT(*-member-init): filled by receiving
    const IoResult got = socket_.ReceivePending(area);
    if (got.status == IoStatus::kBlocked) return kOk;
    if (got.status != IoStatus::kDone) return kSocketFailed;
    const std::lock_guard guard(owedLock_);
    settled_ = false;
    owed_.Discard(std::span(area).first(got.bytes));
    // More than any replies may have: nobody knows where they end.
    if (got.bytes == area.size()) owed_.LoseStep();
    return kOk;
}

int Connection::Send(std::span<const std::uint8_t> bytes, std::chrono::milliseconds timeOut)
{
    while (!bytes.empty()) {
        const IoResult sent = socket_.Send(bytes);
        if (sent.status == IoStatus::kClosed) return kSocketFailed;
        if (sent.status == IoStatus::kFailed) return kSendBlocked;
        if (sent.status == IoStatus::kBlocked &&
            socket_.WaitWritable(platform::Clock::now() + timeOut) !=
                platform::WaitStatus::kReady) {
            return kSendBlocked;
        }
        bytes = bytes.subspan(sent.bytes);
    }
    return kOk;
}

/// Receives until the pairing has what it needs or the waits are over; -7 when nothing came. A
/// reply may come in any number of pieces, but all of them within the waits.
int Connection::Receive(const RequestBuffer& request, ReplyPairing& pairing,
                        std::chrono::milliseconds timeOut)
{
    ReceiveArea area; // NOLINT(*-member-init): filled by receiving
    platform::Wait wait(kReceiveWaits * timeOut);
    std::size_t count = 0;
    while (true) {
        const IoResult got = socket_.ReceiveWithin(std::span(area).subspan(count), wait);
        if (got.status == IoStatus::kTimedOut) break;
        if (got.status == IoStatus::kClosed || got.status == IoStatus::kFailed) {
            LoseStep();
            return kSocketFailed;
        }
        count += got.bytes;
        if (count > kBufferBytes) {
            LoseStep();
            return kOverflow;
        }
        if (!settled_) count = DropLate(std::span(area).first(count), pairing.Taken());
        const bool done = pairing.Advance(std::span(area).first(count));
        if (done && count >= kShortestReply) break;
        wait.LookAtClock();
    }
    if (count == 0) return kNoReply;
    Settle(request, pairing, std::span(area).first(count));
    return count < kShortestReply ? kReplyTooShort : kOk;
}

std::size_t Connection::DropLate(std::span<std::uint8_t> received, std::size_t from)
{
    const std::lock_guard guard(owedLock_);
    return owed_.DropLate(received, from);
}

/// Keeps in mind what of this exchange is still to come.
void Connection::Settle(const RequestBuffer& request, const ReplyPairing& pairing,
                        std::span<const std::uint8_t> received)
{
    const bool complete =
        pairing.Matched() == request.Frames() && pairing.Taken() == received.size();
    if (complete && settled_) return;
    const std::lock_guard guard(owedLock_);
    owed_.Owe(request, pairing.Matched(), received.subspan(pairing.Taken()));
    settled_ = owed_.None();
}

void Connection::LoseStep()
{
    const std::lock_guard guard(owedLock_);
    owed_.LoseStep();
    settled_ = false;
}

} // namespace zelq
