#include "support/calls.h"

#include <limits>

namespace zelq::test {

namespace {

/// Moves, stops, overrides, positions and searches.
class MotionTest : public CallTest
{
  protected:
    const U16 odd_[3] = {7, 300, 7}; ///< axes as callers may give them, twice or out of range
    const short axes_[3] = {4, 2, -1};
    const double values_[3] = {1.0, -3.0, 9.9};
    /// Both as they are sent, each value by its axis's factor, 1.0 for an axis out of range.
    const Words rows_ = Join({{4}, Long(10), {2}, Long(-6), {0xFFFF}, Long(9)});

    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(WireTest::SetUp());
        SetUnits({{1, 0.001}, {2, 0.5}, {4, 0.1}});
    }
};

TEST_F(MotionTest, SingleAxisMoves)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    Expect({
        {CALL(MoveVel, 3, 1), {0x0010, 1, 1, 3}},
        // Whether an axis is a servo is the controller's to judge.
        {CALL(MoveVel, 31, 0), {0x0010, 1, 0, 31}},
        {CALL(MoveAbs, 1, 12.5), Join({{0x0011, 1, 1}, Long(12500)})},
        // Truncated toward zero; what 32 bits cannot hold is the lowest number.
        {CALL(MoveRel, 0, -2.7), {0x0012, 1, 0, 0xFFFE, 0xFFFF}},
        {CALL(MoveAbs, 0, 0.99), {0x0011, 1, 0, 0, 0}},
        Row(CALL(MoveAbs, 2, 0.0000001), {0x0011, 1, 2, 0, 0}).Shows("2,1e-07"),
        Row(CALL(MoveAbs, 0, 2147483647.9), Join({{0x0011, 1, 0}, Long(INT32_MAX)}))
            .Shows("0,2.14748e+09"),
        Row(CALL(MoveAbs, 0, 2147483648.0), Join({{0x0011, 1, 0}, Long(INT32_MIN)}))
            .Shows("0,2.14748e+09"),
        Row(CALL(MoveAbs, 0, kInfinity), Join({{0x0011, 1, 0}, Long(INT32_MIN)})).Shows("0,inf"),
        Row(CALL(MoveRel, 0, kNan), Join({{0x0012, 1, 0}, Long(INT32_MIN)})).Shows("0,nan"),
    });
    // A result above 32767 is cut to 16 bits in the line too.
    controller_.ThenResult(0xFFFF);
    ExpectOnce(Row(CALL(MoveVel, 2, 0), {0x0010, 1, 0, 2}).Gives(-1));
    Refused(-2002, {CALL(MoveVel, 32, 2), CALL(MoveAbs, 32, 1), CALL(MoveRel, 0xFFFF, 1)});
    Refused(-1702, {CALL(MoveVel, 0, 2)});
}

TEST_F(MotionTest, MovesOfSeveralAxes)
{
    const auto all = Counting<short, 32>(0);
    const auto distances = Counting<double, 32>(-5.0);
    Words most = {0x0011, 32};
    for (short axis = 0; axis < 32; ++axis) {
        const int factor = axis == 1 ? 1000 : axis == 2 ? 2 : axis == 4 ? 10 : 1;
        most = Join({most, {static_cast<U16>(axis)}, Long((axis - 5) * factor)});
    }
    Expect({
        Row(CALL(mMoveVel, 3, odd_, 0), {0x0010, 3, 0, 7, 300, 7}).Shows("3,0"),
        Row(CALL(mMoveAbs, 3, axes_, values_), Join({{0x0011, 3}, rows_})).Shows("3"),
        Row(CALL(mMoveRel, 3, axes_, values_), Join({{0x0012, 3}, rows_})).Shows("3"),
        Row(CALL(mMoveAbs, 32, all.data(), distances.data()), most).Shows("32"),
    });
    Refused(-2004, {CALL(mMoveVel, 0, odd_, 2), CALL(mMoveVel, 33, odd_, 2),
                    CALL(mMoveAbs, 0, nullptr, nullptr), CALL(mMoveAbs, 33, nullptr, nullptr),
                    CALL(mMoveRel, -1, nullptr, nullptr), CALL(mMoveRel, 33, nullptr, nullptr)});
    Refused(-1702, {CALL(mMoveVel, 1, odd_, 2), CALL(mMoveVel, 1, nullptr, 0),
                    CALL(mMoveAbs, 1, nullptr, nullptr), CALL(mMoveRel, 1, nullptr, nullptr)});
    Refused(-1703, {CALL(mMoveAbs, 1, axes_, nullptr), CALL(mMoveRel, 1, axes_, nullptr)});
}

TEST_F(MotionTest, StopsHaveTheModeBeforeTheCount)
{
    Expect({
        {CALL(StopDec, 5), {0x0040, 1, 1, 5}},
        {CALL(StopSudden, 31), {0x0040, 0, 1, 31}},
        Row(CALL(mStop, 3, odd_, 1), {0x0040, 1, 3, 7, 300, 7}).Shows("3,1"),
        // A map, without a count.
        {CALL(StopIMap, 15, 1), {0x0041, 15, 1}},
        {CALL(StopIMap, 0, 0), {0x0041, 0, 0}},
    });
    Refused(-2002, {CALL(StopDec, 32), CALL(StopSudden, 32)});
    Refused(-1701,
            {CALL(mStop, 0, nullptr, 2), CALL(mStop, 33, nullptr, 2), CALL(StopIMap, 16, 2)});
    Refused(-1702, {CALL(mStop, 1, odd_, 2), CALL(mStop, 1, nullptr, 1), CALL(StopIMap, 15, 2)});
}

