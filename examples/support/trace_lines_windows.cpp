#include "support/trace_lines.h"

#include <future>
#include <thread>
#include <windows.h>

namespace example {

namespace {

constexpr char kClass[] = "TfrmMain";
constexpr char kTitle[] = "Quillet";
constexpr UINT kStop = WM_APP;

/// A line comes from the viewer itself, as it were, in a record marked by a 1.
LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM sender, LPARAM parameter)
{
    if (message != WM_COPYDATA) return DefWindowProcA(window, message, sender, parameter);
    const auto* record = reinterpret_cast<const COPYDATASTRUCT*>(parameter);
    if (reinterpret_cast<HWND>(sender) != window || record->dwData != 1) return FALSE;
    auto* lines = reinterpret_cast<LineQueue*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    lines->Put({static_cast<const char*>(record->lpData), record->cbData});
    return TRUE;
}

HWND CreateViewer(LineQueue& lines)
{
    WNDCLASSA description{};
    description.lpfnWndProc = OnMessage;
    description.hInstance = GetModuleHandleA(nullptr);
    description.lpszClassName = kClass;
    RegisterClassA(&description); // it stays for the next
    const HWND window = CreateWindowExA(0, kClass, kTitle, WS_OVERLAPPED, 0, 0, 0, 0, nullptr,
                                        nullptr, description.hInstance, nullptr);
    if (window != nullptr) {
        SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&lines));
    }
    return window;
}

} // namespace

/// A viewer is a window of class "TfrmMain" and title "Quillet" that gets WM_COPYDATA. A window
/// belongs to the thread that made it, and lives on its message loop.
class TraceLines::Viewer
{
  public:
    Viewer(LineQueue& lines, Kind kind)
    {
        if (FindWindowA(kClass, kTitle) != nullptr) return;
        std::promise<HWND> made;
        thread_ = std::thread([&, kind] { Run(lines, kind, made); });
        window_ = made.get_future().get();
    }
    ~Viewer()
    {
        if (!thread_.joinable()) return;
        stop_.set_value();
        PostMessageA(window_, kStop, 0, 0);
        thread_.join();
    }
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    [[nodiscard]] bool IsThere() const { return window_ != nullptr; }

  private:
    void Run(LineQueue& lines, Kind kind, std::promise<HWND>& made)
    {
        const HWND window = CreateViewer(lines);
        made.set_value(window);
        MSG message{};
        if (kind == Kind::kHung) stop_.get_future().wait();
        while (window != nullptr && message.message != kStop &&
               GetMessageA(&message, nullptr, 0, 0) > 0) {
            DispatchMessageA(&message);
        }
        DestroyWindow(window);
    }

    HWND window_ = nullptr;
    std::promise<void> stop_;
    std::thread thread_;
};

TraceLines::TraceLines(Kind kind) : viewer_(std::make_unique<Viewer>(lines_, kind)) {}

TraceLines::~TraceLines() = default;

bool TraceLines::AreHere() const
{
    return viewer_->IsThere();
}

std::vector<std::string> TraceLines::Take(std::size_t count)
{
    return lines_.Take(count);
}

} // namespace example
