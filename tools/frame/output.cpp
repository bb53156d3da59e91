#include "frame/output.h"

#include "frame/system.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace zelq::tool {

namespace {

const char* EscapeOf(Style style)
{
    switch (style) {
    case Style::kBold:
        return "\033[1m";
    case Style::kDim:
        return "\033[2m";
    case Style::kGood:
        return "\033[32m";
    case Style::kWarning:
        return "\033[33m";
    case Style::kBad:
        return "\033[1;31m";
    case Style::kPlain:
        break;
    }
    return "";
}

} // namespace

std::string Fixed(double value, int digits)
{
    std::array<char, 352> text{}; // the largest double has 309 digits before its point
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    std::string number = text.data();
    const bool isZero = number.find_first_of("123456789ni") == std::string::npos;
    if (isZero && number.front() == '-') number.erase(0, 1);
    return number;
}

std::string Paint(const Text& text)
{
    if (text.style == Style::kPlain || text.text.empty()) return text.text;
    return EscapeOf(text.style) + text.text + "\033[0m";
}

void Write(const std::string& text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        Interrupt();
    }
}

std::vector<std::string> Table::Lines(bool colours) const
{
    std::vector<Text> titles;
    std::vector<std::size_t> widths;
    for (const Column& column : columns_) {
        titles.emplace_back(column.title, Style::kBold);
        widths.push_back(std::max(column.width, titles.back().text.size()));
    }
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].text.size());
        }
    }
    const auto lineOf = [&](const std::vector<Text>& row) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0) line += "  ";
            const std::string gap(widths[i] - row[i].text.size(), ' ');
            const std::string word = colours ? Paint(row[i]) : row[i].text;
            const bool isLast = i + 1 == row.size();
            line += columns_[i].toTheRight ? gap + word : word + (isLast ? "" : gap);
        }
        return line;
    };
    std::vector<std::string> lines = {lineOf(titles)};
    for (const auto& row : rows_) {
        lines.push_back(lineOf(row));
    }
    return lines;
}

Output::Output(bool json)
    : json_(json),
      colours_(!json && IsTerminal(Stream::kOutput) && std::getenv("NO_COLOR") == nullptr)
{}

std::string Output::Painted(const Text& text) const
{
    return colours_ ? Paint(text) : text.text;
}

void Output::Line(const std::string& line) const
{
    if (!json_) Write(line + '\n');
}

void Output::Show(const Table& table) const
{
    for (const std::string& line : table.Lines(colours_)) {
        Line(line);
    }
}

void Output::Show(const Json& document) const
{
    // What a drive sends as text may be no UTF-8.
    if (json_) Write(document.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n');
}

void Output::Progress(const std::string& line)
{
    if (json_ || !IsTerminal(Stream::kOutput)) return;
    Write("\r" + line + "\033[K");
    inProgress_ = true;
}

void Output::EndProgress()
{
    if (inProgress_) Write("\n");
    inProgress_ = false;
}

} // namespace zelq::tool
