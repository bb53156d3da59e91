// Overrides: a running jog or move gets another speed, profile or target.

#include "controller.h"
#include "families.h"

namespace lumosim {

namespace {

constexpr Word kDriveSpeed = 0x0020;
constexpr Word kOverrideProfile = 0x0021;
constexpr Word kTarget = 0x0022;

// The running motion's profile with what a command changes in it.
struct DriveSpeed
{
    std::int32_t drive;

    [[nodiscard]] SpeedProfile Over(SpeedProfile profile) const
    {
        profile.drive = drive;
        return profile;
    }
};

struct ProfileSpeeds
{
    std::int32_t acc;
    std::int32_t drive;
    std::int32_t dec;

    [[nodiscard]] SpeedProfile Over(SpeedProfile profile) const
    {
        profile.acc = acc;
        profile.drive = drive;
        profile.dec = dec;
        return profile;
    }
};

bool HasTarget(MotionKind kind)
{
    return kind == MotionKind::kAbsolute || kind == MotionKind::kRelative ||
           kind == MotionKind::kProfilePosition;
}

bool HasSpeed(MotionKind kind)
{
    return HasTarget(kind) || kind == MotionKind::kJog || kind == MotionKind::kSearch;
}

Result CheckOverride(const Axis& axis, bool (*possible)(MotionKind))
{
    if (!axis.Moving()) return Result::kStandingStill;
    // An axis that brakes for a stop or a switch is not to be talked out of it.
    return possible(axis.Kind()) && !axis.Stopping() ? Result::kDone : Result::kNoOverride;
}

class Overrides : public Family
{
    void AddCommands(CommandTable& table) override
    {
        AddProfile<DriveSpeed>(table, kDriveSpeed, "override drive speed",
                               {kCount, kAxis, "drive", &DriveSpeed::drive});
        AddProfile<ProfileSpeeds>(table, kOverrideProfile, "override profile",
                                  {kCount, kAxis, "acceleration", &ProfileSpeeds::acc, "drive",
                                   &ProfileSpeeds::drive, "deceleration", &ProfileSpeeds::dec});
        table.ForAxes<OneLong>(
            kTarget, "override target", {kCount, kAxis, "target", &OneLong::value},
            [](const Axis& axis) { return CheckOverride(axis, HasTarget); },
            [](Axis& axis, const OneLong& target) { axis.OverrideTarget(target.value); });
    }

    template <typename Speeds>
    static void AddProfile(CommandTable& table, Word code, const char* name,
                           const Layout<Speeds>& layout)
    {
        table.ForAxes<Speeds>(
            code, name, layout,
            [](const Axis& axis, const Speeds& speeds) {
                const Result result = CheckFields(speeds.Over(axis.RunningProfile()));
                return result == Result::kDone ? CheckOverride(axis, HasSpeed) : result;
            },
            [](Axis& axis, const Speeds& speeds) {
                axis.Override(speeds.Over(axis.RunningProfile()));
            });
    }
};

} // namespace

std::unique_ptr<Family> MakeOverrides(Controller& /*controller*/)
{
    return std::make_unique<Overrides>();
}

} // namespace lumosim
