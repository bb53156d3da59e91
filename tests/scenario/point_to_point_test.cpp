// Search, override, stop, drive modes and position set, from the call to the motor.

#include "scenario/scenario_test.h"

#include <array>

namespace zelq::test {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class PointToPointTest : public ScenarioTest
{
  protected:
    PointToPointTest() : ScenarioTest(ConfigWithProbe()) {}

    static lumosim::ServerConfig ConfigWithProbe()
    {
        lumosim::ServerConfig config = DefaultConfig();
        config.controller.mechanics.probe = lumosim::Stretch{30'000, 31'000};
        return config;
    }

    void SetUp() override
    {
        ScenarioTest::SetUp();
        // Millimetres of 1000 pulses.
        for (short axis = 0; axis < 2; ++axis) {
            ASSERT_EQ(zelQ_UnitPerPulseSet(kNumber, axis, 0.001), 0);
            ASSERT_EQ(zelQ_SpeedSet(kNumber, axis, 0, 0, 100, 20, 100), 0);
        }
        ServosOn({0, 1});
    }

    static constexpr std::array<short, 2> kBoth = {0, 1};
};

TEST_F(PointToPointTest, ASearchLatchesThePositionOfTheProbe)
{
    SearchStatus status{};
    ASSERT_EQ(zelQ_SearchGetStatus(kNumber, 0, &status), 0);
    EXPECT_EQ(status.code, 0);
    ASSERT_EQ(zelQ_SearchMove(kNumber, 0, 0, 0, 0, 0), 0);
    EXPECT_EQ(zelQ_SearchMove(kNumber, 0, 0, 0, 0, 0), 6) << "it is searching";
    Advance(seconds(1));
    EXPECT_EQ(StatusOf(0).motionKind, 4);
    Advance(seconds(10));

    std::array<SearchStatus, 2> both{};
    ASSERT_EQ(zelQ_mSearchGetStatus(kNumber, 2, kBoth.data(), both.data()), 0);
    EXPECT_EQ(both[0].code, 2);
    EXPECT_EQ(both[0].flag, 1);
    EXPECT_EQ(both[0].mode, 0);
    EXPECT_NEAR(both[0].pos, 30.0, 0.001);
    EXPECT_EQ(both[1].code, 0);
    EXPECT_EQ(both[1].flag, 0);
    // 20 mm/s at 100 mm/s²: 2 mm behind it.
    EXPECT_NEAR(StatusOf(0).commandPosition, 32.0, 0.001);
    EXPECT_EQ(StatusOf(0).stopCause, 10);

    // More axes than a reply can hold.
    std::array<short, 43> many{};
    std::array<SearchStatus, 43> records{};
    EXPECT_EQ(zelQ_mSearchGetStatus(kNumber, 43, many.data(), records.data()), -12);
}

TEST_F(PointToPointTest, OverridesChangeARunningMove)
{
    EXPECT_EQ(zelQ_OverrideDriveSpeed(kNumber, 0, 10), 8) << "it stands";
    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 100), 0);
    ASSERT_EQ(zelQ_MoveVel(kNumber, 1, 1), 0);
    Advance(seconds(1));
    ASSERT_EQ(zelQ_OverrideDriveSpeed(kNumber, 0, 5), 0);
    EXPECT_NEAR(StatusOf(0).velocity, 20.0, 0.001) << "no jump";
    Advance(seconds(1));
    EXPECT_NEAR(StatusOf(0).velocity, 5.0, 0.001);

    static constexpr std::array<double, 2> kAcc = {200, 10};
    static constexpr std::array<double, 2> kDrive = {40, 30};
    static constexpr std::array<double, 2> kDec = {200, 10};
    ASSERT_EQ(
        zelQ_mOverrideSpeed(kNumber, 2, kBoth.data(), kAcc.data(), kDrive.data(), kDec.data()), 0);
    Advance(milliseconds(500));
    EXPECT_NEAR(StatusOf(0).velocity, 40.0, 0.001);
    EXPECT_NEAR(StatusOf(1).velocity, -25.0, 0.001);
    EXPECT_EQ(zelQ_OverrideAbs(kNumber, 1, 0), 20) << "a jog has no target";

    ASSERT_EQ(zelQ_OverrideAbs(kNumber, 0, -10), 0);
    ASSERT_TRUE(AdvanceUntil([] { return StatusOf(0).inMotion == 0; }, seconds(20)));
    EXPECT_NEAR(StatusOf(0).commandPosition, -10.0, 0.0005);
}

TEST_F(PointToPointTest, StopsOfOneAndOfSeveralAxes)
{
    static constexpr std::array<unsigned short, 2> kList = {1, 0};
    ASSERT_EQ(zelQ_mMoveVel(kNumber, 2, kList.data(), 0), 0);
    Advance(seconds(1));
    const double here = StatusOf(0).commandPosition;
    ASSERT_EQ(zelQ_StopDec(kNumber, 0), 0);
    ASSERT_EQ(zelQ_StopSudden(kNumber, 1), 0);
    EXPECT_EQ(StatusOf(1).inMotion, 0);
    EXPECT_EQ(StatusOf(1).stopCause, 2);
    EXPECT_NEAR(StatusOf(1).commandPosition, here, 0.001);
    Advance(seconds(1));
    EXPECT_EQ(StatusOf(0).stopCause, 1);
    EXPECT_NEAR(StatusOf(0).commandPosition, here + 2.0, 0.001);

    ASSERT_EQ(zelQ_mMoveVel(kNumber, 2, kList.data(), 1), 0);
    Advance(seconds(1));
    ASSERT_EQ(zelQ_mStop(kNumber, 2, kList.data(), 0), 0);
    EXPECT_EQ(StatusOf(0).inMotion, 0);
    EXPECT_EQ(StatusOf(1).inMotion, 0);
    EXPECT_EQ(zelQ_mStop(kNumber, 2, kList.data(), 1), 0) << "they stand already";
    EXPECT_EQ(zelQ_StopIMap(kNumber, 15, 1), 11) << "nobody is in the map";
}

