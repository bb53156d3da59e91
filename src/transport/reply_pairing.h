#pragma once

#include "transport/reply.h"
#include "transport/request.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zelq {

enum class PairingMode {
    kOneReplyEach, ///< every request frame has one reply, in order
    kGather,       ///< any number of replies, from anywhere, answer the one request frame
};

/// Pairs the replies that arrive with the request frames of one exchange, in order, checks each
/// and collects the data. It goes on where it stopped whenever more bytes have come.
class ReplyPairing
{
  public:
    /// `request` is finished, numbered, and outlives the pairing; `reply` may be null.
    explicit ReplyPairing(const RequestBuffer& request, ReplyData* reply = nullptr,
                          PairingMode mode = PairingMode::kOneReplyEach)
        : ReplyPairing(request.Bytes(), request.Frames(), reply, mode)
    {}
    /// The same with the request's frames as they travel.
    ReplyPairing(std::span<const std::uint8_t> request, std::size_t frames, ReplyData* reply,
                 PairingMode mode = PairingMode::kOneReplyEach);

    /// Takes all bytes received so far. True when nothing that may still come could change the
    /// outcome: all is paired, or something has ended the pairing.
    bool Advance(std::span<const std::uint8_t> received);

    /// The call's result, judged by what has been paired so far.
    [[nodiscard]] int Result() const;

    /// How many replies have been paired, and how many bytes they had. A reply that ended the
    /// pairing is not among them.
    [[nodiscard]] std::size_t Matched() const { return matched_; }
    [[nodiscard]] std::size_t Taken() const { return replyOffset_; }

  private:
    /// The fields of a request frame that its reply must fit.
    struct Request
    {
        std::uint8_t function;
        std::uint16_t start;
        std::uint16_t quantity; ///< to be read, or echoed by a write
    };

    void TakeUsual(std::span<const std::uint8_t> received);
    void Pair(const ReplyFrame& frame);
    [[nodiscard]] bool BelongsTogether(const ReplyFrame& frame) const;
    [[nodiscard]] Request CurrentRequest() const;
    void TakeWriteEcho(const Request& request, const ReplyFrame& frame);
    void TakeRegisters(const Request& request, const ReplyFrame& frame);
    void TakeException(const Request& request, const ReplyFrame& frame);
    void Matched(std::size_t replyBytes);
    void EndWith(int result);

    std::span<const std::uint8_t> request_;
    ReplyData* reply_;
    std::size_t frames_;
    PairingMode mode_;
    std::size_t requestOffset_ = 0;
    std::size_t replyOffset_ = 0;
    std::size_t matched_ = 0;
    int result_;
    bool ended_ = false;
    bool decided_ = false; ///< the result stands, whatever was matched
};

} // namespace zelq
