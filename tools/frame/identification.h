// What a controller tells of itself, in words.
#pragma once

#include "frame/controller.h"
#include "frame/json.h"

#include <array>
#include <string>
#include <vector>

namespace zelq::tool {

using Words = std::array<unsigned short, 19>;

/// Address, model, date, version and serial fields.
Json IdentificationJson(const Words& words);

/// "servo", "inputs", "outputs".
std::string SlaveText(unsigned short type);
/// The stations at which something stands.
std::vector<SlaveProperty> SlavesOf(const Controller& controller);

} // namespace zelq::tool
