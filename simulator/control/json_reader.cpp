#include "json_reader.h"

#include <nlohmann/json.hpp>

namespace lumosim {

void JsonReader::Fail(const std::string& sentence) const
{
    throw JsonError((place_.empty() ? "/" : place_) + ": " + sentence);
}

JsonReader JsonReader::Child(const nlohmann::json& value, const std::string& name) const
{
    return JsonReader(value, place_ + "/" + name);
}

void JsonReader::Object(const Members& members) const
{
    Object([&members](const std::string& name, const JsonReader& value) {
        const auto found = members.find(name);
        if (found != members.end()) return found->second(value);
        std::string known;
        for (const auto& [other, take] : members) {
            known += (known.empty() ? "" : ", ") + other;
        }
        value.Fail("there is no such member; there are " + known);
    });
}

void JsonReader::Object(
    const std::function<void(const std::string& name, const JsonReader&)>& take) const
{
    if (!value_.is_object()) Fail("has to be an object");
    for (const auto& [name, value] : value_.items()) {
        take(name, Child(value, name));
    }
}

void JsonReader::Elements(const Take& take) const
{
    if (!value_.is_array()) Fail("has to be an array");
    std::size_t index = 0;
    for (const nlohmann::json& value : value_) {
        take(Child(value, std::to_string(index++)));
    }
}

bool JsonReader::Flag() const
{
    if (!value_.is_boolean()) Fail("has to be true or false");
    return value_.get<bool>();
}

double JsonReader::Number(double smallest, double largest) const
{
    if (!value_.is_number()) Fail("has to be a number");
    const auto number = value_.get<double>();
    if (number >= smallest && number <= largest) return number;
    Fail(value_.dump() + " is outside " + nlohmann::json(smallest).dump() + ".." +
         nlohmann::json(largest).dump());
}

std::int64_t JsonReader::Whole(std::int64_t smallest, std::int64_t largest) const
{
    if (!value_.is_number_integer()) Fail("has to be a whole number");
    const bool fits =
        !value_.is_number_unsigned() || value_.get<std::uint64_t>() <= std::uint64_t{INT64_MAX};
    const std::int64_t number = fits ? value_.get<std::int64_t>() : 0;
    if (fits && number >= smallest && number <= largest) return number;
    Fail(value_.dump() + " is outside " + std::to_string(smallest) + ".." +
         std::to_string(largest));
}

std::string JsonReader::Text() const
{
    if (!value_.is_string()) Fail("has to be a text");
    return value_.get<std::string>();
}

bool JsonReader::IsNull() const
{
    return value_.is_null();
}

JsonReader::Take Into(bool& flag)
{
    return [&flag](const JsonReader& json) { flag = json.Flag(); };
}

JsonReader::Take Into(double& number, double smallest, double largest)
{
    return [&number, smallest, largest](const JsonReader& json) {
        number = json.Number(smallest, largest);
    };
}

nlohmann::json ParseJson(const std::string& text)
{
    try {
        return nlohmann::json::parse(text);
    } catch (const nlohmann::json::parse_error& error) {
        // "[json.exception.parse_error.101] parse error at line 3, column 5: ..."
        const std::string told = error.what();
        const std::size_t begin = told.find("] ");
        throw JsonError(begin == std::string::npos ? told : told.substr(begin + 2));
    }
}

} // namespace lumosim
