// What can stand at a station of the servo network.
#pragma once

#include "axis.h"
#include "types.h"

#include <cstdint>
#include <memory>

namespace lumosim {

enum class SlaveType : std::uint8_t { kNone = 0, kServo = 1, kInput = 2, kOutput = 3 };

// The property fields of the type word, beside the slave type in its bits 0..3.
struct SlaveProperties
{
    std::uint8_t series = 0;      // bits 4..6
    std::uint8_t motor = 0;       // bits 7..10
    std::uint8_t encoder = 0;     // bits 11..14
    std::uint8_t limitLogic = 0;  // bits 15..16
    std::uint8_t homeLogic = 0;   // bits 17..18
    std::uint8_t inputUse = 0;    // bits 19..21
    bool inputIsStop = false;     // bit 22: the configurable input is the emergency stop
    bool absoluteEncoder = false; // bit 23

    friend bool operator==(const SlaveProperties&, const SlaveProperties&) = default;
};

struct SlaveConfig
{
    int position = 0;
    SlaveType type = SlaveType::kServo;
    SlaveProperties properties;
};

std::uint32_t TypeWord(SlaveType type, const SlaveProperties& properties);

// A station as it stands there now.
struct Slave
{
    SlaveType type = SlaveType::kNone;
    SlaveProperties properties;
    std::unique_ptr<Axis> axis; // servos only
    std::uint32_t inputs = 0;   // input slaves
    std::uint32_t outputs = 0;  // output slaves; servos: bits 0 and 1
};

} // namespace lumosim
