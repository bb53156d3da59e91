#pragma once

#include "api/vocabulary/checks.h"
#include "common/pulses.h"

namespace zelq {

/// Pulses of a value in user units: the quotient, truncated toward zero.
inline std::int32_t ToPulses(short zelNo, unsigned axis, double value)
{
    return QuotientToInt32(value, SessionOf(zelNo).UnitPerPulse(axis));
}

} // namespace zelq
