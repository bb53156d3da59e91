// What the drives tell of themselves: parameters, identification, monitors.

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

struct ParameterFields
{
    Word group = 0;
    Word number = 0;
    std::int32_t value = 0;
};

class Drives : public Family
{
  public:
    explicit Drives(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<ParameterFields>(
            kWriteParameter, "write parameter",
            {"class", &ParameterFields::group, "number", &ParameterFields::number, kCount, kAxis,
             "value", &ParameterFields::value},
            [](const Axis&, const ParameterFields& parameter) {
                return DriveParameters::CheckWrite(parameter.group, parameter.number,
                                                   parameter.value);
            },
            [](Axis& axis, const ParameterFields& parameter) {
                axis.Parameters().Write(parameter.group, parameter.number, parameter.value);
            });
        table.ForAxes<ParameterFields>(
            kReadParameter, "read parameter",
            {"class", &ParameterFields::group, "number", &ParameterFields::number, kCount, kAxis},
            ReadParameter);
        table.ForAxes(
            kValidateParameters, "validate params", {kCount, kAxis},
            [](const Axis& axis) { return axis.ServoOn() ? Result::kServoIsOn : Result::kDone; },
            [](Axis& axis) { axis.Parameters().Validate(); });
        table.ForAxes(kSaveParameters, "save parameters", {kCount, kAxis}, [](Axis& axis) {
            if (!axis.Trouble().eepromWorn) axis.Parameters().Save();
        });
        table.ForAxes<OneWord>(
            kReadIdentification, "identification", {"axis", &OneWord::value, kEach},
            [this](Axis&, const OneWord& axis, Reply& reply) { Identify(axis.value, reply); });
        table.AddList<OneWord>(kReadMonitor, "monitor", {kCount, kAxis, "monitor", &OneWord::value},
                               [this](const OneWord&, const auto& entries, Reply& reply) {
                                   return Monitor(entries, reply);
                               });
    }

  private:
    static Result ReadParameter(Axis& axis, const ParameterFields& parameter, Reply& reply)
    {
        const auto value = axis.Parameters().Written(parameter.group, parameter.number);
        if (!value) return Result::kNoParameter;
        reply.AddLong(*value);
        return Result::kDone;
    }

    // Five texts of 16 bytes, low byte first: maker, drive, its serial number, motor, its serial
    // number.
    void Identify(Word number, Reply& out) const
    {
        std::array<char, 16> serial{};
        std::snprintf(serial.data(), serial.size(), "%03d%02u", controller_.Config().number,
                      static_cast<unsigned>(number));
        const std::string digits = serial.data();
        AddText(out, "ZEL");
        AddText(out, "Lumo Drive 400");
        AddText(out, "D" + digits);
        AddText(out, "Lumo Motor 400");
        AddText(out, "M" + digits);
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
    Result Monitor(const std::vector<Entry<OneWord>>& entries, Reply& reply) const
    {
        Result result = Result::kDone;
        for (const Entry<OneWord>& entry : entries) {
            const Axis* axis = controller_.FindAxis(entry.number);
            const auto value =
                axis != nullptr ? MonitorValue(*axis, entry.fields.value) : std::nullopt;
            if (value) reply.AddLong(*value);
            if (result != Result::kDone || value) continue;
            result = axis == nullptr ? Result::kNoServo : Result::kNoMonitor;
        }
        return result;
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeDrives(Controller& controller)
{
    return std::make_unique<Drives>(controller);
}

} // namespace lumosim
