// Pieces of a machine as they are written in JSON, in the machine file and at the control port.
#pragma once

#include "core/mechanics.h"
#include "core/slave.h"
#include "json_reader.h"

namespace lumosim {

// [from, to]
Stretch ReadStretch(const JsonReader& json);

// What is not told stays as it is.
void ReadMechanics(const JsonReader& json, AxisMechanics& mechanics);
void ReadAxisInputs(const JsonReader& json, AxisInputs& inputs);

// {"value": 5}, or {"pins": {"0": true, "3": false}} of `pins` pins.
std::uint32_t ReadPins(const JsonReader& json, std::uint32_t before, int pins);

// {"station": 30, "type": "input", ...}
SlaveConfig ReadSlave(const JsonReader& json);

} // namespace lumosim
