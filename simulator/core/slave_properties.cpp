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
};

class ServoProperties : public Family
{
  public:
    explicit ServoProperties(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<PropertyFields>(
            kConfigureServo, "servo properties",
            {"axis",
             &PropertyFields::axis,
             kEach,
             "absolute",
             &PropertyFields::absolute,
             UpTo(1),
             "series",
             &PropertyFields::series,
             Bounds{1, 4},
             "limit logic",
             &PropertyFields::limitLogic,
             UpTo(3),
             "home logic",
             &PropertyFields::homeLogic,
             UpTo(3),
             "input use",
             &PropertyFields::inputUse,
             UpTo(kInputIsEmergencyStop),
             "pulses per turn",
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
