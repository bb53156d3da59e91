#include "support/calls.h"

namespace zelq::test {

namespace {

constexpr U16 kOld = 0xA5A5; ///< an untouched word

/// A type word: every field another value, bits 24 to 31 belong to none.
constexpr std::uint32_t kCodes = 5U << 4 | 9U << 7 | 6U << 11 | 2U << 15 | 1U << 17 | 4U << 19;
/// Another, every field with its first and last bit set.
constexpr std::uint32_t kEdges = 5U << 4 | 9U << 7 | 11U << 11 | 3U << 15 | 3U << 17 | 7U << 19;
constexpr std::uint32_t kInputIsEmergencyStop = 1U << 22;
constexpr std::uint32_t kAllCodes = kCodes | kInputIsEmergencyStop | 1U << 23 | 0xFFU << 24;

/// Servo axes 1 and 4, an input slave 2, an output slave 3.
class StatusTest : public CallTest
{
  protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(WireTest::SetUp());
        ConnectWith({0, 1 | kCodes, 2, 3, 1 | kEdges | kInputIsEmergencyStop});
    }

    /// Registers of an axis: every value another one, so that no two can be mistaken.
    void SetServo(U16 axis, U16 flags, U16 motion, U16 outputs)
    {
        const Words words = Join({Long(-1000), Long(-255), Long(70000), Long(1000), Long(-123456)});
        controller_.SetRegisters(static_cast<U16>(axis << 8),
                                 Join({words, {flags, motion, outputs}, {1, 2, 3}, Long(99)}));
    }

    static std::vector<Read> SnapshotReads()
    {
        return {{0xF414, 3}, {0x0100, 18}, {0x0400, 18}, {0x0200, 2}, {0x0302, 2}};
    }

