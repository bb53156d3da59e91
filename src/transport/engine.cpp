#include "transport/engine.h"

#include "common/byte_order.h"
#include "common/result_codes.h"
#include "transport/discovery.h"
#include "transport/reply_pairing.h"
#include "transport/session_table.h"

#include <algorithm>
#include <atomic>

namespace zelq {

namespace {

constexpr int kAttempts = 3;
constexpr std::uint32_t kFallbackMs = 30;
constexpr std::size_t kShortestReply = 9;
/// A wait for a reply is t, then 2t, then 3t long.
constexpr std::int64_t kReceiveWaits = 1 + 2 + 3;

std::atomic<std::uint16_t> transactionIds = 0;

std::uint16_t NextTransactionId()
{
    return static_cast<std::uint16_t>(transactionIds.fetch_add(1, std::memory_order_relaxed) + 1);
}

/// The request as it travels.
class WireRequest
{
  public:
    /// Numbers the frames in `request` and in the copy that is sent. One id more is taken than
    /// there are frames, for the position behind the last.
    explicit WireRequest(RequestBuffer& request)
    {
        std::copy(request.Bytes().begin(), request.Bytes().end(), bytes_.begin());
        while (size_ < kBufferBytes) {
            Number(request.Data());
            const std::size_t frame = ValidateFrame(std::span(bytes_).subspan(size_), true);
            if (frame == 0) break;
            size_ += frame;
            ++frames_;
        }
        tooLong_ = request.Overflowed() || size_ >= kBufferBytes;
    }

    [[nodiscard]] bool TooLong() const { return tooLong_; }
    [[nodiscard]] std::size_t Frames() const { return frames_; }
    [[nodiscard]] std::span<const std::uint8_t> Bytes() const { return {bytes_.data(), size_}; }

  private:
    void Number(std::uint8_t* hostOrder)
    {
        const std::uint16_t id = NextTransactionId();
        if (size_ + sizeof(id) > kBufferBytes) return;
        StoreHost16(hostOrder + size_, id);
        StoreHost16(bytes_.data() + size_, id);
    }

    std::array<std::uint8_t, kBufferBytes> bytes_;
    std::size_t size_ = 0;
    std::size_t frames_ = 0;
    bool tooLong_ = false;
};

/// Sends all bytes, after what an earlier call left unread is thrown away.
int SendAll(platform::TcpSocket& socket, std::span<const std::uint8_t> bytes,
            std::chrono::milliseconds timeOut)
{
    if (!socket.IsOpen()) return kNotOpen;
    const platform::TcpSocket::Use use(socket);
    std::array<std::uint8_t, 4096> waste; // NOLINT(*-member-init): overwritten before any use
    platform::IoResult pending{platform::IoStatus::kDone, 0};
    while (pending.status == platform::IoStatus::kDone)
        pending = socket.ReceivePending(waste);
    if (pending.status != platform::IoStatus::kBlocked) return kSocketFailed;
    while (!bytes.empty()) {
        const platform::IoResult sent = socket.Send(bytes);
        if (sent.status == platform::IoStatus::kClosed) return kSocketFailed;
        if (sent.status == platform::IoStatus::kFailed) return kSendBlocked;
        if (sent.status == platform::IoStatus::kBlocked &&
            socket.WaitWritable(platform::Clock::now() + timeOut) != platform::WaitStatus::kReady) {
            return kSendBlocked;
        }
        bytes = bytes.subspan(sent.bytes);
    }
    return kOk;
}

/// Receives until the pairing has what it needs or the waits are over; -7 when nothing came.
/// A reply may come in any number of pieces, but all of them within the waits.
int ReceiveOnce(platform::TcpSocket& socket, ReplyPairing& pairing,
                std::chrono::milliseconds timeOut)
{
    const platform::TcpSocket::Use use(socket);
    // One byte more than any reply may have, so that a longer one is noticed.
    std::array<std::uint8_t, kBufferBytes + 1> area; // NOLINT(*-member-init): filled by receiving
    std::chrono::milliseconds wait = kReceiveWaits * timeOut;
    const platform::Deadline deadline = platform::Clock::now() + wait;
    std::size_t count = 0;
    while (true) {
        const platform::IoResult got = socket.ReceiveWithin(std::span(area).subspan(count), wait);
        if (got.status == platform::IoStatus::kTimedOut) break;
        if (got.status == platform::IoStatus::kClosed ||
            got.status == platform::IoStatus::kFailed) {
            return kSocketFailed;
        }
        count += got.bytes;
        if (count > kBufferBytes) return kOverflow;
        const bool settled = pairing.Advance(std::span(area).first(count));
        if (settled && count >= kShortestReply) return kOk;
        wait = platform::Left(deadline);
    }
    if (count == 0) return kNoReply;
    return count < kShortestReply ? kReplyTooShort : kOk;
}

std::chrono::milliseconds Chosen(std::uint32_t argument, std::uint16_t ofSession)
{
    if (argument != 0) return std::chrono::milliseconds(argument);
    return std::chrono::milliseconds(ofSession != 0 ? ofSession : kFallbackMs);
}

/// While another thread reconnects, the connection is closed for a moment: then the session is
/// looked at again in our turn.
bool IsOpen(DeviceSession& session)
{
    if (session.Socket().IsOpen()) return true;
    const SessionLock turn(session);
    return session.Socket().IsOpen();
}

/// One send and receive under the session's lock, on a new connection where the old one failed.
int ExchangeOnSession(DeviceSession& session, const WireRequest& wire, ReplyPairing& pairing,
                      ExchangeTimes times)
{
    const SessionLock lock(session);
    if (lock.Failed()) return kLockFailed;
    const auto sendTimeOut = Chosen(times.send, session.Times().send);
    const auto receiveTimeOut = Chosen(times.receive, session.Times().receive);
    int result = kOk;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        result = SendAll(session.Socket(), wire.Bytes(), sendTimeOut);
        if (result != kOk) {
            if (!session.Open()) result = kConnectFailed;
            continue;
        }
        result = ReceiveOnce(session.Socket(), pairing, receiveTimeOut);
        if (result != kNoReply) return result;
        if (!session.Open()) return kConnectFailed;
    }
    return result;
}

/// One exchange with every controller that a discovery reaches.
int GatherReplies(const RequestBuffer& request, const WireRequest& wire, ReplyData* reply,
                  ExchangeTimes times)
{
    constexpr std::uint32_t kGatherWaitMs = 200;
    DiscoveryContext* discovery = DiscoveryContext::Current();
    if (discovery == nullptr) return kConnectFailed;
    ReplyPairing pairing(request, wire.Frames(), reply, PairingMode::kGather);
    const std::uint32_t wait = times.receive != 0 ? times.receive : kGatherWaitMs;
    const int error = discovery->Exchange(wire.Bytes(), pairing, std::chrono::milliseconds(wait));
    return error != kOk ? error : pairing.Result();
}

} // namespace

int TransactFrames(short zelNo, RequestBuffer& request, ReplyData* reply, ExchangeTimes times)
{
    const WireRequest wire(request);
    if (wire.TooLong()) return kOverflow;
    if (zelNo == kAllControllers) return GatherReplies(request, wire, reply, times);
    DeviceSession* session = Sessions().Find(zelNo);
    if (session == nullptr || !IsOpen(*session)) return kNotOpen;
    if (wire.Frames() == 0) return kReplyMismatch;
    ReplyPairing pairing(request, wire.Frames(), reply);
    const int error = ExchangeOnSession(*session, wire, pairing, times);
    return error != kOk ? error : pairing.Result();
}

} // namespace zelq
