#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

namespace zelq {

/// One value of a trace line. Integers print as signed 32-bit numbers, whatever they were.
class TraceValue
{
  public:
    enum class Kind { kInteger, kReal, kText };

    template <std::integral T>
    TraceValue(T value) : kind_(Kind::kInteger), integer_(static_cast<std::int32_t>(value))
    {}
    TraceValue(double value) : kind_(Kind::kReal), real_(value) {}
    TraceValue(const char* value) : kind_(Kind::kText), text_(value) {}

    [[nodiscard]] std::int32_t Integer() const { return kind_ == Kind::kInteger ? integer_ : 0; }
    [[nodiscard]] double Real() const { return kind_ == Kind::kReal ? real_ : 0.0; }
    [[nodiscard]] const char* Text() const { return kind_ == Kind::kText ? text_ : ""; }

  private:
    Kind kind_;
    union {
        std::int32_t integer_;
        double real_;
        const char* text_;
    };
};

/// A trace line's format, checked as it is compiled: each "%d" takes an integer, each "%g" and
/// "%3.1f" a double, each "%s" a text, and there are as many values as conversions.
template <typename... Values>
class TraceFormat
{
  public:
    consteval TraceFormat(const char* text) : text_(text)
    {
        constexpr std::size_t kCount = sizeof...(Values);
        const char kinds[kCount + 1] = {KindOf<Values>()..., '\0'};
        std::size_t used = 0;
        for (const char* at = text; *at != '\0'; ++at) {
            if (*at != '%') continue;
            ++at;
            while (*at == '.' || (*at >= '0' && *at <= '9')) {
                ++at;
            }
            if (*at == '%') continue;
            const char kind = *at == 'f' ? 'g' : *at;
            if (used == kCount || kinds[used] != kind) throw "conversion and value do not agree";
            ++used;
        }
        if (used != kCount) throw "more values than conversions";
    }

    [[nodiscard]] const char* Text() const { return text_; }

  private:
    template <typename Value>
    static consteval char KindOf()
    {
        if (std::is_integral_v<Value>) return 'd';
        return std::is_floating_point_v<Value> ? 'g' : 's';
    }

    const char* text_;
};

/// Writes one stamped line to the trace viewer, or to the debugger output without one.
void WriteTraceLine(const char* format, std::span<const TraceValue> values);

template <typename... Values>
void TraceCall(TraceFormat<std::type_identity_t<Values>...> format, Values... values)
{
    const TraceValue list[] = {values...};
    WriteTraceLine(format.Text(), list);
}

/// Traces a finished call, its result first, and hands the result back.
template <typename... Values>
short Traced(TraceFormat<short, std::type_identity_t<Values>...> format, short result,
             Values... values)
{
    const TraceValue list[] = {result, values...};
    WriteTraceLine(format.Text(), list);
    return result;
}

} // namespace zelq
