#include "frame/program.h"
#include "frame/system.h"
#include "keep/drive_params.h"
#include "verbs/verbs.h"

#include <algorithm>

namespace zelq::tool {

namespace {

constexpr const char* kParamsManual =
    R"(Drive parameters are addressed by class and number, written as 1.0; which there are and what they
mean is the drive's. "list" and "backup" find them by asking for each in the ranges of --groups and
--numbers.

What is written is lost with the power unless --save stores it in the drive's EEPROM. Some
parameters come into force only when they are validated, with the servo off: --apply.

"restore" shows what differs, asks, writes what differs and nothing else, and reads each value back.
Interrupted, or cut off from the controller, it tells what it has written by then.

  zelq -t press1 params list X
  zelq -t press1 params set 0 1.0 500 --save
  zelq -t press1 params backup press1.json
  zelq -t press1 params restore press1.json 0-3 --save)";

struct ParamsOptions
{
    std::vector<std::string> axes;
    std::string axis;
    std::vector<std::string> ids;
    std::string id;
    int value = 0;
    std::string file;
    std::string groups = "0-15";
    std::string numbers = "0-127";
    bool save = false;
    bool apply = false;
    bool otherDrive = false;
    bool yes = false;
};

unsigned short OneAxis(Controller& controller, const std::string& word)
{
    const std::vector<unsigned short> axes = controller.ParseAxes({word});
    if (axes.size() != 1) throw Failure(kUsage, "\"" + word + "\" is not one axis");
    return axes.front();
}

/// All parameters of the axes; ends with a Failure on Ctrl-C.
std::vector<DriveParams> ReadDrives(Context& context, const ParamsOptions& options)
{
    Controller& controller = context.Connected();
    const ParamSearch search{ParseRange(options.groups), ParseRange(options.numbers)};
    const std::vector<unsigned short> axes = controller.ParseAxes(options.axes);
    ParamReader reader(controller);
    std::vector<DriveParams> drives;
    for (const unsigned short axis : axes) {
        drives.push_back(reader.ReadAll(axis, search, [&](double done) {
            const double all =
                (static_cast<double>(drives.size()) + done) / static_cast<double>(axes.size());
            context.out.Progress("reading " + controller.AxisText(axis) + ", " +
                                 Fixed(100 * all, 0) + " %");
            return !Interrupted();
        }));
        if (Interrupted()) throw Failure(kInterrupted, "interrupted; nothing was written");
    }
    context.out.EndProgress();
    return drives;
}

ExitCode ListParams(Context& context, const ParamsOptions& options)
{
    const std::vector<DriveParams> drives = ReadDrives(context, options);
    Table table({{"axis", true}, {"parameter"}, {"value", true}});
    Json list = Json::array();
    for (const DriveParams& drive : drives) {
        for (const auto& [id, value] : drive.values) {
            table.Row({std::to_string(drive.axis), ToText(id), std::to_string(value)});
            list.push_back({{"axis", drive.axis}, {"parameter", ToText(id)}, {"value", value}});
        }
    }
    context.out.Show(table);
    context.out.Show(Json{{"parameters", list}});
    return kDone;
}

ExitCode GetParams(Context& context, const ParamsOptions& options)
{
    Controller& controller = context.Connected();
    const unsigned short axis = OneAxis(controller, options.axis);
    Json list = Json::array();
    Table table({{"parameter"}, {"value", true}});
    for (const std::string& text : options.ids) {
        const ParamId id = ParseParam(text);
        int value = 0;
        Expect(zelQ_ParamGet(controller.Number(), axis, id.group, id.number, &value),
               "read parameter " + text);
        table.Row({ToText(id), std::to_string(value)});
        list.push_back({{"axis", axis}, {"parameter", ToText(id)}, {"value", value}});
    }
    context.out.Show(table);
    context.out.Show(Json{{"parameters", list}});
    return kDone;
}

/// Writes one value and sees that it is there; the result of a write that was not done.
short WriteParam(Controller& controller, unsigned short axis, ParamId id, int value)
{
    const short number = controller.Number();
    if (const short result = zelQ_ParamSet(number, axis, id.group, id.number, value)) return result;
    int now = 0;
    Expect(zelQ_ParamGet(number, axis, id.group, id.number, &now),
           "read parameter " + ToText(id) + " back");
    if (now == value) return ZELQ_OK;
    throw Failure(kRefused, "parameter " + ToText(id) + " of " + controller.AxisText(axis) +
                                " was written as " + std::to_string(value) + " and reads back as " +
                                std::to_string(now));
}

void ApplyAndSave(Controller& controller, unsigned short axis, const ParamsOptions& options)
{
    const std::string name = controller.AxisText(axis);
    if (options.apply) {
        Expect(zelQ_CParamValid(controller.Number(), axis), "validate the parameters of " + name);
    }
    if (options.save) {
        Expect(zelQ_ParamWriteEeprom(controller.Number(), axis), "save the parameters of " + name);
    }
}

ExitCode SetParam(Context& context, const ParamsOptions& options)
{
    Controller& controller = context.Connected();
    const unsigned short axis = OneAxis(controller, options.axis);
    const ParamId id = ParseParam(options.id);
    Expect(WriteParam(controller, axis, id, options.value), "write parameter " + ToText(id));
    ApplyAndSave(controller, axis, options);
    context.out.Line(ToText(id) + " of " + controller.AxisText(axis) + " is " +
                     std::to_string(options.value) + (options.save ? ", saved" : ""));
    context.out.Show(Json{{"axis", axis},
                          {"parameter", ToText(id)},
                          {"value", options.value},
                          {"applied", options.apply},
                          {"saved", options.save}});
    return kDone;
}

ExitCode BackupParams(Context& context, const ParamsOptions& options)
{
    const std::vector<DriveParams> drives = ReadDrives(context, options);
    std::size_t count = 0;
    for (const DriveParams& drive : drives) {
        count += drive.values.size();
    }
    if (count == 0) throw Failure(kRefused, "no parameters were found; nothing was written");
    WriteParamFile(options.file, context.Connected(), drives);
    context.out.Line(std::to_string(count) + " parameters of " + std::to_string(drives.size()) +
                     " drives in " + options.file);
    context.out.Show(
        Json{{"file", options.file}, {"drives", drives.size()}, {"parameters", count}});
    return kDone;
}

/// What is kept of the axes that are meant; all that are in the file unless some are named.
std::vector<DriveParams> Kept(Controller& controller, const ParamsOptions& options)
{
    std::vector<DriveParams> kept = ReadParamFile(options.file);
    std::vector<std::string> words = options.axes;
    if (words.empty()) {
        for (const DriveParams& drive : kept) {
            words.push_back(std::to_string(drive.axis));
        }
    }
    const std::vector<unsigned short> axes = controller.ParseAxes(words);
    for (const unsigned short axis : axes) {
        const auto isIt = [axis](const DriveParams& drive) { return drive.axis == axis; };
        if (std::none_of(kept.begin(), kept.end(), isIt)) {
            throw Failure(kUsage, options.file + " has nothing of " + controller.AxisText(axis));
        }
    }
    std::erase_if(kept, [&](const DriveParams& drive) {
        return std::find(axes.begin(), axes.end(), drive.axis) == axes.end();
    });
    return kept;
}

std::vector<ParamDifference> Differences(Controller& controller,
                                         const std::vector<DriveParams>& kept)
{
    ParamReader reader(controller);
    std::vector<ParamDifference> differences;
    for (const DriveParams& drive : kept) {
        for (const auto& [id, value] : drive.values) {
            const std::optional<int> now = reader.Read(drive.axis, id);
            if (now != value) differences.push_back({drive.axis, id, now, value});
        }
    }
    return differences;
}

Json ShowDifferences(Context& context, const std::vector<ParamDifference>& differences)
{
    Table table({{"axis", true}, {"parameter"}, {"drive", true}, {"file", true}});
    Json list = Json::array();
    for (const ParamDifference& difference : differences) {
        const std::string now = difference.drive ? std::to_string(*difference.drive) : "has none";
        table.Row({std::to_string(difference.axis), ToText(difference.id), now,
                   std::to_string(difference.file)});
        list.push_back(ToJson(difference));
    }
    if (differences.empty()) {
        context.out.Line("nothing differs");
    } else {
        context.out.Show(table);
    }
    return list;
}

ExitCode DiffParams(Context& context, const ParamsOptions& options)
{
    Controller& controller = context.Connected();
    const std::vector<ParamDifference> differences =
        Differences(controller, Kept(controller, options));
    context.out.Show(Json{{"differences", ShowDifferences(context, differences)}});
    return kDone;
}

/// Another kind of drive takes the same numbers for something else.
void CheckDrives(Controller& controller, const std::vector<DriveParams>& kept)
{
    ParamReader reader(controller);
    for (const DriveParams& drive : kept) {
        const Identification now = reader.ReadIdentification(drive.axis);
        if (now[0] == drive.identification[0] && now[1] == drive.identification[1]) continue;
        throw Failure(kUsage, controller.AxisText(drive.axis) + " has a drive " + now[0] + " " +
                                  now[1] + ", the file is of a " + drive.identification[0] + " " +
                                  drive.identification[1] +
                                  " (--other-drive restores all the same)");
    }
}

/// What came of a restore, as far as it went.
struct Restored
{
    Json written = Json::array();
    Json refused = Json::array();
    std::string ended; ///< what ended it early
    int code = 0;      ///< and the result that it had
    ExitCode exit = kDone;
};

void WriteDifferences(Context& context, const std::vector<ParamDifference>& differences,
                      Restored& restored)
{
    Controller& controller = context.Connected();
    for (const ParamDifference& difference : differences) {
        if (Interrupted()) throw Failure(kInterrupted, "interrupted");
        if (!difference.drive) continue;
        Json json = ToJson(difference);
        const short result = WriteParam(controller, static_cast<unsigned short>(difference.axis),
                                        difference.id, difference.file);
        if (result > 0) {
            json["result"] = result;
            restored.refused.push_back(json);
            restored.exit = kRefused;
            continue;
        }
        Expect(result, "write parameter " + ToText(difference.id));
        restored.written.push_back(json);
        context.out.Progress(std::to_string(restored.written.size()) + " of " +
                             std::to_string(differences.size()) + " written");
    }
}

void ShowRestored(Context& context, const Restored& restored, const Json& differences, bool saved)
{
    context.out.EndProgress();
    const auto list = [&](const char* title, const Json& entries) {
        if (entries.empty()) return;
        context.out.Line(title);
        for (const Json& entry : entries) {
            std::string line = "  axis " + entry["axis"].dump() + "  " +
                               entry["parameter"].get<std::string>() + " = " + entry["file"].dump();
            if (entry.contains("result")) line += ": " + CodeText(entry["result"].get<int>());
            context.out.Line(line);
        }
    };
    list("written:", restored.written);
    list("refused:", restored.refused);
    if (saved) context.out.Line("saved");
    if (!restored.ended.empty())
        context.out.Line(context.out.Painted({restored.ended, Style::kBad}));
    Json json = {{"differences", differences},
                 {"written", restored.written},
                 {"refused", restored.refused},
                 {"saved", saved}};
    if (!restored.ended.empty()) {
        json["error"] = {{"message", restored.ended}, {"exit", restored.exit}};
        if (restored.code != 0) json["error"]["code"] = restored.code;
    }
    context.out.Show(json);
}

ExitCode RestoreParams(Context& context, const ParamsOptions& options)
{
    Controller& controller = context.Connected();
    const std::vector<DriveParams> kept = Kept(controller, options);
    if (!options.otherDrive) CheckDrives(controller, kept);
    const std::vector<ParamDifference> differences = Differences(controller, kept);
    const Json shown = ShowDifferences(context, differences);
    if (!differences.empty()) {
        context.Confirm("Write " + std::to_string(differences.size()) + " parameters?",
                        options.yes);
    }
    Restored restored;
    bool saved = false;
    try {
        WriteDifferences(context, differences, restored);
        for (const DriveParams& drive : kept) {
            ApplyAndSave(controller, static_cast<unsigned short>(drive.axis), options);
        }
        saved = options.save;
    } catch (const Failure& failure) {
        restored.ended = failure.what();
        restored.code = failure.Code();
        restored.exit = failure.Exit();
    }
    ShowRestored(context, restored, shown, saved);
    return restored.exit;
}

using ParamsVerb = ExitCode (*)(Context&, const ParamsOptions&);

CLI::App& AddPart(Program& program, CLI::App& outer, const char* name, const char* summary,
                  const std::shared_ptr<ParamsOptions>& options, ParamsVerb verb)
{
    return program.AddVerb(outer, name, summary,
                           [options, verb](Context& context) { return verb(context, *options); });
}

void AddRanges(CLI::App& app, ParamsOptions& options)
{
    app.add_option("--groups", options.groups, "classes that are looked at")
        ->type_name("A-B")
        ->capture_default_str();
    app.add_option("--numbers", options.numbers, "numbers that are looked at in each")
        ->type_name("A-B")
        ->capture_default_str();
}

void AddAxes(CLI::App& app, ParamsOptions& options)
{
    app.add_option("axes", options.axes, "axes; all of them unless named")->type_name("AXIS");
}

void AddKeeping(CLI::App& app, ParamsOptions& options)
{
    app.add_flag("--apply", options.apply, "validate afterwards; the servo has to be off");
    app.add_flag("--save", options.save, "save to the drive's EEPROM afterwards");
}

} // namespace

