// What an axis can be doing, why it ends, and what it looks out for on its way.
#pragma once

#include "mechanics.h"
#include "types.h"

namespace lumosim {

// What the axis is doing, as its status shows it.
enum class MotionKind : Word {
    kIdle = 0,
    kJog = 1,
    kAbsolute = 2,
    kRelative = 3,
    kSearch = 4,
    kHoming = 5,
    kLinear = 6,
    kArc = 7,
    kHelical = 8,
    kList = 9,
    kTorque = 10,
    kVelocity = 11,
    kProfilePosition = 12,
    kHandWheel = 13,
};

// Why the last motion ended.
enum class StopCause : Word {
    kNone = 0, // target reached
    kStopCommand = 1,
    kSuddenStopCommand = 2,
    kLimitSensor = 3,
    kSoftwareLimit = 4,
    kAlarm = 5,
    kServoOff = 6,
    kEmergencyStop = 7,
    kConnectionLost = 8,
    kHomeFound = 9,
    kSearchLatched = 10,
};

enum class StopMode { kSudden, kDecelerate };

// Ends a motion when a signal changes to a level.
struct Watch
{
    Signal signal;
    bool level;
    StopMode mode;
    StopCause cause;
    // Stoppers are found by the torque that they make, in 0.1 % of the rated one.
    double stopperTorque = 0;
};

} // namespace lumosim
