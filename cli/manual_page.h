// A program's manual page, made from its own options and verbs. Both command lines have one; in a
// header, since CLI11 takes longer to read than all that is written here.
#ifndef ZELQ_CLI_MANUAL_PAGE_H
#define ZELQ_CLI_MANUAL_PAGE_H

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <sstream>
#include <string>
#include <vector>

namespace zelq::cli {

/// A line as the formatter is to take it: what it means to other lines is nothing here.
inline std::string Escaped(const std::string& line)
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
inline std::string Paragraphs(const std::string& text)
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

inline std::string OptionsOf(const CLI::App& app)
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

inline void AddVerbs(const CLI::App& app, const std::string& path, std::string& page)
{
    for (const CLI::App* verb : app.get_subcommands({})) {
        const std::string name = path + verb->get_name();
        page += ".SS \"" + Escaped(name) + "\"\n" + Escaped(verb->get_description()) + ".\n";
        if (!verb->get_footer().empty()) page += Paragraphs(verb->get_footer());
        page += OptionsOf(*verb);
        AddVerbs(*verb, name + ' ', page);
    }
}

/// `version` is that of zelQ, such as "1.0.0".
inline std::string ManualPage(const CLI::App& root, const std::string& version)
{
    const std::string& name = root.get_name();
    std::string title = name;
    std::transform(title.begin(), title.end(), title.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    const bool hasVerbs = !root.get_subcommands({}).empty();
    std::string page = ".TH " + Escaped(title) + " 1 \"\" \"zelQ " + version + "\"\n.SH NAME\n" +
                       Escaped(name) + " \\- " + Escaped(root.get_description()) +
                       "\n.SH SYNOPSIS\n.B " + Escaped(name) + "\n[\\fIoptions\\fR]" +
                       (hasVerbs ? " \\fIverb\\fR ..." : "") + "\n.SH DESCRIPTION\n" +
                       Paragraphs(root.get_footer()) + ".SH OPTIONS\n" + OptionsOf(root);
    if (hasVerbs) page += ".SH VERBS\n";
    AddVerbs(root, "", page);
    return page;
}

} // namespace zelq::cli

#endif
