#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace zelq {

// Modbus application-protocol frames. Requests stand back to back in a RequestBuffer, in host
// order while they are built; the engine converts a copy as it sends.

inline constexpr std::size_t kBufferBytes = 1460;

inline constexpr std::uint8_t kReadRegisters = 3;
inline constexpr std::uint8_t kWriteRegisters = 16;
inline constexpr std::uint8_t kReadWriteRegisters = 23;
inline constexpr std::uint8_t kExceptionBit = 0x80;

/// The controller's result register: every command reads it back, with its data behind it.
inline constexpr std::uint16_t kResultRegister = 0xF000;

inline constexpr std::uint8_t kUnitId = 1;

/// Offsets of the fields that every frame has, from its first byte.
namespace field {
inline constexpr std::size_t kTransactionId = 0;
inline constexpr std::size_t kProtocolId = 2;
inline constexpr std::size_t kLength = 4; ///< bytes from the unit id to the frame's end
inline constexpr std::size_t kUnit = 6;
inline constexpr std::size_t kFunction = 7;
inline constexpr std::size_t kStart = 8;     ///< requests: (read) start address
inline constexpr std::size_t kQuantity = 10; ///< requests: (read) quantity
inline constexpr std::size_t kBeforeLength = 6;
} // namespace field

/// Registers of an axis stand in a block of 256.
constexpr std::uint16_t AxisRegister(unsigned axis, unsigned number)
{
    return static_cast<std::uint16_t>((axis & 0xFFU) << 8U | number);
}

/// One or more request frames, back to back from byte 0; zeros behind the last one end the list.
class RequestBuffer
{
  public:
    /// Adds a read of `quantity` registers; false when there is no room left, or when the first
    /// frame is no valid one.
    [[nodiscard]] bool StartReadFrame(std::uint16_t start, std::uint16_t quantity,
                                      std::uint8_t unit = kUnitId);

    /// Opens a command frame: it writes the registers appended next from address 0, and reads
    /// back the result register and `readQuantity` - 1 registers behind it.
    void StartCommandFrame(std::uint16_t readQuantity = 1);

    /// Appends one written register to the open frame. A frame that gets more than it can carry
    /// becomes invalid, and with it the request: it will not be sent.
    void AppendRegister(std::uint16_t value);

    /// Low word first.
    void AppendRegister32(std::uint32_t value);

    [[nodiscard]] std::uint8_t* Data() { return bytes_.data(); }
    [[nodiscard]] std::span<const std::uint8_t, kBufferBytes> Bytes() const { return bytes_; }
    /// A frame did not fit into the buffer.
    [[nodiscard]] bool Overflowed() const { return overflowed_; }

  private:
    [[nodiscard]] bool OpenFrame(std::size_t headerBytes);

    std::array<std::uint8_t, kBufferBytes> bytes_{};
    std::size_t frame_ = 0; ///< where the open frame starts
    std::size_t end_ = 0;   ///< where it ends so far
    bool overflowed_ = false;
};

/// Whether a valid request frame stands at the start of `frame`, in host order: its size, else 0.
/// With `convert` it is turned into wire order in place.
std::size_t ValidateFrame(std::span<std::uint8_t> frame, bool convert);
std::size_t ValidateFrame(std::span<const std::uint8_t> frame);

/// A reply frame as it was received, in wire order. Made by DecodeReply, which saw to the bounds.
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
    [[nodiscard]] std::uint16_t Word(std::size_t offset) const;

    std::span<const std::uint8_t> bytes_;
};

enum class ReplyForm {
    kIncomplete, ///< the bytes end inside the frame
    kRefused,    ///< complete, but of no accepted form
    kFrame,
};

/// Looks at the reply frame at the start of the received bytes.
ReplyForm DecodeReply(std::span<const std::uint8_t> received, ReplyFrame& frame);

/// The register data of all replies of one call, in frame order; each register in host order.
class ReplyData
{
  public:
    /// Takes over the registers of one reply; false, and nothing taken, when they do not fit.
    [[nodiscard]] bool AppendReplyData(std::span<const std::uint8_t> wireRegisters);
    void SetFirstByte(std::uint8_t value) { bytes_[0] = value; }

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
    [[nodiscard]] bool Read(std::span<std::uint16_t> values)
    {
        if (bytes_.size() < values.size_bytes()) return false;
        std::memcpy(values.data(), bytes_.data(), values.size_bytes());
        Skip(values.size_bytes());
        return true;
    }
    [[nodiscard]] bool Read(std::uint16_t& value) { return Read(std::span(&value, 1)); }
    [[nodiscard]] bool Read(std::int32_t& value);
    [[nodiscard]] bool Read(std::uint32_t& value);
    [[nodiscard]] std::span<const std::uint8_t> Rest() const { return bytes_; }
    void Skip(std::size_t bytes) { bytes_ = bytes_.subspan(std::min(bytes, bytes_.size())); }

  private:
    std::span<const std::uint8_t> bytes_;
};

} // namespace zelq
