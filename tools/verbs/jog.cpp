#include "frame/motion.h"
#include "frame/status_text.h"
#include "frame/system.h"
#include "verbs/verbs.h"

#include <algorithm>

namespace zelq::tool {

namespace {

constexpr const char* kJogManual =
    R"(Runs an axis by hand, with its drive speed, as long as a key is held.

  right, +     in positive direction          left, -      in negative direction
  any other    stops it                       q            stops it and ends

Terminals do not tell when a key is released, only that it repeats: the axis stops when no further
repetition comes. Behind the first press, as long as it takes until a held key repeats, see --hold;
any other key stops the axis sooner.

The axis is never sent further than it runs on in 0.3 s. So it comes to rest by itself when this
program, its terminal or the network is gone. Where the configuration limits the distance, the axis
stays within it, counted from where it stood at first.

  zelq -t press1 jog X
  zelq -t press1 jog X --for 500 --direction negative)";

using JogClock = std::chrono::steady_clock;

struct JogOptions
{
    std::string axis;
    std::optional<int> forMs;
    int direction = 0;
    int holdMs = 600;
    bool yes = false;
};

/// An axis that runs only as long as somebody asks it to.
class Jog
{
  public:
    Jog(const Controller& controller, unsigned short axis, const SpeedProfile& profile)
        : controller_(controller),
          axis_(axis),
          profile_(profile),
          motion_(controller, {axis}),
          start_(controller.Servo(axis).commandPosition)
    {}

    /// To be called again and again: 1 and -1 run it, 0 stops it. The state of the axis.
    ServoStatus Drive(int direction)
    {
        ControllerStatus status{};
        const bool atRest = motion_.Look(status);
        const ServoStatus& servo = status.servo[axis_];
        if (direction != direction_ && direction_ != 0) Brake();
        if (direction != 0 && (direction_ == direction || atRest)) Run(direction, servo, atRest);
        return servo;
    }

    void End() { Expect(motion_.Stop(), "stop " + controller_.AxisText(axis_)); }

  private:
    void Brake()
    {
        Expect(zelQ_StopDec(controller_.Number(), axis_), "stop " + controller_.AxisText(axis_));
        direction_ = 0;
    }

    /// Sends it on, a little further than it comes until the next time.
    void Run(int direction, const ServoStatus& servo, bool atRest)
    {
        const double target =
            OnPulse(controller_, axis_, Within(servo.commandPosition + direction * Ahead()));
        // At the end of the way that it has, it stands.
        const double left = (target - servo.commandPosition) * direction;
        if (atRest && left < controller_.Axis(axis_).unitPerPulse) return;
        if (!atRest) {
            // One that brakes takes no new target: it is started again when it stands.
            zelQ_OverrideAbs(controller_.Number(), axis_, target);
            return;
        }
        const short result = zelQ_MoveAbs(controller_.Number(), axis_, target);
        // At a limit only the other way is open; the flags tell.
        const bool atLimit =
            servo.servoOn != 0 &&
            (servo.limitPositive != 0 || servo.limitNegative != 0 || servo.softLimit != 0);
        if (result > ZELQ_OK && atLimit) return;
        Expect(result, "run " + controller_.AxisText(axis_));
        direction_ = direction;
    }

    /// How far it may go without being asked again.
    [[nodiscard]] double Ahead() const
    {
        constexpr double kSeconds = 0.3;
        // Smoothed ramps brake on twice the way of straight ones.
        const double braking =
            profile_.dec > 0.0 ? profile_.drive * profile_.drive / profile_.dec : 0.0;
        return profile_.drive * kSeconds + braking;
    }

    [[nodiscard]] double Within(double target) const
    {
        const std::optional<double>& limit = controller_.Axis(axis_).maxDistance;
        return limit ? std::clamp(target, start_ - *limit, start_ + *limit) : target;
    }

    const Controller& controller_;
    unsigned short axis_;
    SpeedProfile profile_;
    Motion motion_;
    double start_;
    int direction_ = 0;
};

/// What the keys ask for.
class HeldKey
{
  public:
    explicit HeldKey(int holdMs) : hold_(holdMs) {}

