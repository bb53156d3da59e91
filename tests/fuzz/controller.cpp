#include "fuzz/controller.h"

#include "common/byte_order.h"
#include "common/result_codes.h"
#include "platform/trace_viewer.h"
#include "platform/udp_socket.h"
#include "transport/discovery.h"
#include "transport/engine.h"
#include "transport/reply_pairing.h"

#include <utility>

namespace zelq {

namespace fuzz {

namespace {

Input* answers = nullptr;
Traffic traffic;
std::uint16_t lastId = 0;

/// A frame of the request, as its reply must answer it.
struct Asked
{
    std::uint16_t id;
    std::uint8_t unit;
    std::uint8_t function;
    std::uint16_t quantity;
};

/// Numbers the frames as the engine does.
std::vector<Asked> NumberFrames(RequestBuffer& request)
{
    std::vector<Asked> frames;
    std::size_t at = 0;
    while (at < kBufferBytes) {
        const std::size_t size = ValidateFrame(request.Bytes().subspan(at));
        if (size == 0) break;
        std::uint8_t* frame = request.Data() + at;
        StoreHost16(frame + field::kTransactionId, ++lastId);
        frames.push_back({lastId, frame[field::kUnit], frame[field::kFunction],
                          LoadHost16(frame + field::kQuantity)});
        at += size;
    }
    return frames;
}

void PutWord(Bytes& bytes, unsigned value)
{
    bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

Bytes Frame(const Asked& asked, unsigned function, const Bytes& body)
{
    Bytes frame;
    PutWord(frame, asked.id);
    PutWord(frame, 0);
    PutWord(frame, static_cast<unsigned>(body.size()) + 2);
    frame.push_back(asked.unit);
    frame.push_back(static_cast<std::uint8_t>(function));
    frame.insert(frame.end(), body.begin(), body.end());
    return frame;
}

Bytes ProperReply(const Asked& asked, bool refuses)
{
    Bytes body{static_cast<std::uint8_t>(2U * asked.quantity)};
    for (unsigned i = 0; i < asked.quantity; ++i) {
        const bool isResult = asked.function == kReadWriteRegisters && i == 0;
        PutWord(body, isResult && !refuses ? 0U : answers->NextWord());
    }
    return Frame(asked, asked.function, body);
}

/// The next byte says how a frame is answered: with registers out of the input (a command
/// succeeds, with 128 its result is out of the input, too), then changed in one byte, left out,
/// sent twice, refused by an exception or replaced by bytes out of the input.
Bytes ReplyTo(const Asked& asked)
{
    const std::uint8_t how = answers->Next();
    const bool refuses = (how & 0x80U) != 0;
    switch (how & 7U) {
    default:
        return ProperReply(asked, refuses);
    case 3: {
        const std::size_t at = answers->Next();
        const std::uint8_t bits = answers->Next();
        Bytes reply = ProperReply(asked, refuses);
        reply[at % reply.size()] ^= bits;
        return reply;
    }
    case 4:
        return {};
    case 5: {
        Bytes reply = ProperReply(asked, refuses);
        const Bytes again = reply;
        reply.insert(reply.end(), again.begin(), again.end());
        return reply;
    }
    case 6:
        return Frame(asked, asked.function | kExceptionBit, answers->Rest(answers->Next() & 7U));
    case 7:
        return answers->Rest(answers->Next());
    }
}

/// As an exchange over a connection: the replies come in pieces, and no more than fit the area.
int Deliver(const Bytes& replies, std::size_t piece, ReplyPairing& pairing)
{
    constexpr std::size_t kShortestReply = 9;
    bool settled = false;
    for (std::size_t received = 0; received < replies.size() && !settled;) {
        received = std::min(received + piece, replies.size());
        if (received > kBufferBytes) return kOverflow;
        // A copy of its own, so that the address sanitizer guards the end of what has come.
        const Bytes bytes(replies.begin(), replies.begin() + static_cast<std::ptrdiff_t>(received));
        settled = pairing.Advance(bytes) && received >= kShortestReply;
    }
    if (replies.empty()) return kNoReply;
    return replies.size() < kShortestReply ? kReplyTooShort : pairing.Result();
}

int ExchangeWithOne(RequestBuffer& request, ReplyData* reply)
{
    const std::vector<Asked> frames = NumberFrames(request);
    if (request.Overflowed()) return kOverflow;
    if (frames.empty()) return kReplyMismatch;
    const std::uint8_t how = answers->Next();
    if ((how & 0x80U) != 0) return -static_cast<int>(answers->Next() % 12U) - 1;
    Bytes replies;
    for (const Asked& asked : frames) {
        const Bytes one = ReplyTo(asked);
        replies.insert(replies.end(), one.begin(), one.end());
    }
    ReplyPairing pairing(request, frames.size(), reply);
    return Deliver(replies, how == 0 ? replies.size() : how, pairing);
}

int ExchangeWithAll(RequestBuffer& request, ReplyData* reply)
{
    DiscoveryContext* discovery = DiscoveryContext::Current();
    if (discovery == nullptr) return kConnectFailed;
    const std::size_t frames = NumberFrames(request).size();
    Bytes wire(request.Bytes().begin(), request.Bytes().end());
    const std::size_t size = ValidateFrame(std::span(wire), true);
    ReplyPairing pairing(request, frames, reply, PairingMode::kGather);
    const int error =
        discovery->Exchange(std::span(wire).first(size), pairing, std::chrono::milliseconds(1));
    return error != kOk ? error : pairing.Result();
}

} // namespace

void AnswerFrom(Input& input)
{
    answers = &input;
    lastId = 0;
}

Traffic TakeTraffic()
{
    return std::exchange(traffic, {});
}

} // namespace fuzz

int TransactFrames(short zelNo, RequestBuffer& request, ReplyData* reply, ExchangeTimes)
{
    constexpr int kMost = 64; // the longest serial read takes less
    fuzz::Require(++fuzz::traffic.exchanges <= kMost, "a call ends");
    fuzz::traffic.engineResult = zelNo == kAllControllers ? fuzz::ExchangeWithAll(request, reply)
                                                          : fuzz::ExchangeWithOne(request, reply);
    return fuzz::traffic.engineResult;
}

namespace platform {

void DeliverTraceLine(const char* line, std::size_t length)
{
    fuzz::Require(line[length] == '\0', "a line is closed by a zero");
    fuzz::traffic.lines.emplace_back(line, length);
}

bool UdpSocket::Open(const char*, std::uint16_t)
{
    return true;
}

void UdpSocket::Close() {}

IoStatus UdpSocket::Send(std::span<const std::uint8_t>)
{
    return fuzz::answers->Next() % 16 == 15 ? IoStatus::kFailed : IoStatus::kDone;
}

/// A datagram: a proper answer, or bytes out of the input.
IoResult UdpSocket::Receive(std::span<std::uint8_t> area)
{
    const fuzz::Bytes datagram = fuzz::ReplyTo({fuzz::lastId, 1, kReadRegisters, 12});
    if (datagram.size() > area.size()) return {IoStatus::kDone, 0};
    std::ranges::copy(datagram, area.begin());
    return {IoStatus::kDone, datagram.size()};
}

WaitStatus UdpSocket::WaitReadable(Deadline)
{
    return fuzz::answers->AtEnd() ? WaitStatus::kTimedOut : WaitStatus::kReady;
}

} // namespace platform

} // namespace zelq
