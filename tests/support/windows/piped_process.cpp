#include "support/piped_process.h"

#include <stdexcept>
#include <windows.h>

namespace zelq::test {

namespace {

constexpr UINT kKillCode = 0xDEAD;

HANDLE AsHandle(NativeProcess::Handle handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

/// Ours and the child's end of a pipe; only the child's is inherited.
struct Pipe
{
    explicit Pipe(bool childReads)
    {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        HANDLE read = nullptr;
        HANDLE write = nullptr;
        if (CreatePipe(&read, &write, &inherited, 0) == FALSE) throw std::runtime_error("no pipe");
        child = childReads ? read : write;
        own = childReads ? write : read;
        SetHandleInformation(own, HANDLE_FLAG_INHERIT, 0);
    }
    HANDLE child = nullptr;
    HANDLE own = nullptr;
};

/// As the child's runtime takes a command line apart.
std::string ShellWord(const std::string& word)
{
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (const char letter : word) {
        if (letter == '"') quoted.append(backslashes + 1, '\\');
        backslashes = letter == '\\' ? backslashes + 1 : 0;
        quoted += letter;
    }
    return quoted.append(backslashes, '\\') + '"';
}

/// Variables are the whole process's here: set for as long as a child starts.
class Variables
{
  public:
    explicit Variables(const std::map<std::string, std::string>& variables) : variables_(variables)
    {
        for (const auto& [name, value] : variables_) {
            SetEnvironmentVariableA(name.c_str(), value.c_str());
        }
    }
    ~Variables()
    {
        for (const auto& [name, value] : variables_) {
            SetEnvironmentVariableA(name.c_str(), nullptr);
        }
    }
    Variables(const Variables&) = delete;
    Variables& operator=(const Variables&) = delete;

  private:
    const std::map<std::string, std::string>& variables_;
};

} // namespace

void NativeProcess::Start(const std::string& program, const std::vector<std::string>& arguments,
                          const std::map<std::string, std::string>& variables)
{
    const Pipe in(true);
    const Pipe out(false);
    const Pipe error(false);
    std::string commandLine = ShellWord(program);
    for (const std::string& argument : arguments) {
        commandLine += ' ' + ShellWord(argument);
    }
    STARTUPINFOA start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = in.child;
    start.hStdOutput = out.child;
    start.hStdError = error.child;
    PROCESS_INFORMATION started{};
    const Variables scope(variables);
    const BOOL done = CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0,
                                     nullptr, nullptr, &start, &started);
    for (HANDLE end : {in.child, out.child, error.child}) {
        CloseHandle(end);
    }
    input = reinterpret_cast<Handle>(in.own);
    output = reinterpret_cast<Handle>(out.own);
    errors = reinterpret_cast<Handle>(error.own);
    if (done == FALSE) throw std::runtime_error(program + " does not start");
    CloseHandle(started.hThread);
    process = reinterpret_cast<Handle>(started.hProcess);
}

bool NativeProcess::AwaitEnd(int milliseconds) const
{
    return WaitForSingleObject(AsHandle(process), static_cast<DWORD>(milliseconds)) ==
           WAIT_OBJECT_0;
}

int NativeProcess::Collect()
{
    WaitForSingleObject(AsHandle(process), INFINITE);
    DWORD code = kKillCode;
    GetExitCodeProcess(AsHandle(process), &code);
    CloseHandle(AsHandle(process));
    process = 0;
    return code <= 0xFF ? static_cast<int>(code) : kKilled;
}

void NativeProcess::Interrupt() const
{
    // Without a console there is no Ctrl-C; the program listens to this as well.
    const std::string name =
        "Local\\zelq-interrupt-" + std::to_string(GetProcessId(AsHandle(process)));
    HANDLE event = OpenEventA(EVENT_MODIFY_STATE, FALSE, name.c_str());
    if (event == nullptr) return;
    SetEvent(event);
    CloseHandle(event);
}

void NativeProcess::Kill() const
{
    TerminateProcess(AsHandle(process), kKillCode);
}

std::size_t NativeProcess::Read(Handle stream, char* bytes, std::size_t size)
{
    DWORD got = 0;
    return ReadFile(AsHandle(stream), bytes, static_cast<DWORD>(size), &got, nullptr) == FALSE
               ? 0
               : got;
}

bool NativeProcess::Write(Handle stream, const std::string& text)
{
    DWORD written = 0;
    return WriteFile(AsHandle(stream), text.data(), static_cast<DWORD>(text.size()), &written,
                     nullptr) != FALSE &&
           written == text.size();
}

void NativeProcess::Close(Handle& stream)
{
    if (stream != 0) CloseHandle(AsHandle(stream));
    stream = 0;
}

} // namespace zelq::test
