#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/reply.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kMonitorCode = 0x0155;

short ReadMonitors(short zelNo, short count, const short* axes, const unsigned short* monitorNos,
                   ReplyData& reply)
{
    Command command(kMonitorCode, 1 + 2 * count);
    command.Word(count);
    for (int i = 0; i < count; ++i) {
        command.Word(axes[i]).Word(monitorNos[i]);
    }
    return command.Run(zelNo, &reply);
}

} // namespace

// Both lines say "MonitorGet".

short zelQ_MonitorRead(short zelNo, short axis, short monitorNo, unsigned int* value)
{
    if (const short error = CheckSession(zelNo)) return error;
    // The code is that of the call for several items.
    if (const short error = CheckArrays(4, value)) return error;

    const auto number = static_cast<unsigned short>(monitorNo);
    ReplyData reply;
    const short result = ReadMonitors(zelNo, 1, &axis, &number, reply);
    if (result == kOk && !ReadData(reply, *value)) return kReplyDataMissing;
    return Traced("%d=zelQ_MonitorGet(%d,%d,%d)", result, zelNo, axis, monitorNo);
}

short zelQ_mMonitorRead(short zelNo, short count, const short* axes,
                        const unsigned short* monitorNos, unsigned int* values)
{
    if (const short error = CheckCount(zelNo, count)) return error;
    if (const short error = CheckArrays(4, values)) return error;
    if (const short error = CheckArrays(2, axes, monitorNos)) return error;

    ReplyData reply;
    const short result = ReadMonitors(zelNo, count, axes, monitorNos, reply);
    if (result == kOk && !ReadValues(reply, values, count)) return kReplyDataMissing;
    return Traced("%d=zelQ_MonitorGet(%d,%d)", result, zelNo, count);
}
