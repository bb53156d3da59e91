#include "support/wire_test.h"

#include "zelq.h"

#include <algorithm>
#include <string_view>

namespace zelq::test {

Words Long(std::int32_t value)
{
    const auto bits = static_cast<std::uint32_t>(value);
    return {static_cast<std::uint16_t>(bits), static_cast<std::uint16_t>(bits >> 16U)};
}

Words Join(std::initializer_list<Words> parts)
{
    Words all;
    for (const Words& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

void WireTest::SetUp()
{
    std::vector<std::uint32_t> types(32, 0);
    std::fill_n(types.begin(), 8, 1U);
    types[30] = 2;
    types[31] = 3;
    controller_.SetSlaveTypes(types);
    ASSERT_NO_FATAL_FAILURE(controller_.Connect());
    for (short axis = 0; axis < 8; ++axis) {
        zelQ_UnitPerPulseSet(kNumber, axis, 1.0);
    }
    capture_.Lines();
}

void WireTest::TearDown()
{
    EXPECT_EQ(controller_.UnusedSteps(), 0U);
}

std::string WireTest::NextTrace()
{
    constexpr std::string_view kMark = "TIME=";
    constexpr std::size_t kStampDigits = 12;
    constexpr std::size_t kHead = kMark.size() + kStampDigits + 1;
    std::string line = capture_.Next();
    if (line.size() > kHead && line.starts_with(kMark) && line[kHead - 1] == ',' &&
        line.find_first_not_of("0123456789", kMark.size()) == kHead - 1 && line.back() == '\n') {
        return line.substr(kHead, line.size() - kHead - 1);
    }
    ADD_FAILURE() << "no well-formed trace line: \"" << line << '"';
    return line;
}

} // namespace zelq::test
