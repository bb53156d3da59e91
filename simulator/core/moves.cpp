// Jog, absolute and relative moves.

#include "controller.h"
#include "families.h"
#include "values.h"

namespace lumosim {

namespace {

constexpr Word kJog = 0x0010;
constexpr Word kMoveAbsolute = 0x0011;
constexpr Word kMoveRelative = 0x0012;

// Holds for all axes of the command.
struct JogDirection
{
    Word value = 0;

    [[nodiscard]] bool Valid() const { return value <= 1; }
};

class Moves : public Family
{
    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<JogDirection>(
            kJog, "jog", {kCount, "direction", &JogDirection::value, kAxis},
            [](const Axis& axis, const JogDirection& direction) {
                return axis.CheckMove(DirectionOf(direction.value));
            },
            [](Axis& axis, const JogDirection& direction) {
                axis.Jog(DirectionOf(direction.value));
            });
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
