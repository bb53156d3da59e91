// The power stage of a drive: whether it feeds its motor, and the alarm that keeps it from doing
// so.
#pragma once

#include "alarm_list.h"
#include "types.h"

#include <algorithm>
#include <optional>

namespace lumosim {

class Amplifier
{
  public:
    // It needs this long to excite the motor.
    static constexpr Nanoseconds kOnTime = std::chrono::milliseconds(5);

    [[nodiscard]] bool Switched() const { return on_; }
    [[nodiscard]] bool On(Nanoseconds now) const { return on_ && now >= onAt_; }
    // When it is through, or has been.
    [[nodiscard]] Nanoseconds ReadyAt(Nanoseconds now) const { return std::max(now, onAt_); }
    [[nodiscard]] Nanoseconds NextEvent(Nanoseconds now) const
    {
        return on_ && onAt_ > now ? onAt_ : kNever;
    }
    void SwitchOn(Nanoseconds now)
    {
        on_ = true;
        onAt_ = now + kOnTime;
    }
    void SwitchOff() { on_ = false; }

    [[nodiscard]] const std::optional<Alarm>& ActiveAlarm() const { return alarm_; }
    void Raise(const Alarm& alarm, Nanoseconds now)
    {
        alarm_ = alarm;
        alarms_.Add(alarm, now);
        on_ = false;
    }
    bool ResetAlarm() // false for one that lasts
    {
        if (alarm_ && alarm_->lasting) return false;
        alarm_.reset();
        return true;
    }
    void LetReset(bool allowed)
    {
        if (alarm_) alarm_->lasting = !allowed;
    }
    [[nodiscard]] AlarmList& Alarms() { return alarms_; }
    [[nodiscard]] const AlarmList& Alarms() const { return alarms_; }

    void PowerUp(Nanoseconds now)
    {
        on_ = false;
        onAt_ = now;
        alarm_.reset();
    }

  private:
    bool on_ = false;
    Nanoseconds onAt_{0};
    std::optional<Alarm> alarm_;
    AlarmList alarms_;
};

} // namespace lumosim
