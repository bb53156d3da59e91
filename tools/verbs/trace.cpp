#include "frame/program.h"
#include "frame/system.h"
#include "see/trace_source.h"
#include "verbs/verbs.h"
#include "zelq_errors.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <ctime>
#include <fstream>

namespace zelq::tool {

namespace {

constexpr const char* kTraceManual =
    R"(Shows the lines that the library writes about each finished call, of every program of this user:
when it came, the time since the line before it, the call and its result; failures with what they
mean. It is the trace viewer: there can be only one at a time. Ctrl-C ends it.

What is shown can be chosen by controller, function and failure. --write keeps every line that
comes, shown or not, in a file; --read shows such a file again. Programs are never held up: where
this one is too slow, the oldest lines are lost, and it tells how many.

  zelq trace --failures
  zelq trace --number 3 --function Move --write monday.trace
  zelq trace --read monday.trace --failures --json)";

constexpr double kMicrosInMs = 1000.0;

struct TraceOptions
{
    std::vector<int> numbers;
    std::vector<std::string> functions;
    bool failures = false;
    std::string write;
    std::string read;
    int count = 0;
    double seconds = 0;
};

std::string LowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

bool IsWanted(const TraceOptions& options, const TraceLine& line)
{
    if (options.failures && !line.failed) return false;
    const auto isNumber = [&](int number) { return line.controller == number; };
    if (!options.numbers.empty() &&
        std::none_of(options.numbers.begin(), options.numbers.end(), isNumber)) {
        return false;
    }
    const std::string name = LowerCase(line.function);
    const auto isNamed = [&](const std::string& part) {
        return name.find(LowerCase(part)) != std::string::npos;
    };
    return options.functions.empty() ||
           std::any_of(options.functions.begin(), options.functions.end(), isNamed);
}

/// "22:30:01.123"; blanks for a time that nobody knows.
std::string ClockText(Microseconds at)
{
    if (at == 0) return std::string(12, ' ');
    const auto seconds = static_cast<std::time_t>(at / 1'000'000);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%H:%M:%S", std::localtime(&seconds));
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03d", static_cast<int>(at / 1000 % 1000));
    return std::string(text.data()) + fraction.data();
}

/// Shows the lines that are wanted, and counts them.
class TraceView
{
  public:
    TraceView(Context& context, const TraceOptions& options) : context_(context), options_(options)
    {}

    void Show(const TraceLine& line)
    {
        if (IsFull() || !IsWanted(options_, line)) return;
        std::optional<double> since;
        if (last_ != 0 && line.at != 0) since = static_cast<double>(line.at - last_) / kMicrosInMs;
        last_ = line.at;
        ++shown_;
        if (line.failed) ++failed_;
        if (context_.out.IsJson()) {
            ShowJson(line, since);
        } else {
            ShowText(line, since);
        }
    }

    [[nodiscard]] bool IsFull() const { return options_.count > 0 && shown_ >= options_.count; }
    [[nodiscard]] int Shown() const { return shown_; }
    [[nodiscard]] int Failed() const { return failed_; }

  private:
    void ShowJson(const TraceLine& line, std::optional<double> since) const
    {
        Json json = {{"time", static_cast<double>(line.at) / 1e6}};
        if (since) json["sinceMs"] = *since;
        if (line.function.empty()) {
            json["text"] = line.text;
        } else {
            json["function"] = line.function;
            json["arguments"] = line.arguments;
            if (line.result) json["result"] = *line.result;
        }
        if (line.controller) json["controller"] = *line.controller;
        json["failed"] = line.failed;
        if (line.failed && line.result) {
            const ZelqError& row = *ZelqErrorRow(line.function.c_str(), *line.result);
            json["name"] = row.name;
            json["meaning"] = row.text;
        }
        context_.out.Show(json);
    }

