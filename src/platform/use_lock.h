#pragma once

// The system's own state of what is declared here stands in its own folder; the build names it.
#include "native/use_lock.h"

namespace zelq::platform {

// UseLock: shared by those who use a thing, exclusive to whoever changes it or takes it away. It
// needs no clean-up, so in a forked child, whose locks may be held by threads that are not there,
// a new one can be set up in its place.

} // namespace zelq::platform
