// What a command does to a row of outputs.
#pragma once

#include <cstdint>

namespace lumosim {

// Bit k is pin k. A pin that is switched on and off at once is off; one that toggles besides
// toggles from there.
struct OutputChange
{
    std::uint32_t on = 0;
    std::uint32_t off = 0;
    std::uint32_t toggle = 0;

    [[nodiscard]] std::uint32_t AppliedTo(std::uint32_t outputs) const
    {
        return ((outputs | on) & ~off) ^ toggle;
    }

    static OutputChange Word(std::uint32_t outputs) { return {outputs, ~outputs, 0}; }
    static OutputChange Pin(unsigned pin, bool state)
    {
        const std::uint32_t bit = 1U << pin;
        return {state ? bit : 0U, state ? 0U : bit, 0};
    }
    static OutputChange Toggle(std::uint32_t mask) { return {0, 0, mask}; }
};

} // namespace lumosim
