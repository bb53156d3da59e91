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
struct RamFields
{
    Word space = 0;
    std::uint32_t address = 0;
    std::uint32_t value = 0;
};

bool InRam(const RamFields& fields)
{
    return fields.space == 0 && fields.address % kWordBytes == 0 &&
           fields.address / kWordBytes < Memory::kRamWords;
}

} // namespace

struct Memory::FlashFields
{
    Word mode = 0;
    Word first = 0;
    Word last = 0;
    Word count = 0;
    std::uint32_t address = 0;
};

void Memory::AddCommands(CommandTable& table)
{
    table.AddList<FlashFields>(
        kFlash, "flash",
        {"mode", &FlashFields::mode, "first sector", &FlashFields::first, When("mode", {kErase}),
         "last sector", &FlashFields::last, When("mode", {kErase}), "address",
         &FlashFields::address, When("mode", {kWrite, kRead}), "byte count", &FlashFields::count,
         When("mode", {kRead}),
         Field{"two bytes", Width::kWord, Place::kRest, Unless("mode", {kErase, kRead}).when}},
        [this](const FlashFields& fields, const auto& pairs, Reply& reply) {
            return AccessFlash(fields, BytesOf(pairs), reply);
        });
    table.Add<RamFields>(
        kCpuPeek, "peek", {"space", &RamFields::space, "address", &RamFields::address},
        [this](const RamFields& fields, Reply& reply) {
            if (!InRam(fields)) return Result::kNoSuchMemory;
            reply.AddLong(static_cast<std::int32_t>(ram_[fields.address / kWordBytes]));
            return Result::kDone;
        });
    table.Add<RamFields>(
        kCpuPoke, "poke",
        {"space", &RamFields::space, "address", &RamFields::address, "value", &RamFields::value},
        [this](const RamFields& fields) {
            if (!InRam(fields)) return Result::kNoSuchMemory;
            ram_[fields.address / kWordBytes] = fields.value;
            return Result::kDone;
        });
}

Result Memory::AccessFlash(const FlashFields& fields, std::span<const std::uint8_t> bytes,
                           Reply& reply)
{
    switch (fields.mode) {
    case kErase:
        return EraseSectors(fields.first, fields.last);
    case kWrite:
        return WriteFlash(fields.address, bytes);
    case kRead:
        return ReadFlash(fields.address, fields.count, reply);
    default:
        return Result::kOutOfRange;
    }
}

Result Memory::EraseSectors(std::size_t first, std::size_t last)
{
    if (first > last || last >= kFlashSize / kSectorSize) return Result::kNoSuchFlash;
    std::fill_n(flash_.begin() + static_cast<std::ptrdiff_t>(first * kSectorSize),
                (last - first + 1) * kSectorSize, kErased);
    return Result::kDone;
}

// Writing clears bits; only erasing sets them again.
Result Memory::WriteFlash(std::uint32_t address, std::span<const std::uint8_t> bytes)
{
    if (bytes.empty()) return Result::kMalformed;
    if (!InFlash(address, bytes.size())) return Result::kNoSuchFlash;
    const std::span cells = std::span(flash_).subspan(address, bytes.size());
    std::ranges::transform(cells, bytes, cells.begin(), [](std::uint8_t cell, std::uint8_t byte) {
        return static_cast<std::uint8_t>(cell & byte);
    });
    return Result::kDone;
}

Result Memory::ReadFlash(std::uint32_t address, std::size_t count, Reply& reply) const
{
    if (count > kMostRead) return Result::kOutOfRange;
    if (!InFlash(address, count)) return Result::kNoSuchFlash;
    AddBytes(reply, Flash().subspan(address, count));
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
