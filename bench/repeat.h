#pragma once

namespace bench {

/// For counting system calls from outside: makes so many of the calls that `what` names (raw-move,
/// move, snapshot, raw-connect, connect) on the calling thread.
void Repeat(const char* what, int count);

} // namespace bench
