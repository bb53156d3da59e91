// What is wrong with the machine of one axis; as it stands here, nothing is.
#pragma once

#include "alarm_list.h"
#include "mechanics.h"

#include <array>
#include <cstddef>
#include <limits>
#include <optional>

namespace lumosim {

struct AxisTrouble
{
    double friction = 0;    // beside the axis's own, 0.1 % of the rated torque
    double weight = 0;      // torque that pulls at a servo that is on, likewise
    double massFactor = 1;  // of all that the motor has to move
    bool brakeShut = false; // nothing moves
    bool emergencyStop = false;
    bool eepromWorn = false;
    bool offNetwork = false;                  // the drive does not hear the controller
    std::array<bool, 2> pressed{};            // limit switches, the positive one first
    std::optional<Alarm> alarm;               // comes again after every reset
    std::array<std::optional<bool>, 5> stuck; // inputs that do not change any more

    // The level that the input of a signal is stuck at. Z phases and stoppers have no input.
    [[nodiscard]] std::optional<bool> StuckAt(Signal signal) const
    {
        const auto index = static_cast<std::size_t>(InputOf(signal));
        return index < stuck.size() ? stuck[index] : std::nullopt;
    }
    [[nodiscard]] bool Pressed(Signal signal) const
    {
        return (signal == Signal::kLimitPositive && pressed[0]) ||
               (signal == Signal::kLimitNegative && pressed[1]);
    }
    [[nodiscard]] double Friction() const
    {
        return brakeShut ? std::numeric_limits<double>::infinity() : friction;
    }

    // The order of the inputs: both limits, home sensor, configurable input, probe.
    static int InputOf(Signal signal)
    {
        switch (signal) {
        case Signal::kLimitPositive:
            return 0;
        case Signal::kLimitNegative:
            return 1;
        case Signal::kHomeSensor:
            return 2;
        case Signal::kConfigurableInput:
            return 3;
        case Signal::kProbe:
            return 4;
        case Signal::kZPhase:
        case Signal::kStopperPositive:
        case Signal::kStopperNegative:
            break;
        }
        return 5;
    }
};

} // namespace lumosim
