#include "api/vocabulary/interpolation.h"

namespace zelq {

std::atomic<short> equalStartAndStop = 0;

void NormalizeInterpSpeed(InterpSpeedProfile& speed)
{
    if (equalStartAndStop == 0) return;
    speed.endSpeed = speed.startSpeed;
    if (speed.acc == 0.0) speed.startSpeed = speed.driveSpeed;
    if (speed.dec == 0.0) speed.endSpeed = speed.driveSpeed;
}

void AddSpeeds(Command& command, const MappedUnits& units, const InterpSpeedProfile& speed)
{
    for (const double value :
         {speed.startSpeed, speed.acc, speed.driveSpeed, speed.dec, speed.endSpeed}) {
        command.Long(units.Pulses(0, value));
    }
}

} // namespace zelq