TEST_F(MotionTest, PositionsHaveTheModeBeforeTheCount)
{
    Expect({
        {CALL(CmdEncPosSet, 1, -70), Join({{0x0050, 0, 1, 1}, Long(-70000)})},
        Row(CALL(mCmdEncPosSet, 3, axes_, values_), Join({{0x0050, 0, 3}, rows_})).Shows("3"),
        {CALL(EncToCmdPos, 31), {0x0050, 1, 1, 31}},
        Row(CALL(mEncToCmdPos, 3, odd_), {0x0050, 1, 3, 7, 300, 7}).Shows("3"),
        // No mode.
        {CALL(AbsEncMultiTurnClear, 4), {0x0051, 1, 4}},
        Row(CALL(mAbsEncMultiTurnClear, 3, odd_), {0x0051, 3, 7, 300, 7}).Shows("3"),
    });
    Refused(-2002,
            {CALL(CmdEncPosSet, 32, 1), CALL(EncToCmdPos, 32), CALL(AbsEncMultiTurnClear, 32)});
    for (const short count : std::initializer_list<short>{0, 33}) {
        Refused(-1701,
                {CALL(mCmdEncPosSet, count, nullptr, nullptr), CALL(mEncToCmdPos, count, nullptr),
                 CALL(mAbsEncMultiTurnClear, count, nullptr)});
    }
    Refused(-1702, {CALL(mCmdEncPosSet, 1, nullptr, nullptr), CALL(mEncToCmdPos, 1, nullptr),
                    CALL(mAbsEncMultiTurnClear, 1, nullptr)});
    Refused(-1703, {CALL(mCmdEncPosSet, 1, axes_, nullptr)});
}

TEST_F(MotionTest, Overrides)
{
    Expect({
        {CALL(OverrideDriveSpeed, 1, 5.5555), Join({{0x0020, 1, 1}, Long(5555)})},
        // Sent as given, traced with the last two changed.
        Row(CALL(OverrideSpeed, 1, 1.5, 2.5, -3.5),
            Join({{0x0021, 1, 1}, Long(1500), Long(2500), Long(-3500)}))
            .Shows("1,1.5,-3.5,2.5"),
        {CALL(OverrideAbs, 31, -2.9), Join({{0x0022, 1, 31}, Long(-2)})},
        Row(CALL(mOverrideDriveSpeed, 3, axes_, values_), Join({{0x0020, 3}, rows_})).Shows("3"),
        Row(CALL(mOverrideAbs, 3, axes_, values_), Join({{0x0022, 3}, rows_})).Shows("3"),
    });
    Refused(-2002, {CALL(OverrideDriveSpeed, 32, 1), CALL(OverrideSpeed, 32, 1, 1, 1),
                    CALL(OverrideAbs, 32, 1)});
    // The same mistake has two codes.
    Refused(-2004, {CALL(mOverrideDriveSpeed, 0, nullptr, nullptr),
                    CALL(mOverrideDriveSpeed, 33, nullptr, nullptr)});
    Refused(-1701,
            {CALL(mOverrideAbs, 0, nullptr, nullptr), CALL(mOverrideAbs, 33, nullptr, nullptr)});
    Refused(-1702, {CALL(mOverrideDriveSpeed, 1, nullptr, nullptr),
                    CALL(mOverrideAbs, 1, nullptr, nullptr)});
    Refused(-1703,
            {CALL(mOverrideDriveSpeed, 1, axes_, nullptr), CALL(mOverrideAbs, 1, axes_, nullptr)});
}

TEST_F(MotionTest, OverriddenProfilesTravelSixteenToAFrame)
{
    SetUnits({{1, 1.0}, {2, 1.0}, {4, 1.0}, {3, 0.1}});
    const auto axes = Counting<short, 32>(0);
    const auto v1 = Counting<double, 32>(0.0);
    const auto v2 = Counting<double, 32>(-100000.0);
    const auto v3 = Counting<double, 32>(-200000.0);
    const auto frame = [](Words head, int first, int end) {
        for (int i = first; i < end; ++i) {
            const int factor = i == 3 ? 10 : 1;
            head = Join({head,
                         {static_cast<U16>(i)},
                         Long(factor * i),
                         Long(factor * (i - 100000)),
                         Long(factor * (i - 200000))});
        }
        return head;
    };
    const auto send = [&](short count, const std::vector<Words>& frames) {
        Expect({Row(CALL(mOverrideSpeed, count, axes.data(), v1.data(), v2.data(), v3.data()))
                    .Frames(frames)
                    .Line("zelQ_mSetSpeed(5," + std::to_string(count) + ")")});
    };
    send(16, {frame({0x0101, 0x0021, 16}, 0, 16)});
    send(17, {frame({0x0201, 0x0021, 17}, 0, 16), frame({0x0202}, 16, 17)});
    send(32, {frame({0x0201, 0x0021, 32}, 0, 16), frame({0x0202}, 16, 32)});
    Refused(-1701, {CALL(mOverrideSpeed, 0, nullptr, nullptr, nullptr, nullptr),
                    CALL(mOverrideSpeed, 33, nullptr, nullptr, nullptr, nullptr)});
    Refused(-1702, {CALL(mOverrideSpeed, 1, nullptr, nullptr, nullptr, nullptr)});
    Refused(-1703, {CALL(mOverrideSpeed, 1, axes_, nullptr, nullptr, nullptr)});
    Refused(-1704, {CALL(mOverrideSpeed, 1, axes_, values_, nullptr, nullptr)});
    Refused(-1705, {CALL(mOverrideSpeed, 1, axes_, values_, values_, nullptr)});
}

