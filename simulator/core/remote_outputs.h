// The outputs of the output slaves, and what becomes of them when the servo network fails.
#pragma once

#include "family.h"
#include "output_change.h"

#include <cstdint>

namespace lumosim {

class Controller;

class RemoteOutputs : public Family
{
  public:
    explicit RemoteOutputs(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override;
    void PowerUp() override;

    // The servo network fails, or is there again. Failing switches every output slave off but those
    // that keep their outputs; until it is there again, commands to them are refused.
    void SetNetworkUp(bool up);
    [[nodiscard]] bool NetworkUp() const { return networkUp_; }

    // Bit k: the slave at station k keeps its outputs.
    [[nodiscard]] std::uint32_t KeepOut() const { return keepOut_; }

  private:
    using ReadChange = OutputChange (*)(CommandReader& in, bool& valid);

    Result Change(CommandReader& in, Word fewest, ReadChange read);
    Result KeepOutSetting(CommandReader& in, Reply& reply);

    Controller& controller_;
    bool networkUp_ = true;
    std::uint32_t keepOut_ = 0;
};

} // namespace lumosim
