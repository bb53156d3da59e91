#include "frame/program.h"
#include "verbs/verbs.h"

#include <sstream>

namespace zelq::tool {

namespace {

constexpr const char* kManualManual =
    R"(Writes the manual page, for "man": every verb with its options, from the texts of --help.

  zelq manual > zelq.1; man ./zelq.1)";

/// A line as the formatter is to take it: what it means to other lines is nothing here.
std::string Escaped(const std::string& line)
{
    std::string escaped;
    if (!line.empty() && (line.front() == '.' || line.front() == '\'')) escaped = "\\&";
    for (const char letter : line) {
        if (letter == '\\')
            escaped += "\\e";
        else if (letter == '-')
            escaped += "\\-";
        else
            escaped += letter;
    }
    return escaped;
}

/// Paragraphs are filled; what is indented stays line by line.
std::string Paragraphs(const std::string& text)
{
    std::string page = ".PP\n";
    bool isVerbatim = false;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (line.empty()) {
            page += isVerbatim ? "\n" : ".PP\n";
            continue;
        }
        const bool isIndented = line.starts_with("  ");
        if (isIndented != isVerbatim) page += isIndented ? ".PP\n.nf\n" : ".fi\n.PP\n";
        isVerbatim = isIndented;
        page += Escaped(line) + '\n';
    }
    return page + (isVerbatim ? ".fi\n" : "");
}

std::string OptionsOf(const CLI::App& app)
{
    std::string page;
    for (const CLI::Option* option : app.get_options({})) {
        if (option->get_lnames() == std::vector<std::string>{"help"}) continue;
        const std::string type = option->get_type_name();
        const bool takesValue = option->get_items_expected_max() > 0 && !type.empty();
        page += ".TP\n.B " + Escaped(option->get_name(false, true)) +
                (takesValue ? " \\fI" + Escaped(type) + "\\fR" : "") + '\n' +
                Escaped(option->get_description()) + '\n';
    }
    return page;
}

void AddVerbs(const CLI::App& app, const std::string& path, std::string& page)
{
    for (const CLI::App* verb : app.get_subcommands({})) {
        const std::string name = path + verb->get_name();
        page += ".SS \"" + Escaped(name) + "\"\n" + Escaped(verb->get_description()) + ".\n";
        if (!verb->get_footer().empty()) page += Paragraphs(verb->get_footer());
        page += OptionsOf(*verb);
        AddVerbs(*verb, name + ' ', page);
    }
}

std::string Page(const CLI::App& root)
{
    std::string page = ".TH ZELQ 1 \"\" \"zelQ " ZELQ_VERSION "\"\n.SH NAME\nzelq \\- " +
                       Escaped(root.get_description()) +
                       "\n.SH SYNOPSIS\n.B zelq\n[\\fIoptions\\fR] \\fIverb\\fR ...\n"
                       ".SH DESCRIPTION\n" +
                       Paragraphs(root.get_footer()) + ".SH OPTIONS\n" + OptionsOf(root) +
                       ".SH VERBS\n";
    AddVerbs(root, "", page);
    return page;
}

} // namespace

void AddManual(Program& program)
{
    program.AddVerb({"manual", Group::kHelp, "write the manual page", kManualManual},
                    [&program](Context& context) {
                        const std::string page = Page(program.Root());
                        context.out.Show(Json{{"page", page}});
                        if (!context.out.IsJson()) Write(page);
                        return kDone;
                    });
}

} // namespace zelq::tool
