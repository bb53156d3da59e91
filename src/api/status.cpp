#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/status_registers.h"
#include "api/vocabulary/type_word.h"
#include "api/zelq.h"
#include "common/trace.h"
#include "transport/slave_reader.h"

#include <algorithm>

using namespace zelq;

namespace {

constexpr std::uint16_t kServoRegisters = 18;
constexpr unsigned kInputRegister = 0;  ///< first of an input slave's two
constexpr unsigned kOutputRegister = 2; ///< first of an output slave's two

/// The status registers of one servo axis.
using ServoRegisters = RegisterBlock<kServoRegisters>;

/// What both status calls report of a servo axis.
void FillServo(ServoStatus& servo, const ServoRegisters& registers, std::uint16_t axis,
               std::uint32_t typeWord, double unitPerPulse)
{
    constexpr std::size_t kFlags = 10;
    constexpr std::size_t kMotion = 11;
    constexpr std::size_t kOutputs = 12;
    servo.axis = axis;
    servo.seriesCode = TypeBits(typeWord, 4, 6);
    servo.motorCode = TypeBits(typeWord, 7, 10);
    servo.encoderCode = TypeBits(typeWord, 11, 14);
    servo.limitLogic = TypeBits(typeWord, 15, 16);
    servo.homeLogic = TypeBits(typeWord, 17, 18);
    servo.inputUse = TypeBits(typeWord, 19, 21);
    servo.servoOn = registers.Bits(kFlags, 0);
    servo.servoReady = registers.Bits(kFlags, 1);
    servo.alarm = registers.Bits(kFlags, 3);
    servo.warning = registers.Bits(kFlags, 4);
    servo.torqueLimited = registers.Bits(kFlags, 5);
    servo.inMotion = registers.Bits(kFlags, 6);
    servo.inPosition = registers.Bits(kFlags, 7);
    // The record's order of the next six is not that of the bits.
    servo.homing = registers.Bits(kFlags, 13);
    servo.homeDone = registers.Bits(kFlags, 12);
    servo.homeSensor = registers.Bits(kFlags, 11);
    servo.limitPositive = registers.Bits(kFlags, 8);
    servo.limitNegative = registers.Bits(kFlags, 9);
    servo.softLimit = registers.Bits(kFlags, 14);
    servo.auxInput = registers.Bits(kFlags, 15);
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
void FillServoDetails(ServoStatus& servo, const ServoRegisters& registers, std::uint32_t typeWord)
{
    const std::uint16_t input = servo.auxInput;
    const bool isEmergencyStop = TypeBits(typeWord, 22, 22) != 0;
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
        bits[i] = static_cast<std::uint16_t>(word >> i & 1U);
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
        const std::uint32_t typeWord = slaves.typeWords[axis];
        FillServo(status.servo[axis], registers, axis, typeWord, session.UnitPerPulse(axis));
        FillServoDetails(status.servo[axis], registers, typeWord);
    }
    return FillSlaves(slaves.inputSlaves, reader, status.inputs) &&
           FillSlaves(slaves.outputSlaves, reader, status.outputs);
}

bool AddStatusReads(RequestBuffer& request, const SlaveConfig& slaves)
{
    bool fits = request.StartReadFrame(kConfigurationRegister, 3);
    for (const std::uint16_t axis : slaves.servoAxes.Numbers()) {
        fits = fits && request.StartReadFrame(AxisRegister(axis, 0), kServoRegisters);
    }
    for (const std::uint16_t slave : slaves.inputSlaves.Numbers()) {
        fits = fits && request.StartReadFrame(AxisRegister(slave, kInputRegister), 2);
    }
    for (const std::uint16_t slave : slaves.outputSlaves.Numbers()) {
        fits = fits && request.StartReadFrame(AxisRegister(slave, kOutputRegister), 2);
    }
    return fits;
}

/// Compares the configuration register with what the session knows. When the slaves have changed,
/// they are read anew once, and `readAgain` asks for another pass over the status.
short CheckConfiguration(short zelNo, std::uint16_t word, bool secondPass, bool& readAgain)
{
    readAgain = false;
    if (!ConfigurationStands(word)) return kConfigurationChanged;
    DeviceSession& session = SessionOf(zelNo);
    const std::uint16_t counter = ConfigurationCounter(word);
    if (counter == session.configurationCounter) return kOk;
    if (secondPass) return kConfigurationChanged;
    if (const auto error = static_cast<short>(ReadSlaveTypes(zelNo))) return error;
    session.configurationCounter = counter;
    TraceCall("%d=GetSlaveProperty(%d)", kOk, zelNo);
    readAgain = true;
    return kOk;
}

/// One pass over the whole controller; `again` tells that another one is due.
short ReadControllerStatus(short zelNo, ControllerStatus& status, bool secondPass, bool& again)
{
    const SlaveConfig slaves = SessionOf(zelNo).Slaves();
    RequestBuffer request;
    if (!AddStatusReads(request, slaves)) return kOverflow;
    ReplyData reply;
    if (const short error = Transact(zelNo, request, &reply)) return error;

    ReplyReader reader(reply);
    std::uint16_t configuration = 0;
    std::uint16_t inputs = 0;
    std::uint16_t outputs = 0;
    if (!reader.Read(configuration) || !reader.Read(inputs) || !reader.Read(outputs)) {
        return kReplyDataMissing;
    }
    FillBits(status.mainInputs, inputs);
    FillBits(status.mainOutputs, outputs);
    const short error = CheckConfiguration(zelNo, configuration, secondPass, again);
    if (error != kOk || again) return error;
    const bool complete = FillController(status, slaves, SessionOf(zelNo), reader);
    return static_cast<short>(complete ? kOk : kReplyDataMissing);
}

/// One pass over one axis.
short ReadServoRegisters(short zelNo, std::uint16_t axis, ServoRegisters& registers,
                         bool secondPass, bool& again)
{
    RequestBuffer request;
    if (!request.StartReadFrame(kConfigurationRegister, 1) ||
        !request.StartReadFrame(AxisRegister(axis, 0), kServoRegisters)) {
        return kOverflow;
    }
    ReplyData reply;
    if (const short error = Transact(zelNo, request, &reply)) return error;

    ReplyReader reader(reply);
    std::uint16_t configuration = 0;
    if (!reader.Read(configuration) || !registers.ReadFrom(reader)) return kReplyDataMissing;
    return CheckConfiguration(zelNo, configuration, secondPass, again);
}

} // namespace

short zelQ_GetAllStatus(short zelNo, ControllerStatus* status)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (status == nullptr) return BadArgument(1);

    bool again = false;
    short error = ReadControllerStatus(zelNo, *status, false, again);
    if (error == kOk && again) error = ReadControllerStatus(zelNo, *status, true, again);
    if (error != kOk) return error;
    return Traced("%d=zelQ_GetAllStatus(%d)", kOk, zelNo);
}

short zelQ_GetServoStatus(short zelNo, unsigned short axis, ServoStatus* status)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (status == nullptr) return BadArgument(1);

    ServoRegisters registers;
    bool again = false;
    short error = ReadServoRegisters(zelNo, axis, registers, false, again);
    if (error == kOk && again) error = ReadServoRegisters(zelNo, axis, registers, true, again);
    if (error != kOk) return error;

    const SlaveConfig slaves = SessionOf(zelNo).Slaves();
    if (!slaves.servoAxes.Contains(axis)) return BadArgument(0);
    const double unitPerPulse = SessionOf(zelNo).UnitPerPulse(axis);
    FillServo(*status, registers, axis, slaves.typeWords[axis], unitPerPulse);
    return Traced("%d=zelQ_GetServoStatus(%d)", kOk, zelNo);
}
