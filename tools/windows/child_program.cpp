#include "frame/failure.h"
#include "panel/process.h"

#include <cstdlib>
#include <cstring>
#include <system_error>
#include <windows.h>

namespace zelq::tool {

namespace {

[[noreturn]] void FailStart(const std::filesystem::path& program)
{
    throw Failure(kUsage, "cannot start " + program.string() + ": " +
                              std::system_category().message(static_cast<int>(GetLastError())));
}

/// As the C runtime of the other program takes it apart again.
std::wstring Quoted(const std::wstring& word)
{
    std::wstring quoted = L"\"";
    std::size_t slashes = 0;
    for (const wchar_t letter : word) {
        if (letter == L'"') quoted.append(slashes + 1, L'\\');
        slashes = letter == L'\\' ? slashes + 1 : 0;
        quoted += letter;
    }
    return quoted.append(slashes, L'\\') + L"\"";
}

} // namespace

class Handle
{
  public:
    Handle() = default;
    ~Handle() { Close(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HANDLE* Out() { return &handle_; }
    [[nodiscard]] HANDLE Get() const { return handle_; }
    void Close()
    {
        if (handle_ != nullptr) CloseHandle(handle_);
        handle_ = nullptr;
    }

  private:
    HANDLE handle_ = nullptr;
};

class ChildProgram::Impl
{
  public:
    Impl(const std::filesystem::path& program, const std::vector<std::string>& words)
    {
        Handle theirs;
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        if (CreatePipe(output_.Out(), theirs.Out(), &inherited, 0) == FALSE) FailStart(program);
        SetHandleInformation(output_.Get(), HANDLE_FLAG_INHERIT, 0);
        MakeJob();
        std::wstring line = Quoted(program.wstring());
        for (const std::string& word : words) {
            line += L" " + Quoted(std::filesystem::path(word).wstring());
        }
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
        start.hStdOutput = theirs.Get();
        start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
        PROCESS_INFORMATION made{};
        // Ctrl-C is for the parent, which ends it in its turn.
        constexpr DWORD kHow = CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP;
        if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, kHow, nullptr, nullptr,
                           &start, &made) == FALSE) {
            FailStart(program);
        }
        *process_.Out() = made.hProcess;
        AssignProcessToJobObject(job_.Get(), made.hProcess);
        ResumeThread(made.hThread);
        CloseHandle(made.hThread);
    }

    ~Impl()
    {
        constexpr DWORD kPatienceMs = 2000;
        TerminateProcess(process_.Get(), 0);
        WaitForSingleObject(process_.Get(), kPatienceMs);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    [[nodiscard]] std::optional<std::string> ReadLine() const
    {
        std::string line;
        char next = 0;
        DWORD size = 0;
        while (ReadFile(output_.Get(), &next, 1, &size, nullptr) != FALSE && size == 1) {
            if (next == '\n') return line;
            if (next != '\r') line += next;
        }
        return std::nullopt;
    }

  private:
    /// Whatever ends this process closes the job, and with it the child.
    void MakeJob()
    {
        *job_.Out() = CreateJobObjectW(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(job_.Get(), JobObjectExtendedLimitInformation, &limits,
                                sizeof limits);
    }

    Handle job_;
    Handle process_;
    Handle output_;
};

ChildProgram::ChildProgram(const std::filesystem::path& program,
                           const std::vector<std::string>& words)
    : impl_(std::make_unique<Impl>(program, words))
{}
ChildProgram::~ChildProgram() = default;

std::optional<std::string> ChildProgram::ReadLine()
{
    return impl_->ReadLine();
}

std::filesystem::path FolderOfThisProgram()
{
    std::array<wchar_t, 1024> name{};
    const DWORD size = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
    return std::filesystem::path(std::wstring(name.data(), size)).parent_path();
}

std::array<std::uint8_t, 16> RandomBytes()
{
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t at = 0; at < bytes.size(); at += sizeof(unsigned)) {
        unsigned value = 0;
        if (rand_s(&value) != 0) throw Failure(kUsage, "the system has no random numbers");
        std::memcpy(bytes.data() + at, &value, sizeof value);
    }
    return bytes;
}

} // namespace zelq::tool
