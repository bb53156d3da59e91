#include "common/byte_order.h"
#include "common/result_codes.h"
#include "fuzz/input.h"
#include "transport/frame.h"
#include "transport/reply_pairing.h"

#include <algorithm>

// An input chooses a request and gives the bytes that come back:
//   byte 0          bit 0: gather any number of replies; bit 1: the caller wants no data;
//                   bit 2: its area for them is almost full; bits 4..6: number of frames
//   each frame      its kind (0 read, 1 write, 2 command, 3 the next 24 bytes as they are),
//                   quantity, high byte of the start address
//   then one byte   the size of the pieces in which the replies come
//   the rest        the replies

namespace zelq::fuzz {

namespace {

constexpr std::size_t kRawFrameBytes = 24;

/// The engine's view of a request: its valid frames, in order.
std::size_t CountFrames(RequestBuffer& request)
{
    std::size_t frames = 0;
    std::size_t at = 0;
    while (at < kBufferBytes) {
        const auto rest = request.Bytes().subspan(at);
        const std::size_t size = ValidateFrame(rest);
        Require(size <= rest.size(), "a frame stays in its buffer");
        if (size == 0) break;
        StoreHost16(request.Data() + at, static_cast<std::uint16_t>(++frames));
        at += size;
    }
    return frames;
}

/// Sixteen-bit fields change their byte order and nothing else changes.
void CheckConversion(const RequestBuffer& request)
{
    Bytes wire(request.Bytes().begin(), request.Bytes().end());
    const std::size_t size = ValidateFrame(std::span(wire), true);
    Require(size == ValidateFrame(request.Bytes()), "converting does not change the judgement");
    for (std::size_t at = size; at < kBufferBytes; ++at) {
        Require(wire[at] == request.Bytes()[at], "only the frame is converted");
    }
    if (size == 0) return;
    for (const std::size_t at : {field::kTransactionId, field::kLength, field::kStart}) {
        Require(LoadWire16(&wire[at]) == LoadHost16(&request.Bytes()[at]), "fields are swapped");
    }
    Require(wire[field::kUnit] == request.Bytes()[field::kUnit], "bytes stay");
}

/// A frame as the input has it, valid or not, behind what has been built.
void PutRaw(RequestBuffer& request, Input& input)
{
    if (!request.StartReadFrame(0, 1)) return;
    std::size_t at = 0;
    while (at + kRawFrameBytes < kBufferBytes && ValidateFrame(request.Bytes().subspan(at)) != 0) {
        at += ValidateFrame(request.Bytes().subspan(at));
    }
    if (at < 12 || at + kRawFrameBytes > kBufferBytes) return;
    for (std::size_t i = 0; i < kRawFrameBytes; ++i) {
        request.Data()[at - 12 + i] = input.Next();
    }
}

RequestBuffer BuildRequest(Input& input, std::size_t frames)
{
    RequestBuffer request;
    for (std::size_t i = 0; i < frames; ++i) {
        const std::uint8_t kind = input.Next() & 3U;
        const std::uint8_t quantity = input.Next();
        const auto start = static_cast<std::uint16_t>(input.Next() << 8U);
        if (kind == 0 && !request.StartReadFrame(start, quantity)) break;
        if (kind == 3) PutRaw(request, input);
        if (kind != 1 && kind != 2) continue;
        request.StartCommandFrame(quantity);
        for (unsigned words = kind == 2 ? quantity : quantity * 16U; words > 0; --words) {
            request.AppendRegister(start);
        }
    }
    return request;
}

struct Outcome
{
    int result;
    bool settled;
    Bytes data;

    bool operator==(const Outcome&) const = default;
};

struct Exchange
{
    RequestBuffer request;
    std::size_t frames;
    PairingMode mode;
    bool wantsData;
    std::size_t dataBefore; ///< bytes in the caller's area already
    Bytes replies;
};

Outcome Deliver(const Exchange& exchange, std::size_t piece)
{
    ReplyData data;
    const Bytes before(exchange.dataBefore, 0);
    Require(data.AppendReplyData(before), "there is room in the area");
    ReplyPairing pairing(exchange.request, exchange.frames, exchange.wantsData ? &data : nullptr,
                         exchange.mode);
    bool settled = false;
    std::size_t received = 0;
    do {
        received = std::min(received + piece, exchange.replies.size());
        // A copy of its own, so that the address sanitizer guards the end of what has come.
        const Bytes bytes(exchange.replies.begin(),
                          exchange.replies.begin() + static_cast<std::ptrdiff_t>(received));
        settled = pairing.Advance(bytes);
    } while (!settled && received < exchange.replies.size());

    const auto collected = data.Bytes().subspan(exchange.dataBefore);
    Require(collected.size() <= received, "no data are made up");
    Require(exchange.wantsData || collected.empty(), "nothing is written unasked");
    Require(settled || pairing.Result() == kOk || pairing.Result() == kReplyMismatch,
            "an open end is a shortage");
    Require(pairing.Result() <= UINT16_MAX && pairing.Result() >= kReplyMismatch,
            "the result is one of the described ones");
    Require(pairing.Result() != kOk || exchange.frames > 0, "nothing cannot succeed");
    return {pairing.Result(), settled, {collected.begin(), collected.end()}};
}

void Check(Input input)
{
    const std::uint8_t flags = input.Next();
    Exchange exchange{};
    exchange.request = BuildRequest(input, flags >> 4U & 7U);
    CheckConversion(exchange.request);
    exchange.frames = CountFrames(exchange.request);
    exchange.mode = (flags & 1U) != 0 ? PairingMode::kGather : PairingMode::kOneReplyEach;
    exchange.wantsData = (flags & 2U) == 0;
    exchange.dataBefore = (flags & 4U) != 0 ? kBufferBytes - 10 : 0;
    const std::size_t piece = input.Next() % 32U + 1U;
    exchange.replies = input.Rest(kBufferBytes);
    if (exchange.frames == 0) return; // the engine exchanges nothing then

    const Outcome whole = Deliver(exchange, kBufferBytes);
    Require(Deliver(exchange, piece) == whole, "pieces give what the whole gives");
    if (exchange.replies.size() <= 128) {
        Require(Deliver(exchange, 1) == whole, "single bytes give what the whole gives");
    }
}

} // namespace

} // namespace zelq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zelq::fuzz::Check(zelq::fuzz::Input(data, size));
    return 0;
}
