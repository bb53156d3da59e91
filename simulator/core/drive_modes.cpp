// Torque mode, velocity mode and profile position.

#include "axis_list.h"
#include "controller.h"
#include "families.h"
#include "motor.h"

#include <cstdlib>

namespace lumosim {

namespace {

constexpr Word kTorque = 0x0030;
constexpr Word kVelocity = 0x0032;
constexpr Word kProfilePosition = 0x2000;

constexpr std::int32_t kHighestTorque = 5000; // 0.1 % of the rated torque

int SignOf(std::int64_t value)
{
    return value > 0 ? 1 : (value < 0 ? -1 : 0);
}

// 0.1 % of the rated torque, and a speed limit in turns per minute, 0 for the motor's own.
struct TorqueCommand
{
    std::int16_t torque;
    std::int16_t limit;

    static TorqueCommand Read(CommandReader& reader)
    {
        const auto torque = static_cast<std::int16_t>(reader.NextWord());
        return {torque, static_cast<std::int16_t>(reader.NextWord())};
    }
    [[nodiscard]] bool Valid() const { return std::abs(torque) <= kHighestTorque && limit >= 0; }
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
    SpeedProfile profile;

    static VelocityCommand Read(CommandReader& reader)
    {
        VelocityCommand command{};
        command.velocity = reader.NextLong();
        command.profile.acc = reader.NextLong();
        command.profile.dec = reader.NextLong();
        const std::int32_t shape = reader.NextLong();
        command.profile.shape = static_cast<Word>(shape >= 0 && shape <= 1 ? shape : 0xFFFF);
        command.profile.start = 0;
        command.profile.stop = 0;
        // Of the most negative one there is no positive counterpart: it leaves the profile invalid.
        command.profile.drive = command.velocity == INT32_MIN ? 0 : std::abs(command.velocity);
        if (command.velocity == 0) command.profile.drive = 1;
        return command;
    }
    [[nodiscard]] bool Valid() const { return profile.Valid(); }
    [[nodiscard]] int Direction(const Axis& /*axis*/) const { return SignOf(velocity); }

    void Start(Axis& axis) const
    {
        if (velocity == 0) {
            axis.SlowDown(profile);
        } else {
            axis.Run(profile, SignOf(velocity), MotionKind::kVelocity);
        }
    }
};

// A target, and the speed to run there with; all else by the axis's profile.
struct PositionCommand
{
    std::int32_t target;
    std::int32_t speed;

    static PositionCommand Read(CommandReader& reader)
    {
        const std::int32_t target = reader.NextLong();
        return {target, reader.NextLong()};
    }
    [[nodiscard]] bool Valid() const { return speed > 0; }
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
  public:
    explicit DriveModes(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kTorque, "torque",
                  [this](auto& in, auto&) { return Set<TorqueCommand>(in, MotionKind::kTorque); });
        table.Add(kVelocity, "velocity", [this](auto& in, auto&) {
            return Set<VelocityCommand>(in, MotionKind::kVelocity);
        });
        table.Add(kProfilePosition, "profile position", [this](auto& in, auto&) {
            return Set<PositionCommand>(in, MotionKind::kProfilePosition);
        });
    }

  private:
    template <typename ModeCommand>
    Result Set(CommandReader& in, MotionKind kind)
    {
        std::vector<AxisEntry<ModeCommand>> entries;
        const Result result =
            ReadAxisEntries(controller_, in, in.NextWord(), ModeCommand::Read, entries);
        if (result != Result::kDone) return result;
        for (const auto& [axis, command] : entries) {
            if (!command.Valid()) return Result::kOutOfRange;
            const Result check = axis->CheckMode(kind, command.Direction(*axis));
            if (check != Result::kDone) return check;
        }
        for (const auto& [axis, command] : entries) {
            command.Start(*axis);
        }
        return Result::kDone;
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeDriveModes(Controller& controller)
{
    return std::make_unique<DriveModes>(controller);
}

} // namespace lumosim
