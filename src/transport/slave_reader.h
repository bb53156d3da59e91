#pragma once

namespace zelq {

/// Reads the type words of all 32 slaves and replaces the session's slave configuration; a failed
/// read leaves it as it was. Returns 0 or the error.
int ReadSlaveTypes(short zelNo);

} // namespace zelq
