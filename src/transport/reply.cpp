#include "transport/reply.h"

namespace zelq {

ReplyForm DecodeReply(std::span<const std::uint8_t> received, ReplyFrame& frame)
{
    if (received.size() < field::kBeforeLength) return ReplyForm::kIncomplete;
    const std::size_t size = FrameSize(received.data());
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

std::size_t ReplyReader::ReadBytes(std::span<std::uint8_t> to)
{
    const std::size_t count = std::min(to.size(), bytes_.size());
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned pair = LoadWire16(bytes_.data() + i / 2 * 2);
        to[i] = static_cast<std::uint8_t>(i % 2 == 0 ? pair : pair >> 8U);
    }
    Skip((count + 1) / 2 * 2);
    return count;
}

} // namespace zelq
