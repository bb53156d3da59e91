#include "frame/motion.h"

#include "frame/status_text.h"
#include "frame/system.h"

#include <cmath>
#include <limits>
#include <thread>

namespace zelq::tool {

namespace {

constexpr Milliseconds kLookEvery{20};
constexpr Milliseconds kLongest{10'000}; ///< longer than any axis brakes
constexpr unsigned short kWithDeceleration = 1;

} // namespace

bool AreAtRest(const ControllerStatus& status, const std::vector<unsigned short>& axes)
{
    return std::all_of(axes.begin(), axes.end(),
                       [&](unsigned short axis) { return status.servo[axis].inMotion == 0; });
}

std::string WithUnit(const Controller& controller, unsigned short axis, double value)
{
    const AxisSettings& settings = controller.Axis(axis);
    return Fixed(value, DigitsOf(settings)) + " " + settings.unit;
}

std::string AxesText(const Controller& controller, const std::vector<unsigned short>& axes)
{
    std::string text;
    for (const unsigned short axis : axes) {
        text += (text.empty() ? "" : ", ") + controller.AxisText(axis);
    }
    return text;
}

void CheckDistance(const Controller& controller, unsigned short axis, double distance)
{
    const std::optional<double>& limit = controller.Axis(axis).maxDistance;
    if (!limit || std::abs(distance) <= *limit) return;
    throw Failure(kUsage, controller.AxisText(axis) + " would go " +
                              WithUnit(controller, axis, std::abs(distance)) +
                              "; the configuration allows " + WithUnit(controller, axis, *limit));
}

void CheckSpeed(const Controller& controller, unsigned short axis, double speed)
{
    const std::optional<double>& limit = controller.Axis(axis).maxSpeed;
    if (!limit || std::abs(speed) <= *limit) return;
    throw Failure(kUsage, controller.AxisText(axis) + " would run with " +
                              WithUnit(controller, axis, std::abs(speed)) +
                              "/s; the configuration allows " + WithUnit(controller, axis, *limit) +
                              "/s");
}

SpeedProfile ReadProfile(const Controller& controller, unsigned short axis)
{
    SpeedProfile profile{};
    Expect(zelQ_SpeedGet(controller.Number(), static_cast<short>(axis), &profile),
           "read the speed profile of " + controller.AxisText(axis));
    return profile;
}

SpeedProfile CheckedProfile(const Controller& controller, unsigned short axis)
{
    const SpeedProfile profile = ReadProfile(controller, axis);
    CheckSpeed(controller, axis, profile.drive);
    return profile;
}

double OnPulse(const Controller& controller, unsigned short axis, double position)
{
    constexpr double kInside = 0.25; // of a pulse: what truncation then takes off
    const double unit = controller.Axis(axis).unitPerPulse;
    const double pulses = std::round(position / unit);
    if (!(std::abs(pulses) <= std::numeric_limits<int>::max())) {
        throw Failure(kUsage, controller.AxisText(axis) + " has no position " +
                                  WithUnit(controller, axis, position));
    }
    return (pulses + std::copysign(kInside, pulses)) * unit;
}

Motion::Motion(const Controller& controller, std::vector<unsigned short> axes)
    : controller_(controller), axes_(std::move(axes)), start_(controller.Status())
{}

Motion::~Motion()
{
    // An exception may be on its way: no other one leaves.
    if (!atRest_ && Stop() != ZELQ_OK) {
        std::fprintf(stderr, "zelq: the axes could not be stopped\n");
    }
}

bool Motion::Look(ControllerStatus& status)
{
    if (Interrupted()) {
        Expect(Stop(), "stop the axes");
        throw Failure(kInterrupted, "interrupted; the axes have been stopped");
    }
    status = controller_.Status();
    for (const unsigned short axis : axes_) {
        // Behind a homing run its position has another meaning.
        const ServoStatus& servo = status.servo[axis];
        const double way = servo.commandPosition - start_.servo[axis].commandPosition;
        if (servo.inMotion != 0) CheckDistance(controller_, axis, way);
    }
    atRest_ = AreAtRest(status, axes_);
    return atRest_;
}

ControllerStatus Motion::Follow(const Shower& show)
{
    ControllerStatus status{};
    for (;;) {
        const bool atRest = Look(status);
        show(status);
        if (atRest) return status;
        WaitFor(kLookEvery);
    }
}

short Motion::Stop()
{
    ControllerStatus status{};
    short result = zelQ_mStop(controller_.Number(), static_cast<short>(axes_.size()), axes_.data(),
                              kWithDeceleration);
    for (int look = 0; result == ZELQ_OK && look < kLongest / kLookEvery; ++look) {
        result = zelQ_GetAllStatus(controller_.Number(), &status);
        atRest_ = result == ZELQ_OK && AreAtRest(status, axes_);
        if (atRest_) break;
        // Not to be cut short: the interrupt may be what brought us here.
        std::this_thread::sleep_for(kLookEvery);
    }
    return result;
}

Motion::Shower ProgressOf(Context& context, const std::vector<unsigned short>& axes)
{
    return [&context, &axes](const ControllerStatus& status) {
        const Controller& controller = context.Connected();
        std::string line;
        for (const unsigned short axis : axes) {
            const ServoStatus& servo = status.servo[axis];
            const std::string& name = controller.Axis(axis).name;
            line += (line.empty() ? "" : "   ") + (name.empty() ? std::to_string(axis) : name) +
                    ": " + WithUnit(controller, axis, servo.commandPosition) + " at " +
                    WithUnit(controller, axis, servo.velocity) + "/s";
        }
        const auto width = static_cast<std::size_t>(SizeOfTerminal().columns - 1);
        context.out.Progress(line.substr(0, width));
    };
}

ControllerStatus AwaitStatus(const Controller& controller,
                             const std::function<bool(const ControllerStatus&)>& done)
{
    const auto end = std::chrono::steady_clock::now() + kLongest;
    for (;;) {
        const ControllerStatus status = controller.Status();
        if (done(status)) return status;
        if (!WaitFor(kLookEvery)) throw Failure(kInterrupted, "interrupted");
        if (std::chrono::steady_clock::now() > end) {
            throw Failure(kRefused, "the controller has done what was asked, but shows no effect");
        }
    }
}

void ExpectEnds(const Controller& controller, const std::vector<unsigned short>& axes,
                const ControllerStatus& status)
{
    for (const unsigned short axis : axes) {
        const ServoStatus& servo = status.servo[axis];
        if (servo.stopCause == 0) continue;
        throw Failure(kRefused, controller.AxisText(axis) + " has not come to its target, it " +
                                    "stands at " +
                                    WithUnit(controller, axis, servo.commandPosition) + ": " +
                                    StopText(servo.stopCause));
    }
}

void ShowResult(Context& context, const std::vector<unsigned short>& axes,
                const ControllerStatus& status)
{
    const Controller& controller = context.Connected();
    context.out.EndProgress();
    Json list = Json::array();
    for (const unsigned short axis : axes) {
        list.push_back(AxisJson(controller, status.servo[axis]));
    }
    context.out.Show(Json{{"controller", controller.Number()}, {"axes", list}});
    context.out.Show(AxisTable(controller, status, axes, false));
}

void AddYes(CLI::App& app, bool& yes)
{
    app.add_flag("-y,--yes", yes, "do not ask before anything moves");
}

void AddAxes(CLI::App& app, std::vector<std::string>& axes)
{
    app.add_option("axes", axes, "axes, such as 0, 2-5, X or all")->type_name("AXIS")->required();
}

void AddChoice(CLI::App& app, const char* name, int& value, const char* text,
               const std::map<std::string, int>& choices)
{
    std::string words;
    std::string usual;
    for (const auto& [word, code] : choices) {
        words += (words.empty() ? "" : "|") + word;
        if (code == value) usual = word;
    }
    app.add_option(name, value, text)
        ->transform(CLI::CheckedTransformer(choices).description(""))
        ->type_name(words)
        ->default_str(usual);
}

void AddDirection(CLI::App& app, int& direction)
{
    AddChoice(app, "--direction", direction,
              "where to; which of them a controller takes for positive is its setting",
              {{"positive", 0}, {"negative", 1}});
}

} // namespace zelq::tool
