#include "common/result_codes.h"
#include "fuzz/input.h"
#include "transport/reply_pairing.h"

#include <tuple>

// An input chooses a request and gives the bytes that come back:
//   byte 0          bit 0: gather any number of replies; bit 1: the caller wants no data;
//                   bit 2: its area for them is almost full; bits 4..6: number of frames
//   each frame      its kind (0 read, 1 write, 2 command), quantity, high byte of the start address
//   then one byte   the size of the pieces in which the replies come
//   the rest        the replies

namespace zelq::fuzz {

namespace {

/// A request frame as it travels, with `id`.
Bytes RequestFrame(Input& input, std::uint8_t id)
{
    constexpr std::uint8_t kFunctions[] = {kReadRegisters, kWriteRegisters, kReadWriteRegisters};
    const std::uint8_t function = kFunctions[input.Next() % 3];
    const auto quantity = static_cast<std::uint8_t>(std::max(input.Next() % 126, 1));
    Bytes body{input.Next(), 0, 0, quantity};
    if (function == kWriteRegisters) Append(body, {2, 0, 0});
    if (function == kReadWriteRegisters) Append(body, {0, 0, 0, 1, 2, 0, 0});
    return Frame(id, kUnitId, function, body);
}

/// Result, settled or not, replies matched, data.
using Outcome = std::tuple<int, bool, std::size_t, Bytes>;

struct Exchange
{
    Bytes request;
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
    Require(before.empty() || data.AppendReplyData(before), "there is room in the area");
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
    Require(pairing.Taken() <= received, "no more is taken than has come");
    Require(exchange.mode == PairingMode::kGather || pairing.Matched() <= exchange.frames,
            "no frame has two replies");
    return {pairing.Result(), settled, pairing.Matched(), {collected.begin(), collected.end()}};
}

} // namespace

void Check(Input input)
{
    const std::uint8_t flags = input.Next();
    Exchange exchange{};
    exchange.frames = flags >> 4U & 7U;
    if (exchange.frames == 0) return; // the engine exchanges nothing then
    for (std::uint8_t id = 1; id <= exchange.frames; ++id) {
        Append(exchange.request, RequestFrame(input, id));
    }
    exchange.mode = (flags & 1U) != 0 ? PairingMode::kGather : PairingMode::kOneReplyEach;
    exchange.wantsData = (flags & 2U) == 0;
    exchange.dataBefore = (flags & 4U) != 0 ? kBufferBytes - 10 : 0;
    const std::size_t piece = input.Next() % 32U + 1U;
    exchange.replies = input.Rest(kBufferBytes);

    const Outcome whole = Deliver(exchange, kBufferBytes);
    Require(Deliver(exchange, piece) == whole, "pieces give what the whole gives");
    if (exchange.replies.size() <= 128) {
        Require(Deliver(exchange, 1) == whole, "single bytes give what the whole gives");
    }
}

} // namespace zelq::fuzz
