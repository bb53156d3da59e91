#pragma once

#include <cstdint>
#include <cstring>

namespace zelq {

/// A 16-bit field of a frame in host order, at any alignment.
inline std::uint16_t LoadHost16(const std::uint8_t* at)
{
    std::uint16_t value = 0;
    std::memcpy(&value, at, sizeof(value));
    return value;
}

inline void StoreHost16(std::uint8_t* at, std::uint16_t value)
{
    std::memcpy(at, &value, sizeof(value));
}

/// A 16-bit field as it travels: high byte first.
inline std::uint16_t LoadWire16(const std::uint8_t* at)
{
    return static_cast<std::uint16_t>(at[0] << 8 | at[1]);
}

inline void StoreWire16(std::uint8_t* at, std::uint16_t value)
{
    at[0] = static_cast<std::uint8_t>(value >> 8);
    at[1] = static_cast<std::uint8_t>(value);
}

} // namespace zelq
