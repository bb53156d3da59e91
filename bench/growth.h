#pragma once

#include <string>

namespace bench {

/// What a snapshot takes by the number of its axes; `path` is where the figures go for a plot,
/// unless it is empty.
void MeasureGrowth(const std::string& path);

} // namespace bench
