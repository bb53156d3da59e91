#include "call/call_words.h"
#include "call/function_text.h"
#include "frame/program.h"
#include "frame/system.h"
#include "verbs/verbs.h"
#include "zelq_errors.h"

#include <fstream>

namespace zelq::tool {

namespace {

constexpr const char* kCallManual =
    R"(Calls functions of the library by their names, for what has no verb of its own, and shows their
results and outputs. "zelq explain FUNCTION" tells what a function takes; --list lists them all.

Arguments follow the function: as NAME=VALUE, or together as one JSON object. Lists are JSON arrays,
records are objects, bytes are arrays or texts, null is a null pointer. How many elements a list has
need not be told where it follows from the lists. The controller number is filled in, and the
controller is connected, unless zelNo is given.

Several functions are called one after the other over one connection, up to the first that fails;
--file takes long lists of them.

The library asks nothing, and the limits of the configuration file do not hold here.

  zelq -t press1 call zelQ_MoveAbs axis=0 pos=1000
  zelq -t press1 call zelQ_mMonitorRead 'axes=[0,0]' 'monitorNos=[5,7]' --json
  zelq -t press1 call UnitPerPulseSet axis=0 unitPerPulse=0.001 MoveAbs axis=0 pos=12.5
  zelq call zelQ_GetEnumList address=[192,168,0,255] unused=0)";

struct CallOptions
{
    std::vector<std::string> words;
    std::string file;
    bool list = false;
    bool keepGoing = false;
};

/// [{"function": "zelQ_MoveAbs", "arguments": {"axis": 0, "pos": 1000}}, ...]
void ReadCalls(const std::string& name, std::vector<NamedCall>& calls)
{
    std::ifstream file(name, std::ios::binary);
    if (!file) throw Failure(kUsage, "cannot read " + name);
    const Json list = Json::parse(file, nullptr, false);
    if (!list.is_array()) throw Failure(kUsage, name + " holds no list of calls in JSON");
    for (const Json& entry : list) {
        const Json arguments =
            entry.is_object() ? entry.value("arguments", Json::object()) : Json();
        if (!arguments.is_object() || !entry.value("function", Json()).is_string()) {
            throw Failure(kUsage, name + ": " + entry.dump() + " is no call");
        }
        const Function& function = NamedFunction(entry["function"].get<std::string>());
        calls.push_back({&function, arguments});
    }
}

/// Fills in which controller is meant, and sees that it is connected.
void FillNumber(Context& context, NamedCall& call)
{
    if (!HasNumber(*call.function) || call.arguments.contains("zelNo")) return;
    const Target target = context.Meant();
    call.arguments["zelNo"] = target.number;
    if (call.function->session) {
        context.Connected();
    } else {
        zelQ_SetNetPortNum(target.number, target.port);
    }
}

ExitCode ExitOf(const Function& function, const Json& result)
{
    if (function.kind == ResultKind::kNone || function.kind == ResultKind::kValue) return kDone;
    const int code = result.get<int>();
    if (function.kind == ResultKind::kCount && code >= 0) return kDone;
    const bool neverThere = code == ZELQ_NO_SESSION || code == ZELQ_NOT_OPEN || !function.session;
    const ExitCode exit = ExitCodeOf(code);
    return exit == kLost && neverThere ? kNoConnection : exit;
}

void ShowOutput(Context& context, const std::string& name, const Json& value)
{
    const bool deep =
        value.is_object() || (value.is_array() && !value.empty() && value.front().is_structured());
    std::string text = value.dump(deep ? 2 : -1);
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 3) {
        text.insert(at + 1, "  ");
    }
    context.out.Line("  " + name + " = " + text);
}

/// Only results that are codes have a meaning to be told.
bool IsCode(const Function& function, ExitCode exit)
{
    return function.kind == ResultKind::kCode ||
           (function.kind == ResultKind::kCount && exit != kDone);
}

ExitCode RunCall(Context& context, NamedCall& call, Json& calls)
{
    const Function& function = *call.function;
    FillNumber(context, call);
    CallFrame frame(function, std::move(call.arguments));
    frame.Run();
    const ExitCode exit = ExitOf(function, frame.Result());
    Json json = {{"function", function.name}, {"result", frame.Result()}};
    std::string line = function.name;
    if (function.kind != ResultKind::kNone) line += " = " + frame.Result().dump();
    if (IsCode(function, exit)) {
        const ZelqError& row = *ZelqErrorRow(function.name, frame.Result().get<int>());
        json["name"] = row.name;
        line += std::string(" ") + row.name;
        if (exit != kDone) {
            json["text"] = row.text;
            json["remedy"] = row.remedy;
            line += std::string(": ") + row.text + "\n  " + row.remedy;
        }
    }
    json["outputs"] = frame.Outputs(exit == kDone);
    context.out.Line(context.out.Painted({line, exit == kDone ? Style::kPlain : Style::kBad}));
    for (const auto& [name, value] : json["outputs"].items()) {
        ShowOutput(context, name, value);
    }
    calls.push_back(std::move(json));
    return exit;
}

void ListFunctions(Context& context)
{
    Table table({{"function"}, {"what it does"}});
    Json list = Json::array();
    for (const Function& function : kFunctions) {
        table.Row({function.name, function.brief});
        list.push_back(JsonOf(function));
    }
    context.out.Show(table);
    context.out.Show(list);
}

ExitCode RunCalls(Context& context, const CallOptions& options)
{
    if (options.list) {
        ListFunctions(context);
        return kDone;
    }
    std::vector<NamedCall> wanted = ParseCalls(options.words);
    if (!options.file.empty()) ReadCalls(options.file, wanted);
    if (wanted.empty()) throw Failure(kUsage, "no function is named; see --list");
    Json calls = Json::array();
    ExitCode exit = kDone;
    for (NamedCall& call : wanted) {
        if (Interrupted()) exit = kInterrupted;
        if (exit == kInterrupted || (exit != kDone && !options.keepGoing)) break;
        const ExitCode called = RunCall(context, call, calls);
        if (exit == kDone) exit = called;
    }
    context.out.Show(Json{{"calls", calls}});
    return exit;
}

} // namespace

void AddCall(Program& program)
{
    auto options = std::make_shared<CallOptions>();
    CLI::App& app = program.AddVerb(
        {"call", Group::kCall, "call any function of the library by its name", kCallManual},
        [options](Context& context) { return RunCalls(context, *options); });
    app.add_option("words", options->words, "functions, each with its arguments behind it")
        ->type_name("FUNCTION [NAME=VALUE...]");
    app.add_option("--file", options->file,
                   "calls as a JSON list of {\"function\": ..., \"arguments\": {...}}")
        ->type_name("FILE");
    app.add_flag("--keep-going", options->keepGoing,
                 "go on past a call that fails; the exit code is that of the first");
    app.add_flag("--list", options->list, "list all functions");
}

} // namespace zelq::tool
