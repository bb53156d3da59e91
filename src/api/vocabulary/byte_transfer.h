#pragma once

#include "api/vocabulary/command.h"

#include <cstdint>
#include <initializer_list>
#include <span>

namespace zelq {

// Bytes travel two in a register, the earlier one in its low half.

/// Register `index` of a row of bytes; an odd row is filled up with a zero byte.
constexpr std::uint16_t PackedRegister(std::span<const std::uint8_t> bytes, std::size_t index)
{
    const unsigned low = bytes[2 * index];
    const unsigned high = 2 * index + 1 < bytes.size() ? bytes[2 * index + 1] : 0U;
    return static_cast<std::uint16_t>(high << 8U | low);
}

constexpr int RegistersFor(std::size_t bytes)
{
    return static_cast<int>((bytes + 1) / 2);
}

/// How the reply to a command is fetched where it is longer than one frame carries.
struct BatchLayout
{
    int batchRegisters; ///< data registers of one exchange at most
    int frameRegisters; ///< data registers of one frame at most
    int extraRegisters; ///< registers ahead of the data, the result register being the first
};

/// Runs a command whose reply has `registers` data registers: the command's own frame reads the
/// first of them, read frames the others, all in one exchange. `fields` are the command's code and
/// what follows it.
short RunBatchRead(short zelNo, const BatchLayout& layout, int registers,
                   std::initializer_list<std::uint16_t> fields, ReplyData& reply);

} // namespace zelq
