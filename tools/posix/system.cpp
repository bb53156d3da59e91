#include "frame/system.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace zelq::tool {

namespace {

/// Readable for good once there was an interrupt: whatever waits, waits for this too.
std::array<int, 2> interruptPipe = {-1, -1};
std::atomic<bool> interrupted = false;

void OnSignal(int /*signal*/)
{
    const int saved = errno;
    Interrupt();
    errno = saved;
}

bool IsReady(const pollfd& entry)
{
    return (entry.revents & (POLLIN | POLLHUP | POLLERR)) != 0;
}

/// Whether standard input can be read (its end counts) before the time is over.
bool AwaitInput(Milliseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    for (;;) {
        const auto left = std::chrono::duration_cast<Milliseconds>(
            end - std::chrono::steady_clock::now() + std::chrono::microseconds(999));
        std::array<pollfd, 2> entries = {
            {{STDIN_FILENO, POLLIN, 0}, {interruptPipe[0], POLLIN, 0}}};
        const int wait = time < Milliseconds::zero() ? -1 : std::max(0, int(left.count()));
        const int ready = poll(entries.data(), entries.size(), wait);
        if (ready < 0 && errno == EINTR) continue;
        if (IsReady(entries[1])) return false;
        return ready > 0 && IsReady(entries[0]);
    }
}

} // namespace

bool IsTerminal(Stream stream)
{
    return isatty(static_cast<int>(stream)) == 1;
}

TerminalSize SizeOfTerminal()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        return {};
    }
    return {size.ws_col, size.ws_row};
}

void CatchInterrupts()
{
    if (pipe2(interruptPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
    // A reader that goes away must not end the program while an axis runs.
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

bool Interrupted()
{
    return interrupted;
}

void Interrupt()
{
    interrupted = true;
    // A full pipe is as readable as one with a byte more.
    [[maybe_unused]] const ssize_t written = write(interruptPipe[1], "", 1);
}

bool WaitFor(Milliseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (!interrupted) {
        const auto left = std::chrono::duration_cast<Milliseconds>(
            end - std::chrono::steady_clock::now() + std::chrono::microseconds(999));
        if (left <= Milliseconds::zero()) return true;
        pollfd entry{interruptPipe[0], POLLIN, 0};
        poll(&entry, 1, static_cast<int>(left.count()));
    }
    return false;
}

class Keyboard::Impl
{
  public:
    Impl() : isTerminal_(tcgetattr(STDIN_FILENO, &before_) == 0)
    {
        if (!isTerminal_) return;
        termios raw = before_;
        raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        raw.c_cc[VMIN] = 1;
        raw.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSANOW, &raw);
    }
    ~Impl()
    {
        if (isTerminal_) tcsetattr(STDIN_FILENO, TCSANOW, &before_);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    std::optional<char> Next(Milliseconds time)
    {
        if (atEnd_ || !AwaitInput(time)) return std::nullopt;
        char key = 0;
        const ssize_t size = read(STDIN_FILENO, &key, 1);
        if (size == 1) return key;
        atEnd_ = size == 0 || errno != EINTR;
        return std::nullopt;
    }

    [[nodiscard]] bool AtEnd() const { return atEnd_; }

  private:
    termios before_{}; // in front of what reads it
    bool isTerminal_;
    bool atEnd_ = false;
};

Keyboard::Keyboard() : impl_(std::make_unique<Impl>()) {}
Keyboard::~Keyboard() = default;

std::optional<char> Keyboard::Next(Milliseconds time)
{
    return impl_->Next(time);
}

bool Keyboard::AtEnd() const
{
    return impl_->AtEnd();
}

std::optional<std::string> ReadLine()
{
    std::string line;
    char next = 0;
    while (AwaitInput(Milliseconds(-1)) && read(STDIN_FILENO, &next, 1) == 1) {
        if (next == '\n') return line;
        line += next;
    }
    return std::nullopt;
}

std::filesystem::path SettingsFolder()
{
    const char* folder = std::getenv("XDG_CONFIG_HOME");
    if (folder != nullptr && *folder != '\0') return folder;
    const char* home = std::getenv("HOME");
    return home == nullptr ? std::filesystem::path() : std::filesystem::path(home) / ".config";
}

} // namespace zelq::tool
