#include "frame/system.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <io.h>
#include <mutex>
#include <string>
#include <thread>
#include <windows.h>

namespace zelq::tool {

namespace {

std::atomic<bool> interrupted = false;

/// Set for good once there was an interrupt: whatever waits, waits for this too. It has a name,
/// since a program that has started this one without a console can send it no Ctrl-C.
HANDLE InterruptEvent()
{
    static HANDLE const event = [] {
        const std::string name = "Local\\zelq-interrupt-" + std::to_string(GetCurrentProcessId());
        return CreateEventA(nullptr, TRUE, FALSE, name.c_str());
    }();
    return event;
}

HANDLE NativeStream(Stream stream)
{
    constexpr std::array<DWORD, 3> kHandles = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE,
                                               STD_ERROR_HANDLE};
    return GetStdHandle(kHandles.at(static_cast<std::size_t>(stream)));
}

BOOL WINAPI OnConsoleEvent(DWORD event)
{
    Interrupt();
    // When the window closes, the program lasts as long as this does; the verb needs the time to
    // stop what it has set in motion.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(INFINITE);
    return TRUE;
}

void CALLBACK OnInterruptEvent(void* /*context*/, BOOLEAN /*timedOut*/)
{
    Interrupt();
}

/// Standard input, read by a thread of its own: a pipe cannot be waited for together with an event.
class InputQueue
{
  public:
    static InputQueue& Get()
    {
        // Never destroyed: the thread may stand in its read until the program ends.
        static auto* const queue = new InputQueue;
        return *queue;
    }

    std::optional<char> Next(Milliseconds time)
    {
        std::unique_lock lock(mutex_);
        const auto ready = [this] { return !bytes_.empty() || atEnd_ || interrupted; };
        if (time < Milliseconds::zero()) {
            changed_.wait(lock, ready);
        } else {
            changed_.wait_for(lock, time, ready);
        }
        if (bytes_.empty() || interrupted) return std::nullopt;
        const char byte = bytes_.front();
        bytes_.pop_front();
        return byte;
    }

    bool AtEnd()
    {
        const std::scoped_lock lock(mutex_);
        return atEnd_ && bytes_.empty();
    }

    void Wake()
    {
        const std::scoped_lock lock(mutex_);
        changed_.notify_all();
    }

  private:
    InputQueue() { std::thread(&InputQueue::Read, this).detach(); }

    void Read()
    {
        std::array<char, 256> bytes{};
        DWORD count = 0;
        HANDLE input = NativeStream(Stream::kInput);
        while (ReadFile(input, bytes.data(), bytes.size(), &count, nullptr) != FALSE && count > 0) {
            const std::scoped_lock lock(mutex_);
            bytes_.insert(bytes_.end(), bytes.begin(), bytes.begin() + count);
            changed_.notify_all();
        }
        const std::scoped_lock lock(mutex_);
        atEnd_ = true;
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<char> bytes_;
    bool atEnd_ = false;
};

std::atomic<bool> inputIsRead = false;

InputQueue& Input()
{
    inputIsRead = true;
    return InputQueue::Get();
}

} // namespace

bool IsTerminal(Stream stream)
{
    HANDLE console = NativeStream(stream);
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode) == FALSE) return false;
    if (stream == Stream::kInput) return true;
    return SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

TerminalSize SizeOfTerminal()
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(NativeStream(Stream::kOutput), &info) == FALSE) return {};
    return {info.srWindow.Right - info.srWindow.Left + 1,
            info.srWindow.Bottom - info.srWindow.Top + 1};
}

void CatchInterrupts()
{
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    static HANDLE waiting = nullptr;
    RegisterWaitForSingleObject(&waiting, InterruptEvent(), OnInterruptEvent, nullptr, INFINITE,
                                WT_EXECUTEONLYONCE);
}

bool Interrupted()
{
    return interrupted;
}

void Interrupt()
{
    interrupted = true;
    SetEvent(InterruptEvent());
    if (inputIsRead) InputQueue::Get().Wake();
}

bool WaitFor(Milliseconds time)
{
    const auto wait = static_cast<DWORD>(std::max<std::int64_t>(0, time.count()));
    return WaitForSingleObject(InterruptEvent(), wait) == WAIT_TIMEOUT;
}

class Keyboard::Impl
{
  public:
    Impl()
    {
        HANDLE console = NativeStream(Stream::kInput);
        isConsole_ = GetConsoleMode(console, &before_) != FALSE;
        if (!isConsole_) return;
        const DWORD cooked = ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT;
        SetConsoleMode(console, (before_ & ~cooked) | ENABLE_VIRTUAL_TERMINAL_INPUT);
    }
    ~Impl()
    {
        if (isConsole_) SetConsoleMode(NativeStream(Stream::kInput), before_);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

  private:
    bool isConsole_ = false;
    DWORD before_ = 0;
};

Keyboard::Keyboard() : impl_(std::make_unique<Impl>()) {}
Keyboard::~Keyboard() = default;

// The object is what makes the console tell single keys.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
std::optional<char> Keyboard::Next(Milliseconds time)
{
    return Input().Next(time);
}

bool Keyboard::AtEnd() const
{
    return Input().AtEnd();
}

std::optional<std::string> ReadLine()
{
    std::string line;
    while (const std::optional<char> next = Input().Next(Milliseconds(-1))) {
        if (*next == '\n') return line;
        if (*next != '\r') line += *next;
    }
    return std::nullopt;
}

std::filesystem::path SettingsFolder()
{
    const char* folder = std::getenv("APPDATA");
    return folder == nullptr ? std::filesystem::path() : std::filesystem::path(folder);
}

} // namespace zelq::tool
