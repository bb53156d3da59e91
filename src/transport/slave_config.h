#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zelq {

inline constexpr std::size_t kAxisCount = 32;
inline constexpr std::uint16_t kNoSlave = 0xFFFF;

/// First of the two registers that hold an axis's type word.
inline constexpr unsigned kTypeWordRegister = 0x38;

enum class SlaveType : std::uint8_t { kNone = 0, kServo = 1, kInput = 2, kOutput = 3 };

/// What a controller tells of one slave, packed into 32 bits.
class SlaveTypeWord
{
  public:
    constexpr SlaveTypeWord() = default;
    constexpr explicit SlaveTypeWord(std::uint32_t word) : word_(word) {}

    [[nodiscard]] constexpr SlaveType Type() const { return static_cast<SlaveType>(Bits(0, 3)); }
    [[nodiscard]] constexpr std::uint16_t SeriesCode() const { return Bits(4, 6); }
    [[nodiscard]] constexpr std::uint16_t MotorCode() const { return Bits(7, 10); }
    [[nodiscard]] constexpr std::uint16_t EncoderCode() const { return Bits(11, 14); }
    [[nodiscard]] constexpr std::uint16_t LimitLogic() const { return Bits(15, 16); }
    [[nodiscard]] constexpr std::uint16_t HomeLogic() const { return Bits(17, 18); }
    [[nodiscard]] constexpr std::uint16_t InputUse() const { return Bits(19, 21); }
    /// The configurable input is an emergency stop.
    [[nodiscard]] constexpr bool InputIsEmergencyStop() const { return Bits(22, 22) != 0; }
    [[nodiscard]] constexpr std::uint16_t AbsoluteEncoder() const { return Bits(23, 23); }

  private:
    [[nodiscard]] constexpr std::uint16_t Bits(unsigned first, unsigned last) const
    {
        return static_cast<std::uint16_t>(word_ >> first & ((1U << (last - first + 1)) - 1U));
    }

    std::uint32_t word_ = 0;
};

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

/// What stands on a controller's servo network, as one snapshot: one type word for each of the 32
/// positions, what follows from them, and the count of changes that they belong to.
struct SlaveConfig
{
    using TypeWords = std::array<SlaveTypeWord, kAxisCount>;

    /// A count that no controller sends: the slaves must be read before they may be relied on.
    static constexpr std::uint16_t kUnknownCounter = 0xFFFF;

    TypeWords typeWords{};
    SlaveList servoAxes;
    SlaveList inputSlaves;
    SlaveList outputSlaves;
    std::uint16_t counter = 0;

    SlaveConfig() = default;
    SlaveConfig(const TypeWords& words, std::uint16_t configurationCounter);
};

} // namespace zelq
