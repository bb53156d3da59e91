#include "frame/motion.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kServoManual =
    R"(Switches the servo amplifiers of axes on or off, and waits until they are. An axis that is switched
off stops at once; where it hangs, it may fall.

  zelq -t press1 servo on X
  zelq -t press1 servo off all)";

struct ServoOptions
{
    std::vector<std::string> axes;
    bool yes = false;
};

ExitCode Switch(Context& context, const ServoOptions& options, bool on)
{
    const Controller& controller = context.Connected();
    const std::vector<unsigned short> axes = controller.ParseAxes(options.axes);
    const std::string which = AxesText(controller, axes);
    context.Confirm("Switch on " + which + " of " + controller.Where().Text() + "?",
                    options.yes || !on);
    const std::vector<short> numbers(axes.begin(), axes.end());
    Expect(zelQ_mServoOn(controller.Number(), static_cast<short>(numbers.size()), numbers.data(),
                         on ? 1 : 0),
           std::string("switch ") + (on ? "on " : "off ") + which);
    const ControllerStatus status = AwaitStatus(controller, [&](const ControllerStatus& now) {
        return std::all_of(axes.begin(), axes.end(), [&](unsigned short axis) {
            return (now.servo[axis].servoOn != 0) == on;
        });
    });
    ShowResult(context, axes, status);
    return kDone;
}

} // namespace

void AddServo(Program& program)
{
    CLI::App& app = program.AddVerb(
        {"servo", Group::kMove, "switch servo amplifiers on or off", kServoManual}, nullptr);
    for (const bool on : {true, false}) {
        auto options = std::make_shared<ServoOptions>();
        CLI::App& way = program.AddVerb(
            app, on ? "on" : "off", on ? "switch them on" : "switch them off, without asking",
            [options, on](Context& context) { return Switch(context, *options, on); });
        AddAxes(way, options->axes);
        if (on) AddYes(way, options->yes);
    }
}

} // namespace zelq::tool
