#include "api/vocabulary/axis_command.h"
#include "api/vocabulary/reply.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kAlarmResetCode = 0x0140;
constexpr std::uint16_t kListGetCode = 0x0141;
constexpr std::uint16_t kListClearCode = 0x0142;
constexpr std::uint16_t kListEntries = 15;

/// A reset must neither wait for the session's long time-outs nor be given up after its short ones.
constexpr ExchangeTimes kResetTimes{.send = 200, .receive = 200};

/// One entry of an alarm list.
struct AlarmEntry
{
    std::uint16_t code = 0; ///< number in the low byte, sub-number in the high one
    std::uint16_t data = 0;

    [[nodiscard]] bool ReadFrom(ReplyReader& reader)
    {
        return reader.Read(code) && reader.Read(data);
    }
    [[nodiscard]] std::uint16_t Number() const { return code & 0xFFU; }
    [[nodiscard]] std::uint16_t SubNumber() const { return code >> 8U; }
};

} // namespace

// The lines of the reset and clear calls have a fourth number that stands for nothing.

short zelQ_AlarmResetReq(short zelNo, unsigned short axis)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendToAxis(kAlarmResetCode, zelNo, axis, kResetTimes);
    return Traced("%d=zelQ_AlarmResetReq(%d,%d,%d)", result, zelNo, axis, 0);
}

short zelQ_mAlarmResetReq(short zelNo, short count, const unsigned short* axes)
{
    if (const short error = CheckAxes(zelNo, count, axes)) return error;

    const short result = SendToAxes(kAlarmResetCode, zelNo, count, axes, kResetTimes);
    return Traced("%d=zelQ_mAlarmResetReq(%d,%d,%d)", result, zelNo, count, 0);
}

short zelQ_AlarmListGet(short zelNo, unsigned short axis, unsigned short listIndex,
                        unsigned short* alarmNo, unsigned short* alarmSubNo,
                        unsigned short* alarmData)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (listIndex >= kListEntries) return BadArgument(2);

    Command command(kListGetCode, 3);
    command.Word(1).Word(listIndex).Word(axis);
    ReplyData reply;
    const short result = command.Run(zelNo, &reply);
    if (result == kOk) {
        ReplyReader reader = DataOf(reply);
        AlarmEntry entry;
        if (!entry.ReadFrom(reader)) return kReplyDataMissing;
        if (alarmNo != nullptr) *alarmNo = entry.Number();
        if (alarmSubNo != nullptr) *alarmSubNo = entry.SubNumber();
        if (alarmData != nullptr) *alarmData = entry.data;
    }
    // The index stands before the axis here, as it does in the command.
    return Traced("%d=zelQ_AlarmListGet(%d,%d,%d)", result, zelNo, listIndex, axis);
}

short zelQ_mAlarmListGet(unsigned short zelNo, short count, const unsigned short* axes,
                         unsigned short listIndex, unsigned short* alarmNo,
                         unsigned short* alarmSubNo, unsigned short* alarmData)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckCount(number, count)) return error;
    if (listIndex >= kListEntries) return BadArgument(3);
    if (const short error = CheckArrays(4, alarmNo, alarmSubNo, alarmData)) return error;
    if (const short error = CheckArrays(2, axes)) return error;

    // One register an axis is asked for, and two are taken: the reply runs out, the call ends in
    // -1004, and only the entries that were whole are stored. Applications know it like that.
    Command command(kListGetCode, count + 1);
    command.Word(count).Word(listIndex).Words(axes, count);
    ReplyData reply;
    const short result = command.Run(number, &reply);
    if (result == kOk) {
        ReplyReader reader = DataOf(reply);
        for (int i = 0; i < count; ++i) {
            AlarmEntry entry;
            if (!entry.ReadFrom(reader)) return kReplyDataMissing;
            alarmData[i] = entry.data;
            alarmNo[i] = entry.Number();
            alarmSubNo[i] = entry.SubNumber();
        }
    }
    return Traced("%d=zelQ_mAlarmListGet(%d,%d,%d)", result, zelNo, listIndex, count);
}

short zelQ_AlarmListClear(short zelNo, unsigned short axis)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendToAxis(kListClearCode, zelNo, axis);
    return Traced("%d=zelQ_AlarmListClear(%d,%d,%d)", result, zelNo, axis, 0);
}

short zelQ_mAlarmListClear(short zelNo, short count, const unsigned short* axes)
{
    if (const short error = CheckAxes(zelNo, count, axes)) return error;

    const short result = SendToAxes(kListClearCode, zelNo, count, axes);
    return Traced("%d=zelQ_mAlarmListClear(%d,%d,%d)", result, zelNo, count, 0);
}
