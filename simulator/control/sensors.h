// Inputs of the controller that are wired to sensors at the axes.
#pragma once

#include "core/family.h"
#include "core/mechanics.h"

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace lumosim {

class Controller;

// Where axes have to be, all at once: pulses from where they stood at power-up.
using Region = std::map<int, Stretch>;

struct SensorConfig
{
    std::optional<int> station; // of the input slave; none: the main board
    int pin = 0;
    Region on;
    // Without it the sensor is on inside `on` only. With it, it stays as it is between the two:
    // a gripper holds its part from here to there.
    std::optional<Region> off;
    bool inverted = false;
};

// Follows the axes at every millisecond in which one of them moves.
class Sensors : public Family
{
  public:
    Sensors(Controller& controller, const std::vector<SensorConfig>& sensors);

    [[nodiscard]] Nanoseconds NextEvent() const override;
    void AdvanceTo(Nanoseconds now) override;

  private:
    struct Sensor
    {
        SensorConfig config;
        bool on = false;
    };

    [[nodiscard]] bool Within(const Region& region) const;
    void Show(const Sensor& sensor) const;

    Controller& controller_;
    std::vector<Sensor> sensors_;
    Nanoseconds seen_{0};
};

} // namespace lumosim
