// Servo reset, servo on and off, speed profiles.

#include "axis_list.h"
#include "controller.h"
#include "families.h"

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

SpeedProfile ReadProfile(CommandReader& reader)
{
    SpeedProfile profile;
    profile.shape = reader.NextWord();
    profile.start = reader.NextLong();
    profile.acc = reader.NextLong();
    profile.drive = reader.NextLong();
    profile.dec = reader.NextLong();
    profile.stop = reader.NextLong();
    return profile;
}

class AxisSetup : public Family
{
  public:
    explicit AxisSetup(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kServoReset, "servo reset", [this](auto& in, auto&) { return ServoReset(in); });
        table.Add(kServoOnOff, "servo on/off", [this](auto& in, auto&) { return ServoOnOff(in); });
        table.Add(kSpeedProfile, "speed profile", [this](auto& in, auto&) { return Profile(in); });
        table.Add(kAcceleration, "acceleration",
                  [this](auto& in, auto&) { return Rate(in, &SpeedProfile::acc); });
        table.Add(kDeceleration, "deceleration",
                  [this](auto& in, auto&) { return Rate(in, &SpeedProfile::dec); });
    }

    void AddRegisters(RegisterMap& map) override
    {
        map.AddAxisBlock(kProfileRegisters, kProfileRegisterCount,
                         [this](int axis, std::span<Word> out) { ShowProfile(axis, out); });
    }

  private:
    Result ServoReset(CommandReader& in)
    {
        std::vector<Axis*> axes;
        const Result result = ReadAxes(controller_, in, in.NextWord(), axes);
        if (result != Result::kDone) return result;
        for (Axis* axis : axes) {
            axis->Reset();
        }
        return Result::kDone;
    }

    // Behind the axes come on or off and the time the host waits for the confirmation; the
    // amplifiers here are always faster than that.
    Result ServoOnOff(CommandReader& in)
    {
        const Word count = in.NextWord();
        if (count < 1 || count > kMaxAxes) return Result::kMalformed;
        AxisListCheck check(controller_);
        std::vector<Axis*> axes;
        for (Word i = 0; i < count; ++i) {
            axes.push_back(check.Take(in.NextWord()));
        }
        const Word on = in.NextWord();
        in.NextWord();
        if (!in.Finished()) return Result::kMalformed;
        if (check.Verdict() != Result::kDone) return check.Verdict();
        if (on > 1) return Result::kOutOfRange;
        for (const Axis* axis : axes) {
            const Result result = on == 1 ? axis->CheckServoOn() : Result::kDone;
            if (result != Result::kDone) return result;
        }
        for (Axis* axis : axes) {
            axis->SwitchServo(on == 1);
        }
        return Result::kDone;
    }

    Result Profile(CommandReader& in)
    {
        std::vector<AxisEntry<SpeedProfile>> entries;
        const Result result = ReadAxisEntries(controller_, in, in.NextWord(), ReadProfile, entries);
        if (result != Result::kDone) return result;
        return SetProfiles(entries);
    }

    Result Rate(CommandReader& in, std::int32_t SpeedProfile::*rate)
    {
        std::vector<AxisEntry<std::int32_t>> rates;
        const Result result = ReadAxisEntries(
            controller_, in, in.NextWord(), [](CommandReader& r) { return r.NextLong(); }, rates);
        if (result != Result::kDone) return result;

        std::vector<AxisEntry<SpeedProfile>> entries;
        for (const auto& [axis, value] : rates) {
            entries.push_back({axis, axis->Profile()});
            entries.back().fields.*rate = value;
        }
        return SetProfiles(entries);
    }

    static Result SetProfiles(const std::vector<AxisEntry<SpeedProfile>>& entries)
    {
        for (const auto& entry : entries) {
            if (!entry.fields.Valid()) return Result::kOutOfRange;
        }
        for (const auto& entry : entries) {
            entry.axis->SetProfile(entry.fields);
        }
        return Result::kDone;
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
            out[next++] = LowWord(value);
            out[next++] = HighWord(value);
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
