#include "common/trace.h"

#include "platform/local_time.h"
#include "platform/trace_viewer.h"

#include <array>
#include <atomic>
#include <charconv>
#include <cmath>
#include <cstring>
#include <ctime>
#include <string_view>

namespace zelq {

namespace {

constexpr std::size_t kLineBytes = 2048; // with the newline and the closing zero

/// Where text goes next, and where there is no more room for it; what does not fit is cut. Handed
/// on by value, it stays in registers: a character that is written could be a part of anything in
/// memory.
struct Room
{
    char* at;
    char* end;
};

Room Put(Room room, char character)
{
    if (room.at != room.end) *room.at++ = character;
    return room;
}

Room Put(Room room, const char* begin, const char* end)
{
    while (begin != end) {
        room = Put(room, *begin++);
    }
    return room;
}

Room Put(Room room, std::int32_t value)
{
    constexpr int kOneDigit = 10;
    if (value >= 0 && value < kOneDigit) return Put(room, static_cast<char>('0' + value));
    std::array<char, 16> digits; // NOLINT(*-member-init): written by to_chars
    return Put(room, digits.data(), std::to_chars(digits.begin(), digits.end(), value).ptr);
}

/// A number as whole thousandths, hundredths or tenths, or else as a whole one; of six digits at
/// most.
struct ShortDecimal
{
    std::int32_t digits;
    std::int32_t scale; ///< 0: it is no such number
};

/// Most values are such, and those are printed in a fraction of the time. The nearest double to a
/// number of so few digits prints as that number. The comparisons say nothing to a caller who traps
/// the invalid, whatever the value is.
ShortDecimal ToShortDecimal(double size)
{
    constexpr double kTooLong = 1e6; // has more digits
    constexpr double kTooShort = 1e-3;
    constexpr double kHalf = 0.5;
    constexpr int kScales[] = {1, 10, 100, 1000};
    if (size == 0) return {0, 1};
    if (!std::isgreaterequal(size, kTooShort)) return {0, 0};
    for (const int scale : kScales) {
        const double scaled = size * scale;
        if (!std::isless(scaled, kTooLong)) break;
        const auto digits = static_cast<std::int32_t>(scaled + kHalf);
        if (digits / static_cast<double>(scale) == size) return {digits, scale};
    }
    return {0, 0};
}

/// As "%g" prints it, but always with a point: the application's locale has no say here.
Room PutGeneral(Room room, double value)
{
    const ShortDecimal decimal = ToShortDecimal(std::abs(value));
    if (decimal.scale != 0) {
        if (std::signbit(value)) room = Put(room, '-');
        room = Put(room, decimal.digits / decimal.scale);
        if (decimal.scale == 1) return room;
        room = Put(room, '.');
        for (int scale = decimal.scale / 10; scale != 0; scale /= 10) {
            room = Put(room, static_cast<char>('0' + decimal.digits / scale % 10));
        }
        return room;
    }
    constexpr int kDigits = 6;
    std::array<char, 32> digits; // NOLINT(*-member-init): written by to_chars
    return Put(
        room, digits.data(),
        std::to_chars(digits.begin(), digits.end(), value, std::chars_format::general, kDigits)
            .ptr);
}

/// As "%3.1f" prints it; three characters are the least that one decimal takes.
Room PutOneDecimal(Room room, double value)
{
    std::array<char, 320> digits; // NOLINT(*-member-init): written by to_chars
    return Put(room, digits.data(),
               std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed, 1).ptr);
}

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
Room PutStamp(Room room)
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
        room = Put(room, static_cast<char>('0' + (known >> (bits - kDigitBits) & 0x0FU)));
    }
    room = Put(room, static_cast<char>('0' + second / 10));
    return Put(room, static_cast<char>('0' + second % 10));
}

Room PutValue(Room room, char conversion, const TraceValue& value)
{
    switch (conversion) {
    case 'd':
        return Put(room, value.Integer());
    case 'g':
        return PutGeneral(room, value.Real());
    case 'f':
        return PutOneDecimal(room, value.Real());
    default:
        return Put(room, value.Text(), value.Text() + std::strlen(value.Text()));
    }
}

Room PutFormatted(Room room, const char* format, const TraceValue* value)
{
    for (const char* at = format; *at != '\0'; ++at) {
        if (*at != '%') {
            room = Put(room, *at);
            continue;
        }
        do {
            ++at;
        } while (*at == '.' || (*at >= '0' && *at <= '9'));
        room = *at == '%' ? Put(room, '%') : PutValue(room, *at, *value++);
    }
    return room;
}

} // namespace

void WriteTraceLine(const char* format, std::span<const TraceValue> values)
{
    constexpr std::string_view kHead = "TIME=";
    constexpr std::size_t kTextBytes = kLineBytes - 2;
    std::array<char, kLineBytes> line; // NOLINT(*-member-init): written up to the text's end
    Room room{line.data(), line.data() + kTextBytes};
    room = PutStamp(Put(room, kHead.begin(), kHead.end()));
    char* const end = PutFormatted(Put(room, ','), format, values.data()).at;
    end[0] = '\n';
    end[1] = '\0';
    platform::DeliverTraceLine(line.data(), static_cast<std::size_t>(end + 1 - line.data()));
}

} // namespace zelq
