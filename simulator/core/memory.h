// The controller's flash memory, and the memory of its processor.
#pragma once

#include "family.h"

#include <cstdint>
#include <span>
#include <vector>

namespace lumosim {

class Memory : public Family
{
  public:
    static constexpr std::size_t kFlashSize = std::size_t{1} << 20U;
    static constexpr std::size_t kSectorSize = 4096;
    static constexpr std::size_t kRamWords = 16384;

    Memory() : flash_(kFlashSize, kErased), ram_(kRamWords, 0) {}

    void AddCommands(CommandTable& table) override;
    void PowerUp() override; // the flash stays as it is

    [[nodiscard]] std::span<const std::uint8_t> Flash() const { return flash_; }
    [[nodiscard]] std::span<const std::uint32_t> Ram() const { return ram_; }

  private:
    static constexpr std::uint8_t kErased = 0xFF;

    struct FlashFields;

    Result AccessFlash(const FlashFields& fields, std::span<const std::uint8_t> bytes,
                       Reply& reply);
    Result EraseSectors(std::size_t first, std::size_t last);
    Result WriteFlash(std::uint32_t address, std::span<const std::uint8_t> bytes);
    Result ReadFlash(std::uint32_t address, std::size_t count, Reply& reply) const;

    std::vector<std::uint8_t> flash_;
    std::vector<std::uint32_t> ram_;
};

} // namespace lumosim
