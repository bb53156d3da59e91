// The properties of a servo, as the host configures them.

#include "controller.h"
#include "families.h"

namespace lumosim {

namespace {

constexpr Word kConfigureServo = 0x01B0;

constexpr Word kInputIsEmergencyStop = 2;

struct PropertyFields
{
    Word axis = 0;
    Word absolute = 0;
    Word series = 0;
    Word limitLogic = 0;
    Word homeLogic = 0;
    Word inputUse = 0;
    std::int32_t pulsesPerTurn = 0; // 0: as it is

    [[nodiscard]] bool Valid() const
    {
        return absolute <= 1 && series >= 1 && series <= 4 && limitLogic <= 3 && homeLogic <= 3 &&
               inputUse <= kInputIsEmergencyStop;
    }
};

class ServoProperties : public Family
{
  public:
    explicit ServoProperties(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<PropertyFields>(
            kConfigureServo, "servo properties",
            {"axis", &PropertyFields::axis, kEach, "absolute", &PropertyFields::absolute, "series",
             &PropertyFields::series, "limit logic", &PropertyFields::limitLogic, "home logic",
             &PropertyFields::homeLogic, "input use", &PropertyFields::inputUse, "pulses per turn",
             &PropertyFields::pulsesPerTurn},
            Check, [this](Axis& axis, const PropertyFields& fields) { Configure(axis, fields); });
    }

  private:
    static Result Check(const Axis& axis, const PropertyFields& fields)
    {
        if (axis.Moving()) return Result::kBusy;
        if (fields.pulsesPerTurn == 0) return Result::kDone;
        return DriveParameters::CheckWrite(DriveSetting::kPulsesPerTurn, fields.pulsesPerTurn);
    }

    void Configure(Axis& axis, const PropertyFields& fields)
    {
        if (fields.pulsesPerTurn != 0) {
            axis.Parameters().Set(DriveSetting::kPulsesPerTurn, fields.pulsesPerTurn);
        }
        const SlaveProperties& old = controller_.SlaveAt(fields.axis).properties;
        SlaveProperties properties = old; // motor and encoder are what stands there
        properties.absoluteEncoder = fields.absolute == 1;
        properties.series = static_cast<std::uint8_t>(fields.series);
        properties.limitLogic = static_cast<std::uint8_t>(fields.limitLogic);
        properties.homeLogic = static_cast<std::uint8_t>(fields.homeLogic);
        properties.inputUse = static_cast<std::uint8_t>(fields.inputUse);
        properties.inputIsStop = fields.inputUse == kInputIsEmergencyStop;
        if (properties != old) controller_.SetProperties(fields.axis, properties);
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeSlaveProperties(Controller& controller)
{
    return std::make_unique<ServoProperties>(controller);
}

} // namespace lumosim
