#pragma once

#include "api/checks.h"
#include "common/pulses.h"

namespace zelq {

/// Pulses of a value in user units: the quotient, truncated toward zero.
inline std::int32_t ToPulses(short zelNo, unsigned axis, double value)
{
    return QuotientToInt32(value, SessionOf(zelNo).UnitPerPulse(axis));
}

/// The library-wide flag by which interpolation calls end with the speed they start with.
bool EqualStartAndStop();

} // namespace zelq
