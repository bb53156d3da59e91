#include "names.h"

#include <algorithm>
#include <array>

namespace lumosim {

namespace {

constexpr ResultName kResultNames[] = {
    {Result::kDone, "done", "done"},
    {Result::kUnknownCommand, "unknown-command", "unknown command"},
    {Result::kMalformed, "malformed",
     "malformed: count outside 1..32, fields missing or left over"},
    {Result::kNoServo, "no-servo", "no servo stands at this station"},
    {Result::kServoOff, "servo-off", "the servo is off"},
    {Result::kAlarm, "alarm", "the axis has an alarm"},
    {Result::kBusy, "busy", "the axis is busy with another kind of motion"},
    {Result::kOutOfRange, "out-of-range", "a value is out of range"},
    {Result::kStandingStill, "standing-still", "the axis stands still (overrides)"},
    {Result::kLimitBlocks, "limit-blocks", "a limit switch blocks this direction"},
    {Result::kFrameSequence, "frame-sequence", "frame sequence broken"},
    {Result::kEmptyMap, "empty-map", "the interpolation map is empty"},
    {Result::kAxisTwice, "axis-twice", "an axis is named twice"},
    {Result::kEmergencyStop, "emergency-stop", "the emergency stop is active"},
    {Result::kNoOverride, "no-override",
     "the running motion takes no such override, or is stopping"},
    {Result::kNoAbsoluteEncoder, "no-absolute-encoder", "the axis has no absolute encoder"},
    {Result::kMapTooShort, "map-too-short",
     "the interpolation map has too few axes for the command"},
    {Result::kNoCircle, "no-circle",
     "no circle: a point of the arc is its centre, or both ends of an arc of a given radius are "
     "the same"},
    {Result::kEndOffCircle, "end-off-circle",
     "the end of the arc lies off its circle, by more than 3 pulses"},
    {Result::kPointsInLine, "points-in-line", "the three points of the arc lie in line"},
    {Result::kRadiusTooSmall, "radius-too-small",
     "the radius is less than half the way to the end, by more than 3 pulses"},
    {Result::kPreRegistersFull, "pre-registers-full", "the pre-registers are full"},
    {Result::kListRunning, "list-running", "the list of this axis is running"},
    {Result::kListEmpty, "list-empty", "the list is empty"},
    {Result::kListOpen, "list-open", "the list has no end yet"},
    {Result::kListClosed, "list-closed", "the list has its end already"},
    {Result::kListFull, "list-full", "the list is full"},
    {Result::kProgramRunning, "program-running", "the program is running, or paused"},
    {Result::kProgramOpen, "program-open", "the program has no end yet"},
    {Result::kProgramClosed, "program-closed", "the program has its end already"},
    {Result::kProgramFull, "program-full", "the program is full"},
    {Result::kNoFocus, "no-focus", "no program has the focus"},
    {Result::kProgramNotRunning, "program-not-running",
     "the program is not running; to resume: not paused"},
    {Result::kMotionFailed, "motion-failed",
     "a motion that a program waited for has not reached its end"},
    {Result::kNoInputSlave, "no-input-slave", "no input slave stands at this station"},
    {Result::kAlarmLasts, "alarm-lasts", "the alarm lasts until the power goes off"},
    {Result::kSoftwareLimit, "software-limit", "a software limit blocks this direction"},
    {Result::kNoParameter, "no-parameter", "the drive has no such parameter"},
    {Result::kReadOnlyParameter, "read-only-parameter", "the parameter can only be read"},
    {Result::kServoIsOn, "servo-is-on", "the servo is on"},
    {Result::kNoMonitor, "no-monitor", "the drive has no such monitor"},
    {Result::kNoOutputSlave, "no-output-slave", "no output slave stands at this station"},
    {Result::kNetworkDown, "network-down", "the servo network is down"},
    {Result::kSerialPortTaken, "serial-port-taken", "the serial port is taken by the bypass"},
    {Result::kNoSuchFlash, "no-such-flash", "no such flash address or sector"},
    {Result::kNoSuchMemory, "no-such-memory", "no such word in the processor's memory"},
};

constexpr std::array kMotionKindNames = {
    "none", "jog",   "absolute", "relative", "search",   "homing",           "linear",
    "arc",  "helix", "list",     "torque",   "velocity", "profile-position", "hand-wheel",
};

constexpr std::array kStopCauseNames = {
    "target-reached",  "stop-command", "sudden-stop-command", "limit-switch",
    "software-limit",  "alarm",        "servo-off",           "emergency-stop",
    "connection-lost", "home-found",   "search-latched",
};

constexpr std::array kReactionNames = {"none", "decelerate", "sudden"};

constexpr std::array kSlaveTypeNames = {"none", "servo", "input", "output"};

template <typename Enum, std::size_t Count>
const char* NameAt(const std::array<const char*, Count>& names, Enum value)
{
    const auto index = static_cast<std::size_t>(value);
    return index < Count ? names[index] : "unknown";
}

} // namespace

std::span<const ResultName> ResultNames()
{
    return kResultNames;
}

const char* NameOf(Result result)
{
    const auto* found = std::ranges::find(kResultNames, result, &ResultName::result);
    return found == std::end(kResultNames) ? "unknown" : found->name;
}

const char* NameOf(MotionKind kind)
{
    return NameAt(kMotionKindNames, kind);
}

const char* NameOf(StopCause cause)
{
    return NameAt(kStopCauseNames, cause);
}

const char* NameOf(Reaction reaction)
{
    return NameAt(kReactionNames, reaction);
}

const char* NameOf(SlaveType type)
{
    return NameAt(kSlaveTypeNames, type);
}

} // namespace lumosim
