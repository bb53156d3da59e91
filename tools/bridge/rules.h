// What is told, and how often.
#pragma once

#include <array>
#include <cstddef>

namespace zelq::bridge {

/// Metrics that share their rate.
enum class MetricGroup { kMotion, kFlags, kIo, kLink };
inline constexpr std::size_t kMetricGroups = 4;
inline constexpr std::array<const char*, kMetricGroups> kMetricGroupNames = {"motion", "flags",
                                                                             "io", "link"};

/// Values that share their dead band.
enum class Quantity { kNone, kPosition, kSpeed, kTorque, kTime };
inline constexpr std::size_t kQuantities = 5;

struct GroupRule
{
    int everyMs = 100;     ///< no more often than this
    int largestMs = 60000; ///< at least this often, changed or not; 0: by change alone

    bool operator==(const GroupRule&) const = default;
};

struct Rules
{
    std::array<GroupRule, kMetricGroups> groups = {GroupRule{}, GroupRule{}, GroupRule{},
                                                   GroupRule{10000, 60000}};
    /// A value that is no further than this from what was told last has not changed.
    std::array<double, kQuantities> deadBands{};

    [[nodiscard]] const GroupRule& Of(MetricGroup group) const
    {
        return groups[static_cast<std::size_t>(group)];
    }
    /// One exchange serves all groups: how often there is one.
    [[nodiscard]] int PeriodMs() const
    {
        int period = groups[0].everyMs;
        for (const GroupRule& group : groups) {
            period = group.everyMs < period ? group.everyMs : period;
        }
        return period;
    }

    bool operator==(const Rules&) const = default;
};

} // namespace zelq::bridge
