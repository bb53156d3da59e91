#include "see/trace_line.h"

#include "call/call_frame.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace zelq::tool {

namespace {

constexpr Microseconds kSecond = 1'000'000;
constexpr std::string_view kStamp = "TIME=";

std::optional<int> LeadingNumber(std::string_view text)
{
    int number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return std::nullopt;
    return number;
}

/// A few functions are for no controller, and their first argument is none.
bool IsForController(const Function* function)
{
    return function == nullptr || (!function->parameters.empty() &&
                                   std::strcmp(function->parameters.front().name, "zelNo") == 0);
}

bool HasFailed(const Function* function, int result)
{
    // Some calls are traced under other names than theirs; all of those give codes.
    const ResultKind kind = function != nullptr ? function->kind : ResultKind::kCode;
    if (kind == ResultKind::kCount) return result < 0;
    return kind == ResultKind::kCode && result != 0;
}

void ReadCall(std::string_view call, TraceLine& line)
{
    const std::size_t equals = call.find('=');
    const std::size_t opens = call.find('(');
    if (opens == std::string_view::npos || call.back() != ')') {
        // What a ping tells of its failure, such as "ERROR_REQUEST_TIMED_OUT... ZEL NO:3".
        constexpr std::string_view kNumber = "ZEL NO:";
        const std::size_t number = call.find(kNumber);
        if (number != std::string_view::npos) {
            line.controller = LeadingNumber(call.substr(number + kNumber.size()));
        }
        line.failed = call.starts_with("ERROR");
        return;
    }
    // A function without a result is traced without one.
    const std::size_t name = equals < opens ? equals + 1 : 0;
    if (equals < opens) line.result = LeadingNumber(call);
    line.function = call.substr(name, opens - name);
    line.arguments = call.substr(opens + 1, call.size() - opens - 2);
    const Function* function = FindFunction(line.function);
    if (IsForController(function)) line.controller = LeadingNumber(line.arguments);
    line.failed = line.result && HasFailed(function, *line.result);
}

} // namespace

Microseconds Now()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

TraceLine ParseTraceLine(Microseconds at, std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == '\0')) {
        text.pop_back();
    }
    TraceLine line;
    line.at = at;
    const std::size_t comma = text.find(',');
    if (std::string_view(text).starts_with(kStamp) && comma != std::string::npos &&
        comma + 1 < text.size()) {
        ReadCall(std::string_view(text).substr(comma + 1), line);
    }
    line.text = std::move(text);
    return line;
}

std::string ToFileLine(const TraceLine& line)
{
    std::array<char, 40> stamp{};
    std::snprintf(stamp.data(), stamp.size(), "%lld.%06lld ",
                  static_cast<long long>(line.at / kSecond),
                  static_cast<long long>(line.at % kSecond));
    return stamp.data() + line.text + "\n";
}

TraceLine FromFileLine(const std::string& text)
{
    long long seconds = 0;
    int micros = 0;
    int end = 0;
    const int fields = std::sscanf(text.c_str(), "%lld.%6d %n", &seconds, &micros, &end);
    if (fields != 2 || end == 0 || seconds < 0 || micros < 0) return ParseTraceLine(0, text);
    return ParseTraceLine(seconds * kSecond + micros, text.substr(static_cast<std::size_t>(end)));
}

} // namespace zelq::tool
