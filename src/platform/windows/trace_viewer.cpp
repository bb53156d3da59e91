#include "platform/trace_viewer.h"

#include "platform/windows/system.h"

#include <atomic>

namespace zelq::platform {

namespace {

constexpr char kViewerClass[] = "TfrmMain";
constexpr char kViewerTitle[] = "Quillet";
constexpr ULONG_PTR kTraceLine = 1;
constexpr UINT kTimeoutMs = 100;

/// The window that was found last, for a debugger to look at.
std::atomic<HWND> lastViewer = nullptr;

} // namespace

void DeliverTraceLine(const char* line, std::size_t length)
{
    const HWND viewer = FindWindowA(kViewerClass, kViewerTitle);
    lastViewer.store(viewer, std::memory_order_relaxed);
    if (viewer == nullptr) {
        OutputDebugStringA(line);
        return;
    }
    COPYDATASTRUCT record{kTraceLine, static_cast<DWORD>(length), const_cast<char*>(line)};
    // The viewer expects its own window as the sender.
    DWORD_PTR ignored = 0;
    SendMessageTimeoutA(viewer, WM_COPYDATA, reinterpret_cast<WPARAM>(viewer),
                        reinterpret_cast<LPARAM>(&record), SMTO_NORMAL, kTimeoutMs, &ignored);
}

} // namespace zelq::platform
