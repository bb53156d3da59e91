#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/reply.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <algorithm>

using namespace zelq;

namespace {

constexpr std::uint16_t kSearchMoveCode = 0x0013;
constexpr std::uint16_t kSearchStatusCode = 0x0014;

/// What the controller reports of one axis: the search word and the latched position.
constexpr int kSearchStatusRegisters = 3;

constexpr std::uint16_t StatusQuantity(int axes)
{
    return static_cast<std::uint16_t>(1 + kSearchStatusRegisters * axes);
}

/// Fills one record, once all of it has been read.
bool ReadStatus(ReplyReader& reader, double unitPerPulse, SearchStatus& status)
{
    std::uint16_t word = 0;
    std::int32_t pulses = 0;
    if (!reader.Read(word) || !reader.Read(pulses)) return false;
    status.code = word & 0x0FU;
    status.flag = word >> 4U & 1U;
    status.mode = word >> 5U & 3U;
    status.pos = unitPerPulse * pulses;
    return true;
}

} // namespace

short zelQ_SearchMove(unsigned short zelNo, unsigned short axis, unsigned short p1,
                      unsigned short p2, unsigned short p3, unsigned short p4)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckAxis(number, axis)) return error;
    if (p1 > 1) return BadArgument(2);
    if (p2 > 3) return BadArgument(3);
    if (p3 > 1) return BadArgument(4);
    if (p4 > 1) return BadArgument(5);

    // Here the options stand before the count and the axis.
    Command command(kSearchMoveCode);
    command.Word(p1).Word(p2).Word(p3).Word(p4).Word(1).Word(axis);
    return Traced("%d=zelQ_SearchMove(%d,%d,%d,%d,%d,%d)", command.Run(number), zelNo, axis, p1, p2,
                  p3, p4);
}

short zelQ_SearchGetStatus(short zelNo, unsigned short axis, SearchStatus* out)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (const short error = CheckArrays(2, out)) return error;

    Command command(kSearchStatusCode, StatusQuantity(1));
    command.Word(1).Word(axis);
    ReplyData reply;
    const short result = command.Run(zelNo, &reply);
    if (result == kOk) {
        ReplyReader reader = DataOf(reply);
        if (!ReadStatus(reader, SessionOf(zelNo).UnitPerPulse(axis), *out)) {
            return kReplyDataMissing;
        }
    }
    return Traced("%d=zelQ_SearchGetStatus(%d,%d)", result, zelNo, axis);
}

short zelQ_mSearchGetStatus(short zelNo, short count, const short* axes, SearchStatus* out)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (const short error = CheckArrays(2, axes, out)) return error;

    constexpr short kMostAxes = 118; // that a frame can carry, beside mark, code and count
    Command command(kSearchStatusCode, StatusQuantity(count));
    command.Word(count).Words(axes, std::min(count, kMostAxes));
    // The count is not bounded: with one register more, the request fits no frame and is not sent.
    if (count > kMostAxes) command.Word(0);
    ReplyData reply;
    const short result = command.Run(zelNo, &reply);
    if (result == kOk) {
        ReplyReader reader = DataOf(reply);
        for (int i = 0; i < count; ++i) {
            const double unit = SessionOf(zelNo).UnitPerPulse(static_cast<std::uint16_t>(axes[i]));
            if (!ReadStatus(reader, unit, out[i])) return kReplyDataMissing;
        }
    }
    return Traced("%d=zelQ_mSearchGetStatus(%d,%d)", result, zelNo, count);
}
