// What the drives tell of themselves: parameters, identification, monitors.

#include "axis_list.h"
#include "controller.h"
#include "families.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace lumosim {

namespace {

constexpr Word kWriteParameter = 0x0150;
constexpr Word kReadParameter = 0x0151;
constexpr Word kValidateParameters = 0x0152;
constexpr Word kSaveParameters = 0x0153;
constexpr Word kReadIdentification = 0x0154;
constexpr Word kReadMonitor = 0x0155;

// In 0.1 degrees Celsius and 0.1 V: what stands still, what the amplifier adds when it is on, and
// what the rated torque adds.
struct Reading
{
    std::int32_t atRest;
    std::int32_t whenOn;
    std::int32_t atRatedTorque;

    [[nodiscard]] std::int32_t Of(const Axis& axis) const
    {
        const std::int32_t load = std::abs(axis.Torque()) * atRatedTorque / 1000;
        return atRest + (axis.ServoOn() ? whenOn : 0) + load;
    }
};

constexpr Reading kDriveTemperature{250, 120, 150};
constexpr Reading kMotorTemperature{250, 60, 350};
constexpr Reading kBusVoltage{3250, -10, -120};

std::optional<std::int32_t> MonitorValue(const Axis& axis, Word monitor)
{
    switch (monitor) {
    case 0:
        return axis.CommandPosition();
    case 1:
        return axis.EncoderPosition();
    case 2:
        return axis.FollowingError();
    case 3:
        return axis.Velocity();
    case 4:
        return axis.Torque();
    case 5:
        return kDriveTemperature.Of(axis);
    case 6:
        return kMotorTemperature.Of(axis);
    case 7:
        return kBusVoltage.Of(axis);
    default:
        return std::nullopt;
    }
}

class Drives : public Family
{
  public:
    explicit Drives(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kWriteParameter, "write parameter",
                  [this](auto& in, auto&) { return Write(in); });
        table.Add(kReadParameter, "read parameter",
                  [this](auto& in, auto& out) { return Read(in, out); });
        table.Add(kValidateParameters, "validate params",
                  [this](auto& in, auto&) { return Validate(in); });
        table.Add(kSaveParameters, "save parameters", [this](auto& in, auto&) { return Save(in); });
        table.Add(kReadIdentification, "identification",
                  [this](auto& in, auto& out) { return Identify(in, out); });
        table.Add(kReadMonitor, "monitor",
                  [this](auto& in, auto& out) { return Monitor(in, out); });
    }

  private:
    Result Write(CommandReader& in)
    {
        const Word group = in.NextWord();
        const Word number = in.NextWord();
        std::vector<AxisEntry<std::int32_t>> entries;
        const Result result = ReadAxisEntries(
            controller_, in, in.NextWord(), [](CommandReader& r) { return r.NextLong(); }, entries);
        if (result != Result::kDone) return result;
        for (const auto& entry : entries) {
            const Result check = DriveParameters::CheckWrite(group, number, entry.fields);
            if (check != Result::kDone) return check;
        }
        for (const auto& [axis, value] : entries) {
            axis->Parameters().Write(group, number, value);
        }
        return Result::kDone;
    }

    Result Read(CommandReader& in, Reply& out)
    {
        const Word group = in.NextWord();
        const Word number = in.NextWord();
        std::vector<Axis*> axes;
        const Result result = ReadAxes(controller_, in, in.NextWord(), axes);
        if (result != Result::kDone) return result;
        for (const Axis* axis : axes) {
            const auto value = axis->Parameters().Written(group, number);
            if (!value) return Result::kNoParameter;
            out.AddLong(*value);
        }
        return Result::kDone;
    }

    Result Validate(CommandReader& in)
    {
        std::vector<Axis*> axes;
        const Result result = ReadAxes(controller_, in, in.NextWord(), axes);
        if (result != Result::kDone) return result;
        for (const Axis* axis : axes) {
            if (axis->ServoOn()) return Result::kServoIsOn;
        }
        for (Axis* axis : axes) {
            axis->Parameters().Validate();
        }
        return Result::kDone;
    }

    Result Save(CommandReader& in)
    {
        std::vector<Axis*> axes;
        const Result result = ReadAxes(controller_, in, in.NextWord(), axes);
        if (result != Result::kDone) return result;
        for (Axis* axis : axes) {
            if (!axis->Trouble().eepromWorn) axis->Parameters().Save();
        }
        return Result::kDone;
    }

    // Five texts of 16 bytes, low byte first: maker, drive, its serial number, motor, its serial
    // number.
    Result Identify(CommandReader& in, Reply& out)
    {
        const Word number = in.NextWord();
        if (!in.Finished()) return Result::kMalformed;
        if (controller_.FindAxis(number) == nullptr) return Result::kNoServo;
        std::array<char, 16> serial{};
        std::snprintf(serial.data(), serial.size(), "%03d%02u", controller_.Config().number,
                      static_cast<unsigned>(number));
        const std::string digits = serial.data();
        AddText(out, "ZEL");
        AddText(out, "Lumo Drive 400");
        AddText(out, "D" + digits);
        AddText(out, "Lumo Motor 400");
        AddText(out, "M" + digits);
        return Result::kDone;
    }

    static void AddText(Reply& out, std::string_view text)
    {
        constexpr std::size_t kBytes = 16;
        const auto byte = [text](std::size_t at) {
            return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
        };
        for (std::size_t at = 0; at < kBytes; at += 2) {
            out.AddWord(static_cast<Word>(byte(at) | byte(at + 1) << 8U));
        }
    }

    // An axis may be named several times here, with one monitor each.
    Result Monitor(CommandReader& in, Reply& out)
    {
        const Word count = in.NextWord();
        if (count < 1 || count > kMaxAxes) return Result::kMalformed;
        Result result = Result::kDone;
        for (Word i = 0; i < count; ++i) {
            const Axis* axis = controller_.FindAxis(in.NextWord());
            const Word monitor = in.NextWord();
            const auto value = axis != nullptr ? MonitorValue(*axis, monitor) : std::nullopt;
            if (value) out.AddLong(*value);
            if (result != Result::kDone || value) continue;
            result = axis == nullptr ? Result::kNoServo : Result::kNoMonitor;
        }
        return in.Finished() ? result : Result::kMalformed;
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeDrives(Controller& controller)
{
    return std::make_unique<Drives>(controller);
}

} // namespace lumosim
