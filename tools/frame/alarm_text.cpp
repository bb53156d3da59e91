#include "frame/alarm_text.h"

#include "frame/failure.h"

#include <algorithm>
#include <iterator>

namespace zelq::tool {

namespace {

constexpr AlarmMeaning kMeanings[] = {
    {10, "over-current",
     "the motor needs more torque than parameter 3.1 or the torque limit allows",
     "see whether something blocks the axis; lower its acceleration; then reset the alarm"},
    {20, "following error",
     "the motor is further behind the command than parameter 3.0 allows, or stands against a "
     "stopper",
     "see whether the axis can move freely; lower its speed and acceleration; then reset the "
     "alarm"},
    {30, "over-travel", "the axis ran on behind a limit switch, further than parameter 3.2 allows",
     "reset the alarm, switch the servo on and move the other way, slowly"},
    {40, "encoder", "the encoder or its cable does not answer",
     "check the cable; this alarm lasts until the power goes off"},
};

constexpr AlarmMeaning kUnknown = {0, "not known here", "",
                                   "look the number up in the manual of the drive"};

} // namespace

DriveAlarm ReadAlarm(const Controller& controller, unsigned short axis, unsigned short index)
{
    DriveAlarm alarm{};
    Expect(zelQ_AlarmListGet(controller.Number(), axis, index, &alarm.number, &alarm.subNumber,
                             &alarm.data),
           "read the alarm list of " + controller.AxisText(axis));
    return alarm;
}

const AlarmMeaning& AlarmMeaningOf(int number)
{
    const auto* found =
        std::find_if(std::begin(kMeanings), std::end(kMeanings),
                     [&](const AlarmMeaning& meaning) { return meaning.number == number; });
    return found == std::end(kMeanings) ? kUnknown : *found;
}

} // namespace zelq::tool
