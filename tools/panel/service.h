// What an object with a thread of its own is made of.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace zelq::tool {

/// Others leave work under the lock and tell of it; the thread takes it up, until it is ended. Who
/// inherits it stops it in his own destructor, before what the thread works with is gone.
class Service
{
  public:
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    void Start()
    {
        thread_ = std::thread([this] { Run(); });
    }
    /// Wakes the thread to its end, and waits for it.
    void Stop()
    {
        {
            const std::lock_guard lock(mutex_);
            ended_ = true;
            changed_.notify_all();
        }
        if (thread_.joinable()) thread_.join();
    }

  protected:
    Service() = default;
    ~Service() = default;

    /// On the thread, until `ended_`.
    virtual void Run() = 0;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::atomic<bool> ended_ = false;

  private:
    std::thread thread_;
};

} // namespace zelq::tool
