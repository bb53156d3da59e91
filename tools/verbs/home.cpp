#include "frame/motion.h"
#include "frame/status_text.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kHomeManual =
    R"(Runs axes to their homes, all at the same time, and follows them until they stand. Each goes fast to
its signal, back off it, and slowly up to its edge; there its position becomes that of --position.

  zelq -t press1 home X --speed 20
  zelq -t press1 home X Y --to limit --direction negative --position -100

--speed sets the speed of the fast search; the other ways are a quarter, a tenth and the whole of it.
Without it the axes run with what the controller has. Where the configuration limits the speed of an
axis, --speed has to be given, for what the controller has cannot be read.)";

enum Signal { kHomeSensor, kLimitSwitch, kZPhase, kStopper };

struct HomeOptions
{
    std::vector<std::string> axes;
    int signal = kHomeSensor;
    int direction = 1;
    bool zPhase = false;
    double speed = 0.0;
    double position = 0.0;
    bool yes = false;
};

void SetHomingSpeed(const Controller& controller, unsigned short axis, double speed)
{
    if (speed == 0.0) {
        if (!controller.Axis(axis).maxSpeed) return;
        throw Failure(kUsage, "the configuration limits the speed of " + controller.AxisText(axis) +
                                  ": give --speed");
    }
    CheckSpeed(controller, axis, speed);
    Expect(
        zelQ_HomeSetDriveSpeed(controller.Number(), axis, 0, speed, speed / 4, speed / 10, speed),
        "set the homing speed of " + controller.AxisText(axis));
}

short StartHoming(const Controller& controller, unsigned short axis, const HomeOptions& options)
{
    const short number = controller.Number();
    const auto direction = static_cast<unsigned short>(options.direction);
    const double position = OnPulse(controller, axis, options.position);
    // The Z phase is looked for away from a switch, so against the run's own direction there.
    const unsigned short zMode = options.zPhase ? direction : 2;
    const unsigned short zUse = options.zPhase ? 1 : 0;
    switch (options.signal) {
    case kLimitSwitch:
        return zelQ_HomeMoveLimit(static_cast<unsigned short>(number), axis, direction, 0, zUse, 0,
                                  0, position);
    case kZPhase:
        return zelQ_HomeMoveZPhase(number, axis, direction, 0, 0, 0, position);
    case kStopper:
        return zelQ_HomeMoveStopper(number, axis, direction, static_cast<short>(zUse), 0, 0,
                                    position);
    default:
        return zelQ_HomeMoveHome(number, axis, direction, 0, zMode, 0, 0, position);
    }
}

ExitCode Home(Context& context, const HomeOptions& options)
{
    const Controller& controller = context.Connected();
    const std::vector<unsigned short> axes = controller.ParseAxes(options.axes);
    context.Confirm("Run " + AxesText(controller, axes) + " of " + controller.Where().Text() +
                        (options.direction == 0 ? " in positive" : " in negative") +
                        " direction to " + (axes.size() == 1 ? "its home?" : "their homes?"),
                    options.yes);
    for (const unsigned short axis : axes) {
        SetHomingSpeed(controller, axis, options.speed);
    }
    Motion motion(controller, axes);
    for (const unsigned short axis : axes) {
        Expect(StartHoming(controller, axis, options), "home " + controller.AxisText(axis));
    }
    const ControllerStatus after = motion.Follow(ProgressOf(context, axes));
    for (const unsigned short axis : axes) {
        if (after.servo[axis].homeDone != 0) continue;
        throw Failure(kRefused, controller.AxisText(axis) + " has not found its home: " +
                                    StopText(after.servo[axis].stopCause));
    }
    ShowResult(context, axes, after);
    return kDone;
}

} // namespace

void AddHome(Program& program)
{
    auto options = std::make_shared<HomeOptions>();
    CLI::App& app =
        program.AddVerb({"home", Group::kMove, "run axes to their homes", kHomeManual},
                        [options](Context& context) { return Home(context, *options); });
    AddAxes(app, options->axes);
    AddChoice(
        app, "--to", options->signal, "the signal at home",
        {{"sensor", kHomeSensor}, {"limit", kLimitSwitch}, {"z", kZPhase}, {"stopper", kStopper}});
    AddDirection(app, options->direction);
    app.add_flag("--z", options->zPhase, "go on to the Z phase behind the signal");
    app.add_option("--speed", options->speed, "of the fast search, units per second")
        ->check(CLI::PositiveNumber)
        ->type_name("SPEED");
    app.add_option("--position", options->position, "what home is called")
        ->type_name("POSITION")
        ->capture_default_str();
    AddYes(app, options->yes);
}

} // namespace zelq::tool
