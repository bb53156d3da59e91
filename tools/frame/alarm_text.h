// Alarms of drives, and what they mean.
#pragma once

#include "frame/controller.h"

namespace zelq::tool {

inline constexpr unsigned short kAlarmListSize = 15;

struct DriveAlarm
{
    unsigned short number; ///< 0: there is none
    unsigned short subNumber;
    unsigned short data; ///< seconds from the drive's start
};

/// An entry of a drive's list, 0 is the newest.
DriveAlarm ReadAlarm(const Controller& controller, unsigned short axis, unsigned short index);

struct AlarmMeaning
{
    int number;
    const char* name;
    const char* cause;
    const char* advice;
};

/// As the simulated drive numbers them; another one's own list says more.
const AlarmMeaning& AlarmMeaningOf(int number);

} // namespace zelq::tool
