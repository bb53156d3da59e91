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
    const std::string line = capture_.Next();
    if (line.size() > kHead && line.starts_with(kMark) && line[kHead - 1] == ',' &&
        line.find_first_not_of("0123456789", kMark.size()) == kHead - 1 && line.back() == '\n') {
        return line.substr(kHead, line.size() - kHead - 1);
    }
    ADD_FAILURE() << "no well-formed trace line: \"" << line << '"';
    return line;
}

void WireTest::Run(const std::vector<WireCase>& rows)
{
    for (const WireCase& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.controllerResult != 0) controller_.ThenResult(row.controllerResult);
        if (!row.data.empty()) controller_.ThenData(row.data);
        EXPECT_EQ(row.call(), row.result);

        std::vector<Words> frames;
        std::vector<Read> reads;
        for (const Request& request : controller_.TakeRequests()) {
            for (const RequestFrame& frame : request) {
                if (frame.function == 3) reads.push_back({frame.start, frame.quantity});
                if (frame.function != 23) continue;
                frames.push_back(frame.written);
                EXPECT_EQ(frame.start, 0xF000);
                EXPECT_EQ(frame.quantity, row.readQuantity);
            }
        }
        EXPECT_EQ(frames, row.frames);
        EXPECT_TRUE(reads == row.reads) << reads.size() << " reads";
        if (!row.trace.empty()) {
            EXPECT_EQ(NextTrace(), row.trace);
        }
        EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
        row.check();
    }
}

void WireTest::ExpectRefused(short code, const std::vector<std::function<short()>>& calls)
{
    std::size_t index = 0;
    for (const auto& call : calls) {
        SCOPED_TRACE("call " + std::to_string(index++));
        EXPECT_EQ(call(), code);
        EXPECT_TRUE(controller_.TakeRequests().empty());
        EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
    }
}

void WireTest::ExpectNumberChecks(const std::function<short(short)>& call)
{
    ExpectRefused(-2,
                  {[&] { return call(0); }, [&] { return call(255); }, [&] { return call(-1); }});
    ExpectRefused(-3, {[&] { return call(kUnknown); }});
}

} // namespace zelq::test
