// One axis's homing run: which signal it looks for, and how it goes on from phase to phase.
#pragma once

#include "axis.h"

#include <array>
#include <optional>

namespace lumosim {

enum class HomeKind : Word { kLimitSwitch = 0, kHomeSensor = 1, kZPhase = 2, kStopper = 3 };

// The profiles of the four phases: search, back off, approach, and the ways behind the home edge.
using HomingSpeeds = std::array<SpeedProfile, 4>;

HomingSpeeds DefaultHomingSpeeds();

struct HomingOrder
{
    HomeKind kind = HomeKind::kHomeSensor;
    int direction = 1;             // of the search
    bool suddenSearchEnd = false;  // else it ends with deceleration
    std::optional<int> zDirection; // of a search for the Z phase behind the edge
    bool moveOn = false;           // by `position`, to be at 0 there; else home is `position`
    double pause = 0;              // seconds, between two phases
    double stopperTorque = 0;      // by which a stopper is known, 0.1 % of the rated torque
    std::int32_t position = 0;
};

class HomingRun
{
  public:
    HomingRun(const HomingOrder& order, const HomingSpeeds& speeds) : order_(order), speeds_(speeds)
    {}

    void Start(Axis& axis);

    [[nodiscard]] const char* StepName() const;

    // Goes on as far as the axis has come; false when the run is over.
    [[nodiscard]] bool Continue(Axis& axis);

  private:
    enum class Step {
        kSearch,   // fast, until the signal is on
        kReturn,   // the sensor lay the other way: past it, to begin from its far side
        kBackOff,  // until the signal is off
        kApproach, // slowly, up to the edge
        kZPhase,
        kMoveOn,
    };

    [[nodiscard]] Signal LookedFor() const;
    [[nodiscard]] bool StepSucceeded(const Axis& axis) const;
    [[nodiscard]] std::optional<Step> After(Step step) const;
    void Begin(Axis& axis, Step step);
    void RunUntil(Axis& axis, std::size_t phase, int direction, const Watch& watch);

    HomingOrder order_;
    HomingSpeeds speeds_;
    Step step_ = Step::kSearch;
    std::optional<Step> next_; // behind the pause that is running
};

} // namespace lumosim
