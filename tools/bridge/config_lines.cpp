#include "bridge/config_lines.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <vector>

namespace zelq::bridge {

namespace {

/// Counts lines while the parser reads.
struct CountingReader
{
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    reference operator*() const { return *at; }
    CountingReader& operator++()
    {
        if (*at == '\n') ++*line;
        ++at;
        return *this;
    }
    bool operator==(const CountingReader& other) const { return at == other.at; }
    bool operator!=(const CountingReader& other) const { return at != other.at; }

    const char* at;
    int* line;
};

/// Notes the line of each key, and of each element of a list: there the objects begin.
class Noter : public nlohmann::json_sax<nlohmann::json>
{
  public:
    Noter(const int& line, std::map<std::string, int>& lines) : line_(line), lines_(lines)
    {
        lines_[""] = 1;
    }

    bool null() override { return Element(); }
    bool boolean(bool /*value*/) override { return Element(); }
    bool number_integer(number_integer_t /*value*/) override { return Element(); }
    bool number_unsigned(number_unsigned_t /*value*/) override { return Element(); }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override
    {
        return Element();
    }
    bool string(string_t& /*value*/) override { return Element(); }
    bool binary(binary_t& /*value*/) override { return Element(); }
    bool key(string_t& name) override
    {
        levels_.back().name = name;
        lines_.emplace(Place(), line_);
        return true;
    }
    bool start_object(std::size_t /*size*/) override
    {
        Element();
        levels_.push_back({false, 0, ""});
        return true;
    }
    bool start_array(std::size_t /*size*/) override
    {
        Element();
        levels_.push_back({true, 0, ""});
        return true;
    }
    bool end_object() override { return End(); }
    bool end_array() override { return End(); }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::json::exception& /*error*/) override
    {
        return false;
    }

  private:
    struct Level
    {
        bool isList;
        int count;
        std::string name;
    };

    bool Element()
    {
        if (levels_.empty() || !levels_.back().isList) return true;
        levels_.back().name = std::to_string(levels_.back().count++);
        lines_.emplace(Place(), line_);
        return true;
    }

    bool End()
    {
        levels_.pop_back();
        return true;
    }

    [[nodiscard]] std::string Place() const
    {
        std::string place;
        for (const Level& level : levels_) {
            place += "/" + level.name;
        }
        return place;
    }

    const int& line_;
    std::map<std::string, int>& lines_;
    std::vector<Level> levels_;
};

} // namespace

ConfigLines::ConfigLines(const std::string& text)
{
    int line = 1;
    Noter noter(line, lines_);
    const char* begin = text.data();
    nlohmann::json::sax_parse(CountingReader{begin, &line},
                              CountingReader{begin + text.size(), &line}, &noter);
}

int ConfigLines::Of(std::string place) const
{
    for (;;) {
        const auto found = lines_.find(place);
        if (found != lines_.end()) return found->second;
        place.erase(place.rfind('/'));
    }
}

} // namespace zelq::bridge
