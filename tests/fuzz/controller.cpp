#include "fuzz/controller.h"

#include "common/byte_order.h"
#include "common/result_codes.h"
#include "platform/trace_viewer.h"
#include "platform/udp_socket.h"
#include "transport/discovery.h"
#include "transport/engine.h"
#include "transport/reply_pairing.h"
#include "transport/session_table.h"

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
    request.Finish();
    request.Number(static_cast<std::uint16_t>(lastId + 1));
    std::vector<Asked> frames;
    const std::uint8_t* frame = request.Bytes().data();
    for (std::size_t i = 0; i < request.Frames(); ++i) {
        frames.push_back({++lastId, frame[field::kUnit], frame[field::kFunction],
                          LoadWire16(frame + field::kQuantity)});
        frame += FrameSize(frame);
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
    if (request.TooLong()) return kOverflow;
    if (frames.empty()) return kReplyMismatch;
    const std::uint8_t how = answers->Next();
    if ((how & 0x80U) != 0) return -static_cast<int>(answers->Next() % 12U) - 1;
    Bytes replies;
    for (const Asked& asked : frames) {
        const Bytes one = ReplyTo(asked);
        replies.insert(replies.end(), one.begin(), one.end());
    }
    ReplyPairing pairing(request, reply);
    return Deliver(replies, how == 0 ? replies.size() : how, pairing);
}

int ExchangeWithAll(RequestBuffer& request, ReplyData* reply)
{
    DiscoveryContext* discovery = DiscoveryContext::Current();
    if (discovery == nullptr) return kConnectFailed;
    NumberFrames(request);
    return discovery->Exchange(request, reply, std::chrono::milliseconds(1));
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

int TransactFrames(short zelNo, RequestBuffer& request, ReplyData* reply, ExchangeTimes,
                   TurnAction onSuccess)
{
    constexpr int kMost = 64; // the longest serial read takes less
    fuzz::Require(++fuzz::traffic.exchanges <= kMost, "a call ends");
    const bool all = zelNo == kAllControllers;
    const int result =
        all ? fuzz::ExchangeWithAll(request, reply) : fuzz::ExchangeWithOne(request, reply);
    if (result == kOk && !all) onSuccess(*Sessions().Find(zelNo));
    fuzz::traffic.engineResult = result;
    return result;
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
