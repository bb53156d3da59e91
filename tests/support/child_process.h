#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zelq::test {

/// Where this program's own file is.
std::string ProgramPath();

/// Another process that runs this same program. It does not outlive its object.
class ChildProcess
{
  public:
    explicit ChildProcess(const std::vector<std::string>& arguments);
    ~ChildProcess()
    {
        Kill();
        Wait();
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Ends it where it stands, as a crash would.
    void Kill();

    /// What it ended with: its exit code, else kCrashed. One that does not end in 90 s is
    /// killed.
    int Wait();

    static constexpr int kCrashed = -1;

  private:
    static constexpr int kPatienceMs = 90'000;

    std::intptr_t process_ = 0; ///< its id or handle; 0: waited for
};

} // namespace zelq::test
