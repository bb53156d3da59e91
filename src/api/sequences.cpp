#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/status_registers.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <array>

using namespace zelq;

namespace {

constexpr std::uint16_t kFocusCode = 0x0200;
constexpr std::uint16_t kBufferCode = 0x0201;
constexpr std::uint16_t kSequenceCode = 0x0202;
constexpr std::uint16_t kRunCode = 0x0203;
constexpr std::uint16_t kWaitMotionCode = 0x0230;
constexpr std::uint16_t kWaitPreRegisterCode = 0x0231;
constexpr std::uint16_t kWaitInputCode = 0x0232;
constexpr std::uint16_t kDelayCode = 0x0233;

constexpr std::uint16_t kPrograms = 4;
constexpr std::uint16_t kNoProgram = 0xFFFF;

constexpr std::uint16_t kCloseBuffer = 0;
constexpr std::uint16_t kClearBuffer = 1;

constexpr std::uint16_t kStop = 0;
constexpr std::uint16_t kStart = 1;
constexpr std::uint16_t kPause = 2;
constexpr std::uint16_t kResume = 3;

/// The program calls count their arguments from the program index on.
short CheckProgram(short zelNo, std::uint16_t seq)
{
    if (const short error = CheckSession(zelNo)) return error;
    return static_cast<short>(seq >= kPrograms ? BadArgument(0) : kOk);
}

/// Whose inputs are waited for.
enum class InputSource : std::uint16_t { kMainBoard = 0, kRemote = 1, kDrive = 2 };

/// How the record names them.
enum class InputForm : std::uint16_t { kOnePin = 0, kMask = 1 };

Command WaitInput(InputSource source, InputForm form)
{
    Command command(kWaitInputCode);
    command.Word(static_cast<std::uint16_t>(source)).Word(static_cast<std::uint16_t>(form));
    return command;
}

constexpr std::uint16_t kProgramStatusRegister = 0xF4AA;
constexpr std::uint16_t kProgramStatusRegisters = 6; // of one program
using SeqRegisters = RegisterBlock<kProgramStatusRegisters>;

void FillStatus(SeqStatus& status, const SeqRegisters& registers)
{
    status.state = registers.Bits(0, 0, 4);
    status.bit4 = registers.Bits(0, 4);
    status.bit5 = registers.Bits(0, 5);
    status.bits6_7 = registers.Bits(0, 6, 2);
    status.bit8 = registers.Bits(0, 8);
    status.bits9_13 = registers.Bits(0, 9, 5);
    status.long1 = registers.UnsignedLong(1);
    status.long3 = registers.UnsignedLong(3);
    status.word5 = registers.words[5];
}

} // namespace

short zelQ_SeqSetFocus(short zelNo, unsigned short seq)
{
    if (const short error = CheckProgram(zelNo, seq)) return error;

    const short result = Command(kFocusCode).Word(seq).Run(zelNo);
    return Traced("%d=zelQ_SeqSetFocus(%d,%d)", result, zelNo, seq);
}

short zelQ_SeqKillFocus(short zelNo)
{
    if (const short error = CheckSession(zelNo)) return error;

    const short result = Command(kFocusCode).Word(kNoProgram).Run(zelNo);
    return Traced("%d=zelQ_SeqKillFocus(%d)", result, zelNo);
}

short zelQ_SeqFuncBufClear(short zelNo, unsigned short seq)
{
    if (const short error = CheckProgram(zelNo, seq)) return error;

    const short result = Command(kBufferCode).Word(seq).Word(kClearBuffer).Run(zelNo);
    return Traced("%d=zelQ_SeqFuncBufClear(%d,%d)", result, zelNo, seq);
}

short zelQ_SeqFuncAddEnd(short zelNo, unsigned short seq)
{
    if (const short error = CheckProgram(zelNo, seq)) return error;

    const short result = Command(kBufferCode).Word(seq).Word(kCloseBuffer).Run(zelNo);
    return Traced("%d=zelQ_SeqFuncAddEnd(%d,%d)", result, zelNo, seq);
}

