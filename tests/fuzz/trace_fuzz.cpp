#include "common/trace.h"
#include "fuzz/controller.h"

#include <algorithm>
#include <bit>
#include <string>

// An input is the values of a trace line: a byte for the form of the line, eight for numbers, and
// the rest for a text. Texts and numbers come from outside; formats do not.

namespace zelq::fuzz {

namespace {

constexpr std::size_t kLineBytes = 2047; // without the closing zero
constexpr std::size_t kHead = 18;        // "TIME=", twelve digits, a comma

double NextReal(Input& input)
{
    std::uint64_t bits = 0;
    for (int i = 0; i < 4; ++i) {
        bits = bits << 16U | input.NextWord();
    }
    return std::bit_cast<double>(bits);
}

} // namespace

void Check(Input input)
{
    const std::uint8_t form = input.Next() % 3;
    const double real = NextReal(input);
    const Bytes rest = input.Rest(4096);
    // A text ends at its first zero, as every text that reaches a line does.
    const std::string text(rest.begin(), std::ranges::find(rest, 0));
    if (form == 0) TraceCall("Host : %s", text.c_str());
    if (form == 1) Traced("%d=zelQ_Text(%s,%d,%g)", -12, text.c_str(), form, real);
    if (form == 2) TraceCall("100%% of %3.1f and %g", real, real);

    const Traffic traffic = TakeTraffic();
    Require(traffic.lines.size() == 1, "a call writes one line");
    const std::string& line = traffic.lines.front();
    Require(line.size() <= kLineBytes && line.size() > kHead, "a line is cut to its length");
    Require(line.starts_with("TIME=") && line[kHead - 1] == ',' && line.back() == '\n',
            "a line has its form, whatever its values are");
    if (form == 0) {
        const std::string whole = "Host : " + text;
        Require(whole.starts_with(line.substr(kHead, line.size() - kHead - 1)),
                "a text is a value: no mark in it is a format's");
    }
}

} // namespace zelq::fuzz
