#include "bridge/config_lines.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

namespace zelq::bridge {

namespace {

/// Notes the line of each key, and of each element of a list: there the objects begin.
class Noter : public nlohmann::json_sax<nlohmann::json>
{
  public:
    Noter(const std::string& text, std::streambuf& reader, std::map<std::string, int>& lines)
        : text_(text), reader_(reader), lines_(lines)
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
        lines_.emplace(Place(), Line());
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
        lines_.emplace(Place(), Line());
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

    /// As far as the parser has read.
    int Line()
    {
        const auto at = static_cast<std::ptrdiff_t>(
            reader_.pubseekoff(0, std::ios_base::cur, std::ios_base::in));
        line_ += static_cast<int>(std::count(text_.begin() + seen_, text_.begin() + at, '\n'));
        seen_ = at;
        return line_;
    }

    const std::string& text_;
    std::streambuf& reader_;
    std::map<std::string, int>& lines_;
    std::ptrdiff_t seen_ = 0;
    int line_ = 1;
    std::vector<Level> levels_;
};

} // namespace

ConfigLines::ConfigLines(const std::string& text)
{
    std::istringstream stream(text);
    Noter noter(text, *stream.rdbuf(), lines_);
    nlohmann::json::sax_parse(stream, &noter);
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
