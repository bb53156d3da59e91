// What the values in commands mean.
#pragma once

#include "axis.h"
#include "types.h"

#include <cstdint>

namespace lumosim {

// Sub-functions of settings that one command sets and reads.
inline constexpr Word kSet = 0;
inline constexpr Word kGet = 1;

template <typename Number>
constexpr int SignOf(Number value)
{
    return value > 0 ? 1 : (value < 0 ? -1 : 0);
}

// Directions are told as 0, the positive one, and 1.
constexpr int DirectionOf(Word value)
{
    return value == 0 ? 1 : -1;
}

// Which of two values stands for the sudden stop differs from command to command.
constexpr StopMode SuddenIf(bool sudden)
{
    return sudden ? StopMode::kSudden : StopMode::kDecelerate;
}

constexpr StopCause CommandedBy(StopMode mode)
{
    return mode == StopMode::kSudden ? StopCause::kSuddenStopCommand : StopCause::kStopCommand;
}

} // namespace lumosim
