#include "support/piped_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern "C" { // this header forgets to say so
#include <sys/pidfd.h>
}

namespace zelq::test {

namespace {

/// Ours and the child's end of a pipe.
struct Pipe
{
    Pipe()
    {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    }
    std::array<int, 2> ends{};
};

std::vector<std::string> EnvironmentWith(const std::map<std::string, std::string>& variables)
{
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (!variables.contains(text.substr(0, text.find('=')))) all.push_back(text);
    }
    for (const auto& [name, value] : variables) {
        all.push_back(name + '=' + value);
    }
    return all;
}

std::vector<char*> Pointers(std::vector<std::string>& words)
{
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

void NativeProcess::Start(const std::string& program, const std::vector<std::string>& arguments,
                          const std::map<std::string, std::string>& variables)
{
    signal(SIGPIPE, SIG_IGN); // a child that has ended reads no more
    const Pipe in;
    const Pipe out;
    const Pipe error;
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = EnvironmentWith(variables);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in.ends[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out.ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, error.ends[1], STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    pid_t started = 0;
    const int failed = posix_spawn(&started, program.c_str(), &actions, nullptr,
                                   Pointers(words).data(), Pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    for (const int end : {in.ends[0], out.ends[1], error.ends[1]}) {
        close(end);
    }
    process = failed == 0 ? started : 0;
    input = in.ends[1];
    output = out.ends[0];
    errors = error.ends[0];
    if (failed != 0) throw std::runtime_error(program + " does not start");
}

bool NativeProcess::AwaitEnd(int milliseconds) const
{
    const int descriptor = pidfd_open(static_cast<pid_t>(process), 0);
    pollfd entry{descriptor, POLLIN, 0};
    const bool ended = poll(&entry, 1, milliseconds) > 0;
    close(descriptor);
    return ended;
}

int NativeProcess::Collect()
{
    int status = 0;
    waitpid(static_cast<pid_t>(process), &status, 0);
    process = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : kKilled;
}

void NativeProcess::Interrupt() const
{
    kill(static_cast<pid_t>(process), SIGINT);
}

void NativeProcess::Kill() const
{
    kill(static_cast<pid_t>(process), SIGKILL);
}

std::size_t NativeProcess::Read(Handle stream, char* bytes, std::size_t size)
{
    ssize_t got = 0;
    do {
        got = read(static_cast<int>(stream), bytes, size);
    } while (got < 0 && errno == EINTR);
    return got < 0 ? 0 : static_cast<std::size_t>(got);
}

bool NativeProcess::Write(Handle stream, const std::string& text)
{
    return write(static_cast<int>(stream), text.data(), text.size()) ==
           static_cast<ssize_t>(text.size());
}

void NativeProcess::Close(Handle& stream)
{
    if (stream != 0) close(static_cast<int>(stream));
    stream = 0;
}

} // namespace zelq::test
