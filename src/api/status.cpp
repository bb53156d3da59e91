#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/status_registers.h"
#include "api/zelq.h"
#include "common/trace.h"
#include "transport/slave_reader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

using namespace zelq;

namespace {

constexpr std::uint16_t kServoRegisters = 18;
constexpr unsigned kInputRegister = 0;  ///< first of an input slave's two
constexpr unsigned kOutputRegister = 2; ///< first of an output slave's two

/// The status registers of one servo axis.
using ServoRegisters = RegisterBlock<kServoRegisters>;

/// Spreads the bits of the flags register over the record's fields from servoOn on, which stand in
/// another order; two that follow are filled later. In one sweep that takes a fraction of the time
/// of one by one, which counts with 32 axes.
void FillFlags(ServoStatus& servo, std::uint16_t flags)
{
    constexpr std::array<std::uint16_t, 16> kMasks = {
        1U << 0,  // servoOn
        1U << 1,  // servoReady
        1U << 3,  // alarm
        1U << 4,  // warning
        1U << 5,  // torqueLimited
        1U << 6,  // inMotion
        1U << 7,  // inPosition
        1U << 13, // homing
        1U << 12, // homeDone
        1U << 11, // homeSensor
        1U << 8,  // limitPositive
        1U << 9,  // limitNegative
        1U << 14, // softLimit
        1U << 15, // auxInput
    };
    constexpr std::size_t kFirst = offsetof(ServoStatus, servoOn);
    static_assert(offsetof(ServoStatus, motionKind) - kFirst == sizeof(kMasks));
    std::array<std::uint16_t, kMasks.size()> values; // NOLINT(*-member-init): written below
    for (std::size_t i = 0; i < kMasks.size(); ++i) {
        values[i] = (flags & kMasks[i]) != 0 ? 1 : 0;
    }
    std::memcpy(reinterpret_cast<std::uint8_t*>(&servo) + kFirst, values.data(), sizeof(values));
}

/// What both status calls report of a servo axis.
void FillServo(ServoStatus& servo, const ServoRegisters& registers, std::uint16_t axis,
               SlaveTypeWord typeWord, double unitPerPulse)
{
    constexpr std::size_t kMotion = 11;
    constexpr std::size_t kOutputs = 12;
    servo.axis = axis;
    servo.seriesCode = typeWord.SeriesCode();
    servo.motorCode = typeWord.MotorCode();
    servo.encoderCode = typeWord.EncoderCode();
    servo.limitLogic = typeWord.LimitLogic();
    servo.homeLogic = typeWord.HomeLogic();
    servo.inputUse = typeWord.InputUse();
    FillFlags(servo, registers.words[10]);
    servo.output1 = registers.Bits(kOutputs, 8);
    servo.output2 = registers.Bits(kOutputs, 9);
    servo.motionKind = registers.Bits(kMotion, 0, 5);
    servo.stopCause = registers.Bits(kMotion, 5, 4);
    servo.commandPosition = registers.Long(6) * unitPerPulse;
    servo.encoderPosition = registers.Long(8) * unitPerPulse;
    servo.velocity = registers.Long(0) * unitPerPulse;
    servo.followingError = registers.Long(4) * unitPerPulse;
    servo.torque = registers.Long(2) / 10.0;
}

/// What only the status of the whole controller reports: the configurable input by its use, and
/// the values in pulses.
void FillServoDetails(ServoStatus& servo, const ServoRegisters& registers, SlaveTypeWord typeWord)
{
    const std::uint16_t input = servo.auxInput;
    const bool isEmergencyStop = typeWord.InputIsEmergencyStop();
    servo.emergencyStop = isEmergencyStop ? input : std::uint16_t{0};
    servo.auxInput = isEmergencyStop ? std::uint16_t{0} : input;
    servo.rawVelocity = registers.Long(0);
    servo.rawTorque = registers.Long(2);
    servo.rawFollowingError = registers.Long(4);
}

template <std::size_t Count>
void FillBits(unsigned short (&bits)[Count], std::uint32_t word)
{
    for (std::size_t i = 0; i < Count; ++i) {
        bits[i] = (word & 1U << i) != 0 ? 1 : 0;
    }
}

void CopyNumbers(const SlaveList& list, unsigned short* numbers, unsigned short& count)
{
    count = list.count;
    std::ranges::copy(list.Numbers(), numbers);
}

void MarkAllAbsent(ControllerStatus& status)
{
    for (std::size_t i = 0; i < kAxisCount; ++i) {
        status.servo[i].axis = kNoSlave;
        status.inputs[i].slave = kNoSlave;
        status.outputs[i].slave = kNoSlave;
    }
}

bool FillSlaves(const SlaveList& list, ReplyReader& reader, SlaveIoStatus* records)
{
    for (const std::uint16_t slave : list.Numbers()) {
        std::uint32_t word = 0;
        if (!reader.Read(word)) return false;
        records[slave].slave = slave;
        FillBits(records[slave].bits, word);
    }
    return true;
}

/// Fills the record from the reply data behind the controller-wide registers.
bool FillController(ControllerStatus& status, const SlaveConfig& slaves,
                    const DeviceSession& session, ReplyReader& reader)
{
    CopyNumbers(slaves.servoAxes, status.servoAxes, status.servoCount);
    CopyNumbers(slaves.inputSlaves, status.inputSlaves, status.inputCount);
    CopyNumbers(slaves.outputSlaves, status.outputSlaves, status.outputCount);
    MarkAllAbsent(status);
    for (const std::uint16_t axis : slaves.servoAxes.Numbers()) {
        ServoRegisters registers;
        if (!registers.ReadFrom(reader)) return false;
        const SlaveTypeWord typeWord = slaves.typeWords[axis];
        FillServo(status.servo[axis], registers, axis, typeWord, session.UnitPerPulse(axis));
        FillServoDetails(status.servo[axis], registers, typeWord);
    }
    return FillSlaves(slaves.inputSlaves, reader, status.inputs) &&
           FillSlaves(slaves.outputSlaves, reader, status.outputs);
}

void AddStatusReads(RegisterRead& read, const SlaveConfig& slaves)
{
    read.Block(kConfigurationRegister, 3);
    for (const std::uint16_t axis : slaves.servoAxes.Numbers()) {
        read.Block(AxisRegister(axis, 0), kServoRegisters);
    }
    for (const std::uint16_t slave : slaves.inputSlaves.Numbers()) {
        read.Block(AxisRegister(slave, kInputRegister), 2);
    }
    for (const std::uint16_t slave : slaves.outputSlaves.Numbers()) {
        read.Block(AxisRegister(slave, kOutputRegister), 2);
    }
}

/// The slaves as they stood when a status call asked for them, and what it found out about them.
struct Pass
{
    explicit Pass(short zelNo) : slaves(SessionOf(zelNo).Slaves()) {}

