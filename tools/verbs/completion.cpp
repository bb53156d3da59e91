#include "frame/program.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kCompletionManual =
    R"(Writes what lets a shell complete verbs, options and target names with the tabulator key.

  source <(zelq completion bash))";

/// Of one verb: what can stand behind it, and what behind each of its options.
struct Completions
{
    std::string known;  ///< patterns of all verbs, such as /alarms/list
    std::string words;  ///< cases: the words behind each verb
    std::string values; ///< cases: the words behind each option that has choices
};

/// "on|off" as "on off"; "" where the type is no choice.
std::string ChoicesOf(const CLI::Option& option)
{
    std::string choices = option.get_type_name();
    if (choices.find('|') == std::string::npos) return "";
    std::replace(choices.begin(), choices.end(), '|', ' ');
    return choices;
}

void AddCases(const CLI::App& app, const std::string& path, Completions& completions)
{
    std::string words;
    for (const CLI::Option* option : app.get_options({})) {
        const std::string choices = ChoicesOf(*option);
        if (option->get_positional()) words += ' ' + choices;
        for (const std::string& name : option->get_lnames()) {
            words += " --" + name;
            if (choices.empty()) continue;
            completions.values.append("    ").append(path).append(":--").append(name);
            completions.values.append(") words='").append(choices).append("' ;;\n");
        }
    }
    for (const CLI::App* verb : app.get_subcommands({})) {
        const std::string inner = path + '/' + verb->get_name();
        words += ' ' + verb->get_name();
        completions.known += (completions.known.empty() ? "" : "|") + inner;
        AddCases(*verb, inner, completions);
    }
    completions.words += "    '" + path + "') words='" + words + "' ;;\n";
}

std::string BashScript(const CLI::App& root)
{
    Completions completions;
    AddCases(root, "", completions);
    return R"(# Completion of zelq for bash.
_zelq() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} path='' words='' i
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; i++)); do
    case $path/${COMP_WORDS[i]} in
    )" + completions.known +
           R"() path=$path/${COMP_WORDS[i]} ;;
    esac
  done
  case $path in
)" + completions.words +
           R"(  esac
  case $path:$previous in
    *:-t | *:--target) words=$(zelq completion targets 2>/dev/null) ;;
    *:--config) compopt -o default; return ;;
)" + completions.values +
           R"(  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  # Whatever else stands there can be the name of a file.
  if [ ${#COMPREPLY[@]} -eq 0 ]; then compopt -o default 2>/dev/null || true; fi
}
complete -F _zelq zelq
)";
}

ExitCode ListTargets(Context& context)
{
    Json names = Json::array();
    for (const auto& [name, target] : context.Configuration().Targets()) {
        context.out.Line(name);
        names.push_back(name);
    }
    context.out.Show(Json{{"targets", names}});
    return kDone;
}

} // namespace

void AddCompletion(Program& program)
{
    CLI::App& app = program.AddVerb(
        {"completion", Group::kHelp, "let a shell complete what is typed", kCompletionManual},
        nullptr);
    program.AddVerb(app, "bash", "the script for bash", [&program](Context& context) {
        const std::string script = BashScript(program.Root());
        context.out.Show(Json{{"script", script}});
        if (!context.out.IsJson()) Write(script);
        return kDone;
    });
    program.AddVerb(app, "targets", "the names in the configuration file", ListTargets);
}

} // namespace zelq::tool
