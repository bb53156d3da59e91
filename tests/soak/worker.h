#pragma once

#include "soak/fault_proxy.h"

#include <array>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace zelq::soak {

inline constexpr int kControllers = 4;
inline constexpr int kThreads = 8; ///< each has the axis of its own index on every controller
inline constexpr short kFirstNumber = 41;
inline constexpr int kFlashBytes = 1024; ///< of each thread, on every controller

/// What stands in a thread's part of the flash memory.
std::uint8_t FlashByte(int controller, int thread, int offset);

/// A register that one thread writes. A write whose reply was lost has been run or has not: the
/// register holds one of several values then, until a read tells which.
class Cell
{
  public:
    void Written(std::uint32_t value) { possible_ = {value}; }
    void Attempted(std::uint32_t value) { possible_.push_back(value); }
    /// Whether the value is one that may stand there; then it is the one.
    bool Explains(std::uint32_t value);

  private:
    std::vector<std::uint32_t> possible_{0};
};

/// Makes calls to all controllers, and judges every answer by what it has written before.
class Worker
{
  public:
    Worker(int thread, unsigned seed) : thread_(thread), random_(seed) {}

    /// Fills the thread's registers while there are no faults; false where that fails.
    bool Prepare();
    void CallOnce();

    [[nodiscard]] const std::map<short, std::uint64_t>& Results() const { return results_; }
    [[nodiscard]] const std::vector<std::string>& Wrong() const { return wrong_; }
    [[nodiscard]] std::uint64_t WrongCount() const { return wrongCount_; }

  private:
    /// The registers of one controller.
    struct Cells
    {
        Cell parameter, position, memory;
    };

    std::uint32_t NextValue(int controller);
    void Write(int controller, Cell& cell, short (Worker::*write)(short, std::uint32_t));
    short WriteParameter(short number, std::uint32_t value);
    short WritePosition(short number, std::uint32_t value);
    short WriteMemory(short number, std::uint32_t value);
    short ReadParameter(int controller);
    short ReadParameters(int controller);
    short ReadMemory(int controller);
    short ReadServo(int controller);
    short ReadAll(int controller);
    short ReadFlash(int controller);

    [[nodiscard]] unsigned short Axis() const { return static_cast<unsigned short>(thread_); }
    [[nodiscard]] unsigned MemoryAddress() const { return static_cast<unsigned>(thread_) * 4; }
    void Judge(bool right, const char* call, std::uint32_t value);
    void ExpectTag(int controller, int axis, std::uint32_t value, const char* call);
    void Count(int controller, short result, const char* call);

    const int thread_;
    std::mt19937 random_;
    std::uint32_t sequence_ = 0;
    std::array<Cells, kControllers> cells_;
    std::map<short, std::uint64_t> results_;
    std::vector<std::string> wrong_;
    std::uint64_t wrongCount_ = 0;
};

} // namespace zelq::soak
