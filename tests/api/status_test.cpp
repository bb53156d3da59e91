#include "support/wire_test.h"
#include "zelq.h"

#include <cstring>

namespace zelq::test {

namespace {

/// Servo axes 1 and 4, an input slave 2, an output slave 3.
class StatusTest : public WireTest
{
  protected:
    void SetUp() override
    {
        WireTest::SetUp();
        constexpr std::uint32_t kInputIsEmergencyStop = 1U << 22;
        // Type bits 4..6 = 5, 7..10 = 9, 11..14 = 6, 15..16 = 2, 17..18 = 1, 19..21 = 4.
        constexpr std::uint32_t kCodes =
            5U << 4 | 9U << 7 | 6U << 11 | 2U << 15 | 1U << 17 | 4U << 19;
        controller_.SetSlaveTypes({0, 1 | kCodes, 2, 3, 1 | kInputIsEmergencyStop});
        ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
        controller_.TakeRequests();
        capture_.Lines();
        std::memset(&status_, 0xA5, sizeof(status_));
        std::memset(&servo_, 0xA5, sizeof(servo_));
    }

    static const std::vector<Read>& SnapshotReads()
    {
        static const std::vector<Read> kReads = {
            {0xF414, 3}, {0x0100, 18}, {0x0400, 18}, {0x0200, 2}, {0x0302, 2}};
        return kReads;
    }

    static std::vector<Read> TypeReads()
    {
        std::vector<Read> reads;
        for (std::uint16_t axis = 0; axis < 32; ++axis) {
            reads.push_back({static_cast<std::uint16_t>(axis << 8 | 0x38), 2});
        }
        return reads;
    }

    /// Registers of an axis: every value another one, so that no two can be mistaken.
    void SetServo(std::uint16_t axis, std::uint16_t flags, std::uint16_t motion,
                  std::uint16_t outputs)
    {
        controller_.SetRegisters(static_cast<std::uint16_t>(axis << 8),
                                 Join({Long(-1000),
                                       Long(-255),
                                       Long(70000),
                                       Long(1000),
                                       Long(-123456),
                                       {flags, motion, outputs},
                                       {1, 2, 3},
                                       Long(99)}));
    }

