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
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    pid_t process = 0;
    const int error =
        posix_spawn(&process, pointers[0], &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("no child process: error " + std::to_string(error));
    process_ = process;
}

void ChildProcess::Kill()
{
    if (process_ != 0) kill(static_cast<pid_t>(process_), SIGKILL);
}

int ChildProcess::Wait()
{
    if (process_ == 0) return kCrashed;
    const auto process = static_cast<pid_t>(process_);
    const int descriptor = pidfd_open(process, 0);
    pollfd end{descriptor, POLLIN, 0};
    if (poll(&end, 1, kPatienceMs) <= 0) Kill();
    close(descriptor);
    int status = 0;
    waitpid(process, &status, 0);
    process_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : kCrashed;
}

} // namespace zelq::test
