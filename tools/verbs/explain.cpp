#include "call/call_frame.h"
#include "call/function_text.h"
#include "frame/program.h"
#include "verbs/verbs.h"
#include "zelq_errors.h"

#include <charconv>
#include <optional>

namespace zelq::tool {

namespace {

constexpr const char* kExplainManual =
    R"(Tells what a result means, what it likely comes from and what to do; of a function, what it does,
what it takes and what it returns. Without arguments it lists all results. It needs no controller.

Results above 0 are the controller's own; those whose names begin with SIM_ are the simulated
controller's, and another one can mean something else by them.

  zelq explain -2004
  zelq explain -3 --of zelQ_PingCheck
  zelq explain zelQ_MoveAbs)";

struct ExplainOptions
{
    std::vector<std::string> subjects;
    std::string of;
};

std::optional<int> ToResult(const std::string& text)
{
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < INT16_MIN || number > INT16_MAX) {
        return std::nullopt;
    }
    return number;
}

const Function& Wanted(const std::string& name)
{
    const Function* function = FindFunction(name);
    if (function == nullptr) {
        throw Failure(kUsage, "\"" + name + "\" is neither a result nor a function of the library");
    }
    return *function;
}

Json RowJson(int result, const ZelqError& row)
{
    const char* source = result <= 0 ? "library" : "controller";
    Json json = {{"result", result}, {"name", row.name}, {"source", source}};
    if (row.function != nullptr) json["function"] = row.function;
    json["text"] = row.text;
    json["causes"] = row.causes;
    json["remedy"] = row.remedy;
    return json;
}

Json ExplainResult(Context& context, int result, const Function* of)
{
    const ZelqError& row = *ZelqErrorRow(of != nullptr ? of->name : nullptr, result);
    const Output& out = context.out;
    out.Line(out.Painted({std::to_string(result) + " " + row.name, Style::kBold}));
    out.Line("  " + std::string(row.text));
    out.Line("  Likely causes: " + std::string(row.causes));
    out.Line("  What to do: " + std::string(row.remedy));
    Json json = RowJson(result, row);
    if (of != nullptr) {
        out.Line("  " + std::string(of->name) + " returns: " + of->returns);
        json["returns"] = of->returns;
    }
    return json;
}

Json ExplainFunction(Context& context, const Function& function)
{
    for (const std::string& line : LinesOf(function)) {
        context.out.Line(line);
    }
    return JsonOf(function);
}

Json ListResults(Context& context)
{
    Json list = Json::array();
    Table table({{"result", true}, {"name"}, {"meaning"}});
    for (std::size_t i = 0; const ZelqError* row = ZelqErrorAt(i); ++i) {
        std::string text = row->text;
        if (row->function != nullptr) text += " (" + std::string(row->function) + ")";
        table.Row({std::to_string(row->first), row->name, std::move(text)});
        list.push_back(RowJson(row->first, *row));
    }
    context.out.Show(table);
    return list;
}

ExitCode Explain(Context& context, const ExplainOptions& options)
{
    const Function* of = options.of.empty() ? nullptr : &Wanted(options.of);
    Json list = Json::array();
    for (const std::string& subject : options.subjects) {
        if (!list.empty()) context.out.Line("");
        const std::optional<int> result = ToResult(subject);
        list.push_back(result ? ExplainResult(context, *result, of)
                              : ExplainFunction(context, Wanted(subject)));
    }
    if (options.subjects.empty()) list = ListResults(context);
    context.out.Show(list);
    return kDone;
}

} // namespace

void AddExplain(Program& program)
{
    auto options = std::make_shared<ExplainOptions>();
    CLI::App& app = program.AddVerb(
        {"explain", Group::kCall, "tell what a result or a function means", kExplainManual},
        [options](Context& context) { return Explain(context, *options); });
    app.add_option("what", options->subjects, "results, or names of functions")
        ->type_name("RESULT|FUNCTION");
    app.add_option("--of", options->of, "the function that gave the result")->type_name("FUNCTION");
}

} // namespace zelq::tool
