// Setting the position counters: a given value, the encoder's, the turns of an absolute encoder.

#include "axis_list.h"
#include "controller.h"
#include "families.h"

namespace lumosim {

namespace {

constexpr Word kPositionSet = 0x0050;
constexpr Word kMultiTurnClear = 0x0051;

constexpr Word kGivenPosition = 0;
constexpr Word kEncoderPosition = 1;

class PositionSet : public Family
{
  public:
    explicit PositionSet(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kPositionSet, "position set", [this](auto& in, auto&) { return Set(in); });
        table.Add(kMultiTurnClear, "multi-turn clear", [this](auto& in, auto&) {
            const Word count = in.NextWord();
            return ForAxes(in, count, CheckAbsolute, ClearTurns);
        });
    }

  private:
    using CheckFunction = Result (*)(const Axis&);
    using ActionFunction = void (*)(Axis&);

    // Counters are set at rest only.
    static Result CheckRest(const Axis& axis)
    {
        return axis.Moving() ? Result::kBusy : Result::kDone;
    }

    static Result CheckAbsolute(const Axis& axis)
    {
        if (!axis.Mechanics().absoluteEncoder) return Result::kNoAbsoluteEncoder;
        return CheckRest(axis);
    }

    // The mode stands before the count.
    Result Set(CommandReader& in)
    {
        const Word mode = in.NextWord();
        const Word count = in.NextWord();
        if (mode == kGivenPosition) return SetGiven(in, count);
        if (mode != kEncoderPosition) return Result::kOutOfRange;
        return ForAxes(in, count, CheckRest, [](Axis& axis) { axis.AdoptEncoder(); });
    }

    Result SetGiven(CommandReader& in, Word count)
    {
        std::vector<AxisEntry<std::int32_t>> entries;
        const Result result = ReadAxisEntries(
            controller_, in, count, [](CommandReader& r) { return r.NextLong(); }, entries);
        if (result != Result::kDone) return result;
        for (const auto& entry : entries) {
            const Result check = CheckRest(*entry.axis);
            if (check != Result::kDone) return check;
        }
        for (const auto& [axis, position] : entries) {
            axis->SetPosition(position);
        }
        return Result::kDone;
    }

    Result ForAxes(CommandReader& in, Word count, CheckFunction check, ActionFunction act)
    {
        std::vector<Axis*> axes;
        const Result result = ReadAxes(controller_, in, count, axes);
        if (result != Result::kDone) return result;
        for (const Axis* axis : axes) {
            const Result verdict = check(*axis);
            if (verdict != Result::kDone) return verdict;
        }
        for (Axis* axis : axes) {
            act(*axis);
        }
        return Result::kDone;
    }

    // What is left is the position inside one turn; a homed axis is not homed any more.
    static void ClearTurns(Axis& axis)
    {
        const std::int32_t turn = axis.PulsesPerTurn();
        const std::int32_t rest = axis.EncoderPosition() % turn;
        axis.SetPosition(rest < 0 ? rest + turn : rest);
        axis.SetHomeDone(false);
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakePositionSet(Controller& controller)
{
    return std::make_unique<PositionSet>(controller);
}

} // namespace lumosim