    const SlaveConfig slaves;
    bool outdated = false; ///< they have changed and were read anew: another pass is due
};

/// Compares the configuration register with the snapshot that the pass has used. When the slaves
/// have changed, they are read anew once.
short CheckConfiguration(short zelNo, std::uint16_t word, bool secondPass, Pass& pass)
{
    if (!ConfigurationStands(word)) return kConfigurationChanged;
    const std::uint16_t counter = ConfigurationCounter(word);
    if (counter == pass.slaves.counter) return kOk;
    if (secondPass) return kConfigurationChanged;
    if (const auto error = static_cast<short>(ReadSlaveTypes(zelNo, counter))) return error;
    TraceCall("%d=GetSlaveProperty(%d)", kOk, zelNo);
    pass.outdated = true;
    return kOk;
}

/// Runs `read`, once more where the slaves have changed in between.
template <typename Read>
short RunPasses(short zelNo, Read read)
{
    Pass first(zelNo);
    const short error = read(first, false);
    if (error != kOk || !first.outdated) return error;
    Pass second(zelNo);
    return read(second, true);
}

/// One pass over the whole controller.
short ReadControllerStatus(short zelNo, ControllerStatus& status, Pass& pass, bool secondPass)
{
    RegisterRead read;
    AddStatusReads(read, pass.slaves);
    ReplyData reply;
    if (const short error = read.Run(zelNo, reply)) return error;

    ReplyReader reader(reply);
    std::uint16_t configuration = 0;
    std::uint16_t inputs = 0;
    std::uint16_t outputs = 0;
    if (!reader.Read(configuration) || !reader.Read(inputs) || !reader.Read(outputs)) {
        return kReplyDataMissing;
    }
    FillBits(status.mainInputs, inputs);
    FillBits(status.mainOutputs, outputs);
    const short error = CheckConfiguration(zelNo, configuration, secondPass, pass);
    if (error != kOk || pass.outdated) return error;
    const bool complete = FillController(status, pass.slaves, SessionOf(zelNo), reader);
    return static_cast<short>(complete ? kOk : kReplyDataMissing);
}

/// One pass over one axis.
short ReadServoStatus(short zelNo, std::uint16_t axis, ServoStatus& status, Pass& pass,
                      bool secondPass)
{
    RegisterRead read;
    read.Block(kConfigurationRegister, 1).Block(AxisRegister(axis, 0), kServoRegisters);
    ReplyData reply;
    if (const short error = read.Run(zelNo, reply)) return error;

    ReplyReader reader(reply);
    std::uint16_t configuration = 0;
    ServoRegisters registers;
    if (!reader.Read(configuration) || !registers.ReadFrom(reader)) return kReplyDataMissing;
    const short error = CheckConfiguration(zelNo, configuration, secondPass, pass);
    if (error != kOk || pass.outdated) return error;
    if (!pass.slaves.servoAxes.Contains(axis)) return BadArgument(0);
    FillServo(status, registers, axis, pass.slaves.typeWords[axis],
              SessionOf(zelNo).UnitPerPulse(axis));
    return kOk;
}

} // namespace

short zelQ_GetAllStatus(short zelNo, ControllerStatus* status)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (status == nullptr) return BadArgument(1);

    const short error = RunPasses(zelNo, [=](Pass& pass, bool second) {
        return ReadControllerStatus(zelNo, *status, pass, second);
    });
    if (error != kOk) return error;
    return Traced("%d=zelQ_GetAllStatus(%d)", kOk, zelNo);
}

short zelQ_GetServoStatus(short zelNo, unsigned short axis, ServoStatus* status)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (status == nullptr) return BadArgument(1);

    const short error = RunPasses(zelNo, [=](Pass& pass, bool second) {
        return ReadServoStatus(zelNo, axis, *status, pass, second);
    });
    if (error != kOk) return error;
    return Traced("%d=zelQ_GetServoStatus(%d)", kOk, zelNo);
}
