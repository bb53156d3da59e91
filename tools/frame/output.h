// What people and programs read: aligned tables, colours on a terminal, JSON.
#pragma once

#include "frame/json.h"

#include <string>
#include <vector>

namespace zelq::tool {

enum class Style { kPlain, kBold, kDim, kGood, kWarning, kBad };

/// A piece of a line, with how it looks where there are colours.
struct Text
{
    Text(std::string words, Style look = Style::kPlain) : text(std::move(words)), style(look) {}
    Text(const char* words, Style look = Style::kPlain) : text(words), style(look) {}

    std::string text;
    Style style;
};

/// A number with so many digits behind its point, never "-0".
std::string Fixed(double value, int digits);

/// Columns as wide as what stands in them.
class Table
{
  public:
    struct Column
    {
        const char* title;
        bool toTheRight = false;
        std::size_t width = 0; ///< at least, so that it stands still while its numbers change
    };

    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    void Row(std::vector<Text> cells) { rows_.push_back(std::move(cells)); }
    /// Its lines, without ends.
    [[nodiscard]] std::vector<std::string> Lines(bool colours) const;

  private:
    std::vector<Column> columns_;
    std::vector<std::vector<Text>> rows_;
};

class Output
{
  public:
    explicit Output(bool json);

    [[nodiscard]] bool IsJson() const { return json_; }
    [[nodiscard]] bool HasColours() const { return colours_; }
    [[nodiscard]] std::string Painted(const Text& text) const;

    /// For people: nothing of it is seen when JSON is wanted.
    void Line(const std::string& line) const;
    void Show(const Table& table) const;
    /// For programs, in one line: nothing of it is seen unless JSON is wanted.
    void Show(const Json& document) const;

    /// A line that stands in the place of the one before it, on a terminal; elsewhere nothing. The
    /// next ordinary line begins below it.
    void Progress(const std::string& line);
    void EndProgress();

  private:
    bool json_;
    bool colours_;
    bool inProgress_ = false;
};

/// The text between the escape sequences that make it look so.
std::string Paint(const Text& text);

/// To standard output; a reader that is gone counts as an interrupt.
void Write(const std::string& text);

} // namespace zelq::tool
