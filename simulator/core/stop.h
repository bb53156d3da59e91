// Stop commands: axes by themselves, and the axes of interpolation maps.
#pragma once

#include "axis.h"
#include "family.h"

#include <functional>

namespace lumosim {

class Controller;

class Stops : public Family
{
  public:
    // Stops what runs on an interpolation map, 0..15, and returns the command's result (kEmptyMap
    // for a map without axes). Whoever keeps the maps registers one, in its AddCommands at the
    // earliest: controller.Get<Stops>().SetPathStopper(...). Until then every map is empty.
    using PathStopper = std::function<Result(Word map, StopMode mode)>;

    explicit Stops(Controller& controller) : controller_(controller) {}

    void SetPathStopper(PathStopper stopper) { stopPath_ = std::move(stopper); }

    void AddCommands(CommandTable& table) override;

  private:
    Result StopAxes(CommandReader& in);
    Result StopMap(CommandReader& in);

    Controller& controller_;
    PathStopper stopPath_;
};

} // namespace lumosim
