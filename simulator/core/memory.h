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

    Result AccessFlash(CommandReader& in, Reply& reply);
    Result EraseSectors(CommandReader& in);
    Result WriteFlash(CommandReader& in);
    Result ReadFlash(CommandReader& in, Reply& reply) const;
    Result Peek(CommandReader& in, Reply& reply) const;
    Result Poke(CommandReader& in);

    std::vector<std::uint8_t> flash_;
    std::vector<std::uint32_t> ram_;
};

} // namespace lumosim
