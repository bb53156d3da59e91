#include "call/call_words.h"

#include <cstring>

namespace zelq::tool {

namespace {

Json ParseValue(const std::string& text, const std::string& where)
{
    Json value = Json::parse(text, nullptr, false);
    if (value.is_discarded()) FailArgument(where, text + " is no JSON");
    return value;
}

void AddArgument(NamedCall& call, const std::string& word)
{
    const auto add = [&](const std::string& name, Json value) {
        if (call.arguments.contains(name)) FailArgument(name, "is given twice");
        call.arguments[name] = std::move(value);
    };
    if (word.front() == '{') {
        const Json object = ParseValue(word, "arguments");
        for (const auto& [name, value] : object.items()) {
            add(name, value);
        }
        return;
    }
    const std::size_t sign = word.find('=');
    const std::string name = word.substr(0, sign);
    add(name, ParseValue(word.substr(sign + 1), name));
}

} // namespace

const Function& NamedFunction(const std::string& name)
{
    const Function* function = FindFunction(name);
    if (function != nullptr) return *function;
    throw Failure(kUsage,
                  "\"" + name + "\" is no function of the library; see \"zelq call --list\"");
}

std::vector<NamedCall> ParseCalls(const std::vector<std::string>& words)
{
    std::vector<NamedCall> calls;
    for (const std::string& word : words) {
        const bool isArgument =
            !word.empty() && (word.front() == '{' || word.find('=') != std::string::npos);
        if (!isArgument) {
            calls.push_back({&NamedFunction(word)});
        } else if (!calls.empty()) {
            AddArgument(calls.back(), word);
        } else {
            throw Failure(kUsage, "\"" + word + "\" stands in front of any function");
        }
    }
    return calls;
}

bool HasNumber(const Function& function)
{
    return !function.parameters.empty() &&
           std::strcmp(function.parameters.front().name, "zelNo") == 0;
}

} // namespace zelq::tool
