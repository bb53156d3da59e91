#include "bridge/metrics.h"

#include "bridge/config.h"

#include <algorithm>

namespace zelq::bridge {

namespace {

// Where the codes of what belongs together begin. They are the aliases of a session and stand in
// the store, so they do not move when another metric is added.
constexpr std::uint32_t kAxisCodes = 0x0000; // 64 an axis
constexpr std::uint32_t kInputSlaveCodes = 0x1000;
constexpr std::uint32_t kOutputSlaveCodes = 0x2000;
constexpr std::uint32_t kMainInputCodes = 0x3000;
constexpr std::uint32_t kMainOutputCodes = 0x3100;
constexpr std::uint32_t kLinkCodes = 0x4000;
constexpr std::uint32_t kConstantCodes = 0x4100;
constexpr std::uint32_t kControlCodes = 0x5000;

constexpr std::uint32_t kAlarmCode = 40; // of an axis
constexpr std::uint32_t kAxisControlCode = 48;

struct AxisMetric
{
    std::uint32_t code;
    const char* name;
    MetricGroup group;
    Quantity quantity;
    Value (*read)(const ServoStatus&);
};

template <auto Member>
Value Flag(const ServoStatus& servo)
{
    return servo.*Member != 0;
}

// By their names: where a record is packed, a pointer to a member forgets that it may not be
// aligned.

Value Position(const ServoStatus& servo)
{
    return double{servo.encoderPosition};
}

Value Speed(const ServoStatus& servo)
{
    return double{servo.velocity};
}

Value Torque(const ServoStatus& servo)
{
    return double{servo.torque};
}

constexpr auto kMotion = MetricGroup::kMotion;
constexpr auto kFlags = MetricGroup::kFlags;
constexpr auto kNoBand = Quantity::kNone;

constexpr AxisMetric kAxisMetrics[] = {
    {0, "Position", kMotion, Quantity::kPosition, Position},
    {1, "Speed", kMotion, Quantity::kSpeed, Speed},
    {2, "Torque", kMotion, Quantity::kTorque, Torque},
    {8, "Flags/Servo on", kFlags, kNoBand, Flag<&ServoStatus::servoOn>},
    {9, "Flags/Ready", kFlags, kNoBand, Flag<&ServoStatus::servoReady>},
    {10, "Flags/Alarm", kFlags, kNoBand, Flag<&ServoStatus::alarm>},
    {11, "Flags/Warning", kFlags, kNoBand, Flag<&ServoStatus::warning>},
    {12, "Flags/In motion", kFlags, kNoBand, Flag<&ServoStatus::inMotion>},
    {13, "Flags/In position", kFlags, kNoBand, Flag<&ServoStatus::inPosition>},
    {14, "Flags/Torque limited", kFlags, kNoBand, Flag<&ServoStatus::torqueLimited>},
    {15, "Flags/Homing", kFlags, kNoBand, Flag<&ServoStatus::homing>},
    {16, "Flags/Homed", kFlags, kNoBand, Flag<&ServoStatus::homeDone>},
    {17, "Flags/Home sensor", kFlags, kNoBand, Flag<&ServoStatus::homeSensor>},
    {18, "Flags/Limit positive", kFlags, kNoBand, Flag<&ServoStatus::limitPositive>},
    {19, "Flags/Limit negative", kFlags, kNoBand, Flag<&ServoStatus::limitNegative>},
    {20, "Flags/Software limit", kFlags, kNoBand, Flag<&ServoStatus::softLimit>},
    {21, "Flags/Emergency stop", kFlags, kNoBand, Flag<&ServoStatus::emergencyStop>},
    {24, "Inputs/Auxiliary", MetricGroup::kIo, kNoBand, Flag<&ServoStatus::auxInput>},
    {25, "Outputs/1", MetricGroup::kIo, kNoBand, Flag<&ServoStatus::output1>},
    {26, "Outputs/2", MetricGroup::kIo, kNoBand, Flag<&ServoStatus::output2>},
};

/// "moving" tells nothing that the flags do not, but a page with a hundred controllers has room for
/// one word each.
std::string StateWord(const ControllerStatus& status)
{
    bool moving = false;
    for (int i = 0; i < status.servoCount; ++i) {
        const ServoStatus& servo = status.servo[status.servoAxes[i]];
        if (servo.alarm != 0) return "alarm";
        moving = moving || servo.inMotion != 0;
    }
    return moving ? "moving" : "ready";
}

std::string AxisPrefix(const ControllerConfig& config, int axis)
{
    const auto found = config.axes.find(axis);
    const bool named = found != config.axes.end() && !found->second.name.empty();
    return "Axes/" + (named ? found->second.name : std::to_string(axis)) + "/";
}

std::string UnitOf(Quantity quantity, const ControllerConfig& config, int axis)
{
    const auto found = config.axes.find(axis);
    std::string unit = found == config.axes.end() ? "pulses" : found->second.unit;
    switch (quantity) {
    case Quantity::kPosition:
        return unit;
    case Quantity::kSpeed:
        return unit + "/s";
    case Quantity::kTorque:
        return "%";
    case Quantity::kTime:
        return "ms";
    default:
        return "";
    }
}

/// Goes over all that there is, once for the names and again for each reading: `visit` is given a
/// function that makes the metric, and the value, and calls but one of them.
class Tour
{
  public:
    Tour(const ControllerStatus& status, const ControllerConfig& config)
        : status_(status), config_(config)
    {}

