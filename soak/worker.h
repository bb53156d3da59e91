#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace soak {

inline constexpr short kFirstNumber = 41; ///< of the controllers, which follow each other
inline constexpr short kControllers = 4;
inline constexpr int kThreads = 8; ///< each has the axis of its own index on every controller

/// A register that one thread writes. A write whose reply was lost has been run or has not: the
/// register holds one of several values then, until a read tells which.
class Cell
{
  public:
    void Write(std::uint32_t value, bool succeeded)
    {
        if (succeeded) possible_.clear();
        possible_.push_back(value);
    }
    /// Whether the value is one that may stand there; then it is the one.
    bool Explains(std::uint32_t value)
    {
        const bool explained = std::ranges::find(possible_, value) != possible_.end();
        if (explained) possible_ = {value};
        return explained;
    }

  private:
    std::vector<std::uint32_t> possible_{0};
};

/// What one thread has written to one controller.
struct Site
{
    short number;
    Cell parameter, position, memory;
};

/// Makes calls to all controllers, and judges every answer by what it has written before.
struct Worker
{
    Worker(unsigned short thread, unsigned seed);

    /// Fills the thread's registers while there are no faults; false where that fails.
    bool Prepare();
    void CallOnce();

    const unsigned short axis; ///< the thread's
    std::mt19937 random;
    std::uint32_t sequence = 0;
    std::vector<Site> sites;
    std::map<short, std::uint64_t> results; ///< how often each has been given
    std::vector<std::string> wrong;         ///< the first wrong answers
    std::uint64_t wrongCount = 0;
};

} // namespace soak
