// One controller, looked at by a thread of its own.
#pragma once

#include "bridge/changes.h"
#include "bridge/config.h"
#include "bridge/record.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace zelq::bridge {

/// What becomes of what a poller sees; called on the poller's thread.
class Observer
{
  public:
    virtual ~Observer() = default;
    virtual void Up(Device device, Millis time) = 0;
    virtual void Changed(Record record) = 0;
    virtual void Down(short controller, const std::string& reason) = 0;
    /// It is looked at no more.
    virtual void Gone(short controller) = 0;
};

/// What the bridge takes from the program around it.
struct Words
{
    std::function<std::string(int alarm)> alarm;
    std::function<std::string(int result)> result;
};

/// A call blocks for as long as a controller does not answer. A thread each is what keeps that from
/// the others: they cost some tens of kilobytes, and a thread that waits takes nothing.
class Poller
{
  public:
    /// `phase`: how long it waits at first, so that not all ask at the same moment.
    Poller(ControllerConfig config, const Words& words, Observer& observer,
           std::chrono::microseconds phase);
    /// Waits for an exchange that is under way.
    ~Poller();
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;

    /// Does not wait: several end together in the time of the slowest.
    void AskToEnd();
    /// Carried out between two readings.
    void Carry(Order order);

    [[nodiscard]] const ControllerConfig& Config() const { return config_; }

  private:
    void Run();
    bool WaitUntil(Clock::time_point time);
    bool Connect();
    bool Begin();
    bool Read();
    bool Exchange(ControllerStatus& status);
    void ReadAlarms(const ControllerStatus& status);
    void TellAll(const ControllerStatus& status);
    void TellChanges(const ControllerStatus& status);
    void Lose(short result);
    void CarryOut();

    ControllerConfig config_;
    const Words& words_;
    Observer& observer_;
    ControllerStatus status_{};
    Surroundings around_;
    std::vector<Value> values_;
    std::unique_ptr<ChangeFilter> filter_;
    double roundTrips_ = 0.0; // ms, since they were told
    int exchanges_ = 0;
    short lastFailure_ = 0;
    bool wasUp_ = false;

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Order> orders_;
    bool ending_ = false;
    std::thread thread_;
};

} // namespace zelq::bridge
