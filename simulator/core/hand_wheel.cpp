#include "hand_wheel.h"

#include "families.h"

namespace lumosim {

namespace {

constexpr Word kConfigureHandWheel = 0x0130;

} // namespace

void HandWheel::AddCommands(CommandTable& table)
{
    table.Add(kConfigureHandWheel, "hand wheel", [this](auto& in, auto&) { return Configure(in); });
}

Result HandWheel::Configure(CommandReader& in)
{
    Wheel wheel;
    wheel.axis = in.NextWord();
    wheel.edges = in.NextWord();
    wheel.directions = in.NextWord();
    wheel.reversed = in.NextWord();
    wheel.factor = in.NextWord();
    wheel.divisor = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    if (controller_.FindAxis(wheel.axis) == nullptr) return Result::kNoServo;
    const bool good = wheel.edges <= 2 && wheel.directions <= 3 && wheel.reversed <= 1 &&
                      wheel.factor >= 1 && wheel.factor <= 32 && wheel.divisor >= 1 &&
                      wheel.divisor <= 2048;
    if (!good) return Result::kOutOfRange;
    wheel_ = wheel;
    return Result::kDone;
}

std::int32_t HandWheel::TakePulses(std::int32_t notches)
{
    const std::int64_t sign = wheel_.reversed != 0 ? -1 : 1;
    const std::int64_t counts = sign * notches * (1 << wheel_.edges) * wheel_.factor;
    const bool positive = counts > 0;
    if ((wheel_.directions & (positive ? 1U : 2U)) == 0) return 0;
    const std::int64_t all = counts + wheel_.remainder;
    wheel_.remainder = all % wheel_.divisor;
    return static_cast<std::int32_t>(all / wheel_.divisor);
}

Result HandWheel::Turn(std::int32_t notches)
{
    Axis* axis = controller_.FindAxis(wheel_.axis);
    if (axis == nullptr) return Result::kNoServo;
    const std::int32_t pulses = TakePulses(notches);
    if (pulses == 0) return Result::kDone;

    const Result check = axis->CheckMode(MotionKind::kHandWheel, pulses > 0 ? 1 : -1);
    if (check != Result::kDone) return check;
    const bool turning = axis->Kind() == MotionKind::kHandWheel;
    const std::int32_t from = turning ? axis->TargetPosition() : axis->CommandPosition();
    axis->RunTo(axis->Profile(), from + pulses, MotionKind::kHandWheel);
    return Result::kDone;
}

std::unique_ptr<Family> MakeHandWheel(Controller& controller)
{
    return std::make_unique<HandWheel>(controller);
}

} // namespace lumosim
