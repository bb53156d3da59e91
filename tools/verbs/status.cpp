#include "frame/program.h"
#include "frame/status_text.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kStatusManual =
    R"(Reads the state of the axes in one exchange and shows it once; "zelq watch" keeps on showing it.

  zelq -t press1 status
  zelq -t press1 status X 2-5 --json)";

struct StatusOptions
{
    std::vector<std::string> axes;
    bool pulses = false;
};

ExitCode Status(Context& context, const StatusOptions& options)
{
    Controller& controller = context.Connected();
    const std::vector<unsigned short> axes = controller.ParseAxes(options.axes);
    const ControllerStatus status = controller.Status();

    Json list = Json::array();
    for (const unsigned short axis : axes) {
        list.push_back(AxisJson(controller, status.servo[axis]));
    }
    context.out.Show(Json{{"controller", controller.Number()}, {"axes", list}});
    if (axes.empty())
        context.out.Line("no servo axis at " + controller.Where().Text());
    else
        context.out.Show(AxisTable(controller, status, axes, options.pulses));
    return kDone;
}

} // namespace

void AddStatus(Program& program)
{
    auto options = std::make_shared<StatusOptions>();
    CLI::App& app =
        program.AddVerb({"status", Group::kWatch, "show the state of the axes", kStatusManual},
                        [options](Context& context) { return Status(context, *options); });
    app.add_option("axes", options->axes, "axes; all of them unless named")->type_name("AXIS");
    app.add_flag("--pulses", options->pulses, "in pulses, whatever the configuration says");
}

} // namespace zelq::tool
