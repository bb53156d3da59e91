#include "frame/motion.h"
#include "frame/status_text.h"
#include "verbs/verbs.h"

#include <charconv>

namespace zelq::tool {

namespace {

constexpr const char* kMoveManual =
    R"(Moves axes to positions, or by distances, all at the same time, and follows them until they stand.
Each axis runs with its speed profile: see "zelq speed". Ctrl-C stops them.

A distance is added to where the axis stands, and the axis sent to that position: so it goes its way
once, even where a lost reply makes the library send the command again.

  zelq -t press1 move X 120
  zelq -t press1 move X 10 Y -2.5 --by --yes)";

struct MoveOptions
{
    std::vector<std::string> words;
    bool by = false;
    bool yes = false;
};

struct Way
{
    std::vector<unsigned short> axes;
    std::vector<double> targets;
};

double ParsePosition(const std::string& text)
{
    double value = 0.0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) {
        throw Failure(kUsage, "\"" + text +
                                  "\" is no position; positions follow their axes, as "
                                  "in \"move X 120 Y -2.5\"");
    }
    return value;
}

/// Where the words send the axes, from where they stand; checked against the limits.
Way WayFrom(const Controller& controller, const MoveOptions& options,
            const ControllerStatus& status)
{
    Way way;
    if (options.words.size() % 2 != 0) throw Failure(kUsage, "a position is missing");
    for (std::size_t i = 0; i < options.words.size(); i += 2) {
        const double value = ParsePosition(options.words[i + 1]);
        for (const unsigned short axis : controller.ParseAxes({options.words[i]})) {
            if (std::count(way.axes.begin(), way.axes.end(), axis) != 0) {
                throw Failure(kUsage, controller.AxisText(axis) + " is named twice",
                              ZELQ_DUPLICATE_AXIS);
            }
            const double from = status.servo[axis].commandPosition;
            const double to = OnPulse(controller, axis, options.by ? from + value : value);
            CheckDistance(controller, axis, to - from);
            way.axes.push_back(axis);
            way.targets.push_back(to);
        }
    }
    return way;
}

std::string Question(const Controller& controller, const Way& way, const ControllerStatus& status)
{
    std::string question = "Move";
    for (std::size_t i = 0; i < way.axes.size(); ++i) {
        const unsigned short axis = way.axes[i];
        const SpeedProfile profile = CheckedProfile(controller, axis);
        question += (i == 0 ? " " : ", ") + controller.AxisText(axis) + " from " +
                    Fixed(status.servo[axis].commandPosition, DigitsOf(controller.Axis(axis))) +
                    " to " + WithUnit(controller, axis, way.targets[i]) + " with " +
                    WithUnit(controller, axis, profile.drive) + "/s";
    }
    return question + "?";
}

ExitCode Move(Context& context, const MoveOptions& options)
{
    const Controller& controller = context.Connected();
    const ControllerStatus before = controller.Status();
    const Way way = WayFrom(controller, options, before);
    context.Confirm(Question(controller, way, before), options.yes);

    const std::vector<short> numbers(way.axes.begin(), way.axes.end());
    Motion motion(controller, way.axes);
    Expect(zelQ_mMoveAbs(controller.Number(), static_cast<short>(numbers.size()), numbers.data(),
                         way.targets.data()),
           "move " + AxesText(controller, way.axes));
    const ControllerStatus after = motion.Follow(ProgressOf(context, way.axes));
    ExpectEnds(controller, way.axes, after);
    ShowResult(context, way.axes, after);
    return kDone;
}

} // namespace

void AddMove(Program& program)
{
    auto options = std::make_shared<MoveOptions>();
    CLI::App& app = program.AddVerb(
        {"move", Group::kMove, "move axes to positions or by distances", kMoveManual},
        [options](Context& context) { return Move(context, *options); });
    app.add_option("moves", options->words, "axes, each followed by its position")
        ->type_name("AXIS POSITION")
        ->required();
    app.add_flag("--by", options->by, "the numbers are distances");
    AddYes(app, options->yes);
}

} // namespace zelq::tool