short zelQ_SeqSetCfg(short zelNo, unsigned short seq, unsigned short cfg1, unsigned short cfg2,
                     unsigned short cfg3)
{
    if (const short error = CheckProgram(zelNo, seq)) return error;
    if (cfg1 > 1) return BadArgument(1);
    if (cfg2 > 2) return BadArgument(2);
    if (cfg3 > 1) return BadArgument(3);

    Command command(kSequenceCode);
    command.Word(seq).Word(cfg1).Word(cfg2).Word(cfg3);
    // Traced under the name of the start, with a last number that there is no value for.
    return Traced("%d=zelQ_SeqStart(%d,%d,%d,%d,%d,%d)", command.Run(zelNo), zelNo, seq, cfg1, cfg2,
                  cfg3, 0);
}

short zelQ_SeqStart(short zelNo, unsigned short seq)
{
    if (const short error = CheckProgram(zelNo, seq)) return error;

    const short result = Command(kRunCode).Word(seq).Word(kStart).Run(zelNo);
    return Traced("%d=zelQ_SeqStart(%d,%d)", result, zelNo, seq);
}

short zelQ_SeqStop(short zelNo, unsigned short seq, unsigned short stopMode)
{
    if (const short error = CheckProgram(zelNo, seq)) return error;
    if (stopMode > 1) return BadArgument(1);

    const short result = Command(kRunCode).Word(seq).Word(kStop).Word(stopMode).Run(zelNo);
    return Traced("%d=zelQ_SeqStop(%d,%d,%d)", result, zelNo, seq, stopMode);
}

short zelQ_SeqPause(short zelNo, unsigned short seq)
{
    if (const short error = CheckProgram(zelNo, seq)) return error;

    const short result = Command(kRunCode).Word(seq).Word(kPause).Run(zelNo);
    return Traced("%d=zelQ_SeqPause(%d,%d)", result, zelNo, seq);
}

short zelQ_SeqResume(short zelNo, unsigned short seq)
{
    if (const short error = CheckProgram(zelNo, seq)) return error;

    const short result = Command(kRunCode).Word(seq).Word(kResume).Run(zelNo);
    return Traced("%d=zelQ_SeqResume(%d,%d)", result, zelNo, seq);
}

short zelQ_SeqFuncWaitMovDone(short zelNo, short waitMode, short count, const unsigned short* axes)
{
    if (const short error = CheckCount(zelNo, count)) return error;
    if (const short error = CheckArrays(3, axes)) return error;

    Command command(kWaitMotionCode);
    command.Word(waitMode).Word(count).Words(axes, count);
    return Traced("%d=zelQ_SeqFuncWaitMovDone(%d,%d,%d)", command.Run(zelNo), zelNo, waitMode,
                  count);
}

short zelQ_SeqFuncWaitPreRegEmpty(short zelNo, short waitMode, short count,
                                  const unsigned short* items)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (waitMode < 1 || waitMode > 3) return BadArgument(1);
    if (const short error = CheckCount(zelNo, count)) return error;
    if (const short error = CheckArrays(3, items)) return error;

    Command command(kWaitPreRegisterCode);
    command.Word(waitMode).Word(count).Words(items, count);
    return Traced("%d=zelQ_SeqFuncWaitPreRegEmpty(%d,%d,%d)", command.Run(zelNo), zelNo, waitMode,
                  count);
}

short zelQ_SeqFuncWaitMDIpins(short zelNo, unsigned int mask, unsigned int level)
{
    if (const short error = CheckSession(zelNo)) return error;

    Command command = WaitInput(InputSource::kMainBoard, InputForm::kMask);
    const short result = command.Long(mask).Long(level).Run(zelNo);
    return Traced("%d=zelQ_SeqFuncWaitMDIpins(%d,%d,%d)", result, zelNo, mask, level);
}

short zelQ_SeqFuncWaitMDIpin(short zelNo, short pin, short level)
{
    if (const short error = CheckSession(zelNo)) return error;

    Command command = WaitInput(InputSource::kMainBoard, InputForm::kOnePin);
    const short result = command.Word(pin).Word(level).Run(zelNo);
    return Traced("%d=zelQ_SeqFuncWaitMDIpin(%d,%d,%d)", result, zelNo, pin, level);
}

