// Calls of the library by name: what the table of functions is made of, and how arguments come out
// of JSON and outputs go into it.
#pragma once

#include "frame/failure.h"
#include "frame/json.h"
#include "zelq.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <limits>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

namespace zelq::tool {

enum class Direction { kIn, kOut, kInOut };

struct Parameter
{
    const char* name;
    const char* type; ///< as in C, without const and pointer; "void": bytes
    Direction direction;
    bool pointer;
    int elements;       ///< of an array; 0: one value, or see length
    const char* length; ///< the parameter that tells how many elements there are, or null
    const char* unit;   ///< or null
    const char* text;
};

enum class ResultKind {
    kNone,
    kCode,
    kCount, ///< a number, or a code below 0
    kValue  ///< no code at all
};

class CallFrame;

struct Function
{
    const char* name;
    const char* type; ///< of the result
    const char* group;
    const char* brief;
    const char* more;
    const char* returns;
    ResultKind kind;
    bool session; ///< the controller has to be connected before
    std::span<const Parameter> parameters;
    void (*call)(CallFrame&);
};

/// All functions of the library, in the order of the header.
extern const std::span<const Function> kFunctions;

/// Null when there is none of this name; "zelQ_" may be left out.
const Function* FindFunction(const std::string& name);

[[noreturn]] void FailArgument(const std::string& where, const std::string& problem);

/// A whole number between the bounds; a Failure for anything else.
std::int64_t WholeNumber(const Json& json, std::int64_t least, std::int64_t most,
                         const std::string& where);
double RealNumber(const Json& json, const std::string& where);
/// A Failure unless it is an object with just these fields.
void ExpectFields(const Json& json, std::initializer_list<const char*> names,
                  const std::string& where);

/// A value of C out of JSON. Records that are inputs specialise it.
template <typename T>
T FromJson(const Json& json, const std::string& where)
{
    if constexpr (std::is_floating_point_v<T>) {
        return RealNumber(json, where);
    } else {
        using Limits = std::numeric_limits<T>;
        return static_cast<T>(WholeNumber(json, Limits::min(), Limits::max(), where));
    }
}

/// JSON of a value of C. Records specialise it.
template <typename T>
Json ToJson(const T& value)
{
    return value;
}

/// By value: a field of a packed record is read before anything refers to it.
template <typename T>
Json ValueToJson(T value)
{
    return ToJson(value);
}

template <typename T>
Json EachToJson(const T& values)
{
    Json json = Json::array();
    for (const auto& value : values) {
        json.push_back(ToJson(value));
    }
    return json;
}

/// Arguments and outputs of one call. Every pointer that it hands out has room behind it for as
/// many elements as the function is told.
class CallFrame
{
  public:
    /// `arguments` is an object with a field for each parameter that is given. How many elements an
    /// array has need not be: it follows from the arrays. A Failure for names that the function
    /// does not have, and for missing inputs.
    CallFrame(const Function& function, Json arguments);

    void Run() { function_.call(*this); }

    [[nodiscard]] const Json& Result() const { return result_; }
    /// Of a call that has failed, those alone in which something was written.
    [[nodiscard]] Json Outputs(bool succeeded) const;

    template <typename T>
    T Value(std::size_t index) const
    {
        const Parameter& parameter = function_.parameters[index];
        return FromJson<T>(arguments_[parameter.name], parameter.name);
    }

    /// An output alone.
    template <typename T>
    T* Out(std::size_t index)
    {
        const Parameter& parameter = function_.parameters[index];
        return IsNull(parameter) ? nullptr : Keep(parameter, Room<T>(parameter));
    }

    /// An input; it is an output too where its parameter says so.
    template <typename T>
    T* In(std::size_t index)
    {
        const Parameter& parameter = function_.parameters[index];
        if (IsNull(parameter)) return nullptr;
        std::vector<T> values = Room<T>(parameter);
        Fill(parameter, values);
        return Keep(parameter, std::move(values));
    }

    template <typename T>
    void Give(T result)
    {
        result_ = result;
    }

  private:
    /// What was written: bytes that are no longer as they were.
    template <typename T>
    static Json OutputOf(const Parameter& parameter, const std::vector<T>& values,
                         const std::vector<T>& before)
    {
        const std::span now = std::as_bytes(std::span(values));
        const std::span then = std::as_bytes(std::span(before));
        const bool written = !std::equal(now.begin(), now.end(), then.begin(), then.end());
        Json json;
        if constexpr (std::is_same_v<T, char>) {
            json = std::string(values.data(), strnlen(values.data(), values.size()));
        } else if (parameter.length != nullptr || parameter.elements > 0) {
            json = EachToJson(values);
        } else {
            json = ToJson(values.front());
        }
        return Json{{"written", written}, {"value", std::move(json)}};
    }

    template <typename T>
    std::vector<T> Room(const Parameter& parameter) const
    {
        std::vector<T> values;
        // For one at least: a pointer to nothing would be taken for null.
        values.reserve(Elements(parameter) + 1);
        values.resize(Elements(parameter));
        return values;
    }

    template <typename T>
    T* Keep(const Parameter& parameter, std::vector<T> values)
    {
        auto kept = std::make_shared<std::vector<T>>(std::move(values));
        if (parameter.direction != Direction::kIn) {
            outputs_[parameter.name] = [kept, before = *kept, &parameter] {
                return OutputOf(parameter, *kept, before);
            };
        }
        kept_.push_back(kept);
        return kept->data();
    }

    template <typename T>
    void Fill(const Parameter& parameter, std::vector<T>& values) const
    {
        const Json& given = arguments_[parameter.name];
        if (parameter.length == nullptr && parameter.elements == 0) {
            values.front() = FromJson<T>(given, parameter.name);
            return;
        }
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = FromJson<T>(given[i], parameter.name + ("[" + std::to_string(i) + "]"));
        }
    }

    [[nodiscard]] bool IsNull(const Parameter& parameter) const;
    [[nodiscard]] std::size_t Elements(const Parameter& parameter) const;
    void CheckNames() const;
    void TakeBytes(const Parameter& parameter);
    void DeduceLength(const Parameter& parameter);
    void CheckInput(const Parameter& parameter) const;

    const Function& function_;
    Json arguments_;
    Json result_;
    /// By their names: what reads the value, and whether anything was written.
    std::map<std::string, std::function<Json()>> outputs_;
    std::vector<std::shared_ptr<void>> kept_;
};

} // namespace zelq::tool
