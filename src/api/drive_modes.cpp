#include "api/vocabulary/axis_command.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <array>

using namespace zelq;

namespace {

constexpr std::uint16_t kTorqueCode = 0x0030;
constexpr std::uint16_t kVelocityCode = 0x0032;
constexpr std::uint16_t kProfilePositionCode = 0x2000;

constexpr std::uint32_t kTorqueRange = 5000; // 500.0 percent in the controller's 0.1 percent
constexpr short kHighestLimit = 20000;

std::int32_t ToTorque(double torque)
{
    return ProductToInt32(torque, 10.0);
}

/// Whether the low 16 bits of a value are at most `highest`. Values of more than 16 bits have
/// always been judged by these alone.
bool LowWordUpTo(std::uint32_t value, std::uint32_t highest)
{
    return (value & 0xFFFFU) <= highest;
}

bool IsAxis(short axis)
{
    return static_cast<std::uint16_t>(axis) < kAxisCount;
}

/// Unlike one axis, several take no negative torque, and their limits are not looked at.
short CheckTorques(short count, const short* axes, const double* torques)
{
    if (const short error = CheckArrays(2, axes, torques)) return error;
    for (int i = 0; i < count; ++i) {
        if (!IsAxis(axes[i])) return BadArgument(2);
        const auto torque = static_cast<std::uint32_t>(ToTorque(torques[i]));
        if (!LowWordUpTo(torque, kTorqueRange)) return BadArgument(3);
    }
    return kOk;
}

} // namespace

short zelQ_CT_SetTorque(short zelNo, unsigned short axis, double torque, short limit)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    const std::int32_t tenths = ToTorque(torque);
    if (!LowWordUpTo(static_cast<std::uint32_t>(tenths) + kTorqueRange, 2 * kTorqueRange)) {
        return BadArgument(2);
    }
    if (limit > kHighestLimit) return BadArgument(3);

    const short result =
        Command(kTorqueCode).Word(1).Word(axis).Word(tenths).Word(limit).Run(zelNo);
    return Traced("%d=zelQ_CT_SetTorque(%d,%d,%3.1f,%d)", result, zelNo, axis, torque, limit);
}

short zelQ_mCT_SetTorque(short zelNo, short count, const short* axes, const double* torques,
                         const unsigned short* limits)
{
    if (const short error = CheckCount(zelNo, count, BadArgument(1))) return error;
    if (const short error = CheckTorques(count, axes, torques)) return error;
    if (const short error = CheckArrays(4, limits)) return error;

    Command command(kTorqueCode);
    command.Word(count);
    for (int i = 0; i < count; ++i) {
        command.Word(axes[i]).Word(ToTorque(torques[i])).Word(limits[i]);
    }
    return Traced("%d=zelQ_mCT_SetTorque(%d,%d)", command.Run(zelNo), zelNo, count);
}

short zelQ_CV_SetVelocity(short zelNo, unsigned short axis, double val1, double val2, double val3,
                          short word)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const std::array<std::int32_t, 3> pulses = {
        ToPulses(zelNo, axis, val1), ToPulses(zelNo, axis, val2), ToPulses(zelNo, axis, val3)};
    Command command(kVelocityCode);
    command.Word(1).Word(axis).Long(pulses[0]).Long(pulses[1]).Long(pulses[2]).Long(word);
    // Traced in pulses.
    return Traced("%d=zelQ_CV_SetVelocity(%d,%d,%d,%d,%d,%d)", command.Run(zelNo), zelNo, axis,
                  pulses[0], pulses[1], pulses[2], word);
}

short zelQ_mCV_SetVelocity(short zelNo, short count, const short* axes, const double* val1,
                           const double* val2, const double* val3, const short* words)
{
    if (const short error = CheckCount(zelNo, count, BadArgument(1))) return error;
    if (const short error = CheckArrays(2, axes)) return error;
    for (int i = 0; i < count; ++i) {
        if (!IsAxis(axes[i])) return BadArgument(2);
    }
    if (const short error = CheckArrays(3, val1, val2, val3, words)) return error;

    Command command(kVelocityCode);
    command.Word(count);
    for (int i = 0; i < count; ++i) {
        const auto axis = static_cast<std::uint16_t>(axes[i]);
        command.Word(axis);
        AppendPulses(command, zelNo, axis, {val1[i], val2[i], val3[i]});
        command.Long(words[i]);
    }
    return Traced("%d=zelQ_mCV_SetVelocity(%d,%d)", command.Run(zelNo), zelNo, count);
}

short zelQ_PP_SetTPosSpeed(short zelNo, unsigned short axis, double pos, double speed)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const std::int32_t target = ToPulses(zelNo, axis, pos);
    const std::int32_t pulseSpeed = ToPulses(zelNo, axis, speed);
    Command command(kProfilePositionCode);
    command.Word(1).Word(axis).Long(target).Long(pulseSpeed);
    // The name lacks an underscore, and the last number is always 0.
    return Traced("%d=zelQ_PPSetTPosSpeed(%d,%d,%d,%d,%d)", command.Run(zelNo), zelNo, axis, target,
                  pulseSpeed, 0);
}

short zelQ_mPP_SetTPosSpeed(unsigned short zelNo, short count, const short* axes, const double* pos,
                            const double* speed)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckCount(number, count, BadArgument(1))) return error;
    if (const short error = CheckArrays(2, axes, pos, speed)) return error;

    Command command(kProfilePositionCode);
    command.Word(count);
    for (int i = 0; i < count; ++i) {
        const auto axis = static_cast<std::uint16_t>(axes[i]);
        command.Word(axis);
        AppendPulses(command, number, axis, {pos[i], speed[i]});
    }
    return Traced("%d=zelQ_mPPSetTPosSpeed(%d,%d)", command.Run(number), zelNo, count);
}
