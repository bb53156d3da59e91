#include "support/debug_output_capture.h"

#include <array>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <windows.h>

namespace zelq::test {

namespace {

/// A debug monitor: whoever writes waits for "buffer ready", fills the buffer and sets "data
/// ready".
class DebugMonitor
{
    /// What the system puts into the memory that it shares with a debug monitor.
    struct Message
    {
        DWORD process;
        std::array<char, 4096 - sizeof(DWORD)> text;
    };

  public:
    explicit DebugMonitor(example::LineQueue& lines)
        : lines_(lines),
          bufferReady_(CreateEventA(nullptr, FALSE, TRUE, "DBWIN_BUFFER_READY")),
          dataReady_(CreateEventA(nullptr, FALSE, FALSE, "DBWIN_DATA_READY")),
          stop_(CreateEventA(nullptr, TRUE, FALSE, nullptr)),
          mapping_(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                      sizeof(Message), "DBWIN_BUFFER")),
          message_(static_cast<Message*>(MapViewOfFile(mapping_, FILE_MAP_READ, 0, 0, 0)))
    {
        if (message_ == nullptr) throw std::runtime_error("no memory for the debugger output");
        reader_ = std::thread([this] { ReadAll(); });
    }
    ~DebugMonitor()
    {
        SetEvent(stop_);
        reader_.join();
        UnmapViewOfFile(message_);
        for (const HANDLE handle : {mapping_, stop_, dataReady_, bufferReady_}) {
            CloseHandle(handle);
        }
    }
    DebugMonitor(const DebugMonitor&) = delete;
    DebugMonitor& operator=(const DebugMonitor&) = delete;

  private:
    void ReadAll()
    {
        const std::array<HANDLE, 2> events{stop_, dataReady_};
        while (WaitForMultipleObjects(2, events.data(), FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
            if (message_->process == GetCurrentProcessId()) {
                const char* text = message_->text.data();
                lines_.Put({text, strnlen(text, message_->text.size())});
            }
            SetEvent(bufferReady_);
        }
    }

    example::LineQueue& lines_;
    const HANDLE bufferReady_;
    const HANDLE dataReady_;
    const HANDLE stop_;
    const HANDLE mapping_;
    const Message* message_;
    std::thread reader_;
};

} // namespace

DebugOutputCapture::DebugOutputCapture() : source_(std::make_shared<DebugMonitor>(lines_)) {}

} // namespace zelq::test
