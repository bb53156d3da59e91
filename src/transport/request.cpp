#include "transport/request.h"

namespace zelq {

namespace {

constexpr std::size_t kWriteStart = 12;    ///< of a command frame
constexpr std::size_t kWriteQuantity = 14; ///< of a command frame
constexpr std::size_t kByteCount = 16;     ///< of a command frame

} // namespace

void RequestBuffer::StartCommandFrame(std::uint16_t readQuantity)
{
    std::uint8_t* frame = OpenFrame(kCommandHeaderBytes);
    if (frame == nullptr) return;
    WriteHead(frame, kCommandHeaderBytes, kUnitId, kReadWriteRegisters, kResultRegister,
              readQuantity);
    StoreWire16(frame + kWriteStart, 0);
    command_ = static_cast<std::size_t>(frame - bytes_.data());
    registers_ = 0;
    commandOpen_ = true;
}

void RequestBuffer::CloseCommand()
{
    commandOpen_ = false;
    std::uint8_t* frame = bytes_.data() + command_;
    const std::size_t size = kCommandHeaderBytes + std::size_t{2} * registers_;
    StoreWire16(frame + field::kLength, static_cast<std::uint16_t>(size - field::kBeforeLength));
    StoreWire16(frame + kWriteQuantity, static_cast<std::uint16_t>(registers_));
    frame[kByteCount] = static_cast<std::uint8_t>(2 * registers_);
    if (registers_ == 0) EndAt(frame);
    if (!ended_) ++frames_;
}

std::size_t RequestBuffer::Finish()
{
    if (commandOpen_) CloseCommand();
    return frames_;
}

void RequestBuffer::Number(std::uint16_t first)
{
    firstId_ = first;
    std::uint8_t* at = bytes_.data();
    for (std::size_t frame = 0; frame < frames_; ++frame) {
        StoreWire16(at + field::kTransactionId, first++);
        at += RequestFrameSize(at);
    }
}

} // namespace zelq
