// Parameters, monitors and properties of the drives.

#include "scenario/scenario_test.h"

#include <array>

namespace zelq::test {

namespace {

constexpr short kNoParameter = 82;
constexpr short kReadOnly = 83;
constexpr short kServoIsOn = 84;
constexpr short kNoMonitor = 85;

class DriveParametersTest : public ScenarioTest
{
  protected:
    static int Get(U16 axis, U16 prmClass, U16 prmNo)
    {
        int value = -999;
        EXPECT_EQ(zelQ_ParamGet(kNumber, axis, prmClass, prmNo, &value), 0);
        return value;
    }

    static int Monitor(short axis, short number)
    {
        unsigned int value = 0;
        EXPECT_EQ(zelQ_MonitorRead(kNumber, axis, number, &value), 0);
        return static_cast<int>(value);
    }
};

TEST_F(DriveParametersTest, OnlyWhatWasSavedSurvivesThePowerCycle)
{
    constexpr std::array<U16, 3> kGiven = {0, 2, 1};
    constexpr std::array<int, 3> kValues = {11, -22, 33};
    ASSERT_EQ(zelQ_mParamSet(kNumber, 3, kGiven.data(), 2, 2, kValues.data()), 0);
    EXPECT_EQ(Get(2, 2, 2), -22);
    EXPECT_EQ(Get(3, 2, 2), 0) << "every drive has its own";
    constexpr std::array<U16, 2> kSaved = {0, 2};
    ASSERT_EQ(zelQ_mParamWriteEeprom(kNumber, 2, kSaved.data()), 0);
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 2, 2, 44), 0);
    PowerCycle();
    std::array<int, 3> values{};
    ASSERT_EQ(zelQ_mParamGet(kNumber, 3, kGiven.data(), 2, 2, values.data()), 0);
    EXPECT_EQ(values, (std::array<int, 3>{11, -22, 0}));

    ASSERT_EQ(zelQ_ParamSet(kNumber, 1, 2, 2, -100), 0);
    ASSERT_EQ(zelQ_ParamWriteEeprom(kNumber, 1), 0);
    PowerCycle();
    EXPECT_EQ(Get(1, 2, 2), -100);
}

TEST_F(DriveParametersTest, WritesAreChecked)
{
    EXPECT_EQ(zelQ_ParamSet(kNumber, 0, 2, 2, 101), kOutOfRange);
    EXPECT_EQ(zelQ_ParamSet(kNumber, 0, 2, 2, -101), kOutOfRange);
    EXPECT_EQ(zelQ_ParamSet(kNumber, 0, 200, 0, 1), kNoParameter);
    EXPECT_EQ(zelQ_ParamSet(kNumber, 0, 5, 0, 1), kReadOnly);
    EXPECT_EQ(zelQ_ParamSet(kNumber, kAxes, 2, 2, 1), kNoServo);
    int value = 5;
    EXPECT_EQ(zelQ_ParamGet(kNumber, 0, 2, 99, &value), kNoParameter);
    EXPECT_EQ(value, 5);
    constexpr std::array<U16, 2> kBoth = {0, 1};
    constexpr std::array<int, 2> kOneWrong = {1, 101};
    EXPECT_EQ(zelQ_mParamSet(kNumber, 2, kBoth.data(), 2, 2, kOneWrong.data()), kOutOfRange);
    EXPECT_EQ(Get(0, 2, 2), 0) << "all or none";
    EXPECT_EQ(Get(0, 5, 0), 10'203);
}

TEST_F(DriveParametersTest, ValidationNeedsAServoThatIsOff)
{
    const auto pulsesPerTurn = [this] {
        return server_.With([](lumosim::Controller& c) {
            return c.AxisAt(0).Parameters().InForce(lumosim::DriveSetting::kPulsesPerTurn);
        });
    };
    ServosOn({0});
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 0, 2, 4096), 0);
    EXPECT_EQ(Get(0, 0, 2), 4096);
    EXPECT_EQ(pulsesPerTurn(), 10'000) << "not in force yet";
    constexpr std::array<U16, 2> kBoth = {1, 0};
    EXPECT_EQ(zelQ_mCParamValid(kNumber, 2, kBoth.data()), kServoIsOn);
    ASSERT_EQ(zelQ_ServoOn(kNumber, 0, 0), 0);
    ASSERT_EQ(zelQ_CParamValid(kNumber, 0), 0);
    EXPECT_EQ(pulsesPerTurn(), 4096);
    EXPECT_EQ(zelQ_mCParamValid(kNumber, 2, kBoth.data()), 0);
}

TEST_F(DriveParametersTest, ParametersActOnTheDrive)
{
    SetSpeed(0, 100'000, 100'000, 100'000);
    ServosOn({0});
    ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    Advance(seconds(2));
    EXPECT_EQ(Monitor(0, 2), 50) << "following error";
    EXPECT_EQ(StatusOf(0).alarm, 0);
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 3, 0, 40), 0) << "its limit";
    Advance(milliseconds(100));
    EXPECT_EQ(StatusOf(0).alarm, 1);
}

TEST_F(DriveParametersTest, DrivesIdentifyThemselves)
{
    std::array<char, 80> id{};
    ASSERT_EQ(zelQ_ParamGetSysID(kNumber, 3, id.data()), 0);
    const auto text = [&](std::size_t field) { return std::string(&id[16 * field]); };
    EXPECT_EQ(text(0), "ZEL");
    EXPECT_EQ(text(1), "Lumo Drive 400");
    EXPECT_EQ(text(2), "D00903");
    EXPECT_EQ(text(3), "Lumo Motor 400");
    EXPECT_EQ(text(4), "M00903");
    EXPECT_EQ(zelQ_ParamGetSysID(kNumber, 31, id.data()), kNoServo);
}

