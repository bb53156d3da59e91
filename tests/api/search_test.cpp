#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <numeric>

namespace zelq::test {

namespace {

class SearchTest : public WireTest
{
  protected:
    /// A record that no reply has touched.
    static constexpr SearchStatus kUntouched = {0xAAAA, 0xBBBB, 0xCCCC, -77.0};

    static void ExpectStatus(const SearchStatus& status, const SearchStatus& expected)
    {
        EXPECT_EQ(status.code, expected.code);
        EXPECT_EQ(status.flag, expected.flag);
        EXPECT_EQ(status.mode, expected.mode);
        EXPECT_EQ(status.pos, expected.pos);
    }

    std::array<SearchStatus, 43> out_ = [] {
        std::array<SearchStatus, 43> records{};
        records.fill(kUntouched);
        return records;
    }();
};

TEST_F(SearchTest, OptionsStandBeforeTheAxis)
{
    Run({
        {.name = "start",
         .call = [] { return zelQ_SearchMove(kNumber, 4, 1, 3, 0, 1); },
         .frames = {{0x0101, 0x0013, 1, 3, 0, 1, 1, 4}},
         .trace = "0=zelQ_SearchMove(5,4,1,3,0,1)"},
        {.name = "refused by the controller",
         .call = [] { return zelQ_SearchMove(kNumber, 31, 0, 0, 1, 0); },
         .result = 6,
         .frames = {{0x0101, 0x0013, 0, 0, 1, 0, 1, 31}},
         .controllerResult = 6,
         .trace = "6=zelQ_SearchMove(5,31,0,0,1,0)"},
    });
    ExpectNumberChecks([](short zelNo) {
        return zelQ_SearchMove(static_cast<unsigned short>(zelNo), 99, 9, 9, 9, 9);
    });
    ExpectRefused(-2002, {[] { return zelQ_SearchMove(kNumber, 32, 9, 9, 9, 9); }});
    ExpectRefused(-1702, {[] { return zelQ_SearchMove(kNumber, 31, 2, 9, 9, 9); }});
    ExpectRefused(-1703, {[] { return zelQ_SearchMove(kNumber, 31, 1, 4, 9, 9); }});
    ExpectRefused(-1704, {[] { return zelQ_SearchMove(kNumber, 31, 1, 3, 2, 9); }});
    ExpectRefused(-1705, {[] { return zelQ_SearchMove(kNumber, 31, 1, 3, 1, 2); }});
}

TEST_F(SearchTest, TheSearchWordIsTakenApart)
{
    zelQ_UnitPerPulseSet(kNumber, 2, 0.5);
    capture_.Lines();
    Run({
        {.name = "every field, position scaled",
         .call = [&] { return zelQ_SearchGetStatus(kNumber, 2, &out_[0]); },
         .frames = {{0x0101, 0x0014, 1, 2}},
         .readQuantity = 4,
         .data = Join({{0x0075}, Long(-7)}),
         .trace = "0=zelQ_SearchGetStatus(5,2)",
         .check =
             [&] {
                 ExpectStatus(out_[0], {5, 1, 3, -3.5});
             }},
        {.name = "the bits above are nobody's; the axis is the controller's to judge",
         .call = [&] { return zelQ_SearchGetStatus(kNumber, 300, &out_[0]); },
         .frames = {{0x0101, 0x0014, 1, 300}},
         .readQuantity = 4,
         .data = Join({{0xFF8A}, Long(70000)}),
         .trace = "0=zelQ_SearchGetStatus(5,300)",
         .check =
             [&] {
                 ExpectStatus(out_[0], {10, 0, 0, 70000.0});
             }},
        {.name = "refused: the record stays",
         .call = [&] { return zelQ_SearchGetStatus(kNumber, 9, &out_[1]); },
         .result = 3,
         .frames = {{0x0101, 0x0014, 1, 9}},
         .readQuantity = 4,
         .controllerResult = 3,
         .trace = "3=zelQ_SearchGetStatus(5,9)",
         .check = [&] { ExpectStatus(out_[1], kUntouched); }},
    });
    ExpectNumberChecks([&](short zelNo) { return zelQ_SearchGetStatus(zelNo, 99, nullptr); });
    ExpectRefused(-1702, {[] { return zelQ_SearchGetStatus(kNumber, 99, nullptr); }});
}

TEST_F(SearchTest, SeveralAxesInListOrder)
{
    static constexpr std::array<short, 3> kAxes = {4, -1, 2};
    zelQ_UnitPerPulseSet(kNumber, 4, 0.1);
    zelQ_UnitPerPulseSet(kNumber, 2, 2.0);
    capture_.Lines();
    Run({
        {.name = "each by its own factor, 1.0 for an axis out of range",
         .call = [&] { return zelQ_mSearchGetStatus(kNumber, 3, kAxes.data(), out_.data()); },
         .frames = {{0x0101, 0x0014, 3, 4, 0xFFFF, 2}},
         .readQuantity = 10,
         .data = Join({{0x0011}, Long(100), {0x0022}, Long(-5), {0x0063}, Long(8)}),
         .trace = "0=zelQ_mSearchGetStatus(5,3)",
         .check =
             [&] {
                 ExpectStatus(out_[0], {1, 1, 0, 10.0});
                 ExpectStatus(out_[1], {2, 0, 1, -5.0});
                 ExpectStatus(out_[2], {3, 0, 3, 16.0});
                 ExpectStatus(out_[3], kUntouched);
             }},
        {.name = "none",
         .call = [&] { return zelQ_mSearchGetStatus(kNumber, 0, kAxes.data(), &out_[3]); },
         .frames = {{0x0101, 0x0014, 0}},
         .trace = "0=zelQ_mSearchGetStatus(5,0)",
         .check = [&] { ExpectStatus(out_[3], kUntouched); }},
    });
    ExpectNumberChecks(
        [](short zelNo) { return zelQ_mSearchGetStatus(zelNo, 0, nullptr, nullptr); });
    ExpectRefused(-1702, {[&] { return zelQ_mSearchGetStatus(kNumber, 1, nullptr, nullptr); }});
    ExpectRefused(-1703,
                  {[&] { return zelQ_mSearchGetStatus(kNumber, 1, kAxes.data(), nullptr); }});
}

TEST_F(SearchTest, TheCountIsBoundedByWhatAFrameCarries)
{
    // Not one axis more than a frame can carry is looked at.
    std::vector<short> axes(118);
    std::iota(axes.begin(), axes.end(), short{0});
    const auto get = [&](short count) {
        return
            [&, count] { return zelQ_mSearchGetStatus(kNumber, count, axes.data(), out_.data()); };
    };
    const auto frame = [&](std::uint16_t count) {
        Words words = {0x0101, 0x0014, count};
        words.insert(words.end(), axes.begin(), axes.begin() + count);
        return words;
    };
    const auto untouched = [&] { ExpectStatus(out_.back(), kUntouched); };
    Run({
        {.name = "the most that a reply can hold",
         .call = get(42),
         .frames = {frame(42)},
         .readQuantity = 127,
         .data = Words(126, 0x0030),
         .trace = "0=zelQ_mSearchGetStatus(5,42)",
         .check =
             [&] {
                 ExpectStatus(out_[41], {0, 1, 1, 0x00300030});
                 untouched();
             }},
        {.name = "one more than a reply can hold",
         .call = get(43),
         .result = -12,
         .frames = {frame(43)},
         .readQuantity = 130,
         .trace = "-12=zelQ_mSearchGetStatus(5,43)",
         .check = untouched},
        {.name = "the most that a request can hold",
         .call = get(118),
         .result = -12,
         .frames = {frame(118)},
         .readQuantity = 355,
         .trace = "-12=zelQ_mSearchGetStatus(5,118)",
         .check = untouched},
        {.name = "more: not sent",
         .call = get(119),
         .result = -12,
         .trace = "-12=zelQ_mSearchGetStatus(5,119)"},
        {.name = "far more",
         .call = get(32767),
         .result = -12,
         .trace = "-12=zelQ_mSearchGetStatus(5,32767)",
         .check = untouched},
    });
}

TEST_F(SearchTest, AShortReplyLeavesTheRecordsAlone)
{
    static constexpr std::array<short, 2> kAxes = {0, 1};
    const auto onlyTheResult = [this](const Request& request) {
        RequestFrame frame = request.front();
        frame.quantity = 1;
        return Answer{controller_.ProperReply(frame)};
    };
    controller_.Then(onlyTheResult);
    controller_.Then(onlyTheResult);
    Run({
        {.name = "one",
         .call = [&] { return zelQ_SearchGetStatus(kNumber, 0, &out_[0]); },
         .result = -12,
         .frames = {{0x0101, 0x0014, 1, 0}},
         .readQuantity = 4,
         .trace = "-12=zelQ_SearchGetStatus(5,0)"},
        {.name = "several",
         .call = [&] { return zelQ_mSearchGetStatus(kNumber, 2, kAxes.data(), out_.data()); },
         .result = -12,
         .frames = {{0x0101, 0x0014, 2, 0, 1}},
         .readQuantity = 7,
         .trace = "-12=zelQ_mSearchGetStatus(5,2)"},
    });
    ExpectStatus(out_[0], kUntouched);
}

} // namespace

} // namespace zelq::test
