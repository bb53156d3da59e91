#pragma once

#include <condition_variable>
#include <mutex>

namespace zelq::test {

/// Where threads wait for each other, to go on at one moment. MinGW's std::latch does not do: a
/// thread there looks at the count before it takes the lock under which it falls asleep, and may
/// sleep for ever.
class StartingLine
{
  public:
    explicit StartingLine(int threads) : missing_(threads) {}

    void ArriveAndWait()
    {
        std::unique_lock lock(mutex_);
        if (--missing_ == 0) complete_.notify_all();
        complete_.wait(lock, [this] { return missing_ == 0; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable complete_;
    int missing_;
};

} // namespace zelq::test
