#pragma once

#include "transport/frame.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace zelq {

/// A reply frame as it was received. Made by DecodeReply, which saw to the bounds.
class ReplyFrame
{
  public:
    ReplyFrame() = default;
    explicit ReplyFrame(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    [[nodiscard]] std::size_t Size() const { return bytes_.size(); }
    [[nodiscard]] std::uint16_t TransactionId() const { return Word(field::kTransactionId); }
    [[nodiscard]] std::uint16_t ProtocolId() const { return Word(field::kProtocolId); }
    [[nodiscard]] std::size_t Length() const { return Size() - field::kBeforeLength; }
    [[nodiscard]] std::uint8_t Unit() const { return bytes_[field::kUnit]; }
    [[nodiscard]] std::uint8_t Function() const { return bytes_[field::kFunction]; }
    /// Byte 8: the byte count of a read, the code of an exception. 0 where the frame has none.
    [[nodiscard]] std::uint8_t Byte8() const { return Size() > 8 ? bytes_[8] : std::uint8_t{0}; }
    /// The registers' bytes of a read, as they travelled.
    [[nodiscard]] std::span<const std::uint8_t> Registers() const { return bytes_.subspan(9); }
    /// The quantity that a write echoes.
    [[nodiscard]] std::uint16_t EchoedQuantity() const { return Word(10); }
    /// The controller's error code in an extended exception.
    [[nodiscard]] std::uint16_t ErrorCode() const { return Word(9); }

  private:
    [[nodiscard]] std::uint16_t Word(std::size_t offset) const
    {
        return Size() >= offset + 2 ? LoadWire16(&bytes_[offset]) : std::uint16_t{0};
    }

    std::span<const std::uint8_t> bytes_;
};

enum class ReplyForm {
    kIncomplete, ///< the bytes end inside the frame
    kRefused,    ///< complete, but of no accepted form
    kFrame,
};

/// Looks at the reply frame at the start of the received bytes.
ReplyForm DecodeReply(std::span<const std::uint8_t> received, ReplyFrame& frame);

/// The register data of all replies of one call, in frame order, as they travelled.
class ReplyData
{
  public:
    /// Takes over the registers of one reply; false, and nothing taken, when they do not fit.
    [[nodiscard]] bool AppendReplyData(std::span<const std::uint8_t> registers)
    {
        if (count_ + registers.size() > bytes_.size()) return false;
        std::memcpy(bytes_.data() + count_, registers.data(), registers.size());
        count_ += registers.size();
        return true;
    }

    [[nodiscard]] std::span<const std::uint8_t> Bytes() const { return {bytes_.data(), count_}; }

  private:
    std::size_t count_ = 0;
    std::array<std::uint8_t, kBufferBytes> bytes_;
};

/// Reads values out of reply data; every read tells whether the value was there.
class ReplyReader
{
  public:
    explicit ReplyReader(const ReplyData& data) : bytes_(data.Bytes()) {}

    /// Steps over a command's result register: it is never taken for data.
    void SkipResult() { Skip(2); }
    template <std::size_t Count>
    [[nodiscard]] bool Read(std::array<std::uint16_t, Count>& values)
    {
        if (bytes_.size() < sizeof(values)) return false;
        for (std::size_t i = 0; i < Count; ++i) {
            values[i] = LoadWire16(bytes_.data() + 2 * i);
        }
        Skip(sizeof(values));
        return true;
    }
    [[nodiscard]] bool Read(std::uint16_t& value)
    {
        if (bytes_.size() < sizeof(value)) return false;
        value = LoadWire16(bytes_.data());
        Skip(sizeof(value));
        return true;
    }
    /// Low word first.
    [[nodiscard]] bool Read(std::uint32_t& value)
    {
        if (bytes_.size() < 4) return false;
        const std::uint32_t high = LoadWire16(bytes_.data() + 2);
        value = high << 16U | LoadWire16(bytes_.data());
        Skip(4);
        return true;
    }
    [[nodiscard]] bool Read(std::int32_t& value)
    {
        std::uint32_t bits = 0;
        if (!Read(bits)) return false;
        value = static_cast<std::int32_t>(bits);
        return true;
    }
    /// Copies bytes that travelled two in a register, the earlier one in its low half: as many as
    /// there are, at most as many as fit; how many.
    [[nodiscard]] std::size_t ReadBytes(std::span<std::uint8_t> to);
    [[nodiscard]] std::span<const std::uint8_t> Rest() const { return bytes_; }
    void Skip(std::size_t bytes) { bytes_ = bytes_.subspan(std::min(bytes, bytes_.size())); }

  private:
    std::span<const std::uint8_t> bytes_;
};

} // namespace zelq
