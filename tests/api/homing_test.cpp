#include "support/calls.h"

namespace zelq::test {

namespace {

class HomingTest : public CallTest
{
  protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(WireTest::SetUp());
        SetUnits({{1, 0.01}});
    }

    /// The line's position has never been shown; its place has.
    static Row Home(ApiCall call, const Words& block, const std::string& shown)
    {
        return Row(std::move(call), Join({{0x0060}, block})).Shows(shown + ",%g");
    }
};

TEST_F(HomingTest, EveryKindHasItsOwnBlock)
{
    const Words pos = Long(-70000);
    Expect({
        Home(CALL(HomeMoveHome, 1, 1, 0, 2, 1, 5, -700.0), Join({{1, 1, 1, 0, 2, 1, 5}, pos}),
             "1,1,2,1,5"),
        Home(CALL(HomeMoveHome, 1, 0, 1, 0, 0, -5, -700.0), Join({{1, 0, 1, 1, 0, 0, 0xFFFB}, pos}),
             "1,0,0,0,-5"),
        Home(CALL(HomeMoveZPhase, 1, 1, 1, 0, 7, -700.0), Join({{1, 1, 2, 1, 2, 0, 7}, pos}),
             "1,1,0,7"),
        // One register more; the Z phase is searched away from the switch, or not at all.
        Home(CALL(HomeMoveLimit, 1, 1, 0, 1, 0, 5, -700.0), Join({{1, 1, 0, 0, 0, 2, 0, 5}, pos}),
             "1,1,1,0,5"),
        Home(CALL(HomeMoveLimit, 1, 0, 1, 1, 1, 5, -700.0), Join({{1, 0, 0, 1, 1, 2, 1, 5}, pos}),
             "1,0,1,1,5"),
        Home(CALL(HomeMoveLimit, 31, 1, 0, 0, 0, 5, 2.9), {31, 1, 0, 0, 2, 2, 0, 5, 2, 0},
             "31,1,0,0,5"),
        Home(CALL(HomeMoveStopper, 1, 1, 1, 1, 300, -700.0),
             Join({{1, 1, 3, 0, 0, 2, 1, 300}, pos}), "1,1,1,1,300"),
        Home(CALL(HomeMoveStopper, 1, 0, 0, 0, -1, -700.0),
             Join({{1, 0, 3, 0, 2, 2, 0, 0xFFFF}, pos}), "1,0,0,0,-1"),
    });
}

TEST_F(HomingTest, RunsAreCheckedInOrder)
{
    Refused(-2002,
            {CALL(HomeMoveHome, 32, 9, 9, 9, 9, 0, 0), CALL(HomeMoveZPhase, 32, 9, 9, 9, 0, 0),
             CALL(HomeMoveLimit, 32, 9, 9, 9, 9, 0, 0), CALL(HomeMoveStopper, 32, 9, 9, 9, 0, 0)});
    Refused(-1702,
            {CALL(HomeMoveHome, 31, 2, 9, 9, 9, 0, 0), CALL(HomeMoveZPhase, 31, 2, 9, 9, 0, 0),
             CALL(HomeMoveLimit, 31, 2, 9, 9, 9, 0, 0), CALL(HomeMoveStopper, 31, 2, 9, 9, 0, 0)});
    Refused(-1703,
            {CALL(HomeMoveHome, 31, 1, 2, 9, 9, 0, 0), CALL(HomeMoveZPhase, 31, 1, 2, 9, 0, 0),
             CALL(HomeMoveLimit, 31, 1, 2, 9, 9, 0, 0), CALL(HomeMoveStopper, 31, 1, 2, 9, 0, 0),
             CALL(HomeMoveStopper, 31, 1, -1, 9, 0, 0)});
    Refused(-1704,
            {CALL(HomeMoveHome, 31, 1, 1, 3, 9, 0, 0), CALL(HomeMoveZPhase, 31, 1, 1, 2, 0, 0),
             CALL(HomeMoveLimit, 31, 1, 1, 2, 9, 0, 0), CALL(HomeMoveStopper, 31, 1, 1, 2, 0, 0)});
    Refused(-1705,
            {CALL(HomeMoveHome, 31, 1, 1, 2, 2, 0, 0), CALL(HomeMoveLimit, 31, 1, 1, 1, 2, 0, 0)});
}

/// One phase record as it travels.
Words Phase(U16 profile, int start, int acc, int drive, int dec)
{
    return Join({{profile}, Long(start), Long(acc), Long(drive), Long(dec)});
}

/// The four phases of an axis.
Words Phases(U16 axis, const std::array<Words, 4>& p)
{
    return Join({{0x0061, axis}, p[0], p[1], p[2], p[3]});
}

TEST_F(HomingTest, SpeedsOfTheFourPhases)
{
    const Words same = Phase(0, 1, -8, 2, -8);
    Expect({
        // By the drive speeds: a tenth is taken before it is truncated.
        {CALL(HomeSetDriveSpeed, 0, 1, 1000, 700000, 19.75, 9),
         Phases(0, {Phase(1, 100, 2000, 1000, 2000), Phase(1, 70000, 1400000, 700000, 1400000),
                    Phase(1, 1, 39, 19, 39), Phase(1, 0, 18, 9, 18)})},
        {CALL(HomeSetDriveSpeed, 1, 0, 10, 5, 1, 0.5),
         Phases(1, {Phase(0, 100, 2000, 1000, 2000), Phase(0, 50, 1000, 500, 1000),
                    Phase(0, 10, 200, 100, 200), Phase(0, 5, 100, 50, 100)})},
        // By drive speeds, a start speed and a ratio: traced in pulses.
        Row(CALL(HomeSetSpeed, 1, 1, 0.5, 20000, 10, 1.239, 7, 3),
            Phases(1, {Phase(1, 50, 6000000, 2000000, 6000000), Phase(1, 50, 3000, 1000, 3000),
                       Phase(1, 50, 371, 123, 371), Phase(1, 50, 2100, 700, 2100)}))
            .Shows("1,1,2e+06,50,6e+06,6e+06"),
        // A negative ratio is the controller's to judge.
        Row(CALL(HomeSetSpeed, 0, 0, 1, 2, 2, 2, 2, -4), Phases(0, {same, same, same, same}))
            .Shows("0,0,2,1,-8,-8"),
        Row(CALL(HomeSetDetailSpeed, 1, 1, 1, 2, 30, 4, 0, 1.1, 2.2, 3.3, 4.4, 1, 700, 0.019, -1, 0,
                 0, 5, 6, 7, 8),
            Phases(1, {Phase(1, 100, 200, 3000, 400), Phase(0, 110, 220, 330, 440),
                       Phase(1, 70000, 1, -100, 0), Phase(0, 500, 600, 700, 800)}))
            .Shows("1,3000,100,200,400"),
    });
}

TEST_F(HomingTest, SpeedsAreCheckedInOrder)
{
    Refused(
        -2002,
        {CALL(HomeSetDriveSpeed, 32, 9, 1, 1, 1, 1), CALL(HomeSetSpeed, 32, 9, 1, 1, 1, 1, 1, 1),
         CALL(HomeSetDetailSpeed, 32, 9, 1, 1, 1, 1, 9, 1, 1, 1, 1, 9, 1, 1, 1, 1, 9, 1, 1, 1, 1)});
    Refused(-1702, {CALL(HomeSetDriveSpeed, 31, 2, 1, 1, 1, 1),
                    CALL(HomeSetSpeed, 31, 2, 1, 1, 1, 1, 1, 1)});
    struct Case
    {
        short code;
        U16 p[4];
    };
    for (const Case& row : {Case{-1702, {2, 2, 2, 2}}, Case{-1707, {1, 2, 2, 2}},
                            Case{-1712, {1, 0, 2, 2}}, Case{-1717, {1, 0, 1, 2}}}) {
        Refused(row.code, {CALL(HomeSetDetailSpeed, 31, row.p[0], 1, 1, 1, 1, row.p[1], 1, 1, 1, 1,
                                row.p[2], 1, 1, 1, 1, row.p[3], 1, 1, 1, 1)});
    }
}

TEST_F(HomingTest, HomingDoneIsCancelled)
{
    const U16 axes[] = {4, 4, 77};
    Expect({
        {CALL(HomeDoneCancel, 31), {0x0062, 1, 31}},
        Row(CALL(mHomeDoneCancel, 3, axes), {0x0062, 3, 4, 4, 77}).Shows("3"),
    });
    Refused(-2002, {CALL(HomeDoneCancel, 32)});
    Refused(-2004, {CALL(mHomeDoneCancel, 0, nullptr), CALL(mHomeDoneCancel, 33, nullptr)});
    Refused(-1702, {CALL(mHomeDoneCancel, 1, nullptr)});
}

} // namespace

} // namespace zelq::test