TEST_F(DriveParametersTest, MonitorsShowTheDrive)
{
    const int cold = Monitor(1, 5);
    ServosOn({1});
    EXPECT_GT(Monitor(1, 5), cold);
    ASSERT_EQ(zelQ_MoveVel(kNumber, 1, 1), 0);
    Advance(seconds(1));
    constexpr std::array<short, 6> kItems = {1, 1, 1, 1, 1, 0};
    constexpr std::array<U16, 6> kMonitors = {0, 1, 2, 3, 4, 3};
    std::array<unsigned int, 6> values{};
    ASSERT_EQ(zelQ_mMonitorRead(kNumber, 6, kItems.data(), kMonitors.data(), values.data()), 0);
    const ServoStatus status = StatusOf(1);
    EXPECT_EQ(static_cast<int>(values[0]), double{status.commandPosition});
    EXPECT_EQ(static_cast<int>(values[1]), double{status.encoderPosition});
    EXPECT_EQ(static_cast<int>(values[2]), double{status.followingError});
    EXPECT_EQ(static_cast<int>(values[3]), -10'000);
    EXPECT_EQ(static_cast<int>(values[4]), -50) << "friction";
    EXPECT_EQ(values[5], 0U);
    EXPECT_NEAR(Monitor(1, 6), 330, 30);
    EXPECT_NEAR(Monitor(1, 7), 3235, 10);
    unsigned int value = 0;
    EXPECT_EQ(zelQ_MonitorRead(kNumber, 1, 8, &value), kNoMonitor);
    EXPECT_EQ(zelQ_MonitorRead(kNumber, 40, 0, &value), kNoServo);
}

TEST_F(DriveParametersTest, PropertiesShowInTheTypeWord)
{
    ControllerStatus before{};
    ASSERT_EQ(zelQ_GetAllStatus(kNumber, &before), 0);
    ASSERT_EQ(zelQ_ServoPropertyCfg(kNumber, 2, 1, 4, 3, 2, 2, 131'072), 0);

    SlaveProperty property{};
    ASSERT_EQ(zelQ_SlavePropertyGet(kNumber, 2, &property), 0);
    EXPECT_EQ(property.axis, 2);
    EXPECT_EQ(property.type, 1);
    EXPECT_EQ(property.seriesCode, 4);
    EXPECT_EQ(property.limitLogic, 3);
    EXPECT_EQ(property.homeLogic, 2);
    EXPECT_EQ(property.inputUse, 2);
    EXPECT_EQ(property.absoluteEncoder, 1);
    EXPECT_EQ(Get(2, 0, 2), 131'072) << "pulses of a turn";
    const auto counter = [this] {
        return server_.With([](lumosim::Controller& c) { return c.ConfigurationCounter(); });
    };
    const lumosim::Word moved = counter();
    ASSERT_EQ(zelQ_ServoPropertyCfg(kNumber, 2, 1, 4, 3, 2, 2, 0), 0);
    EXPECT_EQ(counter(), moved) << "nothing has changed";
    EXPECT_EQ(Get(2, 0, 2), 131'072);

    // The configurable input is the emergency stop now.
    SetInputs({.configurable = true}, 2);
    ControllerStatus after{};
    ASSERT_EQ(zelQ_GetAllStatus(kNumber, &after), 0) << "the counter has moved";
    EXPECT_EQ(after.servo[2].emergencyStop, 1);
    EXPECT_EQ(after.servo[2].seriesCode, 4);

    ServosOn({0});
    ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    EXPECT_EQ(zelQ_ServoPropertyCfg(kNumber, 0, 0, 1, 0, 0, 0, 0), kBusy);
    EXPECT_EQ(zelQ_ServoPropertyCfg(kNumber, 1, 0, 1, 0, 0, 0, 0xFFFFFFFFU), kOutOfRange);
    EXPECT_EQ(zelQ_ServoPropertyCfg(kNumber, 20, 0, 1, 0, 0, 0, 0), kNoServo);
    EXPECT_EQ(zelQ_SlavePropertyGet(kNumber, 20, &property), ZELQ_BAD_AXIS);
}

TEST_F(DriveParametersTest, AChangeOfTheSlavesIsSeen)
{
    server_.With([](lumosim::Controller& c) {
        c.SetSlave({30, lumosim::SlaveType::kInput, {}});
        c.SetSlave({7, lumosim::SlaveType::kNone, {}});
    });
    std::array<SlaveProperty, 32> all{};
    ASSERT_EQ(zelQ_SlavePropertyGetAll(kNumber, all.data()), 0);
    EXPECT_EQ(all[6].axis, 6);
    EXPECT_EQ(all[7].axis, 0xFFFF);
    EXPECT_EQ(all[30].type, 2);
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 7, 1.0), ZELQ_NOT_A_SERVO);
    ControllerStatus status{};
    ASSERT_EQ(zelQ_GetAllStatus(kNumber, &status), 0);
    EXPECT_EQ(status.servoCount, 7);
    EXPECT_EQ(status.inputCount, 1);
}

} // namespace

} // namespace zelq::test
