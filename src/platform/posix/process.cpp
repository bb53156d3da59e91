#include "platform/process.h"

#include <pthread.h>

namespace zelq::platform {

// Threads live on until the process is gone, and unloading looks the same as ending.
bool ProcessIsEnding()
{
    return false;
}

void CallInForkedChild(void (*function)())
{
    pthread_atfork(nullptr, nullptr, function);
}

} // namespace zelq::platform
