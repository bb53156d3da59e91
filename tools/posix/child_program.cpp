#include "frame/failure.h"
#include "panel/process.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/random.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace zelq::tool {

namespace {

constexpr int kNotStarted = 127;

/// In the child: only what is safe behind a fork.
[[noreturn]] void BecomeProgram(const char* program, char* const* words, int output, pid_t parent)
{
    // Also when this program is killed without being asked. It may be gone already.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(kNotStarted);
    setpgid(0, 0); // Ctrl-C is for the parent, which ends it in its turn
    std::signal(SIGPIPE, SIG_DFL);
    dup2(output, STDOUT_FILENO);
    execvp(program, words);
    _exit(kNotStarted);
}

} // namespace

class ChildProgram::Impl
{
  public:
    Impl(const std::filesystem::path& program, const std::vector<std::string>& words)
    {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) Fail(program, errno);
        std::string name = program.string();
        std::vector<std::string> texts = words;
        std::vector<char*> pointers = {name.data()};
        for (std::string& text : texts) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
        const pid_t parent = getpid();
        child_ = fork();
        const int error = errno;
        if (child_ == 0) BecomeProgram(name.c_str(), pointers.data(), ends[1], parent);
        close(ends[1]);
        output_ = ends[0];
        if (child_ < 0) {
            close(output_);
            Fail(program, error);
        }
    }

    ~Impl()
    {
        close(output_);
        kill(child_, SIGTERM);
        constexpr int kLooks = 200;
        for (int look = 0; look < kLooks; ++look) {
            if (waitpid(child_, nullptr, WNOHANG) != 0) return;
            usleep(10'000);
        }
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    std::optional<std::string> ReadLine() const
    {
        std::string line;
        char next = 0;
        for (;;) {
            const ssize_t size = read(output_, &next, 1);
            if (size < 0 && errno == EINTR && !Interrupted()) continue;
            if (size != 1) return std::nullopt;
            if (next == '\n') return line;
            line += next;
        }
    }

  private:
    [[noreturn]] static void Fail(const std::filesystem::path& program, int error)
    {
        throw Failure(kUsage, "cannot start " + program.string() + ": " +
                                  std::system_category().message(error));
    }

    pid_t child_ = -1;
    int output_ = -1;
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
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

std::array<std::uint8_t, 16> RandomBytes()
{
    std::array<std::uint8_t, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw Failure(kUsage, "the system has no random numbers");
    }
    return bytes;
}

} // namespace zelq::tool
