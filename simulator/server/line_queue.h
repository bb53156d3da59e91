// Lines for a stream that may be slow, or not read at all.
#pragma once

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

namespace lumosim {

// Who puts a line never waits: what the stream does not take in time is dropped, and the next line
// that comes through says how many were.
class LineQueue
{
  public:
    static constexpr std::size_t kMostLines = 10'000;

    explicit LineQueue(std::FILE* stream);
    ~LineQueue(); // leaves behind what the stream has not taken
    LineQueue(const LineQueue&) = delete;
    LineQueue& operator=(const LineQueue&) = delete;

    void Put(std::string line); // any thread; without a line's end
    // Waits until all lines are written; false when the stream does not take them.
    bool Drain(std::chrono::milliseconds patience);

  private:
    struct Lines;
    std::shared_ptr<Lines> lines_; // shared with the thread that writes
};

} // namespace lumosim
