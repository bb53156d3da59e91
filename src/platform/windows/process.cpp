#include "platform/process.h"

#include "platform/windows/system.h"

/// Exported by ntdll.dll, declared in no header.
extern "C" BOOLEAN NTAPI RtlDllShutdownInProgress();

namespace zelq::platform {

bool ProcessIsEnding()
{
    return RtlDllShutdownInProgress() != FALSE;
}

// No process of this system is a copy of another.
void CallInForkedChild(void (* /*function*/)()) {}

} // namespace zelq::platform
