#include "support/trace_capture.h"

#include "support/line_queue.h"

#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>
#include <windows.h>

namespace zelq::test {

namespace {

constexpr char kClass[] = "TfrmMain";
constexpr char kTitle[] = "Quillet";
constexpr UINT kStop = WM_APP;

/// Another viewer is given some seconds to go.
void AwaitNoViewer()
{
    constexpr std::chrono::seconds kPatience{10};
    constexpr std::chrono::milliseconds kRetry{20};
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (FindWindowA(kClass, kTitle) != nullptr) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("there is a trace viewer");
        }
        std::this_thread::sleep_for(kRetry);
    }
}

/// The line of a record, or what is wrong with the record.
std::string LineOf(HWND window, WPARAM sender, LPARAM parameter)
{
    const auto* record = reinterpret_cast<const COPYDATASTRUCT*>(parameter);
    if (reinterpret_cast<HWND>(sender) != window) return "the sender is not the viewer itself";
    if (record->dwData != 1) return "the record's identifier is not 1";
    return {static_cast<const char*>(record->lpData), record->cbData};
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM first, LPARAM second)
{
    if (message != WM_COPYDATA) return DefWindowProcA(window, message, first, second);
    auto* lines = reinterpret_cast<LineQueue*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    lines->Put(LineOf(window, first, second));
    return TRUE;
}

HWND CreateViewer(LineQueue& lines)
{
    WNDCLASSA description{};
    description.lpfnWndProc = OnMessage;
    description.hInstance = GetModuleHandleA(nullptr);
    description.lpszClassName = kClass;
    RegisterClassA(&description);
    const HWND window = CreateWindowExA(0, kClass, kTitle, WS_OVERLAPPED, 0, 0, 0, 0, nullptr,
                                        nullptr, description.hInstance, nullptr);
    if (window == nullptr) throw std::runtime_error("no window for the trace viewer");
    SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&lines));
    return window;
}

} // namespace

class TraceCapture::Impl
{
  public:
    explicit Impl(Viewer viewer)
    {
        AwaitNoViewer();
        auto window = window_.get_future();
        thread_ = std::thread([this, viewer] { Run(viewer); });
        try {
            viewer_ = window.get();
        } catch (...) {
            thread_.join();
            throw;
        }
    }

    ~Impl()
    {
        stop_.set_value();
        PostMessageA(viewer_, kStop, 0, 0);
        thread_.join();
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    LineQueue& Received() { return lines_; }

  private:
    /// A window belongs to the thread that made it, and lives on its message loop.
    void Run(Viewer viewer)
    {
        HWND window = nullptr;
        try {
            window = CreateViewer(lines_);
        } catch (...) {
            window_.set_exception(std::current_exception());
            return;
        }
        window_.set_value(window);
        if (viewer == Viewer::kHung) {
            stop_.get_future().wait();
        } else {
            Pump();
        }
        DestroyWindow(window);
        UnregisterClassA(kClass, GetModuleHandleA(nullptr));
    }

    static void Pump()
    {
        MSG message{};
        while (GetMessageA(&message, nullptr, 0, 0) > 0 && message.message != kStop) {
            DispatchMessageA(&message);
        }
    }

    LineQueue lines_;
    HWND viewer_ = nullptr;
    std::promise<HWND> window_;
    std::promise<void> stop_;
    std::thread thread_;
};

TraceCapture::TraceCapture(Viewer viewer) : impl_(std::make_unique<Impl>(viewer)) {}

TraceCapture::~TraceCapture() = default;

std::string TraceCapture::Next()
{
    return impl_->Received().Next();
}

std::vector<std::string> TraceCapture::Lines(std::size_t count)
{
    return impl_->Received().TakeAll(count);
}

} // namespace zelq::test
