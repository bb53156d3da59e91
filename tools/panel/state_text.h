// What pages are told of a look, as JSON. Written by hand: it goes out fifty times a second.
#pragma once

#include "panel/machine.h"

#include <string>

namespace zelq::tool {

std::string StateText(const Sight& sight, SteadyClock::time_point start);

} // namespace zelq::tool
