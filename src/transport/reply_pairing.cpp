#include "transport/reply_pairing.h"

#include "common/byte_order.h"
#include "common/result_codes.h"

#include <cstring>

namespace zelq {

namespace {

/// Only the extended exception is decoded at all, and it carries the controller's error code; the
/// short one of plain Modbus ends the pairing as a reply of no accepted form.
int ExceptionResult(const ReplyFrame& frame)
{
    return frame.ErrorCode();
}

} // namespace

ReplyPairing::ReplyPairing(std::span<const std::uint8_t> request, std::size_t frames,
                           ReplyData* reply, PairingMode mode)
    : request_(request), reply_(reply), frames_(frames), mode_(mode), result_(kReplyMismatch)
{}

bool ReplyPairing::Advance(std::span<const std::uint8_t> received)
{
    while (!ended_) {
        if (mode_ == PairingMode::kOneReplyEach) {
            TakeUsual(received);
            if (matched_ == frames_) break;
        }
        ReplyFrame frame;
        const ReplyForm form = DecodeReply(received.subspan(replyOffset_), frame);
        if (form == ReplyForm::kIncomplete) return false;
        if (form == ReplyForm::kRefused || !BelongsTogether(frame)) {
            ended_ = true;
        } else {
            Pair(frame);
        }
    }
    return true;
}

/// All but the registers of a usual reply follows from its request: such replies are taken at a
/// glance, up to the first that is anything else.
void ReplyPairing::TakeUsual(std::span<const std::uint8_t> received)
{
    constexpr std::size_t kRegistersAt = 9; // behind their byte count
    const std::uint8_t* request = request_.data() + requestOffset_;
    const std::uint8_t* reply = received.data() + replyOffset_;
    const std::uint8_t* const end = received.data() + received.size();
    std::size_t matched = matched_;
    while (matched < frames_ && end - reply >= static_cast<std::ptrdiff_t>(kRegistersAt)) {
        const std::size_t bytes = std::size_t{2} * LoadWire16(request + field::kQuantity);
        const bool isRead = request[field::kFunction] == kReadRegisters;
        const bool isCommand = request[field::kFunction] == kReadWriteRegisters;
        const bool usual = (isRead || isCommand) &&
                           std::memcmp(request, reply, field::kLength) == 0 &&
                           std::memcmp(request + field::kUnit, reply + field::kUnit, 2) == 0 &&
                           FrameSize(reply) == kRegistersAt + bytes && reply[8] == bytes &&
                           end - reply >= static_cast<std::ptrdiff_t>(kRegistersAt + bytes);
        if (!usual || (isCommand && LoadWire16(reply + kRegistersAt) != kOk)) break;
        if (reply_ != nullptr && !reply_->AppendReplyData({reply + kRegistersAt, bytes})) break;
        if (isCommand) result_ = kOk;
        request += RequestFrameSize(request);
        reply += kRegistersAt + bytes;
        ++matched;
    }
    matched_ = matched;
    requestOffset_ = static_cast<std::size_t>(request - request_.data());
    replyOffset_ = static_cast<std::size_t>(reply - received.data());
}

int ReplyPairing::Result() const
{
    if (decided_) return result_;
    // Whatever number of replies was gathered, they are as many as there were to be had.
    const bool complete = mode_ == PairingMode::kGather ? matched_ > 0 : matched_ == frames_;
    return frames_ > 0 && complete ? kOk : result_;
}

bool ReplyPairing::BelongsTogether(const ReplyFrame& frame) const
{
    const std::uint8_t* request = &request_[requestOffset_];
    return frame.TransactionId() == LoadWire16(request + field::kTransactionId) &&
           frame.ProtocolId() == LoadWire16(request + field::kProtocolId) &&
           (mode_ == PairingMode::kGather || frame.Unit() == request[field::kUnit]);
}

ReplyPairing::Request ReplyPairing::CurrentRequest() const
{
    const std::uint8_t* request = &request_[requestOffset_];
    return {request[field::kFunction], LoadWire16(request + field::kStart),
            LoadWire16(request + field::kQuantity)};
}

void ReplyPairing::Pair(const ReplyFrame& frame)
{
    const Request request = CurrentRequest();
    if (frame.Function() == (request.function | kExceptionBit)) {
        TakeException(request, frame);
    } else if (frame.Function() != request.function) {
        EndWith(kReplyMismatch);
    } else if (request.function == kWriteRegisters) {
        TakeWriteEcho(request, frame);
    } else {
        TakeRegisters(request, frame);
    }
}

void ReplyPairing::TakeException(const Request& request, const ReplyFrame& frame)
{
    if (mode_ == PairingMode::kGather) {
        Matched(frame.Size());
        return;
    }
    // Only a command's exception carries the controller's word; a read's tells nothing.
    if (request.function != kWriteRegisters && request.start != kResultRegister) {
        EndWith(kReplyMismatch);
        return;
    }
    EndWith(ExceptionResult(frame));
}

void ReplyPairing::TakeWriteEcho(const Request& request, const ReplyFrame& frame)
{
    if (frame.Length() != 6 || frame.EchoedQuantity() != request.quantity) {
        EndWith(kReplyMismatch);
        return;
    }
    Matched(frame.Size());
}

void ReplyPairing::TakeRegisters(const Request& request, const ReplyFrame& frame)
{
    const std::size_t byteCount = frame.Byte8();
    if (frame.Length() != byteCount + 3 || byteCount != 2U * request.quantity) {
        EndWith(kReplyMismatch);
        return;
    }
    const bool isCommand = request.function == kReadWriteRegisters;
    const int commandResult = isCommand ? LoadWire16(frame.Registers().data()) : kOk;
    // A failed command without data behind its result register leaves nothing.
    const bool wanted = reply_ != nullptr && (commandResult == kOk || byteCount > 2);
    if (wanted && !reply_->AppendReplyData(frame.Registers())) {
        EndWith(kOverflow);
        return;
    }
    if (commandResult != kOk) {
        EndWith(commandResult);
        return;
    }
    // Once a command has succeeded, a shortage of further replies counts as success.
    if (isCommand) result_ = kOk;
    Matched(frame.Size());
}

void ReplyPairing::Matched(std::size_t replyBytes)
{
    ++matched_;
    replyOffset_ += replyBytes;
    if (mode_ == PairingMode::kOneReplyEach) {
        requestOffset_ += RequestFrameSize(&request_[requestOffset_]);
    }
}

void ReplyPairing::EndWith(int result)
{
    result_ = result;
    ended_ = true;
    decided_ = true;
}

} // namespace zelq
