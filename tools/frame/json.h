// The JSON of this program: fields stay in the order in which a verb names them.
#pragma once

#include <nlohmann/json.hpp>

namespace zelq::tool {

using Json = nlohmann::ordered_json;

} // namespace zelq::tool
