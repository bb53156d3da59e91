#include "register_map.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace lumosim {

namespace {

constexpr std::size_t kLargestBlock = 256;

bool Exists(std::size_t first, std::size_t end)
{
    const auto within = [first, end](std::size_t low, std::size_t high) {
        return first >= low && end <= high;
    };
    return within(0x0000, 0x2000) || within(0xF400, 0xF500);
}

} // namespace

void RegisterMap::AddBlock(Word first, Word count, Filler fill)
{
    const auto behind = std::find_if(blocks_.begin(), blocks_.end(),
                                     [first](const Block& block) { return block.first > first; });
    const bool overlaps =
        (behind != blocks_.end() && first + std::size_t{count} > behind->first) ||
        (behind != blocks_.begin() && std::prev(behind)->first + std::prev(behind)->count > first);
    if (overlaps || count > kLargestBlock) throw std::logic_error("register block does not fit");
    blocks_.insert(behind, {first, count, std::move(fill)});
}

void RegisterMap::AddAxisBlock(Word offset, Word count, const AxisFiller& fill)
{
    for (int axis = 0; axis < kMaxAxes; ++axis) {
        AddBlock(static_cast<Word>(axis * 256 + offset), count,
                 [fill, axis](std::span<Word> out) { fill(axis, out); });
    }
}

bool RegisterMap::Read(Word first, std::span<Word> out) const
{
    const std::size_t end = first + out.size();
    if (!Exists(first, end)) return false;

    std::fill(out.begin(), out.end(), Word{0});
    auto block = std::partition_point(blocks_.begin(), blocks_.end(), [first](const Block& b) {
        return b.first + b.count <= first;
    });
    for (; block != blocks_.end() && block->first < end; ++block) {
        if (first <= block->first && block->first + block->count <= end) {
            block->fill(out.subspan(block->first - first, block->count));
            continue;
        }
        std::array<Word, kLargestBlock> values{};
        block->fill(std::span(values).first(block->count));
        const std::size_t low = std::max<std::size_t>(first, block->first);
        const std::size_t high = std::min(end, block->first + block->count);
        for (std::size_t address = low; address < high; ++address) {
            out[address - first] = values[address - block->first];
        }
    }
    return true;
}

} // namespace lumosim