    ControllerStatus status_{};
    ServoStatus servo_{};
};

TEST_F(StatusTest, SnapshotDecodesEveryField)
{
    SetServo(1, 0xFFFF, 0x0155, 0x0300);
    SetServo(4, 0xFFFF, 0x0155, 0x0300);
    controller_.SetRegisters(0x0200, {0x8001, 0x8000});
    controller_.SetRegisters(0x0302, {0x0002, 0x0001});
    controller_.SetRegisters(0xF415, {0x0081, 0x007E});
    zelQ_UnitPerPulseSet(kNumber, 1, 0.5);
    capture_.Lines();
    Run({{.name = "snapshot",
          .call = [this] { return zelQ_GetAllStatus(kNumber, &status_); },
          .reads = SnapshotReads(),
          .trace = "0=zelQ_GetAllStatus(5)"}});

    EXPECT_EQ(status_.servoCount, 2);
    EXPECT_EQ(status_.servoAxes[0], 1);
    EXPECT_EQ(status_.servoAxes[1], 4);
    EXPECT_EQ(status_.servoAxes[2], 0xA5A5); // behind the count, as it was
    EXPECT_EQ(status_.inputCount, 1);
    EXPECT_EQ(status_.inputSlaves[0], 2);
    EXPECT_EQ(status_.outputCount, 1);
    EXPECT_EQ(status_.outputSlaves[0], 3);
    EXPECT_EQ(status_.reserved, 0xA5A5);

    const ServoStatus& first = status_.servo[1];
    EXPECT_EQ(first.axis, 1);
    EXPECT_EQ(first.seriesCode, 5);
    EXPECT_EQ(first.motorCode, 9);
    EXPECT_EQ(first.encoderCode, 6);
    EXPECT_EQ(first.limitLogic, 2);
    EXPECT_EQ(first.homeLogic, 1);
    EXPECT_EQ(first.inputUse, 4);
    EXPECT_EQ(first.emergencyStop, 0);
    EXPECT_EQ(first.auxInput, 1);
    EXPECT_EQ(first.output1, 1);
    EXPECT_EQ(first.output2, 1);
    EXPECT_EQ(first.motionKind, 0x15);
    EXPECT_EQ(first.stopCause, 0x0A);
    EXPECT_EQ(double{first.commandPosition}, 500.0);
    EXPECT_EQ(double{first.encoderPosition}, -61728.0);
    EXPECT_EQ(double{first.velocity}, -500.0);
    EXPECT_EQ(double{first.followingError}, 35000.0);
    EXPECT_EQ(double{first.torque}, -25.5);
    EXPECT_EQ(first.rawVelocity, -1000);
    EXPECT_EQ(first.rawTorque, -255);
    EXPECT_EQ(first.rawFollowingError, 70000);
    EXPECT_EQ(first.reserved[0], 0xA5A5);

    const ServoStatus& second = status_.servo[4];
    EXPECT_EQ(second.emergencyStop, 1);
    EXPECT_EQ(second.auxInput, 0);
    EXPECT_EQ(double{second.commandPosition}, 1000.0);

    EXPECT_EQ(status_.servo[0].axis, 0xFFFF);
    EXPECT_EQ(status_.servo[0].servoOn, 0xA5A5);
    EXPECT_EQ(status_.inputs[2].slave, 2);
    EXPECT_EQ(status_.inputs[3].slave, 0xFFFF);
    EXPECT_EQ(status_.outputs[3].slave, 3);
    EXPECT_EQ(status_.outputs[2].slave, 0xFFFF);
    for (std::size_t bit = 0; bit < 32; ++bit) {
        EXPECT_EQ(status_.inputs[2].bits[bit], bit == 0 || bit == 15 || bit == 31) << bit;
        EXPECT_EQ(status_.outputs[3].bits[bit], bit == 1 || bit == 16) << bit;
    }
    for (std::size_t bit = 0; bit < 8; ++bit) {
        EXPECT_EQ(status_.mainInputs[bit], bit == 0 || bit == 7) << bit;
        EXPECT_EQ(status_.mainOutputs[bit], bit != 0 && bit != 7) << bit;
    }
}

TEST_F(StatusTest, EveryFlagHasItsOwnBit)
{
    struct Flag
    {
        unsigned bit;
        unsigned short ServoStatus::*field;
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
        SetServo(1, static_cast<std::uint16_t>(1U << bit), 0, 0);
        ASSERT_EQ(zelQ_GetServoStatus(kNumber, 1, &servo_), 0);
        for (const Flag& flag : flags) {
            EXPECT_EQ(servo_.*flag.field, flag.bit == bit) << "flag of bit " << flag.bit;
        }
    }
}

TEST_F(StatusTest, OneAxisLeavesTheDetailsAlone)
{
    SetServo(4, 0x8000, 0x001F, 0x0100);
    Run({{.name = "one axis",
          .call = [this] { return zelQ_GetServoStatus(kNumber, 4, &servo_); },
          .reads = {{0xF414, 1}, {0x0400, 18}},
          .trace = "0=zelQ_GetServoStatus(5)"}});
    EXPECT_EQ(servo_.axis, 4);
    EXPECT_EQ(servo_.auxInput, 1); // whatever the input serves for
    EXPECT_EQ(servo_.emergencyStop, 0xA5A5);
    EXPECT_EQ(servo_.output1, 1);
    EXPECT_EQ(servo_.output2, 0);
    EXPECT_EQ(servo_.motionKind, 31);
    EXPECT_EQ(servo_.rawVelocity, static_cast<int>(0xA5A5A5A5));
    EXPECT_EQ(servo_.rawFollowingError, static_cast<int>(0xA5A5A5A5));

    Run({{.name = "no servo axis: after the exchange, untraced",
          .call = [this] { return zelQ_GetServoStatus(kNumber, 2, &servo_); },
          .result = -1700,
          .reads = {{0xF414, 1}, {0x0200, 18}}},
         {.name = "only the low 8 bits of the axis are read",
          .call = [this] { return zelQ_GetServoStatus(kNumber, 0x0104, &servo_); },
          .result = -1700,
          .reads = {{0xF414, 1}, {0x0400, 18}}}});
    EXPECT_EQ(servo_.axis, 4);
}

TEST_F(StatusTest, ChangedSlavesAreReadOnce)
{
    controller_.SetSlaveTypes({1, 1});
    controller_.SetRegister(0xF414, 0x0003);
    std::vector<Read> reads = SnapshotReads();
    for (const Read& read : TypeReads()) {
        reads.push_back(read);
    }
    reads.insert(reads.end(), {{0xF414, 3}, {0x0000, 18}, {0x0100, 18}});
    EXPECT_EQ(zelQ_GetAllStatus(kNumber, &status_), 0);
    EXPECT_EQ(NextTrace(), "0=GetSlaveProperty(5)");
    EXPECT_EQ(NextTrace(), "0=zelQ_GetAllStatus(5)");
    std::vector<Read> seen;
    for (const Request& request : controller_.TakeRequests()) {
        for (const RequestFrame& frame : request) {
            seen.push_back({frame.start, frame.quantity});
        }
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
    const auto withCounter = [this](std::uint16_t word) {
        controller_.Then([this, word](const Request& request) {
            controller_.SetRegister(0xF414, word);
            return Answer{controller_.ProperReply(request)};
        });
    };
    controller_.SetRegister(0xF415, 0x0001);
    Run({{.name = "not standing: no line, but the main board's bits",
          .call =
              [&] {
                  withCounter(0x0002);
                  return zelQ_GetAllStatus(kNumber, &status_);
              },
          .result = -2001,
          .reads = SnapshotReads()}});
    EXPECT_EQ(status_.mainInputs[0], 1);
    EXPECT_EQ(status_.servoCount, 0xA5A5);
    EXPECT_EQ(status_.servo[0].axis, 0xA5A5);

    for (const bool all : {true, false}) {
        SCOPED_TRACE(all);
        const std::uint16_t counter = all ? 0x0003 : 0x0013;
        withCounter(counter);
        withCounter(counter); // the read of the slave types
        withCounter(static_cast<std::uint16_t>(counter + 2));
        EXPECT_EQ(all ? zelQ_GetAllStatus(kNumber, &status_)
                      : zelQ_GetServoStatus(kNumber, 1, &servo_),
                  -2001);
        EXPECT_EQ(NextTrace(), "0=GetSlaveProperty(5)");
        EXPECT_TRUE(capture_.Lines().empty());
        // The counter of the re-read stays, so the next call is satisfied with it.
        controller_.SetRegister(0xF414, counter);
        EXPECT_EQ(zelQ_GetServoStatus(kNumber, 1, &servo_), 0);
        capture_.Lines();
    }
}

TEST_F(StatusTest, AFailedReReadKeepsTheSlavesAndTheCounter)
{
    controller_.SetRegister(0xF414, 0x0007);
    const auto proper = [this](const Request& request) {
        return Answer{controller_.ProperReply(request)};
    };
    controller_.Then(proper);
    controller_.Then(StrayReply);
    EXPECT_EQ(zelQ_GetAllStatus(kNumber, &status_), -12);
    EXPECT_TRUE(capture_.Lines().empty());
    EXPECT_EQ(zelQ_UnitPerPulseSet(kNumber, 4, 1.0), 0); // still a servo axis
    capture_.Lines();
    EXPECT_EQ(zelQ_GetServoStatus(kNumber, 4, &servo_), 0);
    EXPECT_EQ(NextTrace(), "0=GetSlaveProperty(5)"); // so it is tried again
}

TEST_F(StatusTest, FailedExchangesLeaveTheRecordUntouched)
{
    controller_.Then(StrayReply);
    ControllerStatus before = status_;
    Run({{.name = "junk",
          .call = [this] { return zelQ_GetAllStatus(kNumber, &status_); },
          .result = -12,
          .reads = SnapshotReads()}});
    EXPECT_EQ(std::memcmp(&before, &status_, sizeof(status_)), 0);
    ExpectNumberChecks([](short zelNo) { return zelQ_GetAllStatus(zelNo, nullptr); });
    ExpectNumberChecks([](short zelNo) { return zelQ_GetServoStatus(zelNo, 0, nullptr); });
    ExpectRefused(-1701, {[] { return zelQ_GetAllStatus(kNumber, nullptr); },
                          [] { return zelQ_GetServoStatus(kNumber, 99, nullptr); }});
}

TEST_F(StatusTest, AFullControllerFitsIntoOneExchange)
{
    controller_.SetSlaveTypes(std::vector<std::uint32_t>(32, 1));
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    controller_.TakeRequests();
    for (std::uint16_t axis = 0; axis < 32; ++axis) {
        controller_.SetRegisters(static_cast<std::uint16_t>((axis << 8) + 6), Long(axis * 1000));
    }
    ASSERT_EQ(zelQ_GetAllStatus(kNumber, &status_), 0);
    EXPECT_EQ(controller_.TakeRequests().size(), 1U);
    EXPECT_EQ(status_.servoCount, 32);
    for (int axis = 0; axis < 32; ++axis) {
        EXPECT_EQ(double{status_.servo[axis].commandPosition}, axis * 1000.0);
    }
    controller_.SetSlaveTypes({});
    ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    ASSERT_EQ(zelQ_GetAllStatus(kNumber, &status_), 0);
    EXPECT_EQ(status_.servoCount, 0);
    EXPECT_EQ(status_.servo[31].axis, 0xFFFF);
}

} // namespace

} // namespace zelq::test