    void ShowText(const TraceLine& line, std::optional<double> since) const
    {
        const Output& out = context_.out;
        std::string gap = since ? "+" + Fixed(*since, 1) + " ms" : "";
        gap.insert(0, gap.size() < 12 ? 12 - gap.size() : 0, ' ');
        std::string call = line.text;
        if (!line.function.empty()) {
            call = line.function + "(" + line.arguments + ")";
            if (line.result) call += " = " + std::to_string(*line.result);
        }
        if (line.failed && line.result) {
            const ZelqError& row = *ZelqErrorRow(line.function.c_str(), *line.result);
            call += std::string(" ") + row.name + ": " + row.text;
        }
        out.Line(out.Painted({ClockText(line.at) + gap, Style::kDim}) + "  " +
                 out.Painted({call, line.failed ? Style::kBad : Style::kPlain}));
    }

    Context& context_;
    const TraceOptions& options_;
    Microseconds last_ = 0;
    int shown_ = 0;
    int failed_ = 0;
};

void ShowFile(const std::string& name, TraceView& view)
{
    std::ifstream file(name, std::ios::binary);
    if (!file) throw Failure(kUsage, "cannot read " + name);
    for (std::string text; !view.IsFull() && !Interrupted() && std::getline(file, text);) {
        view.Show(FromFileLine(text));
    }
}

void ShowLive(Context& context, const TraceOptions& options, TraceView& view)
{
    std::ofstream file;
    if (!options.write.empty()) {
        file.open(options.write, std::ios::binary | std::ios::trunc);
        if (!file) throw Failure(kUsage, "cannot write " + options.write);
    }
    TraceSource source;
    // Whoever has started this one knows that lines are taken from now on.
    context.out.Line("taking trace lines; Ctrl-C ends");
    context.out.Show(Json{{"viewer", "ready"}});
    const Microseconds start = Now();
    const auto isOver = [&] {
        return options.seconds > 0 && static_cast<double>(Now() - start) / 1e6 >= options.seconds;
    };
    while (!view.IsFull() && !Interrupted() && !isOver()) {
        for (const TraceLine& line : source.Lines().Take(Milliseconds(50))) {
            if (file.is_open()) file << ToFileLine(line);
            view.Show(line);
        }
        if (file.is_open() && !file.flush()) {
            throw Failure(kUsage, "cannot write " + options.write);
        }
    }
    const std::size_t lost = source.Lines().Lost();
    if (lost > 0) context.out.Line(std::to_string(lost) + " lines were lost: too slow a reader");
}

ExitCode Trace(Context& context, const TraceOptions& options)
{
    TraceView view(context, options);
    if (options.read.empty()) {
        ShowLive(context, options, view);
    } else {
        ShowFile(options.read, view);
    }
    context.out.Line(std::to_string(view.Shown()) + " lines, " + std::to_string(view.Failed()) +
                     " of them failures");
    return kDone;
}

} // namespace

void AddTrace(Program& program)
{
    auto options = std::make_shared<TraceOptions>();
    CLI::App& app = program.AddVerb(
        {"trace", Group::kSee, "show the calls of all programs as they happen", kTraceManual},
        [options](Context& context) { return Trace(context, *options); });
    app.add_option("--number", options->numbers, "calls for this controller only")
        ->check(CLI::Range(1, 254))
        ->delimiter(',')
        ->type_name("N,...");
    app.add_option("--function", options->functions, "functions with this in their names")
        ->delimiter(',')
        ->type_name("TEXT,...");
    app.add_flag("--failures", options->failures, "calls that have failed only");
    CLI::Option* write =
        app.add_option("--write", options->write, "keep every line in a file")->type_name("FILE");
    app.add_option("--read", options->read, "show the lines of a file")
        ->type_name("FILE")
        ->excludes(write);
    app.add_option("--count", options->count, "end after so many lines")
        ->check(CLI::Range(1, 1 << 30));
    app.add_option("--for", options->seconds, "end after so many seconds")
        ->check(CLI::PositiveNumber)
        ->type_name("SECONDS");
}

} // namespace zelq::tool
