#include "support/trace_lines.h"

#include <utility>
#include <windows.h>

namespace example {

/// A viewer is a window of class "TfrmMain" and title "Quillet" that gets WM_COPYDATA. Lines sent
/// by the window's own thread arrive without a message loop.
class TraceLines::Viewer
{
  public:
    Viewer()
    {
        WNDCLASSA windowClass{};
        windowClass.lpfnWndProc = Receive;
        windowClass.hInstance = GetModuleHandleA(nullptr);
        windowClass.lpszClassName = "TfrmMain";
        RegisterClassA(&windowClass);
        if (FindWindowA("TfrmMain", "Quillet") != nullptr) return;
        window_ = CreateWindowExA(0, "TfrmMain", "Quillet", WS_OVERLAPPED, 0, 0, 1, 1, nullptr,
                                  nullptr, windowClass.hInstance, nullptr);
        if (window_ != nullptr) {
            SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&lines_));
        }
    }
    ~Viewer()
    {
        if (window_ != nullptr) DestroyWindow(window_);
    }
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    std::vector<std::string> Take() { return std::exchange(lines_, {}); }

  private:
    static LRESULT CALLBACK Receive(HWND window, UINT message, WPARAM first, LPARAM second)
    {
        auto* lines =
            reinterpret_cast<std::vector<std::string>*>(GetWindowLongPtrA(window, GWLP_USERDATA));
        if (message != WM_COPYDATA || lines == nullptr) {
            return DefWindowProcA(window, message, first, second);
        }
        const auto* copy = reinterpret_cast<const COPYDATASTRUCT*>(second);
        if (copy->cbData > 0) {
            lines->emplace_back(static_cast<const char*>(copy->lpData), copy->cbData - 1);
        }
        return TRUE;
    }

    HWND window_ = nullptr;
    std::vector<std::string> lines_;
};

TraceLines::TraceLines() : viewer_(std::make_unique<Viewer>()) {}
TraceLines::~TraceLines() = default;

std::vector<std::string> TraceLines::Take()
{
    return viewer_->Take();
}

} // namespace example
