// The readable registers: who fills which block.
#pragma once

#include "types.h"

#include <functional>
#include <span>
#include <vector>

namespace lumosim {

// Blocks are filled as a whole and cut to what was asked for. Inside the controller's register
// space (0x0000..0x1FFF, 256 registers a station, and 0xF400..0xF4FF) a register of no block reads
// 0; elsewhere there are no registers.
class RegisterMap
{
  public:
    using Filler = std::function<void(std::span<Word> out)>;
    using AxisFiller = std::function<void(int axis, std::span<Word> out)>;

    // Registers first .. first + count - 1.
    void AddBlock(Word first, Word count, Filler fill);
    // Registers offset .. offset + count - 1 of each of the 32 stations.
    void AddAxisBlock(Word offset, Word count, const AxisFiller& fill);

    [[nodiscard]] bool Read(Word first, std::span<Word> out) const;

  private:
    struct Block
    {
        std::size_t first;
        std::size_t count;
        Filler fill;
    };

    std::vector<Block> blocks_; // in order of their addresses
};

} // namespace lumosim