    template <typename Visit>
    void Axes(const Surroundings& around, const Visit& visit) const
    {
        for (int i = 0; i < status_.servoCount; ++i) {
            const int axis = status_.servoAxes[i];
            const std::uint32_t codes = kAxisCodes + static_cast<std::uint32_t>(axis) * 64;
            const ServoStatus& servo = status_.servo[axis];
            for (const AxisMetric& metric : kAxisMetrics) {
                visit([&] { return OfAxis(axis, metric); }, [&] { return metric.read(servo); });
            }
            const AxisAlarm& alarm = around.alarms[static_cast<std::size_t>(axis)];
            const auto named = [&, axis](std::uint32_t code, const char* name) {
                return Metric{codes + code, AxisPrefix(config_, axis) + name};
            };
            visit([&] { return named(kAlarmCode, "Alarm/Number"); },
                  [&] { return Value(alarm.number); });
            visit([&] { return named(kAlarmCode + 1, "Alarm/Detail"); },
                  [&] { return Value(alarm.detail); });
            visit([&] { return named(kAlarmCode + 2, "Alarm/Text"); },
                  [&] { return Value(alarm.text); });
        }
    }

    template <typename Visit>
    void Pins(const Visit& visit) const
    {
        constexpr int kMainPins = 8;
        for (int pin = 0; pin < kMainPins; ++pin) {
            visit([=] { return Pin(kMainInputCodes, "Main/Inputs/", -1, pin); },
                  [&, pin] { return Value(status_.mainInputs[pin] != 0); });
            visit([=] { return Output(Pin(kMainOutputCodes, "Main/Outputs/", -1, pin)); },
                  [&, pin] { return Value(status_.mainOutputs[pin] != 0); });
        }
        for (int i = 0; i < status_.inputCount; ++i) {
            const int slave = status_.inputSlaves[i];
            OfSlave(status_.inputs[slave], slave, kInputSlaveCodes, "/Inputs/", visit);
        }
        for (int i = 0; i < status_.outputCount; ++i) {
            const int slave = status_.outputSlaves[i];
            OfSlave(status_.outputs[slave], slave, kOutputSlaveCodes, "/Outputs/", visit);
        }
    }

    template <typename Visit>
    void Link(const LinkState& link, const Visit& visit) const
    {
        const auto metric = [](std::uint32_t code, const char* name, Quantity quantity) {
            return Metric{kLinkCodes + code, name, MetricGroup::kLink, quantity,
                          quantity == Quantity::kTime ? "ms" : ""};
        };
        visit(
            [] {
                return Metric{kLinkCodes + 8, "State"};
            },
            [&] { return Value(StateWord(status_)); });
        visit([&] { return metric(0, "Link/Round trip", Quantity::kTime); },
              [&] { return Value(link.roundTripMs); });
        visit([&] { return metric(1, "Link/Longest round trip", Quantity::kTime); },
              [&] { return Value(link.longestMs); });
        visit([&] { return metric(2, "Link/Lost replies", kNoBand); },
              [&] { return Value(link.lostReplies); });
        visit([&] { return metric(3, "Link/Reconnects", kNoBand); },
              [&] { return Value(link.reconnects); });
    }

