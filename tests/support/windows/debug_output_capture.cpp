#include "support/debug_output_capture.h"

#include <windows.h>

namespace zelq::test {

namespace {

example::LineQueue* debugLines = nullptr;

/// The system tells a debugger by an exception, which is seen here first, on the writer's thread.
LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers)
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode == DBG_PRINTEXCEPTION_C) {
        debugLines->Put(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

DebugOutputCapture::DebugOutputCapture()
{
    debugLines = &lines_;
    source_.reset(AddVectoredExceptionHandler(1, OnException),
                  [](void* handler) { RemoveVectoredExceptionHandler(handler); });
}

} // namespace zelq::test
