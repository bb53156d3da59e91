// Stop commands for axes by themselves; those for maps are with the paths.

#include "controller.h"
#include "families.h"
#include "values.h"

namespace lumosim {

namespace {

constexpr Word kStopAxes = 0x0040;

// Holds for all axes of the command.
struct StopFields
{
    Word mode = 0;

    [[nodiscard]] bool Valid() const { return mode <= 1; }
};

class Stops : public Family
{
    // An axis at rest is stopped already.
    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<StopFields>(kStopAxes, "stop", {"mode", &StopFields::mode, kCount, kAxis},
                                  [](Axis& axis, const StopFields& stop) {
                                      const StopMode mode = SuddenIf(stop.mode == 0);
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