    template <typename Visit>
    void Constants(const Surroundings& around, const Visit& visit) const
    {
        visit(
            [] {
                return Metric{kConstantCodes, "Properties/Model"};
            },
            [&] { return Value(around.model); });
        visit(
            [] {
                return Metric{kConstantCodes + 1, "Properties/Firmware"};
            },
            [&] { return Value(around.version); });
        visit(
            [] {
                return Metric{kConstantCodes + 2, "Properties/Address"};
            },
            [&] { return Value(config_.Address()); });
        const auto control = [](std::uint32_t code, std::string name, OrderKind order, int axis) {
            Metric metric{code, std::move(name)};
            metric.order = order;
            metric.slave = axis;
            return metric;
        };
        const auto off = [] { return Value(false); };
        visit([&] { return control(kControlCodes, "Control/Stop", OrderKind::kStop, -1); }, off);
        for (int i = 0; i < status_.servoCount; ++i) {
            const int axis = status_.servoAxes[i];
            const std::string prefix = AxisPrefix(config_, axis) + "Control/";
            const std::uint32_t code =
                kAxisCodes + static_cast<std::uint32_t>(axis) * 64 + kAxisControlCode;
            visit([&] { return control(code, prefix + "Stop", OrderKind::kStop, axis); }, off);
            visit(
                [&] {
                    return control(code + 1, prefix + "Reset alarm", OrderKind::kResetAlarm, axis);
                },
                off);
        }
    }

  private:
    [[nodiscard]] Metric OfAxis(int axis, const AxisMetric& metric) const
    {
        return {kAxisCodes + static_cast<std::uint32_t>(axis) * 64 + metric.code,
                AxisPrefix(config_, axis) + metric.name, metric.group, metric.quantity,
                UnitOf(metric.quantity, config_, axis)};
    }

    static Metric Pin(std::uint32_t code, const std::string& prefix, int slave, int pin)
    {
        Metric metric{code + static_cast<std::uint32_t>(pin), prefix + std::to_string(pin),
                      MetricGroup::kIo};
        metric.slave = slave;
        metric.pin = pin;
        return metric;
    }

    static Metric Output(Metric metric)
    {
        metric.order = OrderKind::kOutput;
        return metric;
    }

    template <typename Visit>
    static void OfSlave(const SlaveIoStatus& io, int slave, std::uint32_t codes, const char* part,
                        const Visit& visit)
    {
        constexpr int kPins = 32;
        for (int pin = 0; pin < kPins; ++pin) {
            visit(
                [&] {
                    Metric metric = Pin(codes + static_cast<std::uint32_t>(slave) * 32,
                                        "Slaves/" + std::to_string(slave) + part, slave, pin);
                    return codes == kOutputSlaveCodes ? Output(std::move(metric)) : metric;
                },
                [&] { return Value(io.bits[pin] != 0); });
        }
    }

    const ControllerStatus& status_;
    const ControllerConfig& config_;
};

} // namespace

std::vector<Metric> MetricsOf(const ControllerStatus& status, const ControllerConfig& config)
{
    std::vector<Metric> metrics;
    const auto add = [&](const auto& metric, const auto& /*value*/) {
        metrics.push_back(metric());
    };
    const Surroundings nothing;
    const Tour tour(status, config);
    tour.Axes(nothing, add);
    tour.Pins(add);
    tour.Link(nothing.link, add);
    tour.Constants(nothing, add);
    return metrics;
}

void ReadValues(const ControllerStatus& status, const Surroundings& around, bool withConstants,
                const ControllerConfig& config, std::vector<Value>& values)
{
    values.clear();
    const auto add = [&](const auto& /*metric*/, const auto& value) { values.push_back(value()); };
    const Tour tour(status, config);
    tour.Axes(around, add);
    tour.Pins(add);
    tour.Link(around.link, add);
    if (withConstants) tour.Constants(around, add);
}

bool HasSameSlaves(const ControllerStatus& one, const ControllerStatus& other)
{
    const auto same = [](const unsigned short* a, unsigned short countA, const unsigned short* b,
                         unsigned short countB) {
        return std::equal(a, a + countA, b, b + countB);
    };
    return same(one.servoAxes, one.servoCount, other.servoAxes, other.servoCount) &&
           same(one.inputSlaves, one.inputCount, other.inputSlaves, other.inputCount) &&
           same(one.outputSlaves, one.outputCount, other.outputSlaves, other.outputCount);
}

} // namespace zelq::bridge
