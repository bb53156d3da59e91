// Reads what people wrote as JSON, and says where it is wrong.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>

namespace lumosim {

// What is wrong, and where: "/axes/0/friction: 7 is outside 0..3".
class JsonError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

// One value in a document, which outlives it.
class JsonReader
{
  public:
    using Take = std::function<void(const JsonReader&)>;
    using Members = std::map<std::string, Take>;

    explicit JsonReader(const nlohmann::json& value, std::string place = "")
        : value_(value), place_(std::move(place))
    {}

    // Each member of an object goes to its taker; one without a taker is refused.
    void Object(const Members& members) const;
    // Whatever its members are called.
    void Object(const std::function<void(const std::string& name, const JsonReader&)>& take) const;
    void Elements(const Take& take) const;

    [[nodiscard]] bool Flag() const;
    [[nodiscard]] double Number(double smallest, double largest) const;
    [[nodiscard]] std::int64_t Whole(std::int64_t smallest, std::int64_t largest) const;
    [[nodiscard]] std::string Text() const;
    [[nodiscard]] bool IsNull() const;

    [[noreturn]] void Fail(const std::string& sentence) const;

  private:
    [[nodiscard]] JsonReader Child(const nlohmann::json& value, const std::string& name) const;

    const nlohmann::json& value_;
    std::string place_;
};

// What takes a member of an object straight into a variable.
JsonReader::Take Into(bool& flag);
JsonReader::Take Into(double& number, double smallest, double largest);
template <typename Integer>
JsonReader::Take Into(Integer& whole, std::int64_t smallest, std::int64_t largest)
{
    return [&whole, smallest, largest](const JsonReader& json) {
        whole = static_cast<Integer>(json.Whole(smallest, largest));
    };
}

// JsonError tells line and column.
nlohmann::json ParseJson(const std::string& text);

} // namespace lumosim
