// The alarms that drives raise by themselves, and the commands on alarms.

#include "controller.h"
#include "families.h"
#include "snapshot.h"

#include <array>
#include <cstdlib>

namespace lumosim {

namespace {

constexpr Word kResetAlarm = 0x0140;
constexpr Word kReadAlarmList = 0x0141;
constexpr Word kClearAlarmList = 0x0142;

// How often a drive looks at its motor: where something changes, and at constant speed.
constexpr Nanoseconds kWatchPeriod = std::chrono::milliseconds(1);
constexpr Nanoseconds kCruisePeriod = std::chrono::milliseconds(100);

class Alarms : public Family
{
  public:
    explicit Alarms(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.ForAxes(kResetAlarm, "alarm reset", {kCount, kAxis}, CheckReset, &Axis::ResetAlarm);
        table.ForAxes<OneWord>(
            kReadAlarmList, "alarm list",
            {kCount, "entry", &OneWord::value, UpTo(AlarmList::kEntries - 1), kAxis}, ShowEntry);
        table.ForAxes(kClearAlarmList, "alarm list clear", {kCount, kAxis},
                      [](Axis& axis) { axis.Alarms().Clear(); });
    }

    [[nodiscard]] Nanoseconds NextEvent() const override
    {
        Nanoseconds next = kNever;
        for (int number = 0; number < kMaxAxes; ++number) {
            next = std::min(next, DueAt(number));
        }
        return next;
    }

    void AdvanceTo(Nanoseconds now) override
    {
        for (int number = 0; number < kMaxAxes; ++number) {
            if (DueAt(number) > now) continue;
            Axis& axis = controller_.AxisAt(number);
            Look(axis);
            Supervision& supervision = supervised_.at(static_cast<std::size_t>(number));
            supervision.seen = axis.Following();
            supervision.disturbances = axis.Disturbances();
            const Nanoseconds period = Cruises(axis) ? kCruisePeriod : kWatchPeriod;
            supervision.due = (now / period + 1) * period;
        }
    }

    // Of every axis the alarm that it has, and all that it remembers.
    void Describe(Json& snapshot) const override
    {
        Json& all = snapshot["alarms"] = Json::array();
        DescribeAxes(controller_, snapshot, [&all](Json& part, const Axis& axis, int number) {
            part["alarm"] = nullptr;
            if (const auto& alarm = axis.ActiveAlarm()) {
                part["alarm"] = {{"number", alarm->number},
                                 {"subNumber", alarm->subNumber},
                                 {"lasting", alarm->lasting}};
            }
            for (const AlarmRecord& record : axis.Alarms().All()) {
                all.push_back({{"axis", number},
                               {"number", record.alarm.number},
                               {"subNumber", record.alarm.subNumber},
                               {"time", record.seconds}});
            }
        });
    }

  private:
    // A motion that has been looked at, and when it is due again.
    struct Supervision
    {
        std::shared_ptr<const Trajectory> seen;
        unsigned disturbances = 0;
        Nanoseconds due{0};
    };

    // A motion that has just begun is due at once, and so is one that something has come between.
    [[nodiscard]] Nanoseconds DueAt(int number) const
    {
        const Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr || !(axis->Moving() || axis->Settling())) return kNever;
        const Supervision& supervision = supervised_.at(static_cast<std::size_t>(number));
        const bool known = axis->Following() == supervision.seen &&
                           axis->Disturbances() == supervision.disturbances;
        return known ? supervision.due : controller_.Now();
    }

    static bool Cruises(const Axis& axis)
    {
        const MotionState state = axis.Physical();
        const bool beyond = axis.LimitActive(1) || axis.LimitActive(-1);
        return state.velocity != 0 && state.acceleration == 0 && !beyond && axis.Tracks();
    }

    static void Look(Axis& axis)
    {
        if (!axis.ServoOn()) return;
        const DriveParameters& parameters = axis.Parameters();
        const auto exceeds = [&parameters](double value, DriveSetting setting, double unit) {
            const std::int32_t most = parameters.InForce(setting);
            return most != 0 && value > most * unit;
        };
        constexpr double kPercent = 10;
        if (exceeds(std::abs(axis.SupervisedTorque()), DriveSetting::kOverCurrentLevel, kPercent)) {
            axis.RaiseAlarm(kOverCurrentAlarm);
        } else if (exceeds(std::abs(axis.FollowingError()), DriveSetting::kFollowingErrorLimit,
                           1)) {
            axis.RaiseAlarm(kFollowingErrorAlarm);
        } else if (axis.Kind() != MotionKind::kHoming) { // that may look for the stopper
            const MotionState state = axis.Physical();
            const AxisMechanics& mechanics = axis.Mechanics();
            const double above = state.position - static_cast<double>(mechanics.positiveLimit);
            const double below = static_cast<double>(mechanics.negativeLimit) - state.position;
            // On its way back an axis may be as far out as it is.
            if (state.velocity > 0 && exceeds(above, DriveSetting::kOverTravelLimit, 1)) {
                axis.RaiseAlarm(kOverTravelPositiveAlarm);
            } else if (state.velocity < 0 && exceeds(below, DriveSetting::kOverTravelLimit, 1)) {
                axis.RaiseAlarm(kOverTravelNegativeAlarm);
            }
        }
    }

    static Result CheckReset(const Axis& axis)
    {
        return axis.ActiveAlarm() && axis.ActiveAlarm()->lasting ? Result::kAlarmLasts
                                                                 : Result::kDone;
    }

    // Two registers for each axis: sub-number and number, then the time.
    static void ShowEntry(Axis& axis, const OneWord& entry, Reply& reply)
    {
        const AlarmRecord record = axis.Alarms().At(entry.value);
        reply.AddWord(static_cast<Word>(record.alarm.subNumber << 8U | record.alarm.number));
        reply.AddWord(record.seconds);
    }

    Controller& controller_;
    std::array<Supervision, kMaxAxes> supervised_;
};

} // namespace

std::unique_ptr<Family> MakeAlarms(Controller& controller)
{
    return std::make_unique<Alarms>(controller);
}

} // namespace lumosim
