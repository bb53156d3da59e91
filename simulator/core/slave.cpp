#include "slave.h"

namespace lumosim {

std::uint32_t TypeWord(SlaveType type, const SlaveProperties& properties)
{
    std::uint32_t word = static_cast<std::uint32_t>(type) & 0xFU;
    const auto put = [&word](std::uint32_t value, unsigned bit, unsigned width) {
        word |= (value & ((1U << width) - 1U)) << bit;
    };
    put(properties.series, 4, 3);
    put(properties.motor, 7, 4);
    put(properties.encoder, 11, 4);
    put(properties.limitLogic, 15, 2);
    put(properties.homeLogic, 17, 2);
    put(properties.inputUse, 19, 3);
    put(properties.inputIsStop ? 1 : 0, 22, 1);
    put(properties.absoluteEncoder ? 1 : 0, 23, 1);
    return word;
}

} // namespace lumosim
