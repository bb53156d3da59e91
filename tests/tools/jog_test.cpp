#include "tools/moving_test.h"

namespace zelq::test {

namespace {

class JogTest : public MovingTest
{
  protected:
    void SetUp() override
    {
        MovingTest::SetUp();
        SwitchOn();
    }
};

TEST_F(JogTest, RunsAsLongAsAKeyRepeats)
{
    const auto process = Start("jog X --yes --hold 300");
    ASSERT_TRUE(process->AwaitOutput("hold"));
    process->Type("+");
    ASSERT_TRUE(ComesToMove(0));
    ASSERT_TRUE(ComesToRest(0)); // nothing more was typed
    const std::int32_t forward = PositionOf(0);
    EXPECT_GT(forward, 500);

    process->Type("\033[D"); // left
    ASSERT_TRUE(ComesToMove(0));
    process->Type(" ");
    ASSERT_TRUE(ComesToRest(0));
    EXPECT_LT(PositionOf(0), forward);
    process->Type("q");
    EXPECT_EQ(process->Wait(), 0) << process->Errors();
}

TEST_F(JogTest, StopsWhenItsTerminalOrItselfIsGone)
{
    const auto gone = Start("jog X --yes --hold 2000");
    ASSERT_TRUE(gone->AwaitOutput("hold"));
    gone->Type("+");
    ASSERT_TRUE(ComesToMove(0));
    EXPECT_EQ(gone->Wait(), 0); // the end of what is typed
    EXPECT_FALSE(IsMoving(0));

    const auto killed = Start("jog X --yes --hold 2000");
    ASSERT_TRUE(killed->AwaitOutput("hold"));
    killed->Type("-");
    ASSERT_TRUE(ComesToMove(0));
    const std::int32_t before = PositionOf(0);
    killed->Kill();
    EXPECT_TRUE(ComesToRest(0));
    EXPECT_LT(std::abs(PositionOf(0) - before), 8000); // in 0.3 s, and braking
    EXPECT_EQ(WithAxis(0, [](lumosim::Axis& axis) { return axis.LastStop(); }),
              lumosim::StopCause::kNone); // it came to the end of its way
}

TEST_F(JogTest, RunsForATimeWithinTheLimits)
{
    Check({
        {"jog X --for 200 --yes", 0, "stopped", "/axes/0/flags/moving", false},
        {"jog X --for 100 --direction negative", 2, "nothing was done", "", {}},
        {"jog 0-1 --for 100 --yes", 2, "one axis", "", {}},
        {"jog X --direction negative --yes", 2, "--for", "", {}},
    });
    EXPECT_GT(PositionOf(0), 1000);
    ASSERT_EQ(Run("move X 0 --yes").exit, 0);
    Limit(R"("name": "X", "maxDistance": 700)");
    EXPECT_EQ(Run("jog X --for 500 --yes").exit, 0);
    EXPECT_EQ(PositionOf(0), 700);
    Limit(R"("name": "X", "maxSpeed": 9999)");
    EXPECT_EQ(Run("jog X --for 500 --yes").exit, 2);
    EXPECT_EQ(PositionOf(0), 700);
    Limit(R"("name": "X")");
    EXPECT_THAT(Run("jog X --for 4000 --yes").output, HasSubstr("limit+")); // and no further
    ASSERT_EQ(Run("servo off X").exit, 0);
    EXPECT_EQ(Run("jog X --for 500 --direction negative --yes").exit, 1);
}

TEST_F(JogTest, CtrlCStopsIt)
{
    const auto process = StartMotion("jog X --for 60000 --yes", 0);
    process->Interrupt();
    EXPECT_EQ(process->Wait(), 130);
    EXPECT_FALSE(IsMoving(0));
}

} // namespace

} // namespace zelq::test
