#include "frame/status_text.h"

#include <array>

namespace zelq::tool {

namespace {

struct Flag
{
    const char* name;
    unsigned short ServoStatus::*value;
    Style style;
};

constexpr Flag kFlags[] = {
    {"alarm", &ServoStatus::alarm, Style::kBad},
    {"emergency-stop", &ServoStatus::emergencyStop, Style::kBad},
    {"warning", &ServoStatus::warning, Style::kWarning},
    {"limit+", &ServoStatus::limitPositive, Style::kWarning},
    {"limit-", &ServoStatus::limitNegative, Style::kWarning},
    {"soft-limit", &ServoStatus::softLimit, Style::kWarning},
    {"torque-limited", &ServoStatus::torqueLimited, Style::kWarning},
    {"on", &ServoStatus::servoOn, Style::kGood},
    {"ready", &ServoStatus::servoReady, Style::kPlain},
    {"moving", &ServoStatus::inMotion, Style::kGood},
    {"in-position", &ServoStatus::inPosition, Style::kPlain},
    {"homing", &ServoStatus::homing, Style::kGood},
    {"homed", &ServoStatus::homeDone, Style::kPlain},
    {"home-sensor", &ServoStatus::homeSensor, Style::kPlain},
    {"aux-input", &ServoStatus::auxInput, Style::kPlain},
    {"output1", &ServoStatus::output1, Style::kPlain},
    {"output2", &ServoStatus::output2, Style::kPlain},
};

constexpr std::array kMotions = {
    "",    "jog",   "absolute move", "relative move", "search",   "homing",           "line",
    "arc", "helix", "list",          "torque",        "velocity", "profile position", "hand wheel",
};

constexpr std::array kStops = {
    "at target", "stopped",        "stopped at once", "limit switch", "software limit", "alarm",
    "servo off", "emergency stop", "host lost",       "home found",   "signal latched",
};

template <std::size_t Count>
std::string Named(const std::array<const char*, Count>& names, unsigned short code)
{
    return code < Count ? names[code] : "code " + std::to_string(code);
}

} // namespace

std::vector<Text> FlagsOf(const ServoStatus& servo)
{
    std::vector<Text> flags;
    for (const Flag& flag : kFlags) {
        if (servo.*flag.value != 0) flags.emplace_back(flag.name, flag.style);
    }
    return flags;
}

std::string MotionText(unsigned short kind)
{
    return Named(kMotions, kind);
}

std::string StopText(unsigned short cause)
{
    return Named(kStops, cause);
}

AxisView ViewOf(const AxisSettings& settings, bool inPulses)
{
    AxisView view{settings, 1.0};
    if (inPulses) {
        view.factor = 1.0 / settings.unitPerPulse;
        view.settings.unit = "pulses";
        view.settings.unitPerPulse = 1.0;
    }
    return view;
}

namespace {

Style StyleOf(const ServoStatus& servo)
{
    if (servo.alarm != 0 || servo.emergencyStop != 0) return Style::kBad;
    if (servo.inMotion != 0) return Style::kGood;
    return servo.servoOn != 0 ? Style::kPlain : Style::kDim;
}

std::vector<Text> AxisRow(const Controller& controller, const ServoStatus& servo, bool inPulses)
{
    const AxisView view = ViewOf(controller.Axis(servo.axis), inPulses);
    std::string flags;
    for (const Text& flag : FlagsOf(servo)) {
        flags += (flags.empty() ? "" : " ") + flag.text;
    }
    const bool moves = servo.inMotion != 0;
    return {std::to_string(servo.axis),
            view.settings.name,
            view.Number(servo.commandPosition),
            view.Number(servo.encoderPosition),
            view.settings.unit,
            view.Number(servo.velocity),
            view.Number(servo.followingError),
            Fixed(servo.torque, 1),
            moves ? MotionText(servo.motionKind) : StopText(servo.stopCause),
            Text(flags, StyleOf(servo))};
}

} // namespace

Table AxisTable(const Controller& controller, const ControllerStatus& status,
                const std::vector<unsigned short>& axes, bool inPulses)
{
    Table table({{"axis", true},
                 {"name"},
                 {"command", true, 10},
                 {"encoder", true, 10},
                 {"unit"},
                 {"speed/s", true, 10},
                 {"error", true, 7},
                 {"torque%", true},
                 {"motion", false, 16},
                 {"flags"}});
    for (const unsigned short axis : axes) {
        table.Row(AxisRow(controller, status.servo[axis], inPulses));
    }
    return table;
}

Json AxisJson(const Controller& controller, const ServoStatus& servo)
{
    const AxisSettings& settings = controller.Axis(servo.axis);
    Json json = {{"axis", servo.axis},
                 {"name", settings.name},
                 {"unit", settings.unit},
                 {"commandPosition", double{servo.commandPosition}},
                 {"encoderPosition", double{servo.encoderPosition}},
                 {"velocity", double{servo.velocity}},
                 {"followingError", double{servo.followingError}},
                 {"torque", double{servo.torque}},
                 {"motion", MotionText(servo.motionKind)},
                 {"stopCause", StopText(servo.stopCause)}};
    Json flags = Json::object();
    for (const Flag& flag : kFlags) {
        flags[flag.name] = servo.*flag.value != 0;
    }
    json["flags"] = flags;
    return json;
}

} // namespace zelq::tool
