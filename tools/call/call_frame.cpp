#include "call/call_frame.h"

#include <algorithm>
#include <string_view>

namespace zelq::tool {

namespace {

constexpr std::string_view kPrefix = "zelQ_";

bool IsArray(const Parameter& parameter)
{
    return parameter.length != nullptr || parameter.elements > 0;
}

bool IsBytes(const Parameter& parameter)
{
    const std::string_view type = parameter.type;
    return type == "void" || type == "unsigned char";
}

} // namespace

const Function* FindFunction(const std::string& name)
{
    const auto found =
        std::find_if(kFunctions.begin(), kFunctions.end(), [&](const Function& function) {
            const std::string_view full = function.name;
            return full == name || full.substr(kPrefix.size()) == name;
        });
    return found == kFunctions.end() ? nullptr : &*found;
}

void FailArgument(const std::string& where, const std::string& problem)
{
    throw Failure(kUsage, where + ": " + problem);
}

std::int64_t WholeNumber(const Json& json, std::int64_t least, std::int64_t most,
                         const std::string& where)
{
    const bool fits = json.is_number_unsigned()
                          ? json.get<std::uint64_t>() <= static_cast<std::uint64_t>(most)
                          : json.is_number_integer() && json.get<std::int64_t>() >= least;
    if (!fits || json.get<std::int64_t>() > most) {
        FailArgument(where, json.dump() + " is no whole number in " + std::to_string(least) + ".." +
                                std::to_string(most));
    }
    return json.get<std::int64_t>();
}

double RealNumber(const Json& json, const std::string& where)
{
    if (!json.is_number()) FailArgument(where, json.dump() + " is no number");
    return json.get<double>();
}

void ExpectFields(const Json& json, std::initializer_list<const char*> names,
                  const std::string& where)
{
    if (!json.is_object()) FailArgument(where, json.dump() + " is no object");
    for (const char* name : names) {
        if (!json.contains(name)) FailArgument(where + "." + name, "is missing");
    }
    for (const auto& [name, value] : json.items()) {
        const auto is = [&, &key = name](const char* known) { return key == known; };
        if (std::none_of(names.begin(), names.end(), is)) {
            FailArgument(where, "has no field " + name);
        }
    }
}

CallFrame::CallFrame(const Function& function, Json arguments)
    : function_(function), arguments_(std::move(arguments))
{
    CheckNames();
    for (const Parameter& parameter : function_.parameters) {
        TakeBytes(parameter);
    }
    for (const Parameter& parameter : function_.parameters) {
        DeduceLength(parameter);
    }
    for (const Parameter& parameter : function_.parameters) {
        CheckInput(parameter);
    }
}

void CallFrame::CheckNames() const
{
    for (const auto& [name, value] : arguments_.items()) {
        const auto is = [&, &key = name](const Parameter& known) { return key == known.name; };
        if (std::none_of(function_.parameters.begin(), function_.parameters.end(), is)) {
            FailArgument(name, std::string(function_.name) + " has no such parameter");
        }
    }
}

/// A text stands for its bytes.
void CallFrame::TakeBytes(const Parameter& parameter)
{
    if (!IsBytes(parameter) || !arguments_.contains(parameter.name)) return;
    Json& given = arguments_[parameter.name];
    if (!given.is_string()) return;
    Json bytes = Json::array();
    for (const char character : given.get<std::string>()) {
        bytes.push_back(static_cast<unsigned char>(character));
    }
    given = std::move(bytes);
}

/// What is not told follows from the first array that is an input.
void CallFrame::DeduceLength(const Parameter& parameter)
{
    if (parameter.length == nullptr || arguments_.contains(parameter.length)) return;
    if (parameter.direction == Direction::kOut || !arguments_.contains(parameter.name)) return;
    const Json& given = arguments_[parameter.name];
    if (given.is_array()) arguments_[parameter.length] = given.size();
}

void CallFrame::CheckInput(const Parameter& parameter) const
{
    const bool given = arguments_.contains(parameter.name);
    if (parameter.direction == Direction::kOut) {
        if (given && !arguments_[parameter.name].is_null()) {
            FailArgument(parameter.name, "is an output: leave it out, or give null");
        }
        if (parameter.length != nullptr && !arguments_.contains(parameter.length)) {
            FailArgument(parameter.length, "is missing");
        }
        return;
    }
    if (!given) FailArgument(parameter.name, "is missing");
    if (IsNull(parameter) || !IsArray(parameter)) return;
    const Json& array = arguments_[parameter.name];
    if (!array.is_array()) FailArgument(parameter.name, array.dump() + " is no array");
    const std::size_t needed = Elements(parameter);
    const bool fits = parameter.length == nullptr ? array.size() == needed : array.size() >= needed;
    if (!fits) {
        FailArgument(parameter.name, "has " + std::to_string(array.size()) + " elements, not " +
                                         std::to_string(needed));
    }
}

bool CallFrame::IsNull(const Parameter& parameter) const
{
    return parameter.pointer && arguments_.contains(parameter.name) &&
           arguments_[parameter.name].is_null();
}

std::size_t CallFrame::Elements(const Parameter& parameter) const
{
    if (parameter.length == nullptr) {
        return static_cast<std::size_t>(std::max(parameter.elements, 1));
    }
    const auto told = FromJson<short>(arguments_[parameter.length], parameter.length);
    return static_cast<std::size_t>(std::max<short>(told, 0));
}

Json CallFrame::Outputs(bool succeeded) const
{
    Json outputs = Json::object();
    // In the order of the parameters: that in which a compiler evaluates arguments is its own.
    for (const Parameter& parameter : function_.parameters) {
        const auto output = outputs_.find(parameter.name);
        if (output == outputs_.end()) continue;
        Json read = output->second();
        if (succeeded || read["written"].get<bool>()) {
            outputs[parameter.name] = std::move(read["value"]);
        }
    }
    return outputs;
}

} // namespace zelq::tool
