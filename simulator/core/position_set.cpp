// Setting the position counters: a given value, the encoder's, the turns of an absolute encoder.

#include "controller.h"
#include "families.h"

namespace lumosim {

namespace {

constexpr Word kPositionSet = 0x0050;
constexpr Word kMultiTurnClear = 0x0051;

constexpr Word kGivenPosition = 0;
constexpr Word kEncoderPosition = 1;

struct NewPosition
{
    Word mode = kGivenPosition;
    std::int32_t value = 0;
};

// Counters are set at rest only.
Result CheckRest(const Axis& axis)
{
    return axis.Moving() ? Result::kBusy : Result::kDone;
}

Result CheckAbsolute(const Axis& axis)
{
    return axis.Mechanics().absoluteEncoder ? CheckRest(axis) : Result::kNoAbsoluteEncoder;
}

void SetPosition(Axis& axis, const NewPosition& position)
{
    if (position.mode == kGivenPosition) {
        axis.SetPosition(position.value);
    } else {
        axis.AdoptEncoder();
    }
}

// What is left is the position inside one turn; a homed axis is not homed any more.
void ClearTurns(Axis& axis)
{
    const std::int32_t turn = axis.PulsesPerTurn();
    const std::int32_t rest = axis.EncoderPosition() % turn;
    axis.SetPosition(rest < 0 ? rest + turn : rest);
    axis.SetHomeDone(false);
}

class PositionSet : public Family
{
    void AddCommands(CommandTable& table) override
    {
        const Layout<NewPosition> layout = {
            "mode",     &NewPosition::mode,  kCount,           kAxis,
            "position", &NewPosition::value, When("mode", {0})};
        // The mode decides about the layout, so it is looked at before the command's form is.
        table.AddHandler(
            kPositionSet, "position set", layout.List(),
            [set = table.HandlerForAxes(layout, CheckRest, SetPosition)](auto& in, auto& reply) {
                const bool known = in.Rest().empty() || in.Rest().front() <= kEncoderPosition;
                return known ? set(in, reply) : Result::kOutOfRange;
            });
        table.ForAxes(kMultiTurnClear, "multi-turn clear", {kCount, kAxis}, CheckAbsolute,
                      ClearTurns);
    }
};

} // namespace

std::unique_ptr<Family> MakePositionSet(Controller& /*controller*/)
{
    return std::make_unique<PositionSet>();
}

} // namespace lumosim
