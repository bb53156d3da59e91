#include "api/vocabulary/axis_command.h"
#include "api/vocabulary/reply.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <array>
#include <cstring>

using namespace zelq;

namespace {

constexpr std::uint16_t kSetCode = 0x0150;
constexpr std::uint16_t kGetCode = 0x0151;
constexpr std::uint16_t kValidCode = 0x0152;
constexpr std::uint16_t kEepromCode = 0x0153;
constexpr std::uint16_t kSysIdCode = 0x0154;

/// A parameter's address; class and number count from `first` in the call's codes.
short CheckParameter(unsigned short prmClass, unsigned short prmNo, int first)
{
    constexpr unsigned short kMax = 255;
    if (prmClass > kMax) return BadArgument(first);
    return static_cast<short>(prmNo > kMax ? BadArgument(first + 1) : kOk);
}

} // namespace

short zelQ_ParamSet(short zelNo, unsigned short axis, unsigned short prmClass, unsigned short prmNo,
                    int value)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (const short error = CheckParameter(prmClass, prmNo, 2)) return error;

    Command command(kSetCode);
    command.Word(prmClass).Word(prmNo).Word(1).Word(axis).Long(value);
    // The line's last field is one for a real number and never showed this integer; it has to be
    // given a real number all the same.
    constexpr double kNoNumber = 0.0;
    return Traced("%d=zelQ_ParamSet(%d,%d,%d,%d,%g)", command.Run(zelNo), zelNo, axis, prmClass,
                  prmNo, kNoNumber);
}

short zelQ_mParamSet(short zelNo, short count, const unsigned short* axes, unsigned short prmClass,
                     unsigned short prmNo, const int* values)
{
    // Count, class and number report each other's codes here.
    if (const short error = CheckCount(zelNo, count, BadArgument(3))) return error;
    if (const short error = CheckParameter(prmClass, prmNo, 1)) return error;
    if (const short error = CheckArrays(2, axes)) return error;
    if (const short error = CheckArrays(5, values)) return error;

    Command command(kSetCode);
    command.Word(prmClass).Word(prmNo).Word(count);
    for (int i = 0; i < count; ++i) {
        command.Word(axes[i]).Long(values[i]);
    }
    return Traced("%d=zelQ_mParamSet(%d,%d,%d,%d)", command.Run(zelNo), zelNo, count, prmClass,
                  prmNo);
}

short zelQ_ParamGet(short zelNo, unsigned short axis, unsigned short prmClass, unsigned short prmNo,
                    int* value)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (const short error = CheckParameter(prmClass, prmNo, 1)) return error;
    if (axis >= kAxisCount) return kBadAxis;

    Command command(kGetCode, 3);
    command.Word(prmClass).Word(prmNo).Word(1).Word(axis);
    ReplyData reply;
    const short result = command.Run(zelNo, &reply);
    if (result == kOk) {
        std::int32_t read = 0;
        // A reply without the value is no error here.
        if (ReadData(reply, read) && value != nullptr) *value = read;
    }
    return Traced("%d=zelQ_ParamGet(%d,%d,%d,%d)", result, zelNo, axis, prmClass, prmNo);
}

short zelQ_mParamGet(unsigned short zelNo, short count, const unsigned short* axes,
                     unsigned short prmClass, unsigned short prmNo, int* values)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckSession(number)) return error;
    if (const short error = CheckParameter(prmClass, prmNo, 1)) return error;
    if (const short error = CheckCount(number, count)) return error;
    if (const short error = CheckArrays(5, values)) return error;
    if (const short error = CheckArrays(2, axes)) return error;

    Command command(kGetCode, 1 + 2 * count);
    command.Word(prmClass).Word(prmNo).Word(count).Words(axes, count);
    ReplyData reply;
    const short result = command.Run(number, &reply);
    if (result == kOk && !ReadValues(reply, values, count)) return kReplyDataMissing;
    return Traced("%d=zelQ_mParamGet(%d,%d,%d,%d)", result, zelNo, count, prmClass, prmNo);
}

short zelQ_CParamValid(short zelNo, unsigned short axis)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendToAxis(kValidCode, zelNo, axis);
    return Traced("%d=zelQ_CParamValid(%d,%d)", result, zelNo, axis);
}

short zelQ_mCParamValid(short zelNo, short count, const unsigned short* axes)
{
    if (const short error = CheckAxes(zelNo, count, axes)) return error;

    const short result = SendToAxes(kValidCode, zelNo, count, axes);
    return Traced("%d=zelQ_mCParamValid(%d,%d)", result, zelNo, count);
}

short zelQ_ParamWriteEeprom(short zelNo, unsigned short axis)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendToAxis(kEepromCode, zelNo, axis);
    return Traced("%d=zelQ_ParamWriteEeprom(%d,%d)", result, zelNo, axis);
}

short zelQ_mParamWriteEeprom(short zelNo, short count, const unsigned short* axes)
{
    if (const short error = CheckAxes(zelNo, count, axes)) return error;

    const short result = SendToAxes(kEepromCode, zelNo, count, axes);
    return Traced("%d=zelQ_mParamWriteEeprom(%d,%d)", result, zelNo, count);
}

short zelQ_ParamGetSysID(short zelNo, unsigned short axis, void* sysId)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (const short error = CheckArrays(2, sysId)) return error;

    constexpr std::size_t kRegisters = 40;
    // The axis follows the code at once: this command has no count.
    Command command(kSysIdCode, kRegisters + 1);
    command.Word(axis);
    ReplyData reply;
    const short result = command.Run(zelNo, &reply);
    if (result == kOk) {
        std::array<std::uint8_t, 2 * kRegisters> bytes{};
        if (DataOf(reply).ReadBytes(bytes) < bytes.size()) return kReplyDataMissing;
        std::memcpy(sysId, bytes.data(), bytes.size());
    }
    return Traced("%d=zelQ_ParamGetSysID(%d,%d)", result, zelNo, axis);
}
