// The controller's hand wheel (manual pulse generator).
#pragma once

#include "controller.h"
#include "family.h"
#include "types.h"

#include <cstdint>

namespace lumosim {

// Moves the one axis that it has been configured for. While another motion of the axis runs, the
// wheel does nothing.
class HandWheel : public Family
{
  public:
    explicit HandWheel(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override;
    void Describe(nlohmann::json& snapshot) const override;
    void PowerUp() override { wheel_ = Wheel(); }

    // Turns it by whole notches, clockwise ones positive; what the axis did about it.
    Result Turn(std::int32_t notches);

  private:
    struct Wheel
    {
        Word axis = 0;
        Word edges = 0;      // counts of a notch: 1, 2 or 4
        Word directions = 0; // bit 0 positive, bit 1 negative; 0: off
        Word reversed = 0;
        Word factor = 1;
        Word divisor = 1;
        std::int64_t remainder = 0; // counts that have not made a pulse yet
    };

    std::int32_t TakePulses(std::int32_t notches);

    Controller& controller_;
    Wheel wheel_;
};

} // namespace lumosim