    ControllerStatus status_ = Untouched<ControllerStatus>();
    ServoStatus servo_ = Untouched<ServoStatus>();
};

/// What a status shows of the registers of SetServo with all flags, 0x0155 and 0x0300.
ServoStatus Decoded(U16 axis, double unit, const std::array<U16, 6>& codes)
{
    auto servo = Untouched<ServoStatus>();
    servo.axis = axis;
    servo.seriesCode = codes[0];
    servo.motorCode = codes[1];
    servo.encoderCode = codes[2];
    servo.limitLogic = codes[3];
    servo.homeLogic = codes[4];
    servo.inputUse = codes[5];
    for (U16 ServoStatus::*flag :
         {&ServoStatus::servoOn, &ServoStatus::servoReady, &ServoStatus::alarm,
          &ServoStatus::warning, &ServoStatus::torqueLimited, &ServoStatus::inMotion,
          &ServoStatus::inPosition, &ServoStatus::homing, &ServoStatus::homeDone,
          &ServoStatus::homeSensor, &ServoStatus::limitPositive, &ServoStatus::limitNegative,
          &ServoStatus::softLimit, &ServoStatus::auxInput, &ServoStatus::output1,
          &ServoStatus::output2}) {
        servo.*flag = 1;
    }
    servo.motionKind = 0x15;
    servo.stopCause = 0x0A;
    servo.commandPosition = 1000 * unit;
    servo.encoderPosition = -123456 * unit;
    servo.velocity = -1000 * unit;
    servo.followingError = 70000 * unit;
    servo.torque = -25.5;
    return servo;
}

/// The same in a snapshot, which knows more.
ServoStatus InSnapshot(ServoStatus servo, bool emergencyStop)
{
    servo.emergencyStop = emergencyStop ? 1 : 0;
    servo.auxInput = emergencyStop ? 0 : 1;
    servo.rawVelocity = -1000;
    servo.rawTorque = -255;
    servo.rawFollowingError = 70000;
    return servo;
}

TEST_F(StatusTest, SnapshotDecodesEveryField)
{
    SetServo(1, 0xFFFF, 0x0155, 0x0300);
    SetServo(4, 0xFFFF, 0x0155, 0x0300);
    controller_.SetRegisters(0x0200, {0x8001, 0x8000});
    controller_.SetRegisters(0x0302, {0x0002, 0x0001});
    controller_.SetRegisters(0xF415, {0x0081, 0x007E});
    SetUnits({{1, 0.5}});
    auto wanted = Untouched<ControllerStatus>();
    wanted.servoCount = 2;
    wanted.servoAxes[0] = 1;
    wanted.servoAxes[1] = 4;
    wanted.inputCount = wanted.outputCount = 1;
    wanted.inputSlaves[0] = 2;
    wanted.outputSlaves[0] = 3;
    for (U16 i = 0; i < 32; ++i) {
        wanted.servo[i].axis = 0xFFFF;
        wanted.inputs[i].slave = i == 2 ? i : 0xFFFF;
        wanted.outputs[i].slave = i == 3 ? i : 0xFFFF;
        wanted.inputs[2].bits[i] = i == 0 || i == 15 || i == 31;
        wanted.outputs[3].bits[i] = i == 1 || i == 16;
        if (i >= 8) continue;
        wanted.mainInputs[i] = i == 0 || i == 7;
        wanted.mainOutputs[i] = i != 0 && i != 7;
    }
    wanted.servo[1] = InSnapshot(Decoded(1, 0.5, {5, 9, 6, 2, 1, 4}), false);
    wanted.servo[4] = InSnapshot(Decoded(4, 1.0, {5, 9, 11, 3, 3, 7}), true);
    Expect({Row(CALL(GetAllStatus, &status_))
                .Reads(SnapshotReads())
                .Lines("zelQ_GetAllStatus(5)", "")
                .Gets(status_, wanted)});
    Refused(-1701, {CALL(GetAllStatus, nullptr), CALL(GetServoStatus, 99, nullptr)});
}

TEST_F(StatusTest, EveryFlagHasItsOwnBit)
{
    struct Flag
    {
        unsigned bit;
        U16 ServoStatus::*field;
    };
    const Flag flags[] = {
        {0, &ServoStatus::servoOn},       {1, &ServoStatus::servoReady},
        {3, &ServoStatus::alarm},         {4, &ServoStatus::warning},
        {5, &ServoStatus::torqueLimited}, {6, &ServoStatus::inMotion},
        {7, &ServoStatus::inPosition},    {13, &ServoStatus::homing},
        {12, &ServoStatus::homeDone},     {11, &ServoStatus::homeSensor},
        {8, &ServoStatus::limitPositive}, {9, &ServoStatus::limitNegative},
        {14, &ServoStatus::softLimit},    {15, &ServoStatus::auxInput},
    };
    for (unsigned bit = 0; bit < 16; ++bit) {
        SCOPED_TRACE(bit);
        SetServo(1, static_cast<U16>(1U << bit), 0, bit % 2 != 0 ? 0x0100 : 0x0200);
        ASSERT_EQ(zelQ_GetServoStatus(kNumber, 1, &servo_), 0);
        for (const Flag& flag : flags) {
            EXPECT_EQ(servo_.*flag.field, flag.bit == bit) << "flag of bit " << flag.bit;
        }
        EXPECT_EQ(servo_.output1, bit % 2);
        EXPECT_EQ(servo_.output2, 1 - bit % 2);
    }
}

TEST_F(StatusTest, OneAxisLeavesTheDetailsAlone)
{
    SetServo(4, 0xFFFF, 0x0155, 0x0300);
    SetUnits({{4, 0.25}});
    Expect({
        Row(CALL(GetServoStatus, 4, &servo_))
            .Reads({{0xF414, 1}, {0x0400, 18}})
            .Lines("zelQ_GetServoStatus(5)", "")
            .Gets(servo_, Decoded(4, 0.25, {5, 9, 11, 3, 3, 7})),
        // No servo axis is found after the exchange, of which the axis is read by its low 8 bits.
        Row(CALL(GetServoStatus, 2, &servo_))
            .Reads({{0xF414, 1}, {0x0200, 18}})
            .Line("")
            .Gives(-1700)
            .Gets(servo_, Untouched<ServoStatus>()),
        Row(CALL(GetServoStatus, 0x0104, &servo_))
            .Reads({{0xF414, 1}, {0x0400, 18}})
            .Line("")
            .Gives(-1700),
    });
}

TEST_F(StatusTest, ChangedSlavesAreReadOnce)
{
    controller_.SetSlaveTypes({1, 1});
    controller_.SetRegister(0xF414, 0x0003);
    std::vector<Read> reads = SnapshotReads();
    const std::vector<Read> types = TypeReads();
    reads.insert(reads.end(), types.begin(), types.end());
    reads.insert(reads.end(), {{0xF414, 3}, {0x0000, 18}, {0x0100, 18}});
    EXPECT_EQ(zelQ_GetAllStatus(kNumber, &status_), 0);
    EXPECT_EQ(NextTrace(), "0=GetSlaveProperty(5)");
    EXPECT_EQ(NextTrace(), "0=zelQ_GetAllStatus(5)");
    std::vector<Read> seen;
    for (const RequestFrame& frame : SentFrames()) {
        seen.push_back({frame.start, frame.quantity});
    }
    EXPECT_TRUE(seen == reads);
    EXPECT_EQ(status_.servoCount, 2);
    EXPECT_EQ(status_.inputCount, 0);
    // From now on it is known.
    EXPECT_EQ(zelQ_GetServoStatus(kNumber, 0, &servo_), 0);
    EXPECT_EQ(controller_.TakeRequests().size(), 1U);
}

TEST_F(StatusTest, SlavesThatKeepChangingAreReported)
{
    const auto withCounter = [this](U16 word) {
        controller_.Then([this, word](const Request& request) {
            controller_.SetRegister(0xF414, word);
            return Answer{controller_.ProperReply(request)};
        });
    };
    controller_.SetRegister(0xF415, 0x0001);
    // Not standing: no line, but the main board's bits.
    withCounter(0x0002);
    ExpectOnce(Row(CALL(GetAllStatus, &status_)).Reads(SnapshotReads()).Line("").Gives(-2001));
    EXPECT_EQ(status_.mainInputs[0], 1);
    EXPECT_EQ(status_.servoCount, kOld);
    EXPECT_EQ(status_.servo[0].axis, kOld);

    for (const bool all : {true, false}) {
        SCOPED_TRACE(all);
        const U16 counter = all ? 0x0003 : 0x0013;
        withCounter(counter);
        withCounter(counter); // the read of the slave types
        withCounter(static_cast<U16>(counter + 2));
        EXPECT_EQ(all ? zelQ_GetAllStatus(kNumber, &status_)
                      : zelQ_GetServoStatus(kNumber, 1, &servo_),
                  -2001);
        EXPECT_EQ(NextTrace(), "0=GetSlaveProperty(5)");
        EXPECT_TRUE(capture_.Lines().empty());
        // The counter of the re-read stays, so the next call is satisfied with it.
        controller_.SetRegister(0xF414, counter);
        EXPECT_EQ(zelQ_GetServoStatus(kNumber, 1, &servo_), 0);
        EXPECT_EQ(NextTrace(), "0=zelQ_GetServoStatus(5)");
    }
}

TEST_F(StatusTest, AFailedReReadKeepsTheSlavesAndTheCounter)
{
    controller_.SetRegister(0xF414, 0x0007);
    ThenProperReply();
    controller_.Then(StrayReply);
    EXPECT_EQ(zelQ_GetAllStatus(kNumber, &status_), -12);
    EXPECT_TRUE(capture_.Lines().empty());
    SetUnits({{4, 1.0}}); // still a servo axis
    EXPECT_EQ(zelQ_GetServoStatus(kNumber, 4, &servo_), 0);
    EXPECT_EQ(NextTrace(), "0=GetSlaveProperty(5)"); // so it is tried again
}

TEST_F(StatusTest, AFullControllerFitsIntoOneExchange)
{
    ConnectWith(std::vector<std::uint32_t>(32, 1));
    for (U16 axis = 0; axis < 32; ++axis) {
        controller_.SetRegisters(static_cast<U16>((axis << 8) + 6), Long(axis * 1000));
    }
    ASSERT_EQ(zelQ_GetAllStatus(kNumber, &status_), 0);
    EXPECT_EQ(controller_.TakeRequests().size(), 1U);
    EXPECT_EQ(status_.servoCount, 32);
    for (int axis = 0; axis < 32; ++axis) {
        EXPECT_EQ(double{status_.servo[axis].commandPosition}, axis * 1000.0);
    }
    ConnectWith({});
    ASSERT_EQ(zelQ_GetAllStatus(kNumber, &status_), 0);
    EXPECT_EQ(status_.servoCount, 0);
    EXPECT_EQ(status_.servo[31].axis, 0xFFFF);
}

class SlavePropertiesTest : public CallTest
{
  protected:
    /// A record as the words that an application may read it by.
    static SlaveProperty Property(const Words& words)
    {
        SlaveProperty property;
        std::memcpy(&property, words.data(), sizeof(property));
        return property;
    }

