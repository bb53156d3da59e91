#include "frame/motion.h"
#include "frame/system.h"
#include "verbs/verbs.h"

#include <array>

namespace zelq::tool {

namespace {

constexpr const char* kMonitorManual = R"(Reads monitor values of drives, once or again and again.

  zelq -t press1 monitor X
  zelq -t press1 monitor all --number 4 --number 5 --every 500

Which monitors there are is the drive's; names and units are those of the simulated drive.)";

struct MonitorOptions
{
    std::vector<std::string> axes;
    std::vector<unsigned short> numbers;
    int everyMs = 0;
    int count = 0;
};

struct Monitor
{
    const char* name;
    double factor;
    int digits;
    const char* unit;
};

constexpr std::array kMonitors = {
    Monitor{"command position", 1.0, 0, "pulses"},
    Monitor{"encoder position", 1.0, 0, "pulses"},
    Monitor{"following error", 1.0, 0, "pulses"},
    Monitor{"speed", 1.0, 0, "pulses/s"},
    Monitor{"torque", 0.1, 1, "%"},
    Monitor{"drive temperature", 0.1, 1, "C"},
    Monitor{"motor temperature", 0.1, 1, "C"},
    Monitor{"bus voltage", 0.1, 1, "V"},
};

Monitor MonitorOf(unsigned short number)
{
    return number < kMonitors.size() ? kMonitors[number] : Monitor{"", 1.0, 0, ""};
}

/// Monitors of one axis, as signed numbers.
std::vector<int> ReadMonitors(const Controller& controller, unsigned short axis,
                              const std::vector<unsigned short>& numbers)
{
    const std::vector<short> axes(numbers.size(), static_cast<short>(axis));
    std::vector<unsigned> values(numbers.size());
    Expect(zelQ_mMonitorRead(controller.Number(), static_cast<short>(numbers.size()), axes.data(),
                             numbers.data(), values.data()),
           "read the monitors of " + controller.AxisText(axis));
    return {values.begin(), values.end()};
}

void ShowMonitors(Context& context, const std::vector<unsigned short>& axes,
                  const std::vector<unsigned short>& numbers)
{
    const Controller& controller = context.Connected();
    Table table({{"axis", true}, {"name"}, {"monitor", true}, {"value", true}, {"unit"}, {""}});
    Json list = Json::array();
    for (const unsigned short axis : axes) {
        const std::vector<int> values = ReadMonitors(controller, axis, numbers);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const Monitor monitor = MonitorOf(numbers[i]);
            table.Row({std::to_string(axis), controller.Axis(axis).name, std::to_string(numbers[i]),
                       Fixed(values[i] * monitor.factor, monitor.digits), monitor.unit,
                       monitor.name});
            list.push_back({{"axis", axis},
                            {"monitor", numbers[i]},
                            {"raw", values[i]},
                            {"value", values[i] * monitor.factor},
                            {"unit", monitor.unit},
                            {"name", monitor.name}});
        }
    }
    context.out.Show(Json{{"controller", controller.Number()}, {"monitors", list}});
    context.out.Show(table);
}

ExitCode RunMonitor(Context& context, const MonitorOptions& options)
{
    const std::vector<unsigned short> axes = context.Connected().ParseAxes(options.axes);
    std::vector<unsigned short> numbers = options.numbers;
    for (unsigned short i = 0; options.numbers.empty() && i < kMonitors.size(); ++i) {
        numbers.push_back(i);
    }
    for (int shown = 1;; ++shown) {
        ShowMonitors(context, axes, numbers);
        const bool wasLast = options.everyMs == 0 || shown == options.count;
        if (wasLast || !WaitFor(Milliseconds(options.everyMs))) return kDone;
        context.out.Line("");
    }
}

} // namespace

void AddMonitor(Program& program)
{
    auto options = std::make_shared<MonitorOptions>();
    CLI::App& app = program.AddVerb(
        {"monitor", Group::kWatch, "read the monitor values of drives", kMonitorManual},
        [options](Context& context) { return RunMonitor(context, *options); });
    AddAxes(app, options->axes);
    app.add_option("--number", options->numbers, "a monitor; may be given up to 32 times")
        ->allow_extra_args(false)
        ->type_name("NUMBER");
    CLI::Option* every =
        app.add_option("--every", options->everyMs, "again and again, each so many ms")
            ->check(CLI::Range(1, 3'600'000))
            ->type_name("MS");
    app.add_option("--count", options->count, "how often; without it, until Ctrl-C")
        ->check(CLI::PositiveNumber)
        ->type_name("COUNT")
        ->needs(every);
}

} // namespace zelq::tool