SearchStatus Found(U16 code, U16 flag, U16 mode, double pos)
{
    auto status = Untouched<SearchStatus>();
    status.code = code;
    status.flag = flag;
    status.mode = mode;
    status.pos = pos;
    return status;
}

TEST_F(MotionTest, SearchesHaveTheOptionsBeforeTheAxis)
{
    SearchStatus out{};
    Expect({
        {CALL(SearchMove, 4, 1, 3, 0, 1), {0x0013, 1, 3, 0, 1, 1, 4}},
        {CALL(SearchMove, 31, 0, 0, 1, 0), {0x0013, 0, 0, 1, 0, 1, 31}},
        Row(CALL(SearchGetStatus, 2, &out), {0x0014, 1, 2})
            .Data(Join({{0x0075}, Long(-7)}), "2")
            .Gets(out, Found(5, 1, 3, -3.5)),
        // The bits above are nobody's; the axis is the controller's to judge.
        Row(CALL(SearchGetStatus, 300, &out), {0x0014, 1, 300})
            .Data(Join({{0xFF8A}, Long(70000)}), "300")
            .Gets(out, Found(10, 0, 0, 70000.0)),
    });
    Refused(-2002, {CALL(SearchMove, 32, 9, 9, 9, 9)});
    Refused(-1702, {CALL(SearchMove, 31, 2, 9, 9, 9), CALL(SearchGetStatus, 99, nullptr),
                    CALL(mSearchGetStatus, 1, nullptr, nullptr)});
    Refused(-1703, {CALL(SearchMove, 31, 1, 4, 9, 9), CALL(mSearchGetStatus, 1, axes_, nullptr)});
    Refused(-1704, {CALL(SearchMove, 31, 1, 3, 2, 9)});
    Refused(-1705, {CALL(SearchMove, 31, 1, 3, 1, 2)});
}

TEST_F(MotionTest, SearchesOfAsManyAxesAsFramesCarry)
{
    std::array<SearchStatus, 43> out{};
    std::vector<SearchStatus> wanted;
    for (short axis = 0; axis < 42; ++axis) {
        const double unit = axis == 1 ? 0.001 : axis == 2 ? 0.5 : axis == 4 ? 0.1 : 1.0;
        wanted.push_back(Found(0, 1, 1, unit * 0x00300030));
    }
    // Not one axis more than a frame can carry is looked at.
    std::vector<short> many(118);
    std::iota(many.begin(), many.end(), short{0});
    const short* axes = many.data();
    const auto frame = [&](U16 count) {
        Words words = {0x0101, 0x0014, count};
        words.insert(words.end(), axes, axes + count);
        return words;
    };
    Expect({
        Row(CALL(mSearchGetStatus, 3, axes_, out.data()), {0x0014, 3, 4, 2, 0xFFFF})
            .Data(Join({{0x0011}, Long(100), {0x0022}, Long(-5), {0x0063}, Long(8)}), "3")
            .Fills(out, {Found(1, 1, 0, 10.0), Found(2, 0, 1, -2.5), Found(3, 0, 3, 8.0)}),
        Row(CALL(mSearchGetStatus, 0, axes, out.data()), {0x0014, 0}).Shows("0").Fills(out, {}),
        Row(CALL(mSearchGetStatus, 42, axes, out.data()))
            .Frames({frame(42)})
            .Data(Words(126, 0x0030), "42")
            .Fills(out, wanted),
        // More than a reply can hold; the most that a request can; more, which is not sent.
        Row(CALL(mSearchGetStatus, 43, axes, out.data()))
            .Frames({frame(43)}, 130)
            .Gives(-12)
            .Shows("43")
            .Fills(out, {}),
        Row(CALL(mSearchGetStatus, 118, axes, out.data()))
            .Frames({frame(118)}, 355)
            .Gives(-12)
            .Shows("118")
            .Fills(out, {}),
        Row(CALL(mSearchGetStatus, 119, axes, out.data())).Gives(-12).Shows("119").Fills(out, {}),
        Row(CALL(mSearchGetStatus, 32767, axes, out.data())).Gives(-12).Shows("32767"),
    });
}

} // namespace

} // namespace zelq::test
