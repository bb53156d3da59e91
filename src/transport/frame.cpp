#include "transport/frame.h"

#include "common/byte_order.h"

#include <algorithm>

namespace zelq {

namespace {

constexpr std::size_t kReadFrameBytes = 12;
constexpr std::size_t kWriteHeaderBytes = 13;
constexpr std::size_t kCommandHeaderBytes = 17;
constexpr std::size_t kWriteStart = 12;    ///< of a command frame
constexpr std::size_t kWriteQuantity = 14; ///< of a command frame
constexpr unsigned kMaxReadQuantity = 125;
constexpr unsigned kMaxWriteQuantity = 123;
constexpr unsigned kMaxCommandQuantity = 121;

/// Where a frame of this function keeps the count of its written registers; 0: it writes none.
struct WriteLayout
{
    std::size_t quantityAt;
    std::size_t header;
    unsigned maxQuantity;

    [[nodiscard]] std::size_t ByteCountAt() const { return header - 1; }
    /// What the length field counts beside the register bytes.
    [[nodiscard]] std::size_t Extra() const { return header - field::kBeforeLength; }
};

WriteLayout LayoutOf(std::uint8_t function)
{
    if (function == kWriteRegisters) {
        return {field::kQuantity, kWriteHeaderBytes, kMaxWriteQuantity};
    }
    if (function == kReadWriteRegisters) {
        return {kWriteQuantity, kCommandHeaderBytes, kMaxCommandQuantity};
    }
    return {0, 0, 0};
}

void WriteHeader(std::uint8_t* frame, std::uint8_t unit, std::uint8_t function, std::size_t size)
{
    StoreHost16(frame + field::kTransactionId, 0);
    StoreHost16(frame + field::kProtocolId, 0);
    StoreHost16(frame + field::kLength, static_cast<std::uint16_t>(size - field::kBeforeLength));
    frame[field::kUnit] = unit;
    frame[field::kFunction] = function;
}

void SwapToWire(std::uint8_t* at)
{
    StoreWire16(at, LoadHost16(at));
}

void ConvertFrame(std::uint8_t* frame, std::size_t size)
{
    const WriteLayout layout = LayoutOf(frame[field::kFunction]);
    SwapToWire(frame + field::kTransactionId);
    SwapToWire(frame + field::kProtocolId);
    SwapToWire(frame + field::kLength);
    const std::size_t headEnd = layout.header == 0 ? kReadFrameBytes : layout.ByteCountAt();
    for (std::size_t at = field::kStart; at < headEnd; at += 2) {
        SwapToWire(frame + at);
    }
    for (std::size_t at = layout.header; layout.header != 0 && at + 1 < size; at += 2) {
        SwapToWire(frame + at);
    }
}

} // namespace

bool RequestBuffer::OpenFrame(std::size_t headerBytes)
{
    if (overflowed_ || end_ + headerBytes > kBufferBytes) {
        overflowed_ = true;
        return false;
    }
    frame_ = end_;
    end_ += headerBytes;
    return true;
}

bool RequestBuffer::StartReadFrame(std::uint16_t start, std::uint16_t quantity, std::uint8_t unit)
{
    if (!OpenFrame(kReadFrameBytes)) return false;
    std::uint8_t* frame = bytes_.data() + frame_;
    WriteHeader(frame, unit, kReadRegisters, kReadFrameBytes);
    StoreHost16(frame + field::kStart, start);
    StoreHost16(frame + field::kQuantity, quantity);
    return frame_ == 0 || ValidateFrame(Bytes()) != 0;
}

void RequestBuffer::StartCommandFrame(std::uint16_t readQuantity)
{
    if (!OpenFrame(kCommandHeaderBytes)) return;
    std::uint8_t* frame = bytes_.data() + frame_;
    WriteHeader(frame, kUnitId, kReadWriteRegisters, kCommandHeaderBytes);
    StoreHost16(frame + field::kStart, kResultRegister);
    StoreHost16(frame + field::kQuantity, readQuantity);
    StoreHost16(frame + kWriteStart, 0);
    StoreHost16(frame + kWriteQuantity, 0);
    frame[kCommandHeaderBytes - 1] = 0;
}

void RequestBuffer::AppendRegister(std::uint16_t value)
{
    std::uint8_t* frame = bytes_.data() + frame_;
    const WriteLayout layout = LayoutOf(frame[field::kFunction]);
    if (layout.header == 0 || overflowed_) return;
    // One register too many makes the frame invalid for good: the quantity stays at one above the
    // limit, and neither it nor the byte count wraps into something valid.
    if (LoadHost16(frame + layout.quantityAt) > layout.maxQuantity) return;
    const unsigned quantity = LoadHost16(frame + layout.quantityAt) + 1U;
    StoreHost16(frame + layout.quantityAt, static_cast<std::uint16_t>(quantity));
    if (quantity > layout.maxQuantity) return;
    if (end_ + 2 > kBufferBytes) {
        overflowed_ = true;
        return;
    }
    StoreHost16(bytes_.data() + end_, value);
    end_ += 2;
    const std::size_t byteCount = 2U * quantity;
    frame[layout.ByteCountAt()] = static_cast<std::uint8_t>(byteCount);
    StoreHost16(frame + field::kLength, static_cast<std::uint16_t>(byteCount + layout.Extra()));
}

void RequestBuffer::AppendRegister32(std::uint32_t value)
{
    AppendRegister(static_cast<std::uint16_t>(value));
    AppendRegister(static_cast<std::uint16_t>(value >> 16U));
}

std::size_t ValidateFrame(std::span<const std::uint8_t> frame)
{
    if (frame.size() < kReadFrameBytes || LoadHost16(&frame[field::kProtocolId]) != 0) return 0;
    const std::size_t length = LoadHost16(&frame[field::kLength]);
    const std::size_t size = length + field::kBeforeLength;
    if (frame[field::kFunction] == kReadRegisters) {
        const unsigned quantity = LoadHost16(&frame[field::kQuantity]);
        return quantity >= 1 && quantity <= kMaxReadQuantity && size == kReadFrameBytes ? size : 0;
    }
    const WriteLayout layout = LayoutOf(frame[field::kFunction]);
    if (layout.header == 0 || frame.size() < layout.header) return 0;
    const std::size_t byteCount = frame[layout.ByteCountAt()];
    const unsigned quantity = LoadHost16(&frame[layout.quantityAt]);
    const bool valid = quantity >= 1 && quantity <= layout.maxQuantity &&
                       byteCount == 2U * quantity && length == byteCount + layout.Extra() &&
                       size <= frame.size();
    return valid ? size : 0;
}

std::size_t ValidateFrame(std::span<std::uint8_t> frame, bool convert)
{
    const std::size_t size = ValidateFrame(frame);
    if (convert && size != 0) ConvertFrame(frame.data(), size);
    return size;
}

std::uint16_t ReplyFrame::Word(std::size_t offset) const
{
    return Size() >= offset + 2 ? LoadWire16(&bytes_[offset]) : std::uint16_t{0};
}

ReplyForm DecodeReply(std::span<const std::uint8_t> received, ReplyFrame& frame)
{
    if (received.size() < field::kBeforeLength) return ReplyForm::kIncomplete;
    const std::size_t size = field::kBeforeLength + LoadWire16(&received[field::kLength]);
    if (size > received.size()) return ReplyForm::kIncomplete;
    if (size <= field::kFunction) return ReplyForm::kRefused;
    frame = ReplyFrame(received.first(size));
    const std::uint8_t function = frame.Function();
    const bool extendedException =
        (function & kExceptionBit) != 0 && frame.Length() == 5 && frame.Byte8() == 3;
    const bool known = function == kReadRegisters || function == kWriteRegisters ||
                       function == kReadWriteRegisters;
    return extendedException || known ? ReplyForm::kFrame : ReplyForm::kRefused;
}

bool ReplyData::AppendReplyData(std::span<const std::uint8_t> wireRegisters)
{
    if (count_ + wireRegisters.size() > bytes_.size()) return false;
    for (std::size_t at = 0; at + 1 < wireRegisters.size(); at += 2) {
        StoreHost16(&bytes_[count_ + at], LoadWire16(&wireRegisters[at]));
    }
    count_ += wireRegisters.size();
    return true;
}

bool ReplyReader::Read(std::uint32_t& value)
{
    if (bytes_.size() < 4) return false;
    const std::uint32_t high = LoadHost16(bytes_.data() + 2);
    value = high << 16U | LoadHost16(bytes_.data());
    Skip(4);
    return true;
}

bool ReplyReader::Read(std::int32_t& value)
{
    std::uint32_t bits = 0;
    if (!Read(bits)) return false;
    value = static_cast<std::int32_t>(bits);
    return true;
}

} // namespace zelq
