#include "api/vocabulary/interpolation.h"
#include "common/trace.h"

#include <algorithm>
#include <array>

using namespace zelq;

namespace {

constexpr std::uint16_t kMapCode = 0x0070;
constexpr std::uint16_t kMapRegister = 0xF41A; ///< of map 0; the others follow
constexpr std::uint16_t kMapRegisters = 9;

/// A map's registers as bytes, low byte first: the count, then the axes.
using MapBytes = std::array<std::uint8_t, std::size_t{2} * kMapRegisters>;

bool ReadMap(ReplyReader& reader, MapBytes& bytes)
{
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        std::uint16_t word = 0;
        if (!reader.Read(word)) return false;
        bytes[i] = static_cast<std::uint8_t>(word);
        bytes[i + 1] = static_cast<std::uint8_t>(word >> 8U);
    }
    return true;
}

} // namespace

short zelQ_IMapSet(short zelNo, short mapIndex, short axisCount, const unsigned short* axes)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    if (axisCount < 1 || axisCount > static_cast<short>(kMapAxes)) return BadArgument(2);
    if (axes == nullptr) return BadArgument(3);

    Command command(kMapCode);
    command.Word(mapIndex).Word(axisCount).Words(axes, axisCount);
    // Within the turn: whoever sets the map next is the next to mirror it, too.
    const auto mirror = [=](DeviceSession& session) {
        session.SetMapAxes(static_cast<std::size_t>(mapIndex),
                           {axes, static_cast<std::size_t>(axisCount)});
    };
    const short result = command.Run(zelNo, nullptr, {}, TurnAction(mirror));
    // "ISetMap" in the line, "IMapSet" in the name.
    return Traced("%d=zelQ_ISetMap(%d,%d,%d)", result, zelNo, mapIndex, axisCount);
}

short zelQ_IMapClear(short zelNo, short mapIndex)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;

    const auto mirror = [=](DeviceSession& session) {
        session.ClearMap(static_cast<std::size_t>(mapIndex));
    };
    const short result =
        Command(kMapCode).Word(mapIndex).Word(0).Run(zelNo, nullptr, {}, TurnAction(mirror));
    return Traced("%d=zelQ_IMapClear(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IMapGet(short zelNo, unsigned short mapIndex, short* mapOut)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (mapIndex >= kMapCount) return BadArgument(1);
    if (mapOut == nullptr) return BadArgument(2);

    const auto start = static_cast<std::uint16_t>(kMapRegister + kMapRegisters * mapIndex);
    ReplyData reply;
    const short result = ReadRegisters(zelNo, start, kMapRegisters, reply);
    std::uint8_t count = 0;
    if (result == kOk) {
        ReplyReader reader(reply);
        MapBytes bytes{};
        if (!ReadMap(reader, bytes)) return kReplyDataMissing;
        count = bytes[0];
        mapOut[0] = count;
        // Element 1 is left alone. A count beyond what a map holds has no more axes to it.
        std::copy_n(bytes.begin() + 1, std::min<std::size_t>(count, kMapAxes), mapOut + 2);
    }
    return Traced("%d=zelQ_IMapGet(%d,%d,%d)", result, zelNo, mapIndex, count);
}
