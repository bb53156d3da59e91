#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kMonitorCode = 0x0155;

/// Reads `count` values; those in front of the first missing one are stored.
bool ReadValues(const ReplyData& reply, short count, unsigned int* values)
{
    ReplyReader reader(reply);
    reader.SkipResult();
    for (int i = 0; i < count; ++i) {
        if (!reader.Read(values[i])) return false;
    }
    return true;
}

} // namespace

// Both lines say "MonitorGet".

short zelQ_MonitorRead(short zelNo, short axis, short monitorNo, unsigned int* value)
{
    if (const short error = CheckSession(zelNo)) return error;
    // The code is that of the call for several items.
    if (value == nullptr) return BadArgument(4);

    Command command(kMonitorCode, 3);
    command.Word(1).Word(axis).Word(monitorNo);
    ReplyData reply;
    const short result = command.Run(zelNo, &reply);
    if (result == kOk && !ReadValues(reply, 1, value)) return kReplyDataMissing;
    return Traced("%d=zelQ_MonitorGet(%d,%d,%d)", result, zelNo, axis, monitorNo);
}

short zelQ_mMonitorRead(short zelNo, short count, const short* axes,
                        const unsigned short* monitorNos, unsigned int* values)
{
    if (const short error = CheckCount(zelNo, count)) return error;
    if (values == nullptr) return BadArgument(4);
    if (axes == nullptr) return BadArgument(2);
    if (monitorNos == nullptr) return BadArgument(3);

    Command command(kMonitorCode, static_cast<std::uint16_t>(2 * count + 1));
    command.Word(count);
    for (int i = 0; i < count; ++i) {
        command.Word(axes[i]).Word(monitorNos[i]);
    }
    ReplyData reply;
    const short result = command.Run(zelNo, &reply);
    if (result == kOk && !ReadValues(reply, count, values)) return kReplyDataMissing;
    return Traced("%d=zelQ_MonitorGet(%d,%d)", result, zelNo, count);
}
