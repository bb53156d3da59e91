// Where a controller stands in its network.
#pragma once

#include <array>
#include <cstdint>

namespace lumosim {

// The address is address[0].address[1].address[2].controller number.
struct NetworkSettings
{
    std::array<std::uint8_t, 3> address = {127, 0, 0};
    std::array<std::uint8_t, 4> mask = {255, 0, 0, 0};
    std::array<std::uint8_t, 4> gateway = {0, 0, 0, 0};

    friend bool operator==(const NetworkSettings&, const NetworkSettings&) = default;
};

} // namespace lumosim
