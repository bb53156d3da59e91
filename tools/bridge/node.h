// The bridge at the broker: one thread that all news come to.
#pragma once

#include "bridge/broker.h"
#include "bridge/orders.h"
#include "bridge/outbox.h"
#include "bridge/poller.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <set>
#include <thread>

namespace zelq::bridge {

class Node : public Observer
{
  public:
    /// `carry` takes what has been asked for and is allowed; called on the node's thread.
    Node(NodeConfig config, Allowed allowed, std::function<void(Order)> carry);
    ~Node() override;
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    void Up(Device device, Millis time) override;
    void Changed(Record record) override;
    void Down(short controller, const std::string& reason) override;
    void Gone(short controller) override;
    void SetControllers(std::size_t count) { controllers_ = static_cast<std::int64_t>(count); }

    /// Says goodbye at the broker; what it has not confirmed is in the store.
    void Stop();

  private:
    enum class State {
        kIdle,       ///< waits to connect
        kConnecting, ///< until its topics are subscribed to
        kHeld,       ///< the primary host is not there
        kBorn,
        kYielded, ///< another one has the name: watches, tells nothing
        kLeaving, ///< until the connection is closed
    };
    struct UpNews
    {
        Device device;
        Millis time;
    };
    struct DownNews
    {
        short controller;
        bool isGone;
    };
    struct BrokerNews
    {
        enum class Kind { kConnected, kConnectFailed, kSubscribed, kArrived, kMarkPassed, kLost };
        int session;
        Kind kind;
        std::string text{};
        std::string payload{};
        bool retained = false;
    };
    using News = std::variant<UpNews, Record, DownNews, BrokerNews>;
    class Listener;

    void Post(News news);
    void Run();
    std::deque<News> AwaitNews();
    void Handle(UpNews& news);
    void Handle(Record& record);
    void Handle(DownNews& news);
    void Handle(BrokerNews& news);
    void Handle(const Incoming& incoming, const std::string& payload);

    void Tick(Clock::time_point now);
    void StartSession();
    void Retry(const std::string& reason);
    void Subscribed();
    void HearHost(bool online, Millis time);
    void HearBirth(const std::string& payload);
    void AskOther();
    void TakeNameBack();
    void CloseSession();
    void Birth();
    void TellNode(Clock::time_point now);
    void SendWaiting();
    void Leave(Clock::time_point now);
    void Send(const Message& message);
    void KeepChanges(const Device& device, Millis time);
    void GiveOrders(const Incoming& incoming);
    [[nodiscard]] std::vector<NodeValue> Values() const;
    [[nodiscard]] bool CanTell() const { return state_ == State::kBorn && !outbox_.IsStalled(); }

    NodeConfig config_;
    std::function<void(Order)> carry_;
    Store store_;
    Outbox outbox_;
    OrderDesk desk_;
    std::unique_ptr<Wire> wire_;
    std::map<short, Device> devices_; // as last told, whether they are there or not
    std::set<short> alive_;
    std::atomic<std::int64_t> controllers_ = 0;

    State state_ = State::kIdle;
    bool yields_ = false;
    int sessionNumber_ = 0;
    std::list<Listener> listeners_;
    std::unique_ptr<BrokerSession> session_;
    std::chrono::milliseconds retry_;
    std::string lastReason_;
    Clock::time_point nextTry_{}; ///< to connect, or to give up waiting for the client
    Clock::time_point nextNodeData_{};
    Clock::time_point rebirthDue_{}; // 0: none is asked for
    Clock::time_point lastBirth_{};
    Clock::time_point leaveBy_{};
    Clock::time_point otherAskedAgain_{};
    Clock::time_point otherAnswersBy_{};
    std::deque<std::string> ownBirths_; // until they have come back
    std::vector<NodeValue> told_;
    Millis hostTime_ = 0;

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<News> news_;
    std::int64_t lost_ = 0;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace zelq::bridge
