#pragma once

#include <cstdint>
#include <vector>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

/// A 16-bit field as it travels.
inline std::uint16_t WordAt(const std::uint8_t* at)
{
    return static_cast<std::uint16_t>(at[0] << 8 | at[1]);
}

/// What is sent, and how long what comes back is.
struct Exchange
{
    Bytes request;
    std::size_t replySize;
};

/// The same bytes as a move of one axis has.
Exchange MoveExchange();
/// As a snapshot of so many axes has: the controller-wide registers, then those of each axis.
Exchange SnapshotExchange(int axes);
/// The two by which a connect learns of the slaves.
Exchange SlaveTypesExchange();
Exchange ConfigurationExchange();

} // namespace bench