void AddParams(Program& program)
{
    const auto options = std::make_shared<ParamsOptions>();
    CLI::App& outer = program.AddVerb(
        {"params", Group::kKeep, "read, write, keep and restore drive parameters", kParamsManual},
        {});
    const auto addFile = [&](CLI::App& app) {
        app.add_option("file", options->file, "the file")->required()->type_name("FILE");
    };
    CLI::App& list = AddPart(program, outer, "list", "show all parameters", options, ListParams);
    AddAxes(list, *options);
    AddRanges(list, *options);
    CLI::App& get = AddPart(program, outer, "get", "show some parameters", options, GetParams);
    get.add_option("axis", options->axis, "the axis")->required()->type_name("AXIS");
    get.add_option("parameters", options->ids, "such as 1.0")->required()->type_name("C.N");
    CLI::App& set = AddPart(program, outer, "set", "write a parameter", options, SetParam);
    set.add_option("axis", options->axis, "the axis")->required()->type_name("AXIS");
    set.add_option("parameter", options->id, "such as 1.0")->required()->type_name("C.N");
    set.add_option("value", options->value, "in the drive's own unit")->required();
    AddKeeping(set, *options);
    CLI::App& backup =
        AddPart(program, outer, "backup", "keep all in a file", options, BackupParams);
    addFile(backup);
    AddAxes(backup, *options);
    AddRanges(backup, *options);
    CLI::App& diff =
        AddPart(program, outer, "diff", "show what differs from a file", options, DiffParams);
    addFile(diff);
    AddAxes(diff, *options);
    CLI::App& restore = AddPart(program, outer, "restore", "write what differs from a file",
                                options, RestoreParams);
    addFile(restore);
    AddAxes(restore, *options);
    AddKeeping(restore, *options);
    restore.add_flag("--other-drive", options->otherDrive, "even to another kind of drive");
    restore.add_flag("--yes", options->yes, "do not ask");
}

} // namespace zelq::tool
