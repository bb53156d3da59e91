#include "panel/scope.h"

#include "frame/failure.h"
#include "frame/json.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

namespace zelq::tool {

namespace {

struct AxisSignal
{
    const char* name;
    double (*read)(const ServoStatus& servo, double unit);
};

constexpr AxisSignal kAxisSignals[] = {
    {"command", [](const ServoStatus& servo,
                   double unit) { return std::round(servo.commandPosition / unit); }},
    {"encoder", [](const ServoStatus& servo,
                   double unit) { return std::round(servo.encoderPosition / unit); }},
    {"followingError",
     [](const ServoStatus& servo, double) { return double(servo.rawFollowingError); }},
    {"speed", [](const ServoStatus& servo, double) { return double(servo.rawVelocity); }},
    {"torque", [](const ServoStatus& servo, double) { return double(servo.rawTorque); }},
    {"servoOn", [](const ServoStatus& servo, double) { return double(servo.servoOn); }},
    {"moving", [](const ServoStatus& servo, double) { return double(servo.inMotion); }},
    {"inPosition", [](const ServoStatus& servo, double) { return double(servo.inPosition); }},
    {"alarm", [](const ServoStatus& servo, double) { return double(servo.alarm); }},
    {"homeSensor", [](const ServoStatus& servo, double) { return double(servo.homeSensor); }},
    {"limitPositive", [](const ServoStatus& servo, double) { return double(servo.limitPositive); }},
    {"limitNegative", [](const ServoStatus& servo, double) { return double(servo.limitNegative); }},
};

template <std::size_t Count>
double PinBits(const unsigned short (&pins)[Count])
{
    double bits = 0;
    for (std::size_t pin = 0; pin < Count; ++pin) {
        if (pins[pin] != 0) bits += std::ldexp(1.0, static_cast<int>(pin));
    }
    return bits;
}

[[noreturn]] void FailSignal(const std::string& name)
{
    std::string known;
    for (const AxisSignal& signal : kAxisSignals) {
        known += std::string(" ") + signal.name;
    }
    throw Failure(kUsage, name +
                              " cannot be looked at; there are inputs, outputs, STATION.inputs, "
                              "STATION.outputs and AXIS. with" +
                              known);
}

} // namespace

ScopeSignal FindScopeSignal(const std::string& name)
{
    if (name == "inputs") {
        return {name, [](const Sight& sight) { return PinBits(sight.status.mainInputs); }};
    }
    if (name == "outputs") {
        return {name, [](const Sight& sight) { return PinBits(sight.status.mainOutputs); }};
    }
    unsigned station = 0;
    const char* const end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data(), end, station);
    if (error != std::errc() || station >= kMostAxes || stop == end || *stop != '.') {
        FailSignal(name);
    }
    const std::string what(stop + 1, end);
    if (what == "inputs") {
        return {name, [station](const Sight& sight) {
                    return PinBits(sight.status.inputs[station].bits);
                }};
    }
    if (what == "outputs") {
        return {name, [station](const Sight& sight) {
                    return PinBits(sight.status.outputs[station].bits);
                }};
    }
    const auto* found = std::find_if(std::begin(kAxisSignals), std::end(kAxisSignals),
                                     [&](const AxisSignal& signal) { return what == signal.name; });
    if (found == std::end(kAxisSignals)) FailSignal(name);
    return {name, [station, read = found->read](const Sight& sight) {
                return read(sight.status.servo[station], sight.axes.at(station).unitPerPulse);
            }};
}

PolledScope::PolledScope(const std::vector<std::string>& names, double period) : period_(period)
{
    if (names.size() > kMostSignals) throw Failure(kUsage, "a scope has eight channels");
    std::transform(names.begin(), names.end(), std::back_inserter(signals_), FindScopeSignal);
}

std::string PolledScope::Take(const Sight& sight, double seconds)
{
    const bool hasGap = !rows_.empty() && seconds - last_ > 1.5 * period_;
    std::string message = hasGap || rows_.size() == kRowsPerMessage ? Flush() : "";
    if (rows_.empty()) from_ = seconds;
    last_ = seconds;
    std::vector<double>& row = rows_.emplace_back();
    for (const ScopeSignal& signal : signals_) {
        row.push_back(signal.read(sight));
    }
    return message;
}

std::string PolledScope::Flush()
{
    Json samples = Json::object();
    for (std::size_t i = 0; i < signals_.size(); ++i) {
        Json& column = samples[signals_[i].name] = Json::array();
        for (const std::vector<double>& row : rows_) {
            column.push_back(row[i]);
        }
    }
    rows_.clear();
    return Json{{"type", "samples"},
                {"from", from_},
                {"step", period_},
                {"samples", std::move(samples)},
                {"lost", 0}}
        .dump();
}

} // namespace zelq::tool
