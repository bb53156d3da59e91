#pragma once

#include "transport/frame.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace zelq {

/// One or more request frames, back to back from byte 0, as they travel. An invalid frame ends
/// them: neither it nor what is built behind it is sent.
class RequestBuffer
{
  public:
    /// Adds a read of `quantity` registers. One behind an invalid first frame counts as one that
    /// did not fit.
    void StartReadFrame(std::uint16_t start, std::uint16_t quantity, std::uint8_t unit = kUnitId)
    {
        std::uint8_t* frame = OpenFrame(kReadFrameBytes);
        if (frame == nullptr) return;
        WriteHead(frame, kReadFrameBytes, unit, kReadRegisters, start, quantity);
        if (quantity < 1 || quantity > kMaxReadQuantity) EndAt(frame);
        if (!ended_) {
            ++frames_;
        } else if (frame != bytes_.data() && frames_ == 0) {
            overflowed_ = true;
        }
    }

    /// Opens a command frame: it writes the registers appended next from address 0, and reads
    /// back the result register and `readQuantity` - 1 registers behind it.
    void StartCommandFrame(std::uint16_t readQuantity = 1);

    /// Appends one written register to the open command. One that gets more than it can carry
    /// becomes invalid, and with it the request's end.
    void AppendRegister(std::uint16_t value)
    {
        if (!commandOpen_ || overflowed_) return;
        if (registers_ == kMaxCommandQuantity) {
            EndAt(bytes_.data() + command_);
        } else if (end_ + 2 > kBufferBytes) {
            overflowed_ = true;
        } else {
            StoreWire16(bytes_.data() + end_, value);
            end_ += 2;
            ++registers_;
        }
    }

    /// Low word first.
    void AppendRegister32(std::uint32_t value)
    {
        AppendRegister(static_cast<std::uint16_t>(value));
        AppendRegister(static_cast<std::uint16_t>(value >> 16U));
    }

    /// Ends the last frame; how many valid ones there are.
    std::size_t Finish();
    /// Gives the frames the ids from `first` on.
    void Number(std::uint16_t first);

    /// The valid frames, once finished.
    [[nodiscard]] std::span<const std::uint8_t> Bytes() const
    {
        return {bytes_.data(), ended_ ? valid_ : end_};
    }
    [[nodiscard]] std::size_t Frames() const { return frames_; }
    /// The first frame's id; the others follow.
    [[nodiscard]] std::uint16_t FirstId() const { return firstId_; }
    /// A frame did not fit, or the request fills the whole buffer.
    [[nodiscard]] bool TooLong() const { return overflowed_ || Bytes().size() >= kBufferBytes; }

  private:
    static constexpr std::size_t kCommandHeaderBytes = 17;
    static constexpr unsigned kMaxReadQuantity = 125;
    static constexpr unsigned kMaxCommandQuantity = 121;

    /// Room for the head of another frame; null where there is none.
    std::uint8_t* OpenFrame(std::size_t headerBytes)
    {
        if (commandOpen_) CloseCommand();
        if (overflowed_ || end_ + headerBytes > kBufferBytes) {
            overflowed_ = true;
            return nullptr;
        }
        std::uint8_t* frame = bytes_.data() + end_;
        end_ += headerBytes;
        return frame;
    }

    /// The fields that every frame has, with 0 for its id.
    static void WriteHead(std::uint8_t* frame, std::size_t size, std::uint8_t unit,
                          std::uint8_t function, std::uint16_t start, std::uint16_t quantity)
    {
        const auto length = static_cast<std::uint8_t>(size - field::kBeforeLength);
        const std::uint8_t head[] = {0, 0, 0, 0, 0, length, unit, function};
        std::memcpy(frame, head, sizeof(head));
        StoreWire16(frame + field::kStart, start);
        StoreWire16(frame + field::kQuantity, quantity);
    }

    void CloseCommand();

    /// Keeps an invalid frame, and what comes behind it, from being sent.
    void EndAt(const std::uint8_t* frame)
    {
        if (!ended_) valid_ = static_cast<std::size_t>(frame - bytes_.data());
        ended_ = true;
    }

    std::array<std::uint8_t, kBufferBytes> bytes_; ///< written up to end_
    std::size_t end_ = 0;                          ///< where the last frame ends so far
    std::size_t frames_ = 0;                       ///< valid ones
    std::size_t command_ = 0;                      ///< where the open command starts
    std::size_t valid_ = 0;                        ///< where the frame that ended all starts
    unsigned registers_ = 0;                       ///< that the open command writes
    std::uint16_t firstId_ = 0;
    bool commandOpen_ = false;
    bool overflowed_ = false;
    bool ended_ = false; ///< by an invalid frame
};

} // namespace zelq
