// Words, limits and result codes that every piece of the simulated controller shares.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>

namespace lumosim {

using Word = std::uint16_t;
using Nanoseconds = std::chrono::nanoseconds;

// Stations on the servo network; a servo's axis number is its station number.
inline constexpr int kMaxAxes = 32;

// A time that never comes.
inline constexpr Nanoseconds kNever = Nanoseconds::max();

// What a command leaves in the result register. The numbers are part of the controller's interface
// (docs/simulator.md lists them), so they are never renumbered, only extended.
enum class Result : Word {
    kDone = 0,
    kUnknownCommand = 1,
    kMalformed = 2,
    kNoServo = 3,
    kServoOff = 4,
    kAlarm = 5,
    kBusy = 6,
    kOutOfRange = 7,
    kStandingStill = 8,
    kLimitBlocks = 9,
    kFrameSequence = 10,
    kEmptyMap = 11,
    kAxisTwice = 12,
    kEmergencyStop = 13,
    kNoOverride = 20,
    kNoAbsoluteEncoder = 21,

    // Interpolation.
    kMapTooShort = 40,
    kNoCircle = 41,
    kEndOffCircle = 42,
    kPointsInLine = 43,
    kRadiusTooSmall = 44,
    kPreRegistersFull = 45,

    // List motion.
    kListRunning = 60,
    kListEmpty = 61,
    kListOpen = 62,   // it has no end yet
    kListClosed = 63, // it has its end already
    kListFull = 64,

    // Sequence programs.
    kProgramRunning = 70,
    kProgramOpen = 71,   // it has no end yet
    kProgramClosed = 72, // it has its end already
    kProgramFull = 73,
    kNoFocus = 74,
    kProgramNotRunning = 75,
    kMotionFailed = 76, // a motion that a program waits for has not reached its end
    kNoInputSlave = 77,

    // Protection and drives.
    kAlarmLasts = 80,
    kSoftwareLimit = 81,
    kNoParameter = 82,
    kReadOnlyParameter = 83,
    kServoIsOn = 84,
    kNoMonitor = 85,

    // Outputs, serial port, memories.
    kNoOutputSlave = 100,
    kNetworkDown = 101,
    kSerialPortTaken = 102,
    kNoSuchFlash = 104,
    kNoSuchMemory = 105,
};

constexpr Word LowWord(std::int32_t value)
{
    return static_cast<Word>(static_cast<std::uint32_t>(value) & 0xFFFFU);
}

constexpr Word HighWord(std::int32_t value)
{
    return static_cast<Word>(static_cast<std::uint32_t>(value) >> 16U);
}

// Into two registers, the low word first.
constexpr void PutLong(std::span<Word> out, std::size_t index, std::int32_t value)
{
    out[index] = LowWord(value);
    out[index + 1] = HighWord(value);
}

constexpr std::uint32_t JoinWords(Word low, Word high)
{
    return static_cast<std::uint32_t>(low) | (static_cast<std::uint32_t>(high) << 16U);
}

} // namespace lumosim
