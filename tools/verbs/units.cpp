#include "frame/motion.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kUnitsManual =
    R"(Shows the units and limits of axes as the configuration file has them, or changes the units in it: a
controller knows only pulses. Nothing is connected. The file has to name the controller.

  zelq -t press1 units
  zelq -t press1 units 0 --per-pulse 0.001 --unit mm)";

struct UnitsOptions
{
    std::optional<int> axis;
    std::optional<double> perPulse;
    std::string unit;
};

Json LimitJson(const std::optional<double>& limit)
{
    return limit ? Json(*limit) : Json(nullptr);
}

std::string LimitText(const std::optional<double>& limit, const AxisSettings& settings)
{
    return limit ? Fixed(*limit, DigitsOf(settings)) : "-";
}

void ShowUnits(Context& context, const Target& target, const std::optional<int>& only)
{
    Table table({{"axis", true},
                 {"name"},
                 {"unit"},
                 {"units per pulse", true},
                 {"max distance", true},
                 {"max speed", true}});
    Json list = Json::array();
    std::map<int, AxisSettings> axes = target.axes;
    if (only) axes = {{*only, target.Axis(*only)}};
    for (const auto& [axis, settings] : axes) {
        table.Row({std::to_string(axis), settings.name, settings.unit,
                   Json(settings.unitPerPulse).dump(), LimitText(settings.maxDistance, settings),
                   LimitText(settings.maxSpeed, settings)});
        list.push_back({{"axis", axis},
                        {"name", settings.name},
                        {"unit", settings.unit},
                        {"unitPerPulse", settings.unitPerPulse},
                        {"maxDistance", LimitJson(settings.maxDistance)},
                        {"maxSpeed", LimitJson(settings.maxSpeed)}});
    }
    context.out.Show(Json{{"target", target.name}, {"axes", list}});
    if (axes.empty())
        context.out.Line("all axes are in pulses, without limits");
    else
        context.out.Show(table);
}

ExitCode Units(Context& context, const UnitsOptions& options)
{
    Target target = context.Meant();
    if (options.perPulse) {
        if (!options.axis) throw Failure(kUsage, "which axis?");
        if (target.name.empty()) {
            throw Failure(kUsage, "no target in the configuration file is " + target.Text());
        }
        AxisSettings& settings = target.axes[*options.axis];
        // Limits are in units: under another unit the same numbers would mean something else.
        if (settings.maxDistance || settings.maxSpeed) {
            throw Failure(kUsage, "axis " + std::to_string(*options.axis) +
                                      " has limits in its present unit: change them together, in " +
                                      context.Configuration().File().string());
        }
        settings.unitPerPulse = *options.perPulse;
        settings.unit = options.unit.empty() ? settings.unit : options.unit;
        context.Configuration().StoreUnit(target.name, *options.axis, settings.unitPerPulse,
                                          settings.unit);
    }
    ShowUnits(context, target, options.axis);
    return kDone;
}

} // namespace

void AddUnits(Program& program)
{
    auto options = std::make_shared<UnitsOptions>();
    CLI::App& app =
        program.AddVerb({"units", Group::kMove, "show or change the units of axes", kUnitsManual},
                        [options](Context& context) { return Units(context, *options); });
    app.add_option("axis", options->axis, "one axis")->check(CLI::Range(0, 31))->type_name("AXIS");
    CLI::Option* perPulse =
        app.add_option("--per-pulse", options->perPulse, "units of one pulse, such as 0.001")
            ->check(CLI::PositiveNumber)
            ->type_name("NUMBER");
    app.add_option("--unit", options->unit, "its name, such as mm")
        ->needs(perPulse)
        ->type_name("NAME");
}

} // namespace zelq::tool
