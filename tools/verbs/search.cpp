#include "frame/motion.h"
#include "frame/status_text.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kSearchManual =
    R"(Runs an axis with its drive speed until a signal changes, and tells the position at which that was.
The words for signals and edges are those of the simulated controller's codes.

  zelq -t press1 search X --signal probe
  zelq -t press1 search X --signal home --edge off --direction negative)";

struct SearchOptions
{
    std::string axis;
    int direction = 0;
    int signal = 0;
    int edge = 0;
    bool now = false;
    bool yes = false;
};

unsigned short Word(int value)
{
    return static_cast<unsigned short>(value);
}

ExitCode Search(Context& context, const SearchOptions& options)
{
    const Controller& controller = context.Connected();
    const std::vector<unsigned short> axes = controller.ParseAxes({options.axis});
    if (axes.size() != 1) throw Failure(kUsage, "one axis searches at a time");
    const unsigned short axis = axes.front();
    const std::string which = controller.AxisText(axis);
    const SpeedProfile profile = CheckedProfile(controller, axis);
    context.Confirm("Run " + which + " in " + (options.direction == 0 ? "positive" : "negative") +
                        " direction with " + WithUnit(controller, axis, profile.drive) +
                        "/s until the signal changes?",
                    options.yes);

    Motion motion(controller, axes);
    Expect(zelQ_SearchMove(static_cast<unsigned short>(controller.Number()), axis,
                           Word(options.direction), Word(options.signal), Word(options.edge),
                           options.now ? 1 : 0),
           "start the search of " + which);
    const ControllerStatus after = motion.Follow(ProgressOf(context, axes));
    context.out.EndProgress();

    SearchStatus found{};
    Expect(zelQ_SearchGetStatus(controller.Number(), axis, &found),
           "read what " + which + " found");
    if (found.flag == 0) {
        throw Failure(kRefused,
                      which + " has not met the signal: " + StopText(after.servo[axis].stopCause));
    }
    context.out.Line(which + " met the signal at " + WithUnit(controller, axis, found.pos) +
                     " and stands at " +
                     WithUnit(controller, axis, after.servo[axis].commandPosition));
    Json document = {{"found", double{found.pos}}};
    document.update(AxisJson(controller, after.servo[axis]));
    context.out.Show(document);
    return kDone;
}

} // namespace

void AddSearch(Program& program)
{
    auto options = std::make_shared<SearchOptions>();
    CLI::App& app = program.AddVerb(
        {"search", Group::kMove, "run an axis until a signal changes", kSearchManual},
        [options](Context& context) { return Search(context, *options); });
    app.add_option("axis", options->axis, "the axis")->type_name("AXIS")->required();
    AddDirection(app, options->direction);
    AddChoice(app, "--signal", options->signal, "what to look for",
              {{"probe", 0}, {"home", 1}, {"z", 2}, {"aux", 3}});
    AddChoice(app, "--edge", options->edge, "the change to look for", {{"on", 0}, {"off", 1}});
    app.add_flag("--now", options->now, "then stop at once instead of with deceleration");
    AddYes(app, options->yes);
}

} // namespace zelq::tool
