#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/status_registers.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kTorqueLimitCode = 0x0110;
constexpr int kAxesPerFrame = 14;
constexpr std::uint16_t kMaxLimit = 500;
constexpr std::uint16_t kMaxByte = 255;

/// What one axis is told.
struct TorqueLimit
{
    std::uint16_t enable;
    std::uint16_t limit1;
    std::uint16_t limit2;
    std::int16_t param3;
    std::uint16_t codes; ///< one in the high byte, one in the low
    std::uint32_t value;
};

/// What a freed axis is told: limits and codes that hold nothing back.
TorqueLimit NoLimit(std::uint16_t enable, std::uint32_t value)
{
    return {enable, kMaxLimit, kMaxLimit, 0, 0, value};
}

std::uint16_t PackCodes(unsigned high, unsigned low)
{
    return static_cast<std::uint16_t>((high & 0xFFU) << 8U | (low & 0xFFU));
}

/// `limitOf(i)` is what axes[i] is told.
template <typename AxisNumber, typename LimitOf>
short SendLimits(short zelNo, short count, const AxisNumber* axes, LimitOf limitOf)
{
    Command command(kTorqueLimitCode, Split{.items = count, .itemsPerFrame = kAxesPerFrame});
    command.Word(count);
    for (int i = 0; i < count; ++i) {
        const TorqueLimit limit = limitOf(i);
        command.NextItem().Word(axes[i]).Word(limit.enable).Word(limit.limit1).Word(limit.limit2);
        command.Word(limit.param3).Word(limit.codes).Long(limit.value);
    }
    return command.Run(zelNo);
}

short SendLimit(short zelNo, std::uint16_t axis, const TorqueLimit& limit)
{
    return SendLimits(zelNo, 1, &axis, [&limit](int) { return limit; });
}

using StatusRegisters = RegisterBlock<8>;

void FillStatus(TorqueLimitStatus& status, const StatusRegisters& registers)
{
    status.active = registers.Bits(0, 0);
    status.flag1 = registers.Bits(0, 1);
    status.flag2 = registers.Bits(0, 2);
    status.word1 = registers.words[1];
    status.word2 = registers.words[2];
    status.word3 = registers.words[3];
    status.word4 = registers.words[4];
    status.value5 = registers.words[5];
    status.value6 = registers.UnsignedLong(6);
}

} // namespace

short zelQ_TorqueLimitSet(unsigned short zelNo, unsigned short axis, unsigned short trqLimit1,
                          unsigned short trqLimit2, short trqParam3, unsigned short trqCodeHi,
                          unsigned short trqCodeLo, unsigned int trqValue)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckAxis(number, axis)) return error;
    if (trqLimit1 > kMaxLimit) return BadArgument(2);
    if (trqLimit2 > kMaxLimit) return BadArgument(3);
    // The two codes report the numbers of the arguments before them.
    if (trqCodeHi > kMaxByte) return BadArgument(4);
    if (trqCodeLo > kMaxByte) return BadArgument(5);

    const TorqueLimit limit{
        1, trqLimit1, trqLimit2, trqParam3, PackCodes(trqCodeHi, trqCodeLo), trqValue};
    return Traced("%d=zelQ_TorqueLimitSet(%d,%d,%d,%d,%d,%d,%d,%d)", SendLimit(number, axis, limit),
                  zelNo, axis, trqLimit1, trqLimit2, trqParam3, trqCodeHi, trqCodeLo, trqValue);
}

short zelQ_mTorqueLimitSet(unsigned short zelNo, short count, const unsigned short* axes,
                           const unsigned short* trqLimit1, const unsigned short* trqLimit2,
                           const short* trqParam3, const unsigned short* trqCodeHi,
                           const unsigned short* trqCodeLo, const unsigned int* trqValue)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckAxes(number, count, axes, trqLimit1, trqLimit2, trqParam3,
                                      trqCodeHi, trqCodeLo, trqValue)) {
        return error;
    }

    const short result = SendLimits(number, count, axes, [=](int i) {
        const std::uint16_t codes = PackCodes(trqCodeHi[i], trqCodeLo[i]);
        return TorqueLimit{1, trqLimit1[i], trqLimit2[i], trqParam3[i], codes, trqValue[i]};
    });
    return Traced("%d=zelQ_mTorqueLimitSet(%d,%d)", result, zelNo, count);
}

short zelQ_TorqueLimitFree(short zelNo, unsigned short axis, unsigned int trqValue)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendLimit(zelNo, axis, NoLimit(0, trqValue));
    return Traced("%d=zelQ_TorqueLimitFree(%d,%d,%d)", result, zelNo, axis, trqValue);
}

short zelQ_mTorqueLimitFree(unsigned short zelNo, short count, const short* axes,
                            const unsigned int* values)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckAxes(number, count, axes, values)) return error;

    // Unlike the call for one axis this leaves the limit on, at values that limit nothing.
    const short result =
        SendLimits(number, count, axes, [=](int i) { return NoLimit(1, values[i]); });
    return Traced("%d=zelQ_mTorqueLimitFree(%d,%d)", result, zelNo, count);
}

short zelQ_TorqueLimitGetStatus(short zelNo, unsigned short axis, TorqueLimitStatus* status)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (const short error = CheckArrays(2, status)) return error;
    if (!AxisIsServo(zelNo, axis)) return kBadAxis;

    constexpr unsigned kStatusRegister = 47;
    ReplyData reply;
    const short result = ReadRegisters(zelNo, AxisRegister(axis, kStatusRegister), 8, reply);
    if (result == kOk) {
        ReplyReader reader(reply);
        StatusRegisters registers;
        if (!registers.ReadFrom(reader)) return kReplyDataMissing;
        FillStatus(*status, registers);
    }
    return Traced("%d=zelQ_TorqueLimitGetStatus(%d,%d)", result, zelNo, axis);
}