    /// The session's only servo axis.
    void ExpectServo(short axis)
    {
        EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, axis, 1.0), 0);
        EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, static_cast<short>(1 - axis), 1.0), -2007);
        Forget();
    }
};

TEST_F(SlavePropertiesTest, OneSlaveIsReadByItsType)
{
    controller_.SetSlaveTypes(
        {1 | kAllCodes, 2 | kAllCodes, 3 | kAllCodes, 4 | kAllCodes, kAllCodes});
    SlaveProperty one{};
    const Words rest(8, kOld);
    Expect({
        Row(CALL(SlavePropertyGet, 0, &one))
            .Reads({{0x0038, 2}}, "0")
            .Gets(one, Property({0, 1, 5, 9, 6, 2, 1, 4, kOld, 1})),
        // Input and output slaves: number and type; another type: nothing, and no error.
        Row(CALL(SlavePropertyGet, 1, &one))
            .Reads({{0x0138, 2}}, "1")
            .Gets(one, Property(Join({{1, 2}, rest}))),
        Row(CALL(SlavePropertyGet, 2, &one))
            .Reads({{0x0238, 2}}, "2")
            .Gets(one, Property(Join({{2, 3}, rest}))),
        Row(CALL(SlavePropertyGet, 3, &one))
            .Reads({{0x0338, 2}}, "3")
            .Gets(one, Untouched<SlaveProperty>()),
        // Type 0, whatever stands above it: found after sending, not traced.
        Row(CALL(SlavePropertyGet, 4, &one))
            .Reads({{0x0438, 2}})
            .Line("")
            .Gives(-2002)
            .Gets(one, Untouched<SlaveProperty>()),
    });
    Refused(-2002, {CALL(SlavePropertyGet, 32, nullptr), CALL(SlavePropertyGet, -1, nullptr)});
    Refused(-1702, {CALL(SlavePropertyGet, 31, nullptr)});
}

