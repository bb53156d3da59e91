#include "panel/state_text.h"

#include "frame/json.h"
#include "frame/status_text.h"
#include "zelq_errors.h"

#include <charconv>
#include <cmath>
#include <span>

namespace zelq::tool {

namespace {

/// Members of an object, one behind the other.
class StateWriter
{
  public:
    [[nodiscard]] std::string Take() { return std::move(text_); }

    void Raw(std::string_view text)
    {
        text_ += text;
        first_ = text.ends_with('{') || text.ends_with('[');
    }

    void Key(const char* name)
    {
        if (!first_) text_ += ',';
        first_ = false;
        text_ += '"';
        text_ += name;
        text_ += "\":";
    }

    void Number(const char* name, double value, int digits)
    {
        Key(name);
        std::array<char, 400> digitsOfIt{};
        if (!std::isfinite(value)) value = 0;
        const auto end = std::to_chars(digitsOfIt.begin(), digitsOfIt.end(), value,
                                       std::chars_format::fixed, digits);
        text_.append(digitsOfIt.data(), end.ptr);
    }

    void Integer(const char* name, std::uint64_t value)
    {
        Key(name);
        text_ += std::to_string(value);
    }

    void Flag(const char* name, bool value)
    {
        Key(name);
        text_ += value ? "true" : "false";
    }

    void Text(const char* name, const std::string& value)
    {
        Key(name);
        text_ += Json(value).dump();
    }

  private:
    std::string text_;
    bool first_ = true;
};

std::uint64_t BitsOf(std::span<const unsigned short> pins)
{
    std::uint64_t bits = 0;
    for (std::size_t pin = 0; pin < pins.size(); ++pin) {
        bits |= std::uint64_t{pins[pin] != 0} << pin;
    }
    return bits;
}

/// "absolute-move", "none".
std::string MotionName(unsigned short kind)
{
    std::string name = MotionText(kind);
    std::replace(name.begin(), name.end(), ' ', '-');
    return name.empty() ? "none" : name;
}

void WriteAxis(StateWriter& out, const ServoStatus& servo, const ShownAxis& shown)
{
    constexpr int kSpeedDigits = 3;
    out.Raw("{");
    out.Integer("axis", servo.axis);
    out.Number("command", servo.commandPosition, shown.digits);
    out.Number("encoder", servo.encoderPosition, shown.digits);
    out.Number("error", servo.followingError, shown.digits);
    out.Number("speed", servo.velocity, kSpeedDigits);
    out.Number("torque", servo.torque, 1);
    out.Flag("servoOn", servo.servoOn != 0);
    out.Flag("moving", servo.inMotion != 0);
    out.Flag("inPosition", servo.inPosition != 0);
    out.Flag("homed", servo.homeDone != 0);
    out.Flag("limitPositive", servo.limitPositive != 0);
    out.Flag("limitNegative", servo.limitNegative != 0);
    out.Flag("homeSensor", servo.homeSensor != 0);
    out.Flag("softLimit", servo.softLimit != 0);
    out.Flag("emergencyStop", servo.emergencyStop != 0);
    out.Flag("warning", servo.warning != 0);
    out.Key("alarm");
    out.Raw(std::to_string(shown.alarm));
    out.Integer("alarmSub", static_cast<std::uint64_t>(shown.alarmSub));
    out.Text("motion", MotionName(servo.motionKind));
    out.Text("stopCause", StopText(servo.stopCause));
    out.Raw("}");
}

void WriteStations(StateWriter& out, const ControllerStatus& status)
{
    out.Key("stations");
    out.Raw("[");
    bool first = true;
    const auto write = [&](const char* kind, const SlaveIoStatus& slave) {
        out.Raw(first ? "{" : ",{");
        first = false;
        out.Integer("station", slave.slave);
        out.Integer(kind, BitsOf(slave.bits));
        out.Raw("}");
    };
    for (unsigned short i = 0; i < status.inputCount; ++i) {
        write("inputs", status.inputs[status.inputSlaves[i]]);
    }
    for (unsigned short i = 0; i < status.outputCount; ++i) {
        write("outputs", status.outputs[status.outputSlaves[i]]);
    }
    out.Raw("]");
}

void WriteLink(StateWriter& out, const Sight& sight)
{
    out.Key("link");
    out.Raw("{");
    out.Flag("ok", sight.result == ZELQ_OK);
    out.Key("result");
    out.Raw(std::to_string(sight.result));
    const bool isBad = sight.result != ZELQ_OK;
    out.Text("text", isBad ? ZelqErrorText("zelQ_GetAllStatus", sight.result) : "");
    out.Number("roundTripMs", sight.roundTripMs, 3);
    out.Integer("lost", sight.lost);
    out.Integer("reconnects", sight.reconnects);
    out.Raw("}");
}

} // namespace

std::string StateText(const Sight& sight, SteadyClock::time_point start)
{
    StateWriter out;
    out.Raw(R"({"type":"state")");
    out.Number("time", std::chrono::duration<double>(sight.at - start).count(), 4);
    WriteLink(out, sight);
    out.Key("axes");
    out.Raw("[");
    bool first = true;
    for (const unsigned short axis : sight.ServoAxes()) {
        if (!first) out.Raw(",");
        first = false;
        WriteAxis(out, sight.status.servo[axis], sight.axes.at(axis));
    }
    out.Raw("]");
    out.Integer("inputs", BitsOf(sight.status.mainInputs));
    out.Integer("outputs", BitsOf(sight.status.mainOutputs));
    WriteStations(out, sight.status);
    if (sight.pathRuns) {
        out.Key("path");
        out.Raw("{");
        out.Flag("active", true);
        out.Integer("waiting", static_cast<std::uint64_t>(sight.pathWaits));
        out.Raw("}");
    }
    out.Raw("}");
    return out.Take();
}

} // namespace zelq::tool
