// The outputs of the output slaves, and what becomes of them when the servo network fails.
#pragma once

#include "family.h"
#include "output_change.h"

#include <cstdint>

namespace lumosim {

class Controller;

// What a command has for each slave; which of them it has differs.
struct OutputFields
{
    Word word = 0;
    Word highWord = 0;
    std::uint32_t mask = 0;
    std::uint32_t offMask = 0;
};

class RemoteOutputs : public Family
{
  public:
    explicit RemoteOutputs(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override;
    void Describe(nlohmann::json& snapshot) const override;
    void PowerUp() override;

    // The servo network fails, or is there again. Failing switches every output slave off but those
    // that keep their outputs; until it is there again, commands to them are refused.
    void SetNetworkUp(bool up);
    [[nodiscard]] bool NetworkUp() const { return networkUp_; }

    // Bit k: the slave at station k keeps its outputs.
    [[nodiscard]] std::uint32_t KeepOut() const { return keepOut_; }

  private:
    using ChangeOfFields = OutputChange (*)(const OutputFields& fields, bool& valid);

    Result Change(const std::vector<Entry<OutputFields>>& entries, ChangeOfFields change);

    Controller& controller_;
    bool networkUp_ = true;
    std::uint32_t keepOut_ = 0;
};

} // namespace lumosim
