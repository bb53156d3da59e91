// What a drive remembers of its alarms.
#pragma once

#include "types.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lumosim {

struct Alarm
{
    std::uint8_t number = 0;
    std::uint8_t subNumber = 0;
    bool lasting = false; // cannot be reset; only the power going off ends it

    friend bool operator==(const Alarm&, const Alarm&) = default;
};

// What the drives raise by themselves. Others have any number that the one who raises them likes.
inline constexpr Alarm kOverCurrentAlarm{10, 0};
inline constexpr Alarm kFollowingErrorAlarm{20, 0};
inline constexpr Alarm kOverTravelPositiveAlarm{30, 0};
inline constexpr Alarm kOverTravelNegativeAlarm{30, 1};
inline constexpr Alarm kEncoderAlarm{40, 0, true};

struct AlarmRecord
{
    Alarm alarm;
    Word seconds = 0; // simulated time at which it came up; 65535 for later
};

// The latest alarms, the newest first. It survives the power going off.
class AlarmList
{
  public:
    static constexpr std::size_t kEntries = 15;

    void Add(const Alarm& alarm, Nanoseconds now);
    void Clear() { records_.clear(); }
    [[nodiscard]] AlarmRecord At(std::size_t index) const; // all zero where there is none
    [[nodiscard]] const std::vector<AlarmRecord>& All() const { return records_; }

  private:
    std::vector<AlarmRecord> records_;
};

} // namespace lumosim
