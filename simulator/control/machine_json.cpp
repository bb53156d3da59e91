#include "machine_json.h"

#include "core/names.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace lumosim {

namespace {

constexpr std::int64_t kFarthest = AxisMechanics::kFarthest;
constexpr double kMostFriction = 10'000; // 0.1 % of the rated torque
constexpr double kMostInertia = 1'000;

// [from, to], or null for no such sensor.
JsonReader::Take OptionalStretch(std::optional<Stretch>& stretch)
{
    return [&stretch](const JsonReader& json) {
        stretch.reset();
        if (!json.IsNull()) stretch = ReadStretch(json);
    };
}

SlaveType TypeOf(const JsonReader& json)
{
    const std::string name = json.Text();
    for (const SlaveType type : {SlaveType::kServo, SlaveType::kInput, SlaveType::kOutput}) {
        if (name == NameOf(type)) return type;
    }
    json.Fail(std::string("is a ") + NameOf(SlaveType::kServo) + ", " + NameOf(SlaveType::kInput) +
              " or " + NameOf(SlaveType::kOutput));
}

} // namespace

Stretch ReadStretch(const JsonReader& json)
{
    std::vector<std::int64_t> ends;
    json.Elements(
        [&ends](const JsonReader& end) { ends.push_back(end.Whole(-kFarthest, kFarthest)); });
    if (ends.size() != 2 || ends[0] > ends[1]) json.Fail("has to be [from, to]");
    return {ends[0], ends[1]};
}

void ReadMechanics(const JsonReader& json, AxisMechanics& mechanics)
{
    AxisMechanics read = mechanics;
    json.Object({
        {"negativeLimit", Into(read.negativeLimit, -kFarthest, kFarthest)},
        {"positiveLimit", Into(read.positiveLimit, -kFarthest, kFarthest)},
        {"stopperGap", Into(read.stopperGap, 0, kFarthest)},
        {"homeSensor", OptionalStretch(read.homeSensor)},
        {"probe", OptionalStretch(read.probe)},
        {"pulsesPerTurn", Into(read.pulsesPerTurn, 1, 1 << 30)},
        {"zPhase", Into(read.zPhase, 0, 1 << 30)},
        {"inertia", Into(read.inertia, 0.001, kMostInertia)},
        {"friction", Into(read.friction, 0, kMostFriction)},
        {"viscousFriction", Into(read.viscousFriction, 0, kMostFriction)},
    });
    if (read.negativeLimit >= read.positiveLimit) {
        json.Fail("the negative limit has to stand below the positive one");
    }
    if (read.zPhase >= read.pulsesPerTurn) json.Fail("the Z phase has to be within a turn");
    mechanics = read;
}

void ReadAxisInputs(const JsonReader& json, AxisInputs& inputs)
{
    AxisInputs read = inputs;
    json.Object({
        {"limitPositive", Into(read.limitPositive)},
        {"limitNegative", Into(read.limitNegative)},
        {"homeSensor", Into(read.homeSensor)},
        {"configurable", Into(read.configurable)},
        {"probe", Into(read.probe)},
    });
    inputs = read;
}

std::uint32_t ReadPins(const JsonReader& json, std::uint32_t before, int pins)
{
    std::uint32_t value = before;
    const auto largest = (std::int64_t{1} << pins) - 1;
    const auto takePin = [&](const std::string& name, const JsonReader& level) {
        std::size_t pin = 0;
        while (pin < static_cast<std::size_t>(pins) && std::to_string(pin) != name) {
            ++pin;
        }
        if (pin == static_cast<std::size_t>(pins)) level.Fail("there is no such pin");
        const std::uint32_t bit = std::uint32_t{1} << pin;
        value = level.Flag() ? value | bit : value & ~bit;
    };
    json.Object({{"value", Into(value, 0, largest)},
                 {"pins", [&](const JsonReader& each) { each.Object(takePin); }}});
    return value;
}

SlaveConfig ReadSlave(const JsonReader& json)
{
    SlaveConfig slave;
    slave.position = -1;
    json.Object({
        {"station", Into(slave.position, 0, kMaxAxes - 1)},
        {"type", [&slave](const JsonReader& type) { slave.type = TypeOf(type); }},
        {"series", Into(slave.properties.series, 0, 7)},
        {"motor", Into(slave.properties.motor, 0, 15)},
        {"encoder", Into(slave.properties.encoder, 0, 15)},
        {"absoluteEncoder", Into(slave.properties.absoluteEncoder)},
        {"inputIsStop", Into(slave.properties.inputIsStop)},
    });
    if (slave.position < 0) json.Fail("a slave needs its station");
    return slave;
}

} // namespace lumosim
