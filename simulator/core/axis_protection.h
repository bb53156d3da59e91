// What keeps an axis from going too far or pushing too hard.
#pragma once

#include "types.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace lumosim {

// What an axis does where it meets a sensor or a software limit.
enum class Reaction : Word { kNone = 0, kDecelerate = 1, kSudden = 2 };
inline constexpr Word kLastReaction = 2;

struct SoftwareLimit
{
    Reaction reaction = Reaction::kNone;
    std::int32_t position = 0; // as a counter value
};

// The inputs that can stop an axis, by their numbers in the command.
enum class Sensor : Word {
    kLimitPositive = 0,
    kLimitNegative = 1,
    kHome = 2,
    kConfigurable = 3,
};
inline constexpr Word kSensors = 4;

// Torques between -negative and +positive, both around the offset.
struct TorqueLimit
{
    static constexpr Word kMaxPercent = 500;

    bool on = false;
    Word positive = kMaxPercent; // percent of the rated torque
    Word negative = kMaxPercent;
    std::int16_t offset = 0; // 0.1 percent
    Word codes = 0;          // kept for the host, like the next
    std::uint32_t value = 0;

    [[nodiscard]] double Highest() const { return offset + 10.0 * positive; } // 0.1 percent
    [[nodiscard]] double Lowest() const { return offset - 10.0 * negative; }
    [[nodiscard]] double Allowed(double torque) const
    {
        return on ? std::max(Lowest(), std::min(Highest(), torque)) : torque;
    }
};

struct AxisProtection
{
    SoftwareLimit softPositive;
    SoftwareLimit softNegative;
    std::array<Reaction, kSensors> sensors = {Reaction::kDecelerate, Reaction::kDecelerate,
                                              Reaction::kNone, Reaction::kNone};
    TorqueLimit torque;

    // `direction` is 1 or -1.
    [[nodiscard]] const SoftwareLimit& Soft(int direction) const
    {
        return direction > 0 ? softPositive : softNegative;
    }
    [[nodiscard]] Reaction At(Sensor sensor) const
    {
        return sensors[static_cast<std::size_t>(sensor)];
    }
    [[nodiscard]] Reaction AtLimit(int direction) const
    {
        return At(direction > 0 ? Sensor::kLimitPositive : Sensor::kLimitNegative);
    }
};

} // namespace lumosim
