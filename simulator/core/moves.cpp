// Jog, absolute and relative moves.

#include "axis_list.h"
#include "controller.h"
#include "families.h"

namespace lumosim {

namespace {

constexpr Word kJog = 0x0010;
constexpr Word kMoveAbsolute = 0x0011;
constexpr Word kMoveRelative = 0x0012;

int SignOf(std::int64_t way)
{
    return way > 0 ? 1 : (way < 0 ? -1 : 0);
}

class Moves : public Family
{
  public:
    explicit Moves(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kJog, "jog", [this](auto& in, auto&) { return Jog(in); });
        table.Add(kMoveAbsolute, "absolute move",
                  [this](auto& in, auto&) { return Move(in, &Axis::MoveTo, WayTo); });
        table.Add(kMoveRelative, "relative move",
                  [this](auto& in, auto&) { return Move(in, &Axis::MoveBy, WayBy); });
    }

  private:
    using MoveFunction = void (Axis::*)(std::int32_t);
    using WayFunction = int (*)(const Axis&, std::int32_t);

    static int WayTo(const Axis& axis, std::int32_t target)
    {
        return SignOf(std::int64_t{target} - axis.CommandPosition());
    }

    static int WayBy(const Axis& /*axis*/, std::int32_t distance) { return SignOf(distance); }

    // The direction, 0 positive and 1 negative, holds for all axes and stands before them.
    Result Jog(CommandReader& in)
    {
        const Word count = in.NextWord();
        const Word direction = in.NextWord();
        std::vector<Axis*> axes;
        const Result result = ReadAxes(controller_, in, count, axes);
        if (result != Result::kDone) return result;
        if (direction > 1) return Result::kOutOfRange;

        const int sign = direction == 0 ? 1 : -1;
        for (const Axis* axis : axes) {
            const Result check = axis->CheckMove(sign);
            if (check != Result::kDone) return check;
        }
        for (Axis* axis : axes) {
            axis->Jog(sign);
        }
        return Result::kDone;
    }

    Result Move(CommandReader& in, MoveFunction move, WayFunction way)
    {
        std::vector<AxisEntry<std::int32_t>> entries;
        const Result result = ReadAxisEntries(
            controller_, in, in.NextWord(), [](CommandReader& r) { return r.NextLong(); }, entries);
        if (result != Result::kDone) return result;
        for (const auto& [axis, value] : entries) {
            const Result check = axis->CheckMove(way(*axis, value));
            if (check != Result::kDone) return check;
        }
        for (const auto& [axis, value] : entries) {
            (axis->*move)(value);
        }
        return Result::kDone;
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeMoves(Controller& controller)
{
    return std::make_unique<Moves>(controller);
}

} // namespace lumosim
