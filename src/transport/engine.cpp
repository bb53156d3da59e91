#include "transport/engine.h"

#include "common/result_codes.h"
#include "transport/discovery.h"
#include "transport/session_table.h"
#include "transport/turn.h"

#include <atomic>

namespace zelq {

namespace {

constexpr int kAttempts = 3;
constexpr std::uint32_t kFallbackMs = 30;

std::atomic<std::uint16_t> transactionIds = 0;

/// Gives each frame its id. One id more is taken than there are frames, for the position behind
/// the last.
void Number(RequestBuffer& request)
{
    const auto count = static_cast<std::uint16_t>(request.Finish() + 1);
    const std::uint16_t before = transactionIds.fetch_add(count, std::memory_order_relaxed);
    request.Number(static_cast<std::uint16_t>(before + 1));
}

std::chrono::milliseconds Chosen(std::uint32_t argument, std::uint16_t ofSession)
{
    if (argument != 0) return std::chrono::milliseconds(argument);
    return std::chrono::milliseconds(ofSession != 0 ? ofSession : kFallbackMs);
}

/// Sends and receives, on a new connection where the old one failed.
int ExchangeOnSession(DeviceSession& session, const RequestBuffer& request, ReplyPairing& pairing,
                      ExchangeTimes times)
{
    const AttemptTimes waits{Chosen(times.send, session.Times().send),
                             Chosen(times.receive, session.Times().receive)};
    int result = kOk;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        bool sent = false;
        result = session.Link().Exchange(request, pairing, waits, sent);
        if (sent && result != kNoReply) return result;
        if (session.Reopen()) continue;
        result = kConnectFailed;
        if (sent) return result;
    }
    return result;
}

/// The one place where a call is let through to a controller: it takes its turn, and only then it
/// is judged whether the session is open, so that nothing moves once a disconnect has returned.
int ExchangeInTurn(DeviceSession& session, const RequestBuffer& request, ReplyData* reply,
                   ExchangeTimes times, TurnAction onSuccess)
{
    const Turn turn(session.Lock());
    if (!session.Link().IsOpen()) return kNotOpen;
    if (turn.Failed()) return kLockFailed;
    if (request.Frames() == 0) return kReplyMismatch;
    ReplyPairing pairing(request, reply);
    int result = ExchangeOnSession(session, request, pairing, times);
    if (result == kOk) result = pairing.Result();
    if (result == kOk) onSuccess(session);
    return result;
}

/// One exchange with every controller that a discovery reaches.
int GatherReplies(const RequestBuffer& request, ReplyData* reply, ExchangeTimes times)
{
    constexpr std::uint32_t kGatherWaitMs = 200;
    DiscoveryContext* discovery = DiscoveryContext::Current();
    if (discovery == nullptr) return kConnectFailed;
    const std::uint32_t wait = times.receive != 0 ? times.receive : kGatherWaitMs;
    return discovery->Exchange(request, reply, std::chrono::milliseconds(wait));
}

} // namespace

int TransactFrames(short zelNo, RequestBuffer& request, ReplyData* reply, ExchangeTimes times,
                   TurnAction onSuccess)
{
    Number(request);
    if (request.TooLong()) return kOverflow;
    if (zelNo == kAllControllers) return GatherReplies(request, reply, times);
    DeviceSession* session = Sessions().Find(zelNo);
    if (session == nullptr) return kNotOpen;
    return ExchangeInTurn(*session, request, reply, times, onSuccess);
}

} // namespace zelq
