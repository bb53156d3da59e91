// Jog, absolute and relative moves.

#include "controller.h"
#include "families.h"
#include "values.h"

namespace lumosim {

namespace {

constexpr Word kJog = 0x0010;
constexpr Word kMoveAbsolute = 0x0011;
constexpr Word kMoveRelative = 0x0012;

class Moves : public Family
{
    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<OneWord>(
            kJog, "jog", {kCount, "direction", &OneWord::value, UpTo(1), kAxis},
            [](const Axis& axis, const OneWord& direction) {
                return axis.CheckMove(DirectionOf(direction.value));
            },
            [](Axis& axis, const OneWord& direction) { axis.Jog(DirectionOf(direction.value)); });
        table.ForAxes<OneLong>(
            kMoveAbsolute, "absolute move", {kCount, kAxis, "target", &OneLong::value},
            [](const Axis& axis, const OneLong& target) {
                return axis.CheckMove(SignOf(std::int64_t{target.value} - axis.CommandPosition()));
            },
            [](Axis& axis, const OneLong& target) { axis.MoveTo(target.value); });
        table.ForAxes<OneLong>(
            kMoveRelative, "relative move", {kCount, kAxis, "distance", &OneLong::value},
            [](const Axis& axis, const OneLong& distance) {
                return axis.CheckMove(SignOf(distance.value));
            },
            [](Axis& axis, const OneLong& distance) { axis.MoveBy(distance.value); });
    }
};

} // namespace

std::unique_ptr<Family> MakeMoves(Controller& /*controller*/)
{
    return std::make_unique<Moves>();
}

} // namespace lumosim
