// Bytes in registers: two in each, the earlier one in the low half.
#pragma once

#include "command.h"

#include <cstdint>
#include <span>
#include <vector>

namespace lumosim {

// Takes `count` bytes from a command's fields; an odd count leaves the last register's high half
// unused.
inline std::vector<std::uint8_t> NextBytes(CommandReader& in, std::size_t count)
{
    std::vector<std::uint8_t> bytes;
    while (bytes.size() < count && in.Remaining() > 0) {
        const Word word = in.NextWord();
        bytes.push_back(static_cast<std::uint8_t>(word & 0xFFU));
        if (bytes.size() < count) bytes.push_back(static_cast<std::uint8_t>(word >> 8U));
    }
    // What is missing makes the command a malformed one.
    if (bytes.size() < count) in.NextWord();
    return bytes;
}

inline void AddBytes(Reply& reply, std::span<const std::uint8_t> bytes)
{
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        const unsigned high = i + 1 < bytes.size() ? bytes[i + 1] : 0U;
        reply.AddWord(static_cast<Word>(high << 8U | bytes[i]));
    }
}

} // namespace lumosim