short zelQ_SeqFuncWaitRDIpins(short zelNo, unsigned short axis, unsigned int mask,
                              unsigned int level)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    Command command = WaitInput(InputSource::kRemote, InputForm::kMask);
    const short result = command.Word(axis).Long(mask).Long(level).Run(zelNo);
    return Traced("%d=zelQ_SeqFuncWaitRDIpins(%d,%d,%d,%d)", result, zelNo, axis, mask, level);
}

short zelQ_SeqFuncWaitRDIpin(short zelNo, unsigned short axis, short pin, short level)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    Command command = WaitInput(InputSource::kRemote, InputForm::kOnePin);
    const short result = command.Word(axis).Word(pin).Word(level).Run(zelNo);
    return Traced("%d=zelQ_SeqFuncWaitRDIpin(%d,%d,%d,%d)", result, zelNo, axis, pin, level);
}

// The two calls for a drive's inputs leave the axis to the controller, and out of their lines.

short zelQ_SeqFuncWaitSDIpins(short zelNo, unsigned short axis, unsigned int mask,
                              unsigned int level)
{
    if (const short error = CheckSession(zelNo)) return error;

    Command command = WaitInput(InputSource::kDrive, InputForm::kMask);
    const short result = command.Word(axis).Long(mask).Long(level).Run(zelNo);
    return Traced("%d=zelQ_SeqFuncWaitSDIpins(%d,%d,%d)", result, zelNo, mask, level);
}

short zelQ_SeqFuncWaitSDIpin(short zelNo, unsigned short axis, short pin, short level)
{
    if (const short error = CheckSession(zelNo)) return error;

    Command command = WaitInput(InputSource::kDrive, InputForm::kOnePin);
    const short result = command.Word(axis).Word(pin).Word(level).Run(zelNo);
    return Traced("%d=zelQ_SeqFuncWaitSDIpin(%d,%d,%d)", result, zelNo, pin, level);
}

short zelQ_SeqFuncDelay(short zelNo, unsigned int delay)
{
    if (const short error = CheckSession(zelNo)) return error;

    const short result = Command(kDelayCode).Long(delay).Run(zelNo);
    return Traced("%d=zelQ_SeqFuncDelay(%d,%d)", result, zelNo, delay);
}

short zelQ_SeqGetStatus(short zelNo, unsigned short seq, SeqStatus* status)
{
    if (const short error = CheckSession(zelNo)) return error;
    // Unlike the program calls, this one counts its arguments as all others do.
    if (seq >= kPrograms) return BadArgument(1);
    if (const short error = CheckArrays(2, status)) return error;

    const auto first =
        static_cast<std::uint16_t>(kProgramStatusRegister + seq * kProgramStatusRegisters);
    ReplyData reply;
    const short result = ReadRegisters(zelNo, first, kProgramStatusRegisters, reply);
    if (result == kOk) {
        ReplyReader reader(reply);
        SeqRegisters registers;
        if (!registers.ReadFrom(reader)) return kReplyDataMissing;
        FillStatus(*status, registers);
    }
    return Traced("%d=zelQ_SeqGetStatus(%d,%d)", result, zelNo, seq);
}

short zelQ_SeqGetAllStatus(short zelNo, SeqAllStatus* status)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (const short error = CheckArrays(1, status)) return error;

    constexpr std::uint16_t kAllRegisters = kPrograms * kProgramStatusRegisters;
    ReplyData reply;
    if (const short error = ReadRegisters(zelNo, kProgramStatusRegister, kAllRegisters, reply)) {
        return error;
    }

    ReplyReader reader(reply);
    std::array<SeqRegisters, kPrograms> programs;
    for (SeqRegisters& registers : programs) {
        if (!registers.ReadFrom(reader)) return kReplyDataMissing;
    }
    for (std::size_t i = 0; i < kPrograms; ++i) {
        FillStatus(status->program[i], programs[i]);
    }
    // The line has a second number that there is no value for.
    return Traced("%d=zelQ_SeqGetAllStatus(%d,%d)", kOk, zelNo, 0);
}
