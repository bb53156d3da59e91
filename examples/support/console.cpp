#include "support/console.h"

#include <cstdio>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace example {

namespace {

bool StandardOutputIsTerminal()
{
#ifdef _WIN32
    if (_isatty(_fileno(stdout)) == 0) return false;
    // Windows consoles understand the escape sequences since Windows 10, once they are told to.
    HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) != 0 &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
#else
    return isatty(STDOUT_FILENO) == 1;
#endif
}

} // namespace

LiveLines::LiveLines() : terminal_(StandardOutputIsTerminal()) {}

void LiveLines::Show(const std::vector<std::string>& lines, bool last)
{
    constexpr int kPlainEvery = 10;
    const bool due = terminal_ || last || updates_ % kPlainEvery == 0;
    ++updates_;
    if (!due) return;
    if (terminal_ && shown_ > 0) std::printf("\033[%zuA", shown_);
    for (const std::string& line : lines) {
        std::printf("%s%s\n", line.c_str(), terminal_ ? "\033[K" : "");
    }
    shown_ = lines.size();
    std::fflush(stdout);
}

} // namespace example
