// What of a reading is worth telling.
#pragma once

#include "bridge/record.h"

#include <array>
#include <chrono>
#include <vector>

namespace zelq::bridge {

using Clock = std::chrono::steady_clock;

/// By change, beyond a dead band, no more often than a group's rate, and anew after its largest
/// period.
class ChangeFilter
{
  public:
    /// `told`: the values that a birth tells.
    ChangeFilter(Rules rules, const std::vector<Metric>& metrics, std::vector<Value> told,
                 Clock::time_point now);

    /// The values may end before those of the birth: what does not change is not read again.
    std::vector<Change> ChangesIn(const std::vector<Value>& values, Clock::time_point now);
    /// Whether the group of link metrics was due in the last look.
    [[nodiscard]] bool HasLookedAt(MetricGroup group) const
    {
        return isDue_[static_cast<std::size_t>(group)];
    }

  private:
    struct Entry
    {
        std::uint32_t code;
        MetricGroup group;
        double deadBand;
        Value told;
        Clock::time_point when;
    };

    void FindDueGroups(Clock::time_point now);
    static bool Differs(const Entry& entry, const Value& value);

    Rules rules_;
    std::vector<Entry> entries_;
    std::array<Clock::time_point, kMetricGroups> next_{};
    std::array<bool, kMetricGroups> isDue_{};
};

} // namespace zelq::bridge
