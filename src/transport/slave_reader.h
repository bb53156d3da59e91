#pragma once

#include <cstdint>
#include <optional>

namespace zelq {

/// Reads the type words of all 32 slaves and replaces the session's slave configuration, which then
/// belongs to `counter`, or to the counter that stood there. A failed read leaves it as it was.
/// Returns 0 or the error.
int ReadSlaveTypes(short zelNo, std::optional<std::uint16_t> counter = std::nullopt);

} // namespace zelq