TEST_F(SlavePropertiesTest, AllSlavesAreReadAndKept)
{
    controller_.SetSlaveTypes({kAllCodes, 1 | kEdges, 2 | kAllCodes, 15});
    std::array<SlaveProperty, 32> all{};
    // Words 7 and 8 are left alone.
    const Words codes = {5, 9, 6, 2, 1, kOld, kOld, 1};
    const Words none = {0, 0, 0, 0, 0, kOld, kOld, 0};
    std::vector<SlaveProperty> wanted(32, Property(Join({{0xFFFF, 0}, none})));
    wanted[0] = Property(Join({{0xFFFF, 0}, codes}));
    wanted[1] = Property({1, 1, 5, 9, 11, 3, 3, kOld, kOld, 0});
    wanted[2] = Property(Join({{2, 2}, codes}));
    wanted[3] = Property(Join({{3, 15}, none}));
    Expect({Row(CALL(SlavePropertyGetAll, all.data())).Reads(TypeReads(), "").Fills(all, wanted)});
    ExpectServo(1);
    Refused(-1701, {CALL(SlavePropertyGetAll, nullptr)});
}

TEST_F(SlavePropertiesTest, ConfiguringReadsTheSlavesAnew)
{
    // No count in the command. Refused by the controller, the slaves are not read.
    const auto row = [] {
        return Row(
            {"zelQ_ServoPropertyCfg", "1,1,4,3,2,1,-2147418110",
             [](Number n) { return zelQ_ServoPropertyCfg(n, 1, 1, 4, 3, 2, 1, 0x80010002U); }},
            {0x01B0, 1, 1, 4, 3, 2, 1, 2, 0x8001});
    };
    controller_.SetSlaveTypes({0, 1});
    ExpectOnce(row().Reads(TypeReads()));
    ExpectServo(1);
    controller_.SetSlaveTypes({1, 0});
    controller_.ThenResult(6);
    ExpectOnce(row().Gives(6));
    // When the slaves cannot be read, that is the result, and the old ones are kept.
    controller_.ThenResult(0);
    ThenFirstFrameOnly();
    ExpectOnce(row().Reads(TypeReads()).Gives(-12));
    ExpectServo(1);
}

TEST_F(SlavePropertiesTest, ConfiguringChecksInOrder)
{
    Refused(-2002, {CALL(ServoPropertyCfg, 32, 2, 0, 4, 4, 3, 0)});
    Refused(-1702, {CALL(ServoPropertyCfg, 31, 2, 0, 4, 4, 3, 0)});
    Refused(-1703, {CALL(ServoPropertyCfg, 31, 1, 0, 4, 4, 3, 0),
                    CALL(ServoPropertyCfg, 31, 1, 5, 4, 4, 3, 0),
                    CALL(ServoPropertyCfg, 31, 1, -1, 4, 4, 3, 0)});
    Refused(-1704, {CALL(ServoPropertyCfg, 31, 1, 1, 4, 4, 3, 0)});
    Refused(-1705, {CALL(ServoPropertyCfg, 31, 1, 4, 3, 4, 3, 0)});
    Refused(-1706, {CALL(ServoPropertyCfg, 31, 0, 4, 3, 3, 3, 0)});
}

} // namespace

} // namespace zelq::test