TEST_F(PointToPointTest, TorqueVelocityAndProfilePosition)
{
    ASSERT_EQ(zelQ_CT_SetTorque(kNumber, 0, -20.0, 60), 0);
    static constexpr std::array<short, 1> kSecond = {1};
    static constexpr std::array<double, 1> kTorque = {4.0};
    static constexpr std::array<unsigned short, 1> kLimit = {60};
    ASSERT_EQ(zelQ_mCT_SetTorque(kNumber, 1, kSecond.data(), kTorque.data(), kLimit.data()), 0);
    Advance(seconds(1));
    // One turn of 10,000 pulses a second.
    EXPECT_NEAR(StatusOf(0).velocity, -10.0, 0.001);
    EXPECT_EQ(StatusOf(0).motionKind, 10);
    EXPECT_EQ(double{StatusOf(1).velocity}, 0.0) << "less than friction";
    EXPECT_NEAR(StatusOf(1).torque, 4.0, 0.01);
    EXPECT_EQ(zelQ_CV_SetVelocity(kNumber, 0, 1, 1, 1, 0), 6) << "another mode is on";
    static constexpr std::array<unsigned short, 2> kList = {0, 1};
    ASSERT_EQ(zelQ_mStop(kNumber, 2, kList.data(), 0), 0);

    static constexpr std::array<double, 2> kVelocity = {15, -2};
    static constexpr std::array<double, 2> kRates = {50, 50};
    static constexpr std::array<short, 2> kShapes = {0, 1};
    ASSERT_EQ(zelQ_mCV_SetVelocity(kNumber, 2, kBoth.data(), kVelocity.data(), kRates.data(),
                                   kRates.data(), kShapes.data()),
              0);
    Advance(seconds(1));
    EXPECT_NEAR(StatusOf(0).velocity, 15.0, 0.001);
    EXPECT_NEAR(StatusOf(1).velocity, -2.0, 0.001);
    ASSERT_EQ(zelQ_CV_SetVelocity(kNumber, 0, 0, 50, 50, 0), 0);
    ASSERT_EQ(zelQ_StopDec(kNumber, 1), 0);
    Advance(seconds(1));
    EXPECT_EQ(StatusOf(0).inMotion, 0);

    ASSERT_EQ(zelQ_PP_SetTPosSpeed(kNumber, 0, 40, 8), 0);
    Advance(milliseconds(500));
    EXPECT_NEAR(StatusOf(0).velocity, 8.0, 0.001);
    EXPECT_EQ(StatusOf(0).motionKind, 12);
    ASSERT_EQ(zelQ_PP_SetTPosSpeed(kNumber, 0, 12.5, 30), 0);
    Advance(seconds(10));
    EXPECT_NEAR(StatusOf(0).commandPosition, 12.5, 0.0005);
}

TEST_F(PointToPointTest, CountersAreSetAndTakenFromTheEncoder)
{
    static constexpr std::array<double, 2> kPositions = {12.5, -7};
    static constexpr std::array<unsigned short, 2> kList = {0, 1};
    ASSERT_EQ(zelQ_mCmdEncPosSet(kNumber, 2, kBoth.data(), kPositions.data()), 0);
    EXPECT_NEAR(StatusOf(0).encoderPosition, 12.5, 1e-9);
    EXPECT_NEAR(StatusOf(1).commandPosition, -7.0, 1e-9);
    ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 1, 0), 0);
    EXPECT_EQ(double{StatusOf(1).commandPosition}, 0.0);

    // Turned by hand while the servo is off: the command is behind until it is taken over.
    ASSERT_EQ(zelQ_ServoOn(kNumber, 0, 0), 0);
    server_.With([](lumosim::Controller& controller) { controller.AxisAt(0).PushByHand(42); });
    EXPECT_NEAR(StatusOf(0).commandPosition, 12.5, 1e-9);
    EXPECT_EQ(StatusOf(0).rawFollowingError, 0) << "not written by this call";
    EXPECT_NEAR(StatusOf(0).followingError, -0.042, 1e-9);
    ASSERT_EQ(zelQ_mEncToCmdPos(kNumber, 2, kList.data()), 0);
    EXPECT_NEAR(StatusOf(0).commandPosition, 12.542, 1e-9);
    EXPECT_EQ(double{StatusOf(0).followingError}, 0.0);

    EXPECT_EQ(zelQ_AbsEncMultiTurnClear(kNumber, 0), 21) << "no absolute encoder";
    server_.With([](lumosim::Controller& controller) {
        lumosim::SlaveProperties properties;
        properties.absoluteEncoder = true;
        controller.SetProperties(0, properties);
    });
    ASSERT_EQ(zelQ_AbsEncMultiTurnClear(kNumber, 0), 0);
    EXPECT_NEAR(StatusOf(0).commandPosition, 2.542, 1e-9);
}

} // namespace

} // namespace zelq::test
