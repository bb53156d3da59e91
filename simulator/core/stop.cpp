// Stop commands for axes by themselves; those for maps are with the paths.

#include "controller.h"
#include "families.h"
#include "values.h"

namespace lumosim {

namespace {

constexpr Word kStopAxes = 0x0040;

class Stops : public Family
{
    // An axis at rest is stopped already.
    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<OneWord>(kStopAxes, "stop", {"mode", &OneWord::value, UpTo(1), kCount, kAxis},
                               [](Axis& axis, const OneWord& stop) {
                                   const StopMode mode = SuddenIf(stop.value == 0);
                                   axis.Stop(mode, CommandedBy(mode));
                               });
    }
};

} // namespace

std::unique_ptr<Family> MakeStops(Controller& /*controller*/)
{
    return std::make_unique<Stops>();
}

} // namespace lumosim
