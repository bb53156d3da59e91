#include "alarm_list.h"

#include <algorithm>

namespace lumosim {

void AlarmList::Add(const Alarm& alarm, Nanoseconds now)
{
    constexpr std::chrono::seconds::rep kLatest = 0xFFFF;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now).count();
    records_.insert(records_.begin(), {alarm, static_cast<Word>(std::min(seconds, kLatest))});
    if (records_.size() > kEntries) records_.pop_back();
}

AlarmRecord AlarmList::At(std::size_t index) const
{
    return index < records_.size() ? records_[index] : AlarmRecord();
}

} // namespace lumosim
