#pragma once

namespace zelq::test {

/// The first argument of a program that is to play a child's role; the role's name and its
/// numbers follow. The exit code is 0 where all went well. Each takes a controller's number and
/// port first:
///
/// call     + count: so many calls succeed
/// return   + number, port: main returns during calls to both, the first of them silent
/// quit     + the same of others: main returns during calls, all but the first silent
/// cycles   + count: connects and disconnects leave nothing
/// unload   + count: loads and unloads leave nothing
inline constexpr char kChildArgument[] = "--child";

} // namespace zelq::test
