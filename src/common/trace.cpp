#include "common/trace.h"

#include "platform/local_time.h"
#include "platform/trace_viewer.h"

#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

namespace zelq {

namespace {

constexpr std::size_t kLineBytes = 2048; // with the newline and the closing zero

/// A line that is put together in place; what does not fit is cut.
class LineWriter
{
  public:
    void Put(std::string_view text)
    {
        const std::size_t fits = std::min(text.size(), kTextBytes - size_);
        std::memcpy(line_.data() + size_, text.data(), fits);
        size_ += fits;
    }

    void PutTwoDigits(int value)
    {
        const char digits[] = {static_cast<char>('0' + value / 10 % 10),
                               static_cast<char>('0' + value % 10)};
        Put({digits, sizeof(digits)});
    }

    void Put(std::int32_t value)
    {
        std::array<char, 16> digits; // NOLINT(*-member-init): written by to_chars
        PutUpTo(digits.data(), std::to_chars(digits.begin(), digits.end(), value).ptr);
    }

    /// As "%g" prints it, but always with a point: the application's locale has no say here.
    void PutGeneral(double value)
    {
        std::array<char, 32> digits; // NOLINT(*-member-init): written by to_chars
        constexpr int kDigits = 6;
        const auto end =
            std::to_chars(digits.begin(), digits.end(), value, std::chars_format::general, kDigits);
        PutUpTo(digits.data(), end.ptr);
    }

    /// As "%3.1f" prints it; three characters are the least that one decimal takes.
    void PutOneDecimal(double value)
    {
        std::array<char, 320> digits; // NOLINT(*-member-init): written by to_chars
        const auto end =
            std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed, 1);
        PutUpTo(digits.data(), end.ptr);
    }

    void Deliver()
    {
        line_[size_] = '\n';
        line_[size_ + 1] = '\0';
        platform::DeliverTraceLine(line_.data(), size_ + 1);
    }

  private:
    static constexpr std::size_t kTextBytes = kLineBytes - 2;

    void PutUpTo(const char* begin, const char* end)
    {
        Put({begin, static_cast<std::size_t>(end - begin)});
    }

    std::array<char, kLineBytes> line_; // NOLINT(*-member-init): written up to size_
    std::size_t size_ = 0;
};

/// "YYMMDDhhmmss", local time.
void PutStamp(LineWriter& line)
{
    constexpr int kCentury = 100; // tm counts its years from 1900
    const std::tm now = platform::LocalTime(std::time(nullptr));
    for (const int part : {now.tm_year - kCentury, now.tm_mon + 1, now.tm_mday, now.tm_hour,
                           now.tm_min, now.tm_sec}) {
        line.PutTwoDigits(part);
    }
}

void PutValue(LineWriter& line, char conversion, const TraceValue& value)
{
    switch (conversion) {
    case 'd':
        line.Put(value.Integer());
        break;
    case 'g':
        line.PutGeneral(value.Real());
        break;
    case 'f':
        line.PutOneDecimal(value.Real());
        break;
    default:
        line.Put(std::string_view(value.Text()));
        break;
    }
}

void PutText(LineWriter& line, const char* format, std::span<const TraceValue> values)
{
    const char* at = format;
    while (*at != '\0') {
        const std::size_t plain = std::strcspn(at, "%");
        line.Put({at, plain});
        at += plain;
        if (*at == '\0') break;
        const char* conversion = at + 1 + std::strspn(at + 1, ".0123456789");
        if (*conversion == '%') {
            line.Put("%");
        } else {
            PutValue(line, *conversion, values.front());
            values = values.subspan(1);
        }
        at = conversion + 1;
    }
}

} // namespace

void WriteTraceLine(const char* format, std::span<const TraceValue> values)
{
    LineWriter line;
    line.Put("TIME=");
    PutStamp(line);
    line.Put(",");
    PutText(line, format, values);
    line.Deliver();
}

} // namespace zelq
