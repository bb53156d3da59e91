#include "bridge/changes.h"

#include <cmath>

namespace zelq::bridge {

using std::chrono::milliseconds;

Millis WallClock()
{
    return std::chrono::duration_cast<milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

ChangeFilter::ChangeFilter(Rules rules, const std::vector<Metric>& metrics, std::vector<Value> told,
                           Clock::time_point now)
    : rules_(rules)
{
    next_.fill(now);
    for (std::size_t i = 0; i < metrics.size(); ++i) {
        const Metric& metric = metrics[i];
        entries_.push_back({metric.code, metric.group,
                            rules_.deadBands[static_cast<std::size_t>(metric.quantity)],
                            std::move(told[i]), now});
    }
}

void ChangeFilter::FindDueGroups(Clock::time_point now)
{
    for (std::size_t i = 0; i < kMetricGroups; ++i) {
        const milliseconds every(rules_.groups[i].everyMs);
        // A reading comes a little early or late: what is due within half a period is due.
        isDue_[i] = now + milliseconds(rules_.PeriodMs()) / 2 >= next_[i];
        if (isDue_[i]) next_[i] = std::max(next_[i] + every, now);
    }
}

bool ChangeFilter::Differs(const Entry& entry, const Value& value)
{
    const auto* now = std::get_if<double>(&value);
    const auto* told = std::get_if<double>(&entry.told);
    if (now == nullptr || told == nullptr) return value != entry.told;
    return entry.deadBand > 0.0 ? std::abs(*now - *told) > entry.deadBand : *now != *told;
}

std::vector<Change> ChangeFilter::ChangesIn(const std::vector<Value>& values, Clock::time_point now)
{
    FindDueGroups(now);
    std::vector<Change> changes;
    for (std::size_t i = 0; i < values.size() && i < entries_.size(); ++i) {
        Entry& entry = entries_[i];
        if (!HasLookedAt(entry.group)) continue;
        const milliseconds largest(rules_.Of(entry.group).largestMs);
        const bool isOld = largest > milliseconds::zero() && now - entry.when >= largest;
        if (!isOld && !Differs(entry, values[i])) continue;
        entry.told = values[i];
        entry.when = now;
        changes.push_back({entry.code, values[i]});
    }
    return changes;
}

} // namespace zelq::bridge
