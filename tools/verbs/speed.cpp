#include "frame/motion.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kSpeedManual =
    R"(Shows the speed profiles of axes, or changes what is named of them: start, drive and stop speed in
units per second, acceleration and deceleration in units per second squared. A change holds until
the controller's power goes off.

  zelq -t press1 speed
  zelq -t press1 speed X Y --drive 20 --acc 200 --dec 200

The controller does not tell the stop speed: a change makes it that of --stop, or else the start
speed.)";

struct SpeedOptions
{
    std::vector<std::string> axes;
    std::optional<double> start;
    std::optional<double> acc;
    std::optional<double> drive;
    std::optional<double> dec;
    std::optional<double> stop;
    std::optional<int> shape;

    [[nodiscard]] bool AreNone() const
    {
        return !start && !acc && !drive && !dec && !stop && !shape;
    }
};

void Change(const Controller& controller, unsigned short axis, const SpeedOptions& options)
{
    SpeedProfile profile = ReadProfile(controller, axis);
    // Copies: a packed record's doubles are at any place, which no reference may be.
    profile.start = options.start.value_or(double{profile.start});
    profile.acc = options.acc.value_or(double{profile.acc});
    profile.drive = options.drive.value_or(double{profile.drive});
    profile.dec = options.dec.value_or(double{profile.dec});
    const int shape = options.shape.value_or(profile.profile);
    CheckSpeed(controller, axis, profile.drive);
    Expect(zelQ_SpeedWithStopSet(controller.Number(), static_cast<short>(axis),
                                 static_cast<short>(shape), profile.start, profile.acc,
                                 profile.drive, profile.dec,
                                 options.stop.value_or(double{profile.start})),
           "set the speed profile of " + controller.AxisText(axis));
}

void ShowProfiles(Context& context, const std::vector<unsigned short>& axes)
{
    const Controller& controller = context.Connected();
    Table table({{"axis", true},
                 {"name"},
                 {"shape", true},
                 {"start", true},
                 {"acc", true},
                 {"drive", true},
                 {"dec", true},
                 {"unit"}});
    Json list = Json::array();
    for (const unsigned short axis : axes) {
        const SpeedProfile profile = ReadProfile(controller, axis);
        const AxisSettings& settings = controller.Axis(axis);
        const int digits = DigitsOf(settings);
        table.Row({std::to_string(axis), settings.name, std::to_string(profile.profile),
                   Fixed(profile.start, digits), Fixed(profile.acc, digits),
                   Fixed(profile.drive, digits), Fixed(profile.dec, digits), settings.unit});
        list.push_back({{"axis", axis},
                        {"name", settings.name},
                        {"unit", settings.unit},
                        {"shape", profile.profile},
                        {"start", double{profile.start}},
                        {"acc", double{profile.acc}},
                        {"drive", double{profile.drive}},
                        {"dec", double{profile.dec}}});
    }
    context.out.Show(table);
    context.out.Show(Json{{"controller", controller.Number()}, {"axes", list}});
}

ExitCode Speed(Context& context, const SpeedOptions& options)
{
    const Controller& controller = context.Connected();
    if (options.axes.empty() && !options.AreNone()) {
        throw Failure(kUsage, "which axes? Name them, or \"all\"");
    }
    const std::vector<unsigned short> axes = controller.ParseAxes(options.axes);
    if (!options.AreNone()) {
        for (const unsigned short axis : axes) {
            Change(controller, axis, options);
        }
    }
    ShowProfiles(context, axes);
    return kDone;
}

} // namespace

void AddSpeed(Program& program)
{
    auto options = std::make_shared<SpeedOptions>();
    CLI::App& app =
        program.AddVerb({"speed", Group::kMove, "show or change speed profiles", kSpeedManual},
                        [options](Context& context) { return Speed(context, *options); });
    app.add_option("axes", options->axes, "axes; to show: all of them unless named")
        ->type_name("AXIS");
    const std::pair<const char*, std::optional<double>*> values[] = {{"start", &options->start},
                                                                     {"acc", &options->acc},
                                                                     {"drive", &options->drive},
                                                                     {"dec", &options->dec},
                                                                     {"stop", &options->stop}};
    for (const auto& [name, value] : values) {
        app.add_option(std::string("--") + name, *value)
            ->check(CLI::NonNegativeNumber)
            ->type_name("NUMBER");
    }
    app.add_option("--shape", options->shape, "shape of the ramps, the controller's code")
        ->check(CLI::Range(0, 255))
        ->type_name("CODE");
}

} // namespace zelq::tool
