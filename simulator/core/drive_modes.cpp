// Torque mode, velocity mode and profile position.

#include "controller.h"
#include "families.h"
#include "motor.h"
#include "values.h"

#include <cstdlib>

namespace lumosim {

namespace {

constexpr Word kTorque = 0x0030;
constexpr Word kVelocity = 0x0032;
constexpr Word kProfilePosition = 0x2000;

constexpr std::int32_t kHighestTorque = 5000; // 0.1 % of the rated torque

// 0.1 % of the rated torque, and a speed limit in turns per minute, 0 for the motor's own.
struct TorqueCommand
{
    std::int16_t torque;
    std::int16_t limit;

    [[nodiscard]] int Direction(const Axis& /*axis*/) const { return SignOf(torque); }

    void Start(Axis& axis) const
    {
        const double turns = limit == 0 ? kHighestTurnsPerMinute : limit;
        axis.PushWith(torque, turns / 60 * axis.PulsesPerTurn());
    }
};

// Signed velocity, acceleration, deceleration, shape of the ramps.
struct VelocityCommand
{
    std::int32_t velocity;
    std::int32_t acc;
    std::int32_t dec;
    std::int32_t shape;

    [[nodiscard]] SpeedProfile Profile() const
    {
        SpeedProfile profile;
        profile.acc = acc;
        profile.dec = dec;
        profile.shape = static_cast<Word>(shape >= 0 && shape <= 1 ? shape : 0xFFFF);
        profile.start = 0;
        profile.stop = 0;
        // Of the most negative one there is no positive counterpart: it leaves the profile invalid.
        profile.drive = velocity == INT32_MIN ? 0 : std::abs(velocity);
        if (velocity == 0) profile.drive = 1;
        return profile;
    }
    [[nodiscard]] bool Valid() const { return Profile().Valid(); }
    [[nodiscard]] int Direction(const Axis& /*axis*/) const { return SignOf(velocity); }

    void Start(Axis& axis) const
    {
        if (velocity == 0) {
            axis.SlowDown(Profile());
        } else {
            axis.Run(Profile(), SignOf(velocity), MotionKind::kVelocity);
        }
    }
};

// A target, and the speed to run there with; all else by the axis's profile.
struct PositionCommand
{
    std::int32_t target;
    std::int32_t speed;

    [[nodiscard]] int Direction(const Axis& axis) const
    {
        return SignOf(std::int64_t{target} - axis.CommandPosition());
    }

    void Start(Axis& axis) const
    {
        SpeedProfile profile = axis.Profile();
        profile.drive = speed;
        axis.RunTo(profile, target, MotionKind::kProfilePosition);
    }
};

class DriveModes : public Family
{
    void AddCommands(CommandTable& table) override
    {
        AddMode<TorqueCommand>(table, kTorque, "torque", MotionKind::kTorque,
                               {kCount, kAxis, "torque", &TorqueCommand::torque,
                                Bounds{-kHighestTorque, kHighestTorque}, "speed limit",
                                &TorqueCommand::limit, UpTo(INT16_MAX)});
        AddMode<VelocityCommand>(table, kVelocity, "velocity", MotionKind::kVelocity,
                                 {kCount, kAxis, "velocity", &VelocityCommand::velocity,
                                  "acceleration", &VelocityCommand::acc, "deceleration",
                                  &VelocityCommand::dec, "profile", &VelocityCommand::shape});
        AddMode<PositionCommand>(table, kProfilePosition, "profile position",
                                 MotionKind::kProfilePosition,
                                 {kCount, kAxis, "target", &PositionCommand::target, "speed",
                                  &PositionCommand::speed, Bounds{1, INT32_MAX}});
    }

    template <typename ModeCommand>
    static void AddMode(CommandTable& table, Word code, const char* name, MotionKind kind,
                        const Layout<ModeCommand>& layout)
    {
        table.ForAxes<ModeCommand>(
            code, name, layout,
            [kind](const Axis& axis, const ModeCommand& command) {
                return axis.CheckMode(kind, command.Direction(axis));
            },
            [](Axis& axis, const ModeCommand& command) { command.Start(axis); });
    }
};

} // namespace

std::unique_ptr<Family> MakeDriveModes(Controller& /*controller*/)
{
    return std::make_unique<DriveModes>();
}

} // namespace lumosim
