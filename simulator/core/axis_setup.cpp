// Servo reset, servo on and off, speed profiles.

#include "controller.h"
#include "families.h"
#include "snapshot.h"

#include <array>

namespace lumosim {

namespace {

constexpr Word kServoReset = 0;
constexpr Word kServoOnOff = 1;
constexpr Word kSpeedProfile = 2;
constexpr Word kAcceleration = 3;
constexpr Word kDeceleration = 4;

constexpr Word kProfileRegisters = 0x19;
constexpr Word kProfileRegisterCount = 11;

class AxisSetup : public Family
{
  public:
    explicit AxisSetup(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.ForAxes(kServoReset, "servo reset", {kCount, kAxis}, &Axis::Reset);
        // The time that the host waits for the confirmation is not needed: the amplifiers here are
        // always faster than that.
        table.ForAxes<OneWord>(
            kServoOnOff, "servo on/off",
            {kCount, kAxis, "on", &OneWord::value, kBehind, UpTo(1), "wait"},
            [](const Axis& axis, const OneWord& servo) {
                return servo.value == 1 ? axis.CheckServoOn() : Result::kDone;
            },
            [](Axis& axis, const OneWord& servo) { axis.SwitchServo(servo.value == 1); });
        table.ForAxes<SpeedProfile>(kSpeedProfile, "speed profile",
                                    {kCount, kAxis, "profile", &SpeedProfile::shape, "start",
                                     &SpeedProfile::start, "acceleration", &SpeedProfile::acc,
                                     "drive", &SpeedProfile::drive, "deceleration",
                                     &SpeedProfile::dec, "stop", &SpeedProfile::stop},
                                    &Axis::SetProfile);
        AddRate(table, kAcceleration, "acceleration", &SpeedProfile::acc);
        AddRate(table, kDeceleration, "deceleration", &SpeedProfile::dec);
    }

    void AddRegisters(RegisterMap& map) override
    {
        map.AddAxisBlock(kProfileRegisters, kProfileRegisterCount,
                         [this](int axis, std::span<Word> out) { ShowProfile(axis, out); });
    }

    void Describe(Json& snapshot) const override
    {
        DescribeAxes(controller_, snapshot, [](Json& part, const Axis& axis, int) {
            const SpeedProfile& profile = axis.Profile();
            part["profile"] = {{"smooth", profile.shape == SpeedProfile::kSmooth},
                               {"start", profile.start},
                               {"acceleration", profile.acc},
                               {"drive", profile.drive},
                               {"deceleration", profile.dec},
                               {"stop", profile.stop}};
        });
    }

  private:
    static void AddRate(CommandTable& table, Word code, const char* name,
                        std::int32_t SpeedProfile::*rate)
    {
        const auto changed = [rate](const Axis& axis, const OneLong& field) {
            SpeedProfile profile = axis.Profile();
            profile.*rate = field.value;
            return profile;
        };
        table.ForAxes<OneLong>(
            code, name, {kCount, kAxis, name, &OneLong::value},
            [changed](const Axis& axis, const OneLong& field) {
                return CheckFields(changed(axis, field));
            },
            [changed](Axis& axis, const OneLong& field) { axis.SetProfile(changed(axis, field)); });
    }

    void ShowProfile(int number, std::span<Word> out) const
    {
        const Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return;
        const SpeedProfile& profile = axis->Profile();
        out[0] = profile.shape;
        std::size_t next = 1;
        for (const std::int32_t value :
             {profile.start, profile.acc, profile.drive, profile.dec, profile.stop}) {
            PutLong(out, next, value);
            next += 2;
        }
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeAxisSetup(Controller& controller)
{
    return std::make_unique<AxisSetup>(controller);
}

} // namespace lumosim
