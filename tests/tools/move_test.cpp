#include "tools/moving_test.h"

namespace zelq::test {

namespace {

class MoveTest : public MovingTest
{};

TEST_F(MoveTest, MovesToPositionsAndByDistances)
{
    Check({
        {"move X 100 --yes", 1, ": 4 ", "/error/code", 4}, // the servo is off
        {"servo on 0-1,3 --yes", 0, "on ready", "/axes/2/flags/on", true},
        {"move X 100 1 -50 --yes", 0, "100", "/axes/1/commandPosition", -50},
        {"move X -30.4 --by --yes", 0, "70", "/axes/0/commandPosition", 40},
        {"move X 40000 --yes", 1, "limit switch", "", {}},
        {"move X 40001 --yes", 1, ": 9 ", "/error/code", 9}, // the switch blocks this way
        {"move X --yes", 2, "missing", "", {}},
        {"move X fast --yes", 2, "no position", "", {}},
        {"move X 5 0 6 --yes", 2, "twice", "/error/code", -2003},
        {"move X 3e9 --yes", 2, "no position", "", {}},
        {"move 4 5 --yes", 2, "no servo axis", "", {}},
        {"servo off all", 0, "ready", "/axes/0/flags/on", false},
    });
}

TEST_F(MoveTest, AsksOnceAndTakesOnlyYes)
{
    SwitchOn();
    EXPECT_THAT(Run("move X 70", "y\n").errors,
                HasSubstr("Move axis 0 (X) from 0 to 70 pulses with 10000 pulses/s? [y/N]"));
    EXPECT_EQ(PositionOf(0), 70);
    for (const char* answer : {"", "\n", "n\n", "Yes, please\n"}) {
        EXPECT_EQ(Run("move X 0", answer).exit, 2);
        EXPECT_EQ(PositionOf(0), 70);
    }
}

TEST_F(MoveTest, LimitsOfTheConfigurationHold)
{
    SwitchOn();
    Limit(R"("unit": "mm", "unitPerPulse": 0.1, "maxDistance": 100, "maxSpeed": 500)");
    Check({
        {"move 0 0.3 --yes", 2, "run with 1000", "", {}}, // mm/s as it was delivered
        {"speed 0 --drive 501", 2, "allows 500.0 mm/s", "/error/exit", 2},
        {"speed 0 --drive 500 --acc 10000", 0, "500.0", "/axes/0/drive", 500},
        {"move 0 0.3 --yes", 0, "0.3", "", {}}, // 3 pulses, though 0.3 / 0.1 is less
        {"move 0 50 --yes", 0, "50.0", "/axes/0/commandPosition", 50.0},
        {"move 0 0 --yes", 0, "0.0", "", {}},
        {"move 0 100.5 --yes", 2, "allows 100.0 mm", "", {}},
        {"home 0 --yes", 2, "--speed", "", {}},
        {"home 0 --speed 600 --yes", 2, "allows 500.0 mm/s", "", {}},
        // It is not at home within 100 mm, and is stopped there.
        {"home 0 --speed 100 --yes", 2, "would go 10", "", {}},
        {"units 0 --per-pulse 1", 2, "has limits", "", {}},
    });
    EXPECT_FALSE(IsMoving(0));
    EXPECT_NEAR(PositionOf(0), -1300, 300); // and then it has to brake
}

TEST_F(MoveTest, HomesAndSearches)
{
    SwitchOn();
    Check({
        {"home X 1 --speed 20000 --position 12 --yes", 0, "home found", "/axes/1/flags/homed",
         true},
        {"home X --to limit --direction positive --speed 40000 --yes", 0, "home found", "", {}},
        {"home X --to nothing --yes", 2, "nothing", "", {}},
        {"search 1 --direction positive --yes", 0, "met the signal at", "", {}},
        {"search 1 --signal home --direction negative --yes --json", 0, "\"found\":", "", {}},
        {"speed 1 --drive 100000", 0, "100000", "", {}},
        {"search 1 --signal aux --yes", 1, "limit switch", "", {}},
    });
}

TEST_F(MoveTest, CtrlCStopsWhatTheVerbHasStarted)
{
    SwitchOn();
    for (const char* words : {"move X 20000 --yes", "home X --to limit --direction negative --yes",
                              "search X --signal aux --direction negative --yes"}) {
        SCOPED_TRACE(words);
        const auto process = StartMotion(words, 0);
        process->Interrupt();
        EXPECT_EQ(process->Wait(), 130) << process->Errors();
        EXPECT_FALSE(IsMoving(0));
        EXPECT_LT(std::abs(PositionOf(0)), 20000);
    }
}

TEST_F(MoveTest, ALostControllerIsTold)
{
    SwitchOn();
    const auto process = StartMotion("move X 20000 --yes --json", 0);
    server_.Stop();
    EXPECT_EQ(process->Wait(), 4);
    EXPECT_EQ(Json::parse(process->Output())["error"]["exit"], 4);
}

TEST_F(MoveTest, StopNeedsNoQuestionAndStopsWhatOthersHaveStarted)
{
    SwitchOn();
    const auto process = StartMotion("move X 25000 --yes", 0);
    Check(
        {{"stop", 0, "stopped", "/axes/0/flags/moving", false}, {"stop Z", 2, "no axis", "", {}}});
    EXPECT_EQ(process->Wait(), 1);
    EXPECT_THAT(process->Errors(), HasSubstr("has not come to its target"));
    EXPECT_EQ(Run("stop 0 --now").exit, 0);
}

TEST_F(MoveTest, UnitsStandInTheConfiguration)
{
    Check({
        {"units 1 --per-pulse 0.01 --unit deg", 0, "deg", "/axes/0/unitPerPulse", 0.01},
        {"units", 0, "X", "/target", "press"},
        {"status 1", 0, "deg", "/axes/0/unit", "deg"},
        {"units --per-pulse 1", 2, "which axis", "", {}},
    });
    Configure("{}");
    EXPECT_EQ(Run("units 1 --per-pulse 0.01").exit, 2);
}

} // namespace

} // namespace zelq::test
