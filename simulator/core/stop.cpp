#include "stop.h"

#include "axis_list.h"
#include "controller.h"
#include "families.h"

namespace lumosim {

namespace {

constexpr Word kStopAxes = 0x0040;
constexpr Word kStopMap = 0x0041;
constexpr Word kLastMap = 15;

StopMode ModeOf(Word mode)
{
    return mode == 0 ? StopMode::kSudden : StopMode::kDecelerate;
}

} // namespace

void Stops::AddCommands(CommandTable& table)
{
    table.Add(kStopAxes, "stop", [this](auto& in, auto&) { return StopAxes(in); });
    table.Add(kStopMap, "stop map", [this](auto& in, auto&) { return StopMap(in); });
}

// The mode holds for all axes and stands before them. An axis at rest is stopped already.
Result Stops::StopAxes(CommandReader& in)
{
    const Word mode = in.NextWord();
    const Word count = in.NextWord();
    std::vector<Axis*> axes;
    const Result result = ReadAxes(controller_, in, count, axes);
    if (result != Result::kDone) return result;
    if (mode > 1) return Result::kOutOfRange;
    for (Axis* axis : axes) {
        axis->Stop(ModeOf(mode),
                   mode == 0 ? StopCause::kSuddenStopCommand : StopCause::kStopCommand);
    }
    return Result::kDone;
}

Result Stops::StopMap(CommandReader& in)
{
    const Word map = in.NextWord();
    const Word mode = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    if (map > kLastMap || mode > 1) return Result::kOutOfRange;
    return stopPath_ ? stopPath_(map, ModeOf(mode)) : Result::kEmptyMap;
}

std::unique_ptr<Family> MakeStops(Controller& controller)
{
    return std::make_unique<Stops>(controller);
}

} // namespace lumosim
