#include "common/trace.h"

#include "platform/local_time.h"
#include "platform/trace_viewer.h"

#include <array>
#include <atomic>
#include <charconv>
#include <cmath>
#include <ctime>
#include <string_view>

namespace zelq {

namespace {

constexpr std::size_t kLineBytes = 2048; // with the newline and the closing zero

/// Puts text together in a buffer of its user; what does not fit is cut.
class TextWriter
{
  public:
    explicit TextWriter(std::span<char> room) : at_(room.data()), end_(at_ + room.size()) {}

    void Put(char character)
    {
        if (at_ != end_) *at_++ = character;
    }

    void Put(std::string_view text)
    {
        for (const char character : text) {
            Put(character);
        }
    }

    void Put(std::int32_t value)
    {
        constexpr int kOneDigit = 10;
        if (value >= 0 && value < kOneDigit) return Put(static_cast<char>('0' + value));
        std::array<char, 16> digits; // NOLINT(*-member-init): written by to_chars
        PutUpTo(digits.data(), std::to_chars(digits.begin(), digits.end(), value).ptr);
    }

    /// As "%g" prints it, but always with a point: the application's locale has no say here.
    void PutGeneral(double value)
    {
        constexpr int kDigits = 6;
        constexpr double kTooLong = 1e6; // has more digits
        // Most values are whole, and those are quicker printed as such. The comparison is one that
        // says nothing to a caller who traps the invalid, whatever the value is.
        if (std::isless(std::abs(value), kTooLong)) {
            const auto whole = static_cast<std::int32_t>(value);
            if (whole == value && (whole != 0 || !std::signbit(value))) return Put(whole);
        }
        std::array<char, 32> digits; // NOLINT(*-member-init): written by to_chars
        PutUpTo(digits.data(), std::to_chars(digits.begin(), digits.end(), value,
                                             std::chars_format::general, kDigits)
                                   .ptr);
    }

    /// As "%3.1f" prints it; three characters are the least that one decimal takes.
    void PutOneDecimal(double value)
    {
        std::array<char, 320> digits; // NOLINT(*-member-init): written by to_chars
        const auto end =
            std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed, 1);
        PutUpTo(digits.data(), end.ptr);
    }

    /// Where the text ends.
    [[nodiscard]] char* End() const { return at_; }

  private:
    void PutUpTo(const char* begin, const char* end)
    {
        Put({begin, static_cast<std::size_t>(end - begin)});
    }

    char* at_;
    char* end_;
};

/// The minute that a stamp was last written in: its number since 1970 in the low bits, its digits
/// "YYMMDDhhmm" above them, each in four bits; 0: none. One word, so that no thread sees half of
/// it.
std::atomic<std::uint64_t> stampMinute = 0;

constexpr unsigned kMinuteBits = 24; // come round after 31 years
constexpr unsigned kDigitBits = 4;

/// The digits of the minute that `local` stands in.
std::uint64_t MinuteDigits(const std::tm& local)
{
    constexpr int kYearZero = 100; // tm counts its years from 1900
    std::uint64_t digits = 0;
    for (const int part : {local.tm_year - kYearZero, local.tm_mon + 1, local.tm_mday,
                           local.tm_hour, local.tm_min}) {
        digits = digits << kDigitBits | static_cast<unsigned>(part / 10 % 10);
        digits = digits << kDigitBits | static_cast<unsigned>(part % 10);
    }
    return digits;
}

/// "YYMMDDhhmmss", local time. The system is asked what a minute is called once in the minute.
void PutStamp(TextWriter& text)
{
    constexpr std::time_t kSeconds = 60;
    constexpr std::uint64_t kMinuteMask = (1U << kMinuteBits) - 1;
    const std::time_t now = std::time(nullptr);
    const auto minute = static_cast<std::uint64_t>(now / kSeconds) & kMinuteMask;
    auto second = static_cast<int>(now % kSeconds);
    std::uint64_t known = stampMinute.load(std::memory_order_relaxed);
    if (known == 0 || (known & kMinuteMask) != minute) {
        const std::tm local = platform::LocalTime(now);
        known = MinuteDigits(local) << kMinuteBits | minute;
        // A zone whose minutes begin elsewhere is looked up each time.
        if (local.tm_sec == second) stampMinute.store(known, std::memory_order_relaxed);
        second = local.tm_sec;
    }
    for (unsigned bits = 64; bits > kMinuteBits; bits -= kDigitBits) {
        text.Put(static_cast<char>('0' + (known >> (bits - kDigitBits) & 0x0FU)));
    }
    text.Put(static_cast<char>('0' + second / 10));
    text.Put(static_cast<char>('0' + second % 10));
}

void PutValue(TextWriter& text, char conversion, const TraceValue& value)
{
    switch (conversion) {
    case 'd':
        text.Put(value.Integer());
        break;
    case 'g':
        text.PutGeneral(value.Real());
        break;
    case 'f':
        text.PutOneDecimal(value.Real());
        break;
    default:
        text.Put(std::string_view(value.Text()));
        break;
    }
}

void PutFormatted(TextWriter& text, const char* format, const TraceValue* value)
{
    for (const char* at = format; *at != '\0'; ++at) {
        if (*at != '%') {
            text.Put(*at);
            continue;
        }
        do {
            ++at;
        } while (*at == '.' || (*at >= '0' && *at <= '9'));
        if (*at == '%') {
            text.Put('%');
        } else {
            PutValue(text, *at, *value++);
        }
    }
}

} // namespace

void WriteTraceLine(const char* format, std::span<const TraceValue> values)
{
    constexpr std::size_t kTextBytes = kLineBytes - 2;
    std::array<char, kLineBytes> line; // NOLINT(*-member-init): written up to the text's end
    TextWriter text({line.data(), kTextBytes});
    text.Put("TIME=");
    PutStamp(text);
    text.Put(',');
    PutFormatted(text, format, values.data());
    char* const end = text.End();
    end[0] = '\n';
    end[1] = '\0';
    platform::DeliverTraceLine(line.data(), static_cast<std::size_t>(end + 1 - line.data()));
}

} // namespace zelq
