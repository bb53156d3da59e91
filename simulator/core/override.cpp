// Overrides: a running jog or move gets another speed, profile or target.

#include "axis_list.h"
#include "controller.h"
#include "families.h"

namespace lumosim {

namespace {

constexpr Word kDriveSpeed = 0x0020;
constexpr Word kSpeedProfile = 0x0021;
constexpr Word kTarget = 0x0022;

// In the order of the speed profile.
struct Speeds
{
    std::int32_t acc;
    std::int32_t drive;
    std::int32_t dec;
};

Speeds ReadSpeeds(CommandReader& reader)
{
    const std::int32_t acc = reader.NextLong();
    const std::int32_t drive = reader.NextLong();
    return {acc, drive, reader.NextLong()};
}

bool HasTarget(MotionKind kind)
{
    return kind == MotionKind::kAbsolute || kind == MotionKind::kRelative ||
           kind == MotionKind::kProfilePosition;
}

bool HasSpeed(MotionKind kind)
{
    return HasTarget(kind) || kind == MotionKind::kJog || kind == MotionKind::kSearch;
}

Result Check(const Axis& axis, bool (*possible)(MotionKind))
{
    if (!axis.Moving()) return Result::kStandingStill;
    // An axis that brakes for a stop or a switch is not to be talked out of it.
    return possible(axis.Kind()) && !axis.Stopping() ? Result::kDone : Result::kNoOverride;
}

class Overrides : public Family
{
  public:
    explicit Overrides(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kDriveSpeed, "override drive speed", [this](auto& in, auto&) {
            return Profile<std::int32_t>(
                in, [](CommandReader& r) { return r.NextLong(); },
                [](SpeedProfile& profile, std::int32_t drive) { profile.drive = drive; });
        });
        table.Add(kSpeedProfile, "override profile", [this](auto& in, auto&) {
            return Profile<Speeds>(in, ReadSpeeds, [](SpeedProfile& profile, const Speeds& speeds) {
                profile.acc = speeds.acc;
                profile.drive = speeds.drive;
                profile.dec = speeds.dec;
            });
        });
        table.Add(kTarget, "override target", [this](auto& in, auto&) { return Target(in); });
    }

  private:
    template <typename Fields, typename ReadFields, typename Change>
    Result Profile(CommandReader& in, ReadFields readFields, Change change)
    {
        std::vector<AxisEntry<Fields>> entries;
        const Result result = ReadAxisEntries(controller_, in, in.NextWord(), readFields, entries);
        if (result != Result::kDone) return result;

        std::vector<AxisEntry<SpeedProfile>> profiles;
        for (const auto& [axis, fields] : entries) {
            profiles.push_back({axis, axis->RunningProfile()});
            change(profiles.back().fields, fields);
            if (!profiles.back().fields.Valid()) return Result::kOutOfRange;
            const Result check = Check(*axis, HasSpeed);
            if (check != Result::kDone) return check;
        }
        for (const auto& [axis, profile] : profiles) {
            axis->Override(profile);
        }
        return Result::kDone;
    }

    Result Target(CommandReader& in)
    {
        std::vector<AxisEntry<std::int32_t>> entries;
        const Result result = ReadAxisEntries(
            controller_, in, in.NextWord(), [](CommandReader& r) { return r.NextLong(); }, entries);
        if (result != Result::kDone) return result;
        for (const auto& entry : entries) {
            const Result check = Check(*entry.axis, HasTarget);
            if (check != Result::kDone) return check;
        }
        for (const auto& [axis, target] : entries) {
            axis->OverrideTarget(target);
        }
        return Result::kDone;
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeOverrides(Controller& controller)
{
    return std::make_unique<Overrides>(controller);
}

} // namespace lumosim
