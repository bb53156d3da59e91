#include "platform/process.h"

namespace zelq::platform {

// Threads live on until the process is gone, and unloading looks the same as ending.
bool ProcessIsEnding()
{
    return false;
}

} // namespace zelq::platform
