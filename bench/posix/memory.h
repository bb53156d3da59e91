#pragma once

namespace bench {

/// Heap and resident memory over many calls, and what the library keeps for each controller.
void MeasureMemory();

} // namespace bench
