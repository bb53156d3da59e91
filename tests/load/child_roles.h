#pragma once

#include <string>
#include <vector>

namespace zelq::test {

/// The first argument of a program that is to play a child's role; the role's name and its
/// arguments follow.
inline constexpr char kChildArgument[] = "--child";

// Roles. Each takes a controller's number and port first. The exit code is 0 where all went well.
inline constexpr char kCallRole[] = "call";     ///< + count: so many calls succeed
inline constexpr char kHoldRole[] = "hold";     ///< one call, that is never answered
inline constexpr char kReturnRole[] = "return"; ///< + number, port: main returns during calls
inline constexpr char kQuitRole[] = "quit";     ///< + the same of others: all but the first silent
inline constexpr char kCyclesRole[] = "cycles"; ///< + count: connects and disconnects leave nothing
inline constexpr char kUnloadRole[] = "unload"; ///< + count: loads and unloads leave nothing

/// Plays a role; gives the exit code.
int PlayChildRole(const std::vector<std::string>& arguments);

} // namespace zelq::test
