// Bytes in registers: two in each, the earlier one in the low half.
#pragma once

#include "layout.h"

#include <cstdint>
#include <span>
#include <vector>

namespace lumosim {

// The bytes of entries that are a register each.
template <typename Fields>
std::vector<std::uint8_t> BytesOf(const std::vector<Entry<Fields>>& entries)
{
    std::vector<std::uint8_t> bytes;
    for (const Entry<Fields>& entry : entries) {
        bytes.push_back(static_cast<std::uint8_t>(entry.number & 0xFFU));
        bytes.push_back(static_cast<std::uint8_t>(entry.number >> 8U));
    }
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
