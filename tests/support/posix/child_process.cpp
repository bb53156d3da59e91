#include "support/child_process.h"

#include <csignal>
#include <filesystem>
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

constexpr int kPatienceMs = 90'000;
constexpr int kFirstOwnDescriptor = 3;

/// False when it still runs after 90 s.
bool AwaitEnd(pid_t process)
{
    const int descriptor = pidfd_open(process, 0);
    pollfd entry{descriptor, POLLIN, 0};
    const bool ended = poll(&entry, 1, kPatienceMs) > 0;
    close(descriptor);
    return ended;
}

} // namespace

std::string ProgramPath()
{
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

ChildProcess::ChildProcess(const std::vector<std::string>& arguments)
{
    std::vector<std::string> words{ProgramPath()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclosefrom_np(&actions, kFirstOwnDescriptor);
    pid_t process = 0;
    const int error =
        posix_spawn(&process, words[0].c_str(), &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("no child process");
    process_ = process;
}

ChildProcess::~ChildProcess()
{
    if (process_ == 0) return;
    Kill();
    Wait();
}

void ChildProcess::Kill()
{
    kill(static_cast<pid_t>(process_), SIGKILL);
}

int ChildProcess::Wait()
{
    const auto process = static_cast<pid_t>(process_);
    if (!AwaitEnd(process)) Kill();
    int status = 0;
    waitpid(process, &status, 0);
    process_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : kCrashed;
}

} // namespace zelq::test
