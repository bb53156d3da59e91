#include "frame/program.h"

#include "frame/system.h"
#include "zelq_errors.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace zelq::tool {

namespace {

constexpr std::string_view kJsonOption = "--json";

constexpr const char* kDescription = "Finds, watches, moves and keeps ZEL Lumo motion controllers.";

constexpr const char* kFooter =
    R"(A controller is named by its network and its number, the last octet of its address, or by a name
in the configuration file, zelq/config.json where your settings are:

  { "default": "press1",
    "targets": { "press1": { "network": "192.168.0", "controller": 3, "port": 502,
      "axes": { "0": { "name": "X", "unit": "mm", "unitPerPulse": 0.001,
                       "maxDistance": 50, "maxSpeed": 20 } } } } }

Axes are written as 0, 2-5, 0,3, all, or by their names. Positions and speeds are in the units of
the file, else in pulses. The limits hold for jog, move, home, search and speed; programs of the
controller ("sequence") and single functions ("call") go by them no more than other programs do.

Exit codes: 0 done; 1 the controller refused; 2 usage; 3 no connection; 4 lost on the way;
130 interrupted (what the verb had set in motion has been stopped).

"zelq VERB --help" tells more of a verb.)";

void PrintError(const std::string& message)
{
    const bool colours = IsTerminal(Stream::kError);
    std::fprintf(stderr, "%s %s\n",
                 colours ? Paint({"zelq:", Style::kBad}).c_str() : "zelq:", message.c_str());
}

int Report(const Output& out, const Failure& failure)
{
    if (out.IsJson()) {
        Json error = {{"message", failure.what()}, {"exit", failure.Exit()}};
        if (failure.Code() != 0) {
            error["code"] = failure.Code();
            error["name"] = ZelqErrorName(nullptr, failure.Code());
            error["remedy"] = ZelqErrorRemedy(nullptr, failure.Code());
        }
        out.Show(Json{{"error", error}});
    } else {
        PrintError(failure.what());
        if (failure.Code() != 0) {
            std::fprintf(stderr, "  %s\n", ZelqErrorRemedy(nullptr, failure.Code()));
        }
    }
    return failure.Exit();
}

} // namespace

const char* TitleOf(Group group)
{
    switch (group) {
    case Group::kFind:
        return "Find";
    case Group::kWatch:
        return "Watch";
    case Group::kMove:
        return "Move";
    case Group::kKeep:
        return "Keep";
    case Group::kSee:
        return "See";
    case Group::kCall:
        return "Call";
    case Group::kHelp:
        return "Help";
    }
    return "";
}

const Settings& Context::Configuration()
{
    if (settings_ == nullptr) settings_ = std::make_unique<Settings>(Settings::Load(file_));
    return *settings_;
}

Target Context::Meant()
{
    return ResolveTarget(options_, Configuration());
}

Controller& Context::Connected()
{
    if (controller_ == nullptr) controller_ = std::make_unique<Controller>(Meant());
    return *controller_;
}

void Context::Confirm(const std::string& question, bool yes) const
{
    if (yes) return;
    std::fprintf(stderr, "%s [y/N] ", question.c_str());
    std::fflush(stderr);
    const std::string answer = ReadLine().value_or("");
    if (Interrupted()) throw Failure(kInterrupted, "interrupted; nothing was done");
    if (answer != "y" && answer != "yes") {
        throw Failure(kUsage, "nothing was done (--yes goes on without asking)");
    }
}

Program::Program() : root_(kDescription, "zelq")
{
    root_.footer(kFooter);
    root_.require_subcommand(1);
    root_.set_version_flag("--version", "zelq " ZELQ_VERSION);
    root_.add_option("-t,--target", options_.name, "a name in the configuration file")
        ->type_name("NAME");
    root_.add_option("--network", options_.network, "first three octets of the address")
        ->type_name("A.B.C");
    root_.add_option("--controller", options_.controller, "controller number, the last octet")
        ->check(CLI::Range(1, 254))
        ->type_name("N");
    root_.add_option("--port", options_.port, "TCP port, 502 unless the file says otherwise")
        ->check(CLI::Range(1, 65535))
        ->type_name("PORT");
    root_.add_option("--config", file_, "the configuration file")->type_name("FILE");
    root_.add_flag(std::string(kJsonOption), json_, "write JSON for programs");
}

CLI::App& Program::AddVerb(const VerbText& text, Action action)
{
    CLI::App* verb = root_.add_subcommand(text.name, text.summary);
    verb->group(TitleOf(text.group))->footer(text.manual)->fallthrough();
    if (action != nullptr) actions_[verb] = std::move(action);
    return *verb;
}

CLI::App& Program::AddVerb(CLI::App& outer, const std::string& name, const std::string& summary,
                           Action action)
{
    outer.require_subcommand(1);
    CLI::App* verb = outer.add_subcommand(name, summary);
    verb->fallthrough();
    actions_[verb] = std::move(action);
    return *verb;
}

const Action& Program::Chosen()
{
    const CLI::App* verb = &root_;
    while (!verb->get_subcommands().empty()) {
        verb = verb->get_subcommands().front();
    }
    return actions_.at(verb);
}

int Program::Perform(Context& context)
{
    try {
        const ExitCode exit = Chosen()(context);
        context.out.EndProgress();
        return exit;
    } catch (const Failure& failure) {
        context.out.EndProgress();
        return Report(context.out, failure);
    }
}

std::string Program::WrongUsage(const CLI::ParseError& error) const
{
    const bool noVerb = root_.get_subcommands().empty() &&
                        dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
    if (!noVerb) return error.what();
    const std::vector<std::string> words = root_.remaining();
    return (words.empty() ? "a verb is missing" : "\"" + words.front() + "\" is no verb") +
           "; \"zelq --help\" lists them";
}

int Program::Run(int argc, char** argv)
{
    try {
        root_.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return root_.exit(error);
        const bool json =
            std::any_of(argv, argv + argc, [](const char* word) { return word == kJsonOption; });
        return Report(Output(json), Failure(kUsage, WrongUsage(error)));
    }
    CatchInterrupts();
    Context context(options_, file_, json_);
    return Perform(context);
}

} // namespace zelq::tool
