#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zelq {

inline constexpr std::size_t kAxisCount = 32;
inline constexpr std::uint16_t kNoSlave = 0xFFFF;

enum class SlaveType : std::uint8_t { kNone = 0, kServo = 1, kInput = 2, kOutput = 3 };

/// Slave numbers of one type, in ascending order; unused entries are 0xFFFF.
struct SlaveList
{
    std::array<std::uint16_t, kAxisCount> numbers;
    std::uint16_t count;

    SlaveList();
    void Add(std::uint16_t number);
    [[nodiscard]] std::span<const std::uint16_t> Numbers() const { return {numbers.data(), count}; }
    [[nodiscard]] bool Contains(std::uint16_t number) const;
};

/// What stands on a controller's servo network: one type word for each of the 32 positions, and
/// what follows from them.
struct SlaveConfig
{
    std::array<std::uint32_t, kAxisCount> typeWords{};
    std::array<std::uint16_t, kAxisCount> index; ///< running index of each present slave
    std::uint16_t count = 0;                     ///< present slaves
    SlaveList servoAxes;
    SlaveList inputSlaves;
    SlaveList outputSlaves;

    SlaveConfig() : SlaveConfig(std::array<std::uint32_t, kAxisCount>{}) {}
    explicit SlaveConfig(const std::array<std::uint32_t, kAxisCount>& words);

    [[nodiscard]] SlaveType TypeOf(std::size_t axis) const
    {
        return static_cast<SlaveType>(typeWords[axis] & 0x0FU);
    }
};

} // namespace zelq
