// The controller's own status registers: configuration, main-board pins, power resets.

#include "controller.h"
#include "families.h"
#include "snapshot.h"

namespace lumosim {

namespace {

constexpr Word kPowerResetRegisters = 0xF410;
constexpr Word kConfigurationRegister = 0xF414;

class SystemStatus : public Family
{
  public:
    explicit SystemStatus(Controller& controller) : controller_(controller) {}

    void AddRegisters(RegisterMap& map) override
    {
        map.AddBlock(kPowerResetRegisters, 2, [this](std::span<Word> out) {
            const auto count = static_cast<std::int32_t>(controller_.PowerResets());
            out[0] = LowWord(count);
            out[1] = HighWord(count);
        });
        map.AddBlock(kConfigurationRegister, 3, [this](std::span<Word> out) {
            const unsigned counter = controller_.ConfigurationCounter();
            out[0] =
                static_cast<Word>((counter << 1U) | (controller_.ConfigurationStable() ? 1U : 0U));
            out[1] = controller_.MainInputs();
            out[2] = controller_.MainOutputs();
        });
    }

    void Describe(Json& snapshot) const override
    {
        Json& part = snapshot["controller"];
        part["powerResets"] = controller_.PowerResets();
        part["configuration"] = {{"counter", controller_.ConfigurationCounter()},
                                 {"stable", controller_.ConfigurationStable()}};
        snapshot["io"] = {{"inputs", controller_.MainInputs()},
                          {"outputs", controller_.MainOutputs()}};
    }

  private:
    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeSystemStatus(Controller& controller)
{
    return std::make_unique<SystemStatus>(controller);
}

} // namespace lumosim
