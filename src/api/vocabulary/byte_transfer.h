#pragma once

#include "api/vocabulary/command.h"

#include <cstdint>
#include <span>

namespace zelq {

// Bytes travel two in a register, the earlier one in its low half.

constexpr int RegistersFor(std::size_t bytes)
{
    return static_cast<int>((bytes + 1) / 2);
}

/// Appends bytes to a command that is split by their registers; an odd row is filled up with a zero
/// byte.
inline void AppendBytes(Command& command, std::span<const std::uint8_t> bytes)
{
    for (std::size_t at = 0; at < bytes.size(); at += 2) {
        const unsigned high = at + 1 < bytes.size() ? bytes[at + 1] : 0U;
        command.NextItem().Word(high << 8U | bytes[at]);
    }
}

/// How the reply to a command is fetched where it is longer than one frame carries: the command's
/// own frame reads the first data registers, read frames the others, all in one exchange.
struct LongReply
{
    int dataRegisters;
    int frameRegisters; ///< data registers of one frame at most
    int extraRegisters; ///< registers ahead of the data, the result register being the first

    /// What the command's own frame reads.
    [[nodiscard]] int FirstQuantity() const
    {
        return std::min(dataRegisters, frameRegisters) + extraRegisters;
    }

    /// Adds the read frames to a command that has all its fields.
    void AddReads(Command& command) const
    {
        // The controller keeps the whole reply from the result register on, for as long as no other
        // command comes.
        const int all = dataRegisters + extraRegisters;
        for (int read = FirstQuantity(); read < all; read += frameRegisters) {
            command.ThenRead(kResultRegister + read, std::min(all - read, frameRegisters));
        }
    }
};

} // namespace zelq
