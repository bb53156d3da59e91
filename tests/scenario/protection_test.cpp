#include "core/hand_wheel.h"
#include "scenario_test.h"

#include <array>

namespace zelq::test {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

enum StopCause { kTargetReached = 0, kLimitSensor = 3, kSoftwareLimit = 4, kConnectionLost = 8 };

constexpr short kLimitBlocks = 9;
constexpr short kSoftwareLimitBlocks = 81;

class ProtectionTest : public ScenarioTest
{
  protected:
    void SetUp() override
    {
        ScenarioTest::SetUp();
        // Way to stop from the drive speed: 10000² / 2 / 100000 = 500 pulses.
        ASSERT_EQ(zelQ_SpeedSet(kNumber, 0, 0, 0.0, 100'000.0, 10'000.0, 100'000.0), 0);
        ServosOn({0});
    }

    bool AdvanceToRest()
    {
        return AdvanceUntil([] { return StatusOf(0).inMotion == 0; }, seconds(10));
    }
};

TEST_F(ProtectionTest, SoftwareLimitsStopAMoveByTheirModes)
{
    zelQ_UnitPerPulseSet(kNumber, 0, 0.01);
    ASSERT_EQ(zelQ_StopModeSwLimit(kNumber, 0, 2, 50.0, 1, -20.0), 0);
    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 70.0), 0);
    ASSERT_TRUE(AdvanceToRest());
    ServoStatus status = StatusOf(0);
    EXPECT_EQ(double{status.commandPosition}, 50.0) << "a sudden stop, at the limit";
    EXPECT_EQ(status.stopCause, kSoftwareLimit);
    EXPECT_EQ(status.softLimit, 1);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kSoftwareLimitBlocks);

    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 49.0), 0) << "the way back is free";
    ASSERT_TRUE(AdvanceToRest());
    EXPECT_EQ(StatusOf(0).softLimit, 0);
    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, 50.0), 0) << "a move may end on the limit";
    ASSERT_TRUE(AdvanceToRest());
    EXPECT_EQ(StatusOf(0).stopCause, kTargetReached);

    ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 1), 0);
    ASSERT_TRUE(AdvanceToRest());
    status = StatusOf(0);
    EXPECT_NEAR(double{status.commandPosition}, -25.0, 0.02) << "5 behind the limit, braking";
    EXPECT_EQ(status.stopCause, kSoftwareLimit);

    ASSERT_EQ(zelQ_StopModeSwLimit(kNumber, 0, 0, 50.0, 0, -20.0), 0);
    ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, -40.0), 0) << "without modes the limits are none";
    ASSERT_TRUE(AdvanceToRest());
    EXPECT_EQ(double{StatusOf(0).commandPosition}, -40.0);
}

