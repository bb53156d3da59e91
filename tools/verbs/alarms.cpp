#include "frame/alarm_text.h"
#include "frame/motion.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kAlarmsManual =
    R"(Alarms of the drives. "list" shows those that are active and what each drive's list of the last 15 has;
"reset" ends the active ones, as far as their causes are gone, and leaves the servos off; "clear"
empties the lists; "explain" tells what an alarm number means.

  zelq -t press1 alarms list
  zelq -t press1 alarms reset X
  zelq alarms explain 20

Numbers are the drive's own; what is told of them here are those of the simulated drive.)";

struct AlarmsOptions
{
    std::vector<std::string> axes;
    int number = 0;

    [[nodiscard]] std::vector<unsigned short> Axes(const Controller& controller) const
    {
        return controller.ParseAxes(axes);
    }
};

void AddRows(const Controller& controller, const ServoStatus& servo, Table& table, Json& list)
{
    for (unsigned short index = 0; index < kAlarmListSize; ++index) {
        const DriveAlarm alarm = ReadAlarm(controller, servo.axis, index);
        if (alarm.number == 0) break;
        // The newest is the one that is active, where one is.
        const bool isActive = index == 0 && servo.alarm != 0;
        const std::string number =
            std::to_string(alarm.number) + "." + std::to_string(alarm.subNumber);
        table.Row({std::to_string(servo.axis), controller.Axis(servo.axis).name,
                   isActive ? Text("active", Style::kBad) : Text(""), number,
                   std::to_string(alarm.data) + " s", AlarmMeaningOf(alarm.number).name});
        list.push_back({{"axis", servo.axis},
                        {"active", isActive},
                        {"number", alarm.number},
                        {"subNumber", alarm.subNumber},
                        {"data", alarm.data},
                        {"meaning", AlarmMeaningOf(alarm.number).name}});
    }
}

ExitCode ListAlarms(Context& context, const AlarmsOptions& options)
{
    const Controller& controller = context.Connected();
    const std::vector<unsigned short> axes = options.Axes(controller);
    const ControllerStatus status = controller.Status();
    Table table({{"axis", true}, {"name"}, {""}, {"alarm", true}, {"at", true}, {"meaning"}});
    Json list = Json::array();
    for (const unsigned short axis : axes) {
        AddRows(controller, status.servo[axis], table, list);
    }
    context.out.Show(Json{{"controller", controller.Number()}, {"alarms", list}});
    if (list.empty())
        context.out.Line("no alarms");
    else
        context.out.Show(table);
    return kDone;
}

using ForAxes = short (*)(short, short, const unsigned short*);

ExitCode Act(Context& context, const AlarmsOptions& options, ForAxes act, const std::string& what)
{
    const Controller& controller = context.Connected();
    const std::vector<unsigned short> axes = options.Axes(controller);
    const std::string which = AxesText(controller, axes);
    Expect(act(controller.Number(), static_cast<short>(axes.size()), axes.data()),
           what + " of " + which);
    context.out.Line(what + " of " + which + ": done");
    context.out.Show(Json{{"controller", controller.Number()}, {"axes", axes}});
    return kDone;
}

ExitCode ExplainAlarm(Context& context, int number)
{
    const AlarmMeaning& meaning = AlarmMeaningOf(number);
    context.out.Line("alarm " + std::to_string(number) + ": " + meaning.name);
    if (*meaning.cause != '\0') context.out.Line(std::string("cause: ") + meaning.cause);
    context.out.Line(std::string("to do: ") + meaning.advice);
    context.out.Show(Json{{"number", number},
                          {"meaning", meaning.name},
                          {"cause", meaning.cause},
                          {"advice", meaning.advice}});
    return kDone;
}

void AddOptionalAxes(CLI::App& app, AlarmsOptions& options)
{
    app.add_option("axes", options.axes, "axes; all of them unless named")->type_name("AXIS");
}

} // namespace

void AddAlarms(Program& program)
{
    CLI::App& app =
        program.AddVerb({"alarms", Group::kWatch,
                         "list, reset, clear or explain the alarms of drives", kAlarmsManual},
                        nullptr);
    auto options = std::make_shared<AlarmsOptions>();
    AddOptionalAxes(
        program.AddVerb(app, "list", "show active alarms and the drives' lists",
                        [options](Context& context) { return ListAlarms(context, *options); }),
        *options);
    AddOptionalAxes(program.AddVerb(app, "reset", "end the active alarms",
                                    [options](Context& context) {
                                        return Act(context, *options, zelQ_mAlarmResetReq,
                                                   "reset the alarms");
                                    }),
                    *options);
    AddOptionalAxes(program.AddVerb(app, "clear", "empty the drives' lists",
                                    [options](Context& context) {
                                        return Act(context, *options, zelQ_mAlarmListClear,
                                                   "clear the alarm lists");
                                    }),
                    *options);
    CLI::App& explain = program.AddVerb(
        app, "explain", "tell what an alarm number means",
        [options](Context& context) { return ExplainAlarm(context, options->number); });
    explain.add_option("number", options->number, "number of the alarm")
        ->check(CLI::Range(0, 255))
        ->type_name("NUMBER")
        ->required();
}

} // namespace zelq::tool
