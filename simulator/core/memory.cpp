#include "memory.h"

#include "byte_registers.h"
#include "families.h"

#include <algorithm>

namespace lumosim {

namespace {

constexpr Word kFlash = 0x1003;
constexpr Word kCpuPeek = 0x1004;
constexpr Word kCpuPoke = 0x1005;

// The mode word of a flash command.
constexpr Word kErase = 0;
constexpr Word kWrite = 1;
constexpr Word kRead = 2;

constexpr std::size_t kMostRead = 2 * Reply::kCapacity;
constexpr std::size_t kWordBytes = 4;

bool InFlash(std::uint32_t address, std::size_t count)
{
    return address <= Memory::kFlashSize && count <= Memory::kFlashSize - address;
}

// The one space is the working memory; its words stand at multiples of 4.
bool InRam(Word space, std::uint32_t address)
{
    return space == 0 && address % kWordBytes == 0 && address / kWordBytes < Memory::kRamWords;
}

} // namespace

void Memory::AddCommands(CommandTable& table)
{
    table.Add(kFlash, "flash", [this](auto& in, auto& reply) { return AccessFlash(in, reply); });
    table.Add(kCpuPeek, "peek", [this](auto& in, auto& reply) { return Peek(in, reply); });
    table.Add(kCpuPoke, "poke", [this](auto& in, auto&) { return Poke(in); });
}

Result Memory::AccessFlash(CommandReader& in, Reply& reply)
{
    switch (in.NextWord()) {
    case kErase:
        return EraseSectors(in);
    case kWrite:
        return WriteFlash(in);
    case kRead:
        return ReadFlash(in, reply);
    default:
        return Result::kOutOfRange;
    }
}

Result Memory::EraseSectors(CommandReader& in)
{
    const std::size_t first = in.NextWord();
    const std::size_t last = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    if (first > last || last >= kFlashSize / kSectorSize) return Result::kNoSuchFlash;
    std::fill_n(flash_.begin() + static_cast<std::ptrdiff_t>(first * kSectorSize),
                (last - first + 1) * kSectorSize, kErased);
    return Result::kDone;
}

// Writing clears bits; only erasing sets them again.
Result Memory::WriteFlash(CommandReader& in)
{
    const std::uint32_t address = in.NextUnsignedLong();
    const std::vector<std::uint8_t> bytes = NextBytes(in, 2 * in.Remaining());
    if (!in.Finished() || bytes.empty()) return Result::kMalformed;
    if (!InFlash(address, bytes.size())) return Result::kNoSuchFlash;
    const std::span cells = std::span(flash_).subspan(address, bytes.size());
    std::ranges::transform(cells, bytes, cells.begin(), [](std::uint8_t cell, std::uint8_t byte) {
        return static_cast<std::uint8_t>(cell & byte);
    });
    return Result::kDone;
}

Result Memory::ReadFlash(CommandReader& in, Reply& reply) const
{
    const std::uint32_t address = in.NextUnsignedLong();
    const std::size_t count = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    if (count > kMostRead) return Result::kOutOfRange;
    if (!InFlash(address, count)) return Result::kNoSuchFlash;
    AddBytes(reply, Flash().subspan(address, count));
    return Result::kDone;
}

Result Memory::Peek(CommandReader& in, Reply& reply) const
{
    const Word space = in.NextWord();
    const std::uint32_t address = in.NextUnsignedLong();
    if (!in.Finished()) return Result::kMalformed;
    if (!InRam(space, address)) return Result::kNoSuchMemory;
    reply.AddLong(static_cast<std::int32_t>(ram_[address / kWordBytes]));
    return Result::kDone;
}

Result Memory::Poke(CommandReader& in)
{
    const Word space = in.NextWord();
    const std::uint32_t address = in.NextUnsignedLong();
    const std::uint32_t value = in.NextUnsignedLong();
    if (!in.Finished()) return Result::kMalformed;
    if (!InRam(space, address)) return Result::kNoSuchMemory;
    ram_[address / kWordBytes] = value;
    return Result::kDone;
}

void Memory::PowerUp()
{
    std::ranges::fill(ram_, 0U);
}

std::unique_ptr<Family> MakeMemory(Controller& /*controller*/)
{
    return std::make_unique<Memory>();
}

} // namespace lumosim