TEST_F(ProtectionTest, SoftwareLimitsAreReadBack)
{
    zelQ_UnitPerPulseSet(kNumber, 3, 0.5);
    ASSERT_EQ(zelQ_StopModeSwLimit(kNumber, 3, 2, 35'000.0, 1, -1.5), 0);
    ASSERT_EQ(zelQ_StopModeSwLimit(kNumber, 0, 1, 7.9, 0, 0.0), 0);
    constexpr std::array<unsigned short, 2> kGiven = {3, 0};
    std::array<unsigned short, 2> mode1{};
    std::array<unsigned short, 2> mode2{};
    std::array<double, 2> pos1{};
    std::array<double, 2> pos2{};
    ASSERT_EQ(zelQ_mSwLimitGet(kNumber, 2, kGiven.data(), mode1.data(), pos1.data(), mode2.data(),
                               pos2.data()),
              0);
    EXPECT_EQ(mode1, (std::array<unsigned short, 2>{2, 1}));
    EXPECT_EQ(pos1, (std::array<double, 2>{35'000.0, 7.0}));
    EXPECT_EQ(mode2, (std::array<unsigned short, 2>{1, 0}));
    EXPECT_EQ(pos2, (std::array<double, 2>{-1.5, 0.0}));
    ASSERT_EQ(zelQ_SwLimitGet(kNumber, 3, mode1.data(), pos1.data(), mode2.data(), pos2.data()), 0);
    EXPECT_EQ(pos1[0], 35'000.0);
    EXPECT_EQ(zelQ_StopModeSwLimit(kNumber, 0, 1, -5.0, 1, 5.0), 7) << "crossed limits";
}

TEST_F(ProtectionTest, SensorsStopByTheirModes)
{
    enum Sensor { kPositive = 0, kNegative = 1, kHome = 2 };
    const auto setInputs = [this](const lumosim::AxisInputs& inputs) {
        server_.With([&](lumosim::Controller& c) { c.AxisAt(0).SetInputs(inputs); });
    };
    const auto jogInto = [&](const lumosim::AxisInputs& inputs) {
        ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
        Advance(seconds(1));
        setInputs(inputs);
    };
    ASSERT_EQ(zelQ_StopModeSensorOn(kNumber, 0, kPositive, 2), 0);
    jogInto({.limitPositive = true});
    Advance(milliseconds(1));
    EXPECT_EQ(StatusOf(0).inMotion, 0) << "at once";
    EXPECT_EQ(StatusOf(0).stopCause, kLimitSensor);
    EXPECT_EQ(zelQ_MoveVel(kNumber, 0, 0), kLimitBlocks);
    setInputs({});

    ASSERT_EQ(zelQ_StopModeSensorOn(kNumber, 0, kHome, 1), 0);
    jogInto({.homeSensor = true});
    Advance(milliseconds(1));
    EXPECT_EQ(StatusOf(0).inMotion, 1) << "it brakes";
    Advance(milliseconds(100));
    EXPECT_EQ(StatusOf(0).inMotion, 0);
    EXPECT_EQ(StatusOf(0).stopCause, kLimitSensor);
    setInputs({});

    ASSERT_EQ(zelQ_StopModeSensorOn(kNumber, 0, kPositive, 0), 0);
    jogInto({.limitPositive = true});
    Advance(milliseconds(200));
    EXPECT_EQ(StatusOf(0).inMotion, 1) << "a sensor that stops nothing";
    EXPECT_EQ(StatusOf(0).limitPositive, 1);
}

TEST_F(ProtectionTest, ALostHostStopsTheAxesAfterItsTime)
{
    const auto moving = [this] {
        return server_.With([](lumosim::Controller& c) { return c.AxisAt(0).Moving(); });
    };
    ASSERT_EQ(zelQ_StopModeDisconnected(kNumber, 500, 1), 0);
    ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    Advance(seconds(2));
    EXPECT_TRUE(moving()) << "a host that is silent is not lost";

    server_.DropConnections();
    Advance(milliseconds(499));
    EXPECT_TRUE(moving());
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    Advance(seconds(2));
    EXPECT_TRUE(moving()) << "it came back in time";

    server_.DropConnections();
    Advance(milliseconds(501));
    EXPECT_FALSE(moving());
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    EXPECT_EQ(StatusOf(0).stopCause, kConnectionLost);
}

TEST_F(ProtectionTest, TheHandWheelTurnsItsAxis)
{
    const auto turn = [this](std::int32_t notches) {
        return server_.With(
            [&](lumosim::Controller& c) { return c.Get<lumosim::HandWheel>().Turn(notches); });
    };
    const auto position = [] { return double{StatusOf(0).commandPosition}; };
    // Four edges a notch, both directions, times 3, divided by 8: one and a half pulses a notch.
    ASSERT_EQ(zelQ_MPGSetCfg(kNumber, 0, 2, 3, 0, 3, 8), 0);
    EXPECT_EQ(turn(101), lumosim::Result::kDone);
    constexpr unsigned short kHandWheelMotion = 13;
    EXPECT_EQ(StatusOf(0).motionKind, kHandWheelMotion);
    EXPECT_EQ(turn(1), lumosim::Result::kDone) << "while the axis still moves";
    ASSERT_TRUE(AdvanceToRest());
    EXPECT_EQ(position(), 153.0) << "the half pulses add up";

    ASSERT_EQ(zelQ_MPGSetCfg(kNumber, 0, 0, 2, 1, 1, 1), 0) << "reversed, negative only";
    turn(-100);
    ASSERT_TRUE(AdvanceToRest());
    EXPECT_EQ(position(), 153.0);
    turn(100);
    ASSERT_TRUE(AdvanceToRest());
    EXPECT_EQ(position(), 53.0);

    ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    EXPECT_EQ(turn(100), lumosim::Result::kBusy) << "another motion is not disturbed";
    ASSERT_EQ(zelQ_MPGSetCfg(kNumber, 0, 0, 0, 0, 1, 1), 0);
    EXPECT_EQ(turn(100), lumosim::Result::kDone) << "switched off it does nothing";
}

TEST_F(ProtectionTest, TorqueLimitsShowInTheStatus)
{
    // The acceleration takes 20 % of the rated torque, friction 5 %.
    ASSERT_EQ(zelQ_SpeedSet(kNumber, 0, 0, 0.0, 1'000'000.0, 500'000.0, 1'000'000.0), 0);
    TorqueLimitStatus status{};
    const auto read = [&] { return zelQ_TorqueLimitGetStatus(kNumber, 0, &status); };

    ASSERT_EQ(zelQ_TorqueLimitSet(kNumber, 0, 15, 30, -10, 1, 2, 70'000), 0);
    ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    Advance(milliseconds(100));
    EXPECT_EQ(double{StatusOf(0).torque}, 14.0) << "15 % around -1 %";
    EXPECT_EQ(StatusOf(0).torqueLimited, 1);
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(status.active, 1);
    EXPECT_EQ(status.flag1, 1);
    EXPECT_EQ(status.flag2, 0);
    EXPECT_EQ(status.word1, 15);
    EXPECT_EQ(status.word2, 30);
    EXPECT_EQ(status.word3, 0xFFF6);
    EXPECT_EQ(status.word4, 0x0102);
    EXPECT_EQ(status.value5, 140U);
    EXPECT_EQ(status.value6, 70'000U);

    ASSERT_EQ(zelQ_TorqueLimitFree(kNumber, 0, 1), 0);
    EXPECT_EQ(double{StatusOf(0).torque}, 25.0);
    EXPECT_EQ(StatusOf(0).torqueLimited, 0);
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(status.active, 0);
    EXPECT_EQ(status.flag1, 0);

    constexpr std::array<short, 2> kGiven = {0, 1};
    constexpr std::array<unsigned int, 2> kValues = {0, 0};
    ASSERT_EQ(zelQ_mTorqueLimitFree(kNumber, 2, kGiven.data(), kValues.data()), 0);
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(status.active, 1) << "on, but holding nothing back";
    EXPECT_EQ(status.flag1, 0);
}

TEST_F(ProtectionTest, TorqueLimitsOfManyAxesTravelInSeveralFrames)
{
    lumosim::ServerConfig config = DefaultConfig();
    config.controller.axes = 32;
    config.controller.number = kNumber + 1;
    config.address = "127.0.0.10";
    lumosim::Server large(config);
    large.Start();
    constexpr unsigned short kLarge = kNumber + 1;
    zelQ_SetNetPortNum(kLarge, large.Port());
    ASSERT_EQ(zelQ_Connect(kLarge, 127, 0, 0), 0);
    ASSERT_EQ(zelQ_TMOSet(kLarge, 1000, 1000, 1000), 0);

    std::array<unsigned short, 32> axes{};
    std::array<unsigned short, 32> limits{};
    std::array<short, 32> zeros{};
    std::array<unsigned short, 32> codes{};
    std::array<unsigned int, 32> values{};
    for (unsigned short i = 0; i < 32; ++i) {
        axes.at(i) = i;
        limits.at(i) = static_cast<unsigned short>(100 + i);
        values.at(i) = i * 1000U;
    }
    EXPECT_EQ(zelQ_mTorqueLimitSet(kLarge, 32, axes.data(), limits.data(), limits.data(),
                                   zeros.data(), codes.data(), codes.data(), values.data()),
              0);
    for (const unsigned short axis : axes) {
        TorqueLimitStatus status{};
        ASSERT_EQ(zelQ_TorqueLimitGetStatus(kLarge, axis, &status), 0);
        EXPECT_EQ(status.word1, 100 + axis);
        EXPECT_EQ(status.value6, axis * 1000U);
    }
    zelQ_Disconnect(kLarge);
}

} // namespace

} // namespace zelq::test
