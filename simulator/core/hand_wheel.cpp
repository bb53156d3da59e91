#include "hand_wheel.h"

#include "families.h"
#include "snapshot.h"
#include "values.h"

namespace lumosim {

namespace {

constexpr Word kConfigureHandWheel = 0x0130;

} // namespace

void HandWheel::AddCommands(CommandTable& table)
{
    table.ForAxes<Wheel>(kConfigureHandWheel, "hand wheel",
                         {"axis", &Wheel::axis, kEach, "counts", &Wheel::edges, UpTo(2),
                          "directions", &Wheel::directions, UpTo(3), "reversed", &Wheel::reversed,
                          UpTo(1), "factor", &Wheel::factor, Bounds{1, 32}, "divisor",
                          &Wheel::divisor, Bounds{1, 2048}},
                         [this](Axis&, const Wheel& wheel) { wheel_ = wheel; });
}

void HandWheel::Describe(Json& snapshot) const
{
    snapshot["handWheel"] = {{"axis", wheel_.axis},
                             {"on", wheel_.directions != 0},
                             {"counts", 1 << wheel_.edges},
                             {"positive", (wheel_.directions & 1U) != 0},
                             {"negative", (wheel_.directions & 2U) != 0},
                             {"reversed", wheel_.reversed == 1},
                             {"factor", wheel_.factor},
                             {"divisor", wheel_.divisor}};
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

    const Result check = axis->CheckMode(MotionKind::kHandWheel, SignOf(pulses));
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