    /// Takes keys for so long; the direction that is asked for now.
    int Direction(Milliseconds time)
    {
        const auto end = JogClock::now() + time;
        do {
            const auto left = std::chrono::ceil<Milliseconds>(end - JogClock::now());
            if (const auto key = keys_.Next(std::max(left, Milliseconds::zero())))
                Take(*key);
            else if (keys_.AtEnd() || Interrupted())
                ended_ = true;
        } while (JogClock::now() < end && !ended_);
        return JogClock::now() < until_ && !ended_ ? direction_ : 0;
    }
    [[nodiscard]] bool Ended() const { return ended_; }

  private:
    void Take(char key)
    {
        // An arrow comes as escape, bracket, letter.
        if (key == '\033' || (key == '[' && before_ == '\033')) {
            before_ = key;
            return;
        }
        const bool isArrow = before_ == '[';
        before_ = key;
        if (key == 'q' || key == '\x03') ended_ = true;
        const int asked = DirectionOf(key, isArrow);
        const bool repeats = asked != 0 && asked == direction_ && JogClock::now() < until_;
        direction_ = asked;
        until_ = JogClock::now() + (repeats ? kBetweenRepetitions : hold_);
    }

    static int DirectionOf(char key, bool isArrow)
    {
        if (isArrow) return key == 'C' ? 1 : key == 'D' ? -1 : 0;
        return key == '+' || key == '=' ? 1 : key == '-' ? -1 : 0;
    }

    static constexpr Milliseconds kBetweenRepetitions{180};

    Keyboard keys_;
    Milliseconds hold_;
    int direction_ = 0;
    char before_ = 0;
    bool ended_ = false;
    JogClock::time_point until_;
};

constexpr Milliseconds kDriveEvery{30};

void ShowJog(Context& context, const ServoStatus& servo, int direction)
{
    const Controller& controller = context.Connected();
    const char* arrow = direction > 0 ? "->" : direction < 0 ? "<-" : "  ";
    std::string line = controller.AxisText(servo.axis) + "  " +
                       WithUnit(controller, servo.axis, servo.commandPosition) + "  " +
                       WithUnit(controller, servo.axis, servo.velocity) + "/s  " + arrow + " ";
    for (const Text& flag : FlagsOf(servo)) {
        if (flag.style == Style::kBad || flag.style == Style::kWarning) {
            line += " " + context.out.Painted(flag);
        }
    }
    context.out.Progress(line);
}

ExitCode RunJog(Context& context, const JogOptions& options)
{
    const Controller& controller = context.Connected();
    const std::vector<unsigned short> axes = controller.ParseAxes({options.axis});
    if (axes.size() != 1) throw Failure(kUsage, "one axis is jogged at a time");
    const unsigned short axis = axes.front();
    const SpeedProfile profile = CheckedProfile(controller, axis);
    context.Confirm("Jog " + controller.AxisText(axis) + " of " + controller.Where().Text() +
                        " with " + WithUnit(controller, axis, profile.drive) + "/s?",
                    options.yes);

    Jog jog(controller, axis, profile);
    if (options.forMs) {
        const auto end = JogClock::now() + Milliseconds(*options.forMs);
        const int direction = options.direction == 0 ? 1 : -1;
        while (JogClock::now() < end) {
            ShowJog(context, jog.Drive(direction), direction);
            WaitFor(std::min(kDriveEvery, std::chrono::ceil<Milliseconds>(end - JogClock::now())));
        }
    } else {
        context.out.Line("hold right or + to run forward, left or - to run back; q ends");
        HeldKey key(options.holdMs);
        while (!key.Ended()) {
            const int direction = key.Direction(kDriveEvery);
            ShowJog(context, jog.Drive(direction), direction);
        }
    }
    jog.End();
    ShowResult(context, axes, controller.Status());
    return kDone;
}

} // namespace

void AddJog(Program& program)
{
    auto options = std::make_shared<JogOptions>();
    CLI::App& app = program.AddVerb(
        {"jog", Group::kMove, "run an axis by hand, as long as a key is held", kJogManual},
        [options](Context& context) { return RunJog(context, *options); });
    app.add_option("axis", options->axis, "the axis")->type_name("AXIS")->required();
    CLI::Option* time = app.add_option("--for", options->forMs, "without keys, for so long, ms")
                            ->check(CLI::Range(1, 60000))
                            ->type_name("MS");
    AddDirection(app, options->direction);
    app.get_option("--direction")->needs(time);
    app.add_option("--hold", options->holdMs, "until a held key repeats, ms")
        ->check(CLI::Range(50, 2000))
        ->type_name("MS")
        ->capture_default_str();
    AddYes(app, options->yes);
}

} // namespace zelq::tool
