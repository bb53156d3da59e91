#pragma once

#include "common/byte_order.h"

#include <cstddef>
#include <cstdint>

namespace zelq {

// Modbus application-protocol frames: what requests and replies have in common.

/// Requests of one call, and their replies, are at most so long.
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

/// The whole size of the frame at `frame`, whose header is there.
inline std::size_t FrameSize(const std::uint8_t* frame)
{
    return field::kBeforeLength + LoadWire16(frame + field::kLength);
}

/// A request to read registers has always the same size.
inline constexpr std::size_t kReadFrameBytes = 12;

/// The size of a request's frame. Most are reads: where the next one starts is known then before
/// the length has been loaded.
inline std::size_t RequestFrameSize(const std::uint8_t* frame)
{
    return frame[field::kFunction] == kReadRegisters ? kReadFrameBytes : FrameSize(frame);
}

} // namespace zelq
