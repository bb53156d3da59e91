// Homing, from the call to the motor.

#include "scenario/scenario_test.h"

#include <array>

namespace zelq::test {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class HomingScenario : public ScenarioTest
{
  protected:
    HomingScenario() : ScenarioTest(ConfigWithSensors()) {}

    static lumosim::ServerConfig ConfigWithSensors()
    {
        lumosim::ServerConfig config = DefaultConfig();
        config.controller.mechanics.negativeLimit = -50'000;
        config.controller.mechanics.positiveLimit = 50'000;
        config.controller.mechanics.stopperGap = 500;
        config.controller.mechanics.homeSensor = lumosim::Stretch{-12'000, -11'000};
        return config;
    }

    void SetUp() override
    {
        ScenarioTest::SetUp();
        ASSERT_EQ(zelQ_UnitPerPulseSet(kNumber, 0, 0.001), 0);
        ServosOn({0});
    }

    /// Where the motor stands on its machine when the run has ended.
    double PlaceAtEnd()
    {
        EXPECT_EQ(StatusOf(0).homing, 1);
        EXPECT_EQ(StatusOf(0).motionKind, 5);
        EXPECT_TRUE(
            AdvanceUntil([] { return StatusOf(0).homing == 0; }, seconds(200), milliseconds(100)));
        return server_.With([](lumosim::Controller& controller) {
            return controller.AxisAt(0).Physical().position;
        });
    }

    static void ExpectHomedAt(double position)
    {
        const ServoStatus status = StatusOf(0);
        EXPECT_EQ(status.homeDone, 1);
        EXPECT_EQ(status.stopCause, 9);
        EXPECT_NEAR(status.commandPosition, position, 1e-9);
        EXPECT_NEAR(status.encoderPosition, position, 1e-9);
    }
};

TEST_F(HomingScenario, AllFourKinds)
{
    ASSERT_EQ(zelQ_HomeSetDriveSpeed(kNumber, 0, 0, 20, 5, 0.5, 2), 0);
    ASSERT_EQ(zelQ_HomeMoveHome(kNumber, 0, 1, 0, 2, 0, 0, 3.5), 0);
    EXPECT_EQ(zelQ_HomeMoveHome(kNumber, 0, 1, 0, 2, 0, 0, 3.5), 6) << "it is homing";
    EXPECT_EQ(PlaceAtEnd(), -11'000);
    ExpectHomedAt(3.5);
    EXPECT_EQ(StatusOf(0).homeSensor, 1);

    // The Z phase of a turn of 10,000 pulses is its pulse 2500.
    ASSERT_EQ(zelQ_HomeSetSpeed(kNumber, 0, 1, 0.1, 30, 5, 1, 2, 4), 0);
    ASSERT_EQ(zelQ_HomeMoveZPhase(kNumber, 0, 0, 1, 0, 20, 0), 0);
    EXPECT_EQ(PlaceAtEnd(), -7'500);
    ExpectHomedAt(0);

    ASSERT_EQ(zelQ_HomeMoveLimit(kNumber, 0, 0, 1, 1, 1, 0, -1.25), 0);
    EXPECT_EQ(PlaceAtEnd(), 42'500 - 1'250) << "back to the Z phase, and on by the distance";
    ExpectHomedAt(0);

    ASSERT_EQ(zelQ_HomeSetDetailSpeed(kNumber, 0, 0, 1, 100, 20, 100, 1, 1, 100, 5, 100, 0, 1, 100,
                                      1, 100, 1, 1, 100, 2, 100),
              0);
    ASSERT_EQ(zelQ_HomeMoveStopper(kNumber, 0, 1, 0, 0, 300, 100), 0);
    EXPECT_EQ(PlaceAtEnd(), -50'500);
    ExpectHomedAt(100);
    EXPECT_EQ(StatusOf(0).limitNegative, 1);
}

TEST_F(HomingScenario, DoneIsCancelledAndLostByAnInterruptedRun)
{
    static constexpr std::array<unsigned short, 2> kList = {0, 1};
    ASSERT_EQ(zelQ_HomeMoveHome(kNumber, 0, 1, 0, 2, 0, 0, 0), 0);
    PlaceAtEnd();
    ExpectHomedAt(0);
    ASSERT_EQ(zelQ_HomeDoneCancel(kNumber, 0), 0);
    EXPECT_EQ(StatusOf(0).homeDone, 0);

    ASSERT_EQ(zelQ_HomeMoveHome(kNumber, 0, 1, 0, 2, 0, 0, 0), 0);
    PlaceAtEnd();
    ASSERT_EQ(zelQ_mHomeDoneCancel(kNumber, 2, kList.data()), 0);
    EXPECT_EQ(StatusOf(0).homeDone, 0);

    ASSERT_EQ(zelQ_HomeMoveLimit(kNumber, 0, 0, 0, 0, 0, 0, 0), 0);
    Advance(seconds(1));
    ASSERT_EQ(zelQ_StopDec(kNumber, 0), 0);
    Advance(seconds(1));
    EXPECT_EQ(StatusOf(0).homing, 0);
    EXPECT_EQ(StatusOf(0).homeDone, 0);
    EXPECT_EQ(StatusOf(0).stopCause, 1);
}

} // namespace

} // namespace zelq::test
