#include "call/function_text.h"

#include <algorithm>

namespace zelq::tool {

namespace {

constexpr std::size_t kWidth = 96;

const char* NameOf(Direction direction)
{
    switch (direction) {
    case Direction::kIn:
        return "in";
    case Direction::kOut:
        return "out";
    case Direction::kInOut:
        return "in, out";
    }
    return "";
}

/// Adds a text whose lines all begin `indent` further in than the first.
void AddWrapped(std::vector<std::string>& lines, const std::string& head, std::string text,
                std::size_t indent)
{
    std::string line = head;
    line.resize(std::max(line.size() + (head.empty() ? 0 : 2), indent), ' ');
    while (line.size() + text.size() > kWidth && text.find(' ') != std::string::npos) {
        std::size_t cut = text.rfind(' ', kWidth > line.size() ? kWidth - line.size() : 0);
        if (cut == std::string::npos) cut = text.find(' ');
        lines.push_back(line + text.substr(0, cut));
        text.erase(0, cut + 1);
        line.assign(indent, ' ');
    }
    lines.push_back(line + text);
}

std::string ElementsOf(const Parameter& parameter)
{
    if (parameter.length != nullptr) return parameter.length;
    return parameter.elements > 0 ? std::to_string(parameter.elements) : "";
}

} // namespace

std::string DeclarationOf(const Parameter& parameter)
{
    std::string text =
        parameter.direction == Direction::kIn ? "" : std::string(NameOf(parameter.direction)) + " ";
    text += std::string(parameter.type) + " " + parameter.name;
    const std::string elements = ElementsOf(parameter);
    return elements.empty() ? text : text + "[" + elements + "]";
}

std::vector<std::string> LinesOf(const Function& function)
{
    std::vector<std::string> lines = {std::string(function.type) + " " + function.name};
    AddWrapped(lines, "", function.brief, 2);
    if (*function.more != '\0') AddWrapped(lines, "", function.more, 2);
    std::size_t widest = 0;
    for (const Parameter& parameter : function.parameters) {
        widest = std::max(widest, DeclarationOf(parameter).size());
    }
    for (const Parameter& parameter : function.parameters) {
        AddWrapped(lines, "    " + DeclarationOf(parameter), parameter.text, widest + 6);
    }
    if (*function.returns != '\0') {
        AddWrapped(lines, "", "Returns: " + std::string(function.returns), 2);
    }
    return lines;
}

Json JsonOf(const Function& function)
{
    Json parameters = Json::array();
    for (const Parameter& parameter : function.parameters) {
        Json json = {{"name", parameter.name},
                     {"type", parameter.type},
                     {"direction", NameOf(parameter.direction)}};
        const std::string elements = ElementsOf(parameter);
        if (!elements.empty()) json["elements"] = elements;
        if (parameter.unit != nullptr) json["unit"] = parameter.unit;
        json["text"] = parameter.text;
        parameters.push_back(std::move(json));
    }
    return {{"function", function.name},  {"group", function.group},  {"brief", function.brief},
            {"more", function.more},      {"parameters", parameters}, {"type", function.type},
            {"returns", function.returns}};
}

} // namespace zelq::tool
