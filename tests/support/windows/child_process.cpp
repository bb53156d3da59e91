#include "support/child_process.h"

#include <array>
#include <stdexcept>
#include <windows.h>

namespace zelq::test {

static constexpr UINT kKilled = 0xDEAD;

std::string ProgramPath()
{
    std::array<char, MAX_PATH> path{};
    GetModuleFileNameA(nullptr, path.data(), MAX_PATH);
    return path.data();
}

ChildProcess::ChildProcess(const std::vector<std::string>& arguments)
{
    std::string commandLine = '"' + ProgramPath() + '"';
    for (const std::string& argument : arguments) {
        commandLine += ' ' + argument;
    }
    STARTUPINFOA start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION started{};
    if (CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &start, &started) == FALSE) {
        throw std::runtime_error("no child process: error " + std::to_string(GetLastError()));
    }
    CloseHandle(started.hThread);
    process_ = reinterpret_cast<std::intptr_t>(started.hProcess);
}

void ChildProcess::Kill()
{
    if (process_ != 0) TerminateProcess(reinterpret_cast<HANDLE>(process_), kKilled);
}

int ChildProcess::Wait()
{
    if (process_ == 0) return kCrashed;
    const HANDLE process = reinterpret_cast<HANDLE>(process_);
    if (WaitForSingleObject(process, kPatienceMs) != WAIT_OBJECT_0) Kill();
    WaitForSingleObject(process, kPatienceMs);
    DWORD code = kKilled;
    GetExitCodeProcess(process, &code);
    CloseHandle(process);
    process_ = 0;
    // An exception that nobody handled is told in the code.
    return code <= 0xFF ? static_cast<int>(code) : kCrashed;
}

} // namespace zelq::test
