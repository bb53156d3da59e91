// The parameters of one drive, in its memory and in its EEPROM.
#pragma once

#include "types.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace lumosim {

// Those that the simulation itself obeys; the others are kept for the host.
enum class DriveSetting {
    kPulsesPerTurn,
    kFollowingErrorLimit,
    kOverCurrentLevel,
    kOverTravelLimit,
    kInPositionWindow,
    kInPositionDelay,
};

class DriveParameters
{
  public:
    explicit DriveParameters(std::int32_t pulsesPerTurn); // as the motor was delivered

    // What a write would result in. Writing is for values that have been found good.
    [[nodiscard]] static Result CheckWrite(Word group, Word number, std::int32_t value);
    [[nodiscard]] static Result CheckWrite(DriveSetting setting, std::int32_t value);
    void Write(Word group, Word number, std::int32_t value);
    void Set(DriveSetting setting, std::int32_t value); // in force at once
    [[nodiscard]] std::optional<std::int32_t> Written(Word group, Word number) const;

    [[nodiscard]] std::int32_t InForce(DriveSetting setting) const;

    void Validate(); // what has been written comes into force
    void Save();     // and will be there again after the power was off
    void PowerUp();  // what has been saved is there again

  private:
    struct Value
    {
        std::int32_t written;
        std::int32_t inForce;
        std::int32_t saved;
    };

    std::vector<Value> values_; // in the order of the table of parameters
};

} // namespace lumosim
