#include "channels.h"

#include "core/controller.h"

#include <array>
#include <charconv>
#include <stdexcept>

namespace lumosim {

namespace {

struct AxisChannel
{
    const char* name;
    double (*read)(const Axis&);
};

template <Signal kSignal>
double Level(const Axis& axis)
{
    return axis.SignalOn(kSignal) ? 1 : 0;
}

// Places in pulses, speeds in pulses/s, torque in 0.1 %; what is on or off is 1 or 0.
constexpr std::array kAxisChannels = {
    AxisChannel{"command", [](const Axis& axis) -> double { return axis.CommandPosition(); }},
    AxisChannel{"encoder", [](const Axis& axis) -> double { return axis.EncoderPosition(); }},
    AxisChannel{"followingError", [](const Axis& axis) -> double { return axis.FollowingError(); }},
    AxisChannel{"target", [](const Axis& axis) -> double { return axis.TargetPosition(); }},
    AxisChannel{"speed", [](const Axis& axis) -> double { return axis.Velocity(); }},
    AxisChannel{"torque", [](const Axis& axis) -> double { return axis.Torque(); }},
    AxisChannel{"servoOn", [](const Axis& axis) { return axis.ServoOn() ? 1.0 : 0; }},
    AxisChannel{"moving", [](const Axis& axis) { return axis.Moving() ? 1.0 : 0; }},
    AxisChannel{"inPosition", [](const Axis& axis) { return axis.InPosition() ? 1.0 : 0; }},
    AxisChannel{"alarm", [](const Axis& axis) { return axis.ActiveAlarm() ? 1.0 : 0; }},
    AxisChannel{"homeSensor", Level<Signal::kHomeSensor>},
    AxisChannel{"probe", Level<Signal::kProbe>},
    AxisChannel{"limitPositive", Level<Signal::kLimitPositive>},
    AxisChannel{"limitNegative", Level<Signal::kLimitNegative>},
};

[[noreturn]] void Refuse(const std::string& name)
{
    std::string known;
    for (const AxisChannel& channel : kAxisChannels) {
        known += std::string(" ") + channel.name;
    }
    throw std::invalid_argument(name +
                                " cannot be recorded; there are inputs, outputs, "
                                "STATION.inputs, STATION.outputs and AXIS. with" +
                                known);
}

Channel ChannelOfStation(const std::string& name, int station, const std::string& signal)
{
    if (signal == "inputs") {
        return {name, [station](const Controller& controller) -> double {
                    return controller.SlaveAt(station).inputs;
                }};
    }
    if (signal == "outputs") {
        return {name, [station](const Controller& controller) -> double {
                    return controller.SlaveAt(station).outputs;
                }};
    }
    for (const AxisChannel& channel : kAxisChannels) {
        if (signal != channel.name) continue;
        // A servo may be taken away while it is recorded.
        return {name, [station, read = channel.read](const Controller& controller) {
                    const Axis* axis = controller.FindAxis(station);
                    return axis == nullptr ? 0.0 : read(*axis);
                }};
    }
    Refuse(name);
}

} // namespace

Channel FindChannel(const std::string& name)
{
    if (name == "inputs") {
        return {name, [](const Controller& c) -> double { return c.MainInputs(); }};
    }
    if (name == "outputs") {
        return {name, [](const Controller& c) -> double { return c.MainOutputs(); }};
    }
    int station = -1;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), station);
    const bool good = error == std::errc() && station >= 0 && station < kMaxAxes &&
                      end != name.data() + name.size() && *end == '.';
    if (!good) Refuse(name);
    return ChannelOfStation(name, station, std::string(end + 1));
}

} // namespace lumosim
