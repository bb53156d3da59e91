#include "frame/motion.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kStopManual =
    R"(Stops axes with their deceleration, all of them unless some are named, and waits until they stand.
Nothing is asked.

  zelq -t press1 stop
  zelq -t press1 stop X --now)";

struct StopOptions
{
    std::vector<std::string> axes;
    bool now = false;
};

ExitCode Stop(Context& context, const StopOptions& options)
{
    const Controller& controller = context.Connected();
    const std::vector<unsigned short> axes = controller.ParseAxes(options.axes);
    if (axes.empty()) return kDone;
    Expect(zelQ_mStop(controller.Number(), static_cast<short>(axes.size()), axes.data(),
                      options.now ? 0 : 1),
           "stop " + AxesText(controller, axes));
    const ControllerStatus status =
        AwaitStatus(controller, [&](const ControllerStatus& now) { return AreAtRest(now, axes); });
    ShowResult(context, axes, status);
    return kDone;
}

} // namespace

void AddStop(Program& program)
{
    auto options = std::make_shared<StopOptions>();
    CLI::App& app =
        program.AddVerb({"stop", Group::kMove, "stop axes, without asking", kStopManual},
                        [options](Context& context) { return Stop(context, *options); });
    app.add_option("axes", options->axes, "axes; all of them unless named")->type_name("AXIS");
    app.add_flag("--now", options->now, "at once instead of with deceleration");
}

} // namespace zelq::tool
