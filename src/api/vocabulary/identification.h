#pragma once

#include "transport/reply.h"

#include <array>
#include <cstdint>

namespace zelq {

inline constexpr std::uint16_t kIdentificationRegister = 0xF400;
inline constexpr std::uint16_t kIdentificationRegisters = 12;

/// The block by which a controller tells what it is.
class Identification
{
  public:
    static constexpr std::size_t kBytes = 2 * kIdentificationRegisters;
    /// Words of the device information that Fill writes.
    static constexpr std::size_t kInfoWords = 19;

    /// Takes the block off the reply data; false when it is not all there.
    [[nodiscard]] bool ReadFrom(ReplyReader& reader) { return reader.ReadBytes(bytes_) == kBytes; }

    /// Whether the date is one that a controller may have.
    [[nodiscard]] bool HasValidDate() const;

    void Fill(unsigned short* info) const;

    /// Whether `info` was filled by a block of the same controller.
    [[nodiscard]] bool SameController(const unsigned short* info) const;

  private:
    std::array<std::uint8_t, kBytes> bytes_{};
};

} // namespace zelq
