// The properties of a servo, as the host configures them.

#include "controller.h"
#include "families.h"

namespace lumosim {

namespace {

constexpr Word kConfigureServo = 0x01B0;

constexpr Word kInputIsEmergencyStop = 2;

class ServoProperties : public Family
{
  public:
    explicit ServoProperties(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kConfigureServo, "servo properties",
                  [this](auto& in, auto&) { return Configure(in); });
    }

  private:
    Result Configure(CommandReader& in)
    {
        const Word number = in.NextWord();
        const Word absolute = in.NextWord();
        const Word series = in.NextWord();
        const Word limitLogic = in.NextWord();
        const Word homeLogic = in.NextWord();
        const Word inputUse = in.NextWord();
        const std::int32_t pulsesPerTurn = in.NextLong();
        if (!in.Finished()) return Result::kMalformed;
        Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return Result::kNoServo;
        const bool good = absolute <= 1 && series >= 1 && series <= 4 && limitLogic <= 3 &&
                          homeLogic <= 3 && inputUse <= kInputIsEmergencyStop;
        if (!good) return Result::kOutOfRange;
        if (axis->Moving()) return Result::kBusy;
        if (pulsesPerTurn != 0) {
            const DriveSetting setting = DriveSetting::kPulsesPerTurn;
            const Result result = DriveParameters::CheckWrite(setting, pulsesPerTurn);
            if (result != Result::kDone) return result;
            axis->Parameters().Set(setting, pulsesPerTurn);
        }

        const SlaveProperties& old = controller_.SlaveAt(number).properties;
        SlaveProperties properties = old; // motor and encoder are what stands there
        properties.absoluteEncoder = absolute == 1;
        properties.series = static_cast<std::uint8_t>(series);
        properties.limitLogic = static_cast<std::uint8_t>(limitLogic);
        properties.homeLogic = static_cast<std::uint8_t>(homeLogic);
        properties.inputUse = static_cast<std::uint8_t>(inputUse);
        properties.inputIsStop = inputUse == kInputIsEmergencyStop;
        if (properties != old) controller_.SetProperties(number, properties);
        return Result::kDone;
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeSlaveProperties(Controller& controller)
{
    return std::make_unique<ServoProperties>(controller);
}

} // namespace lumosim
