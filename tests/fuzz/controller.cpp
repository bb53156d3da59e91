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
Bytes lastDatagram;

/// Gives the frames ids as the engine does.
void Number(RequestBuffer& request)
{
    request.Finish();
    request.Number(static_cast<std::uint16_t>(lastId + 1));
    lastId = static_cast<std::uint16_t>(lastId + request.Frames());
}

Bytes ReplyFrame(const std::uint8_t* request, unsigned functionBits, const Bytes& body)
{
    return Frame(LoadWire16(request), request[field::kUnit],
                 request[field::kFunction] | functionBits, body);
}

Bytes ProperReply(const std::uint8_t* request, bool refuses)
{
    const unsigned quantity = LoadWire16(request + field::kQuantity);
    Bytes body{static_cast<std::uint8_t>(2 * quantity)};
    for (unsigned i = 0; i < quantity; ++i) {
        const bool isResult = request[field::kFunction] == kReadWriteRegisters && i == 0;
        PutWord(body, isResult && !refuses ? 0U : answers->NextWord());
    }
    return ReplyFrame(request, 0, body);
}

/// The next byte says how a frame is answered: with registers out of the input (a command
/// succeeds, with 128 its result is out of the input, too), then changed in one byte, left out,
/// sent twice, refused by an exception or replaced by bytes out of the input.
Bytes ReplyTo(const std::uint8_t* request)
{
    const std::uint8_t how = answers->Next();
    const unsigned form = how & 7U;
    if (form == 4) return {};
    if (form == 6) return ReplyFrame(request, kExceptionBit, answers->Rest(answers->Next() & 7U));
    if (form == 7) return answers->Rest(answers->Next());
    const std::size_t at = form == 3 ? answers->Next() : 0;
    const unsigned bits = form == 3 ? answers->Next() : 0;
    Bytes reply = ProperReply(request, (how & 0x80U) != 0);
    reply[at % reply.size()] ^= static_cast<std::uint8_t>(bits);
    if (form == 5) Append(reply, Bytes(reply));
    return reply;
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
        settled = pairing.Advance(Bytes(replies.data(), replies.data() + received)) &&
                  received >= kShortestReply;
    }
    if (replies.empty()) return kNoReply;
    return replies.size() < kShortestReply ? kReplyTooShort : pairing.Result();
}

int ExchangeWithOne(RequestBuffer& request, ReplyData* reply)
{
    if (request.TooLong()) return kOverflow;
    if (request.Frames() == 0) return kReplyMismatch;
    const std::uint8_t how = answers->Next();
    if ((how & 0x80U) != 0) return -answers->Below(12) - 1;
    Bytes replies;
    const auto frames = request.Bytes();
    for (std::size_t at = 0; at < frames.size(); at += FrameSize(&frames[at])) {
        Append(replies, ReplyTo(&frames[at]));
    }
    ReplyPairing pairing(request, reply);
    return Deliver(replies, how == 0 ? replies.size() : how, pairing);
}

int Exchange(short zelNo, RequestBuffer& request, ReplyData* reply)
{
    Number(request);
    if (zelNo != kAllControllers) return ExchangeWithOne(request, reply);
    DiscoveryContext* discovery = DiscoveryContext::Current();
    if (discovery == nullptr) return kConnectFailed;
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
    const int result = fuzz::Exchange(zelNo, request, reply);
    if (result == kOk && zelNo != kAllControllers) onSuccess(*Sessions().Find(zelNo));
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

IoStatus UdpSocket::Send(std::span<const std::uint8_t> datagram)
{
    fuzz::lastDatagram.assign(datagram.begin(), datagram.end());
    return fuzz::answers->Below(16) == 15 ? IoStatus::kFailed : IoStatus::kDone;
}

/// A datagram: a proper answer, or bytes out of the input.
IoResult UdpSocket::Receive(std::span<std::uint8_t> area)
{
    const fuzz::Bytes datagram = fuzz::ReplyTo(fuzz::lastDatagram.data());
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

/// What libFuzzer and the replay of a corpus call.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zelq::fuzz::Check(zelq::fuzz::Input(data, size));
    return 0;
}
