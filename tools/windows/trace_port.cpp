#include "frame/failure.h"
#include "see/trace_source.h"

#include <future>
#include <thread>
#include <windows.h>

namespace zelq::tool {

/// The window that the library sends its lines to. It has a thread of its own, for a window's
/// messages come to the thread that has made it.
class TraceSource::Port
{
  public:
    explicit Port(TraceQueue& queue)
    {
        if (FindWindowA(kClass, kTitle) != nullptr) {
            throw Failure(kUsage, "another trace viewer is running");
        }
        std::promise<HWND> made;
        std::future<HWND> window = made.get_future();
        thread_ = std::thread([&queue, &made] { Receive(queue, made); });
        window_ = window.get();
        if (window_ != nullptr) return;
        thread_.join();
        throw Failure(kUsage, "cannot make the window of a trace viewer");
    }
    ~Port()
    {
        PostMessageA(window_, WM_CLOSE, 0, 0);
        thread_.join();
    }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

  private:
    static constexpr char kClass[] = "TfrmMain";
    static constexpr char kTitle[] = "Quillet";

    static void Receive(TraceQueue& queue, std::promise<HWND>& made)
    {
        WNDCLASSA windowClass{};
        windowClass.lpfnWndProc = OnMessage;
        windowClass.hInstance = GetModuleHandleA(nullptr);
        windowClass.lpszClassName = kClass;
        RegisterClassA(&windowClass);
        HWND window = CreateWindowExA(0, kClass, nullptr, WS_OVERLAPPED, 0, 0, 1, 1, nullptr,
                                      nullptr, windowClass.hInstance, nullptr);
        if (window != nullptr) {
            SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&queue));
            // Only now is it found.
            SetWindowTextA(window, kTitle);
        }
        made.set_value(window);
        MSG message{};
        while (window != nullptr && GetMessageA(&message, nullptr, 0, 0) > 0) {
            DispatchMessageA(&message);
        }
    }

    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM first, LPARAM second)
    {
        auto* queue = reinterpret_cast<TraceQueue*>(GetWindowLongPtrA(window, GWLP_USERDATA));
        if (message == WM_COPYDATA && queue != nullptr) {
            const auto* copy = reinterpret_cast<const COPYDATASTRUCT*>(second);
            queue->Put({static_cast<const char*>(copy->lpData), copy->cbData});
            return TRUE;
        }
        if (message == WM_DESTROY) PostQuitMessage(0);
        return DefWindowProcA(window, message, first, second);
    }

    HWND window_ = nullptr;
    std::thread thread_;
};

TraceSource::TraceSource() : port_(std::make_unique<Port>(queue_)) {}
TraceSource::~TraceSource() = default;

} // namespace zelq::tool
