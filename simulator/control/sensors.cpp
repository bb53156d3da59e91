#include "sensors.h"

#include "core/controller.h"

#include <algorithm>

namespace lumosim {

namespace {

constexpr Nanoseconds kLook = std::chrono::milliseconds(1);

} // namespace

Sensors::Sensors(Controller& controller, const std::vector<SensorConfig>& sensors)
    : controller_(controller)
{
    for (const SensorConfig& config : sensors) {
        sensors_.push_back({config, Within(config.on)});
        Show(sensors_.back());
    }
}

Nanoseconds Sensors::NextEvent() const
{
    const auto moves = [this](const auto& place) {
        const Axis* axis = controller_.FindAxis(place.first);
        return axis != nullptr && (axis->Moving() || axis->Settling());
    };
    const bool look = std::ranges::any_of(sensors_, [&](const Sensor& sensor) {
        return std::ranges::any_of(sensor.config.on, moves) ||
               (sensor.config.off && std::ranges::any_of(*sensor.config.off, moves));
    });
    return look ? seen_ + kLook : kNever;
}

void Sensors::AdvanceTo(Nanoseconds now)
{
    seen_ = now;
    for (Sensor& sensor : sensors_) {
        bool on = Within(sensor.config.on);
        if (sensor.config.off) on = on || (sensor.on && !Within(*sensor.config.off));
        if (on == sensor.on) continue;
        sensor.on = on;
        Show(sensor);
    }
}

bool Sensors::Within(const Region& region) const
{
    return std::ranges::all_of(region, [this](const auto& place) {
        const auto& [number, stretch] = place;
        const Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return false;
        const double position = axis->Motor().position;
        return position >= static_cast<double>(stretch.from) &&
               position <= static_cast<double>(stretch.to);
    });
}

void Sensors::Show(const Sensor& sensor) const
{
    const std::uint32_t bit = std::uint32_t{1} << static_cast<unsigned>(sensor.config.pin);
    const auto changed = [&](std::uint32_t inputs) {
        return sensor.on != sensor.config.inverted ? inputs | bit : inputs & ~bit;
    };
    if (sensor.config.station) {
        const int station = *sensor.config.station;
        controller_.SetSlaveInputs(station, changed(controller_.SlaveAt(station).inputs));
    } else {
        controller_.SetMainInputs(static_cast<Word>(changed(controller_.MainInputs())));
    }
}

} // namespace lumosim
