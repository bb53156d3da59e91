#include "bridge/node.h"

#include "bridge/log.h"

#include <algorithm>

namespace zelq::bridge {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFirstRetry{500};
constexpr milliseconds kLastRetry{10'000};
constexpr milliseconds kTick{100};
constexpr milliseconds kNodeDataEvery{2000};
/// Several hosts that ask at the same time are answered by one birth.
constexpr milliseconds kBetweenBirths{1000};
constexpr milliseconds kLeaveWithin{3000};
constexpr milliseconds kConnectWithin{20'000};
/// Whoever has taken the name is asked now and then whether it is there still.
constexpr milliseconds kAskOtherEvery{30'000};
constexpr milliseconds kOtherAnswersWithin{5000};
/// News that wait for the node's thread; it is behind so far only when its disk stands still.
constexpr std::size_t kMostNews = 100'000;

} // namespace

/// Tells what the client says with the session that it belongs to.
class Node::Listener : public BrokerListener
{
  public:
    Listener(Node& node, int session) : node_(node), session_(session) {}

    void Connected() override { Tell(Kind::kConnected, ""); }
    void ConnectFailed(const std::string& reason) override { Tell(Kind::kConnectFailed, reason); }
    void Subscribed() override { Tell(Kind::kSubscribed, ""); }
    void MarkPassed() override { Tell(Kind::kMarkPassed, ""); }
    void Lost(const std::string& reason) override { Tell(Kind::kLost, reason); }
    void Arrived(const std::string& topic, const std::string& payload, bool retained) override
    {
        node_.Post(BrokerNews{session_, Kind::kArrived, topic, payload, retained});
    }

  private:
    using Kind = BrokerNews::Kind;
    void Tell(Kind kind, const std::string& text) { node_.Post(BrokerNews{session_, kind, text}); }

    Node& node_;
    int session_;
};

Node::Node(NodeConfig config, Allowed allowed, std::function<void(Order)> carry)
    : config_(std::move(config)),
      carry_(std::move(carry)),
      store_(config_.storeFile, config_.storeBytes),
      outbox_(store_),
      desk_(allowed),
      wire_(config_.format == FormatKind::kSparkplug ? MakeSparkplug(config_)
                                                     : MakeJson(config_, store_.Instance())),
      retry_(kFirstRetry),
      thread_([this] { Run(); })
{}

Node::~Node()
{
    Stop();
}

void Node::Stop()
{
    {
        const std::scoped_lock lock(mutex_);
        stopping_ = true;
        wake_.notify_all();
    }
    if (thread_.joinable()) thread_.join();
}

void Node::Up(Device device, Millis time)
{
    Post(UpNews{std::move(device), time});
}

void Node::Changed(Record record)
{
    Post(std::move(record));
}

void Node::Down(short controller, const std::string& /*reason*/)
{
    Post(DownNews{controller, false});
}

void Node::Gone(short controller)
{
    Post(DownNews{controller, true});
}

void Node::Post(News news)
{
    const std::scoped_lock lock(mutex_);
    if (news_.size() >= kMostNews && std::holds_alternative<Record>(news)) {
        ++lost_;
        return;
    }
    news_.push_back(std::move(news));
    if (news_.size() == 1) wake_.notify_all();
}

std::deque<Node::News> Node::AwaitNews()
{
    std::unique_lock lock(mutex_);
    wake_.wait_for(lock, kTick, [this] { return !news_.empty(); });
    if (lost_ > 0 && news_.empty()) {
        Log(std::to_string(lost_) + " changes were lost: the disk did not follow");
        lost_ = 0;
    }
    if (stopping_ && leaveBy_ == Clock::time_point{}) leaveBy_ = Clock::now() + kLeaveWithin;
    return std::exchange(news_, {});
}

void Node::Run()
{
    for (;;) {
        std::deque<News> all = AwaitNews();
        for (News& news : all) {
            std::visit([this](auto& each) { Handle(each); }, news);
        }
        const auto now = Clock::now();
        if (leaveBy_ == Clock::time_point{}) {
            Tick(now);
        } else {
            Leave(now);
            const bool isOver = state_ == State::kIdle || now >= leaveBy_;
            if (isOver) break;
        }
        outbox_.Flush();
    }
    outbox_.ConnectionLost();
    session_.reset();
}

/// Goodbye: first the broker has all that was sent, then it is told, then the connection ends.
void Node::Leave(Clock::time_point now)
{
    outbox_.Look(now);
    if (state_ == State::kBorn && outbox_.IsEmpty()) {
        Send(wire_->NodeDeath());
        CloseSession();
    } else if (state_ == State::kBorn && outbox_.WantsMark(now)) {
        if (session_->Mark()) outbox_.MarkSent(now);
    } else if (state_ == State::kHeld || state_ == State::kYielded) {
        CloseSession();
    } else if (state_ == State::kConnecting) {
        state_ = State::kIdle;
    }
}

void Node::Tick(Clock::time_point now)
{
    if (state_ == State::kIdle && now >= nextTry_) StartSession();
    const bool isWaiting = state_ == State::kConnecting || state_ == State::kLeaving;
    if (isWaiting && now >= nextTry_) Retry("no answer");
    if (state_ == State::kYielded && now >= otherAnswersBy_) TakeNameBack();
    if (state_ == State::kYielded && now >= otherAskedAgain_) AskOther();
    if (state_ != State::kBorn) return;
    outbox_.Look(now);
    if (rebirthDue_ != Clock::time_point{} && now >= rebirthDue_) Birth();
    if (now >= nextNodeData_) TellNode(now);
    SendWaiting();
    if (outbox_.WantsMark(now) && session_->Mark()) outbox_.MarkSent(now);
}

// --- The session with the broker -----------------------------------------------------------

void Node::StartSession()
{
    ++sessionNumber_;
    // A client that has just been given up may still be in the middle of telling its last news.
    constexpr std::size_t kListenersKept = 4;
    listeners_.emplace_back(*this, sessionNumber_);
    if (listeners_.size() > kListenersKept) listeners_.pop_front();
    state_ = State::kConnecting;
    nextTry_ = Clock::now() + kConnectWithin;
    try {
        // The new one is made before the old one goes: with its last client Paho ends its threads.
        session_ = std::make_unique<BrokerSession>(config_.broker, "zelq-" + store_.Instance(),
                                                   listeners_.back());
        std::optional<Message> will;
        // Whoever only watches leaves no will: the name is another's.
        if (!yields_) will = wire_->Begin(store_.NextSession());
        session_->Connect(will);
    } catch (const std::exception& error) {
        Retry(error.what());
    }
}

void Node::Retry(const std::string& reason)
{
    const bool wasConnected = state_ != State::kConnecting;
    if (reason != lastReason_ || wasConnected) {
        Log("broker " + config_.broker.host + ", port " + std::to_string(config_.broker.port) +
            ": " + reason);
    }
    lastReason_ = reason;
    state_ = State::kIdle;
    outbox_.ConnectionLost();
    ownBirths_.clear();
    hostTime_ = 0;
    retry_ = wasConnected ? kFirstRetry : std::min(retry_ * 2, kLastRetry);
    nextTry_ = Clock::now() + retry_;
}

void Node::Subscribed()
{
    retry_ = kFirstRetry;
    lastReason_.clear();
    if (yields_) {
        Log("watches the other bridge");
        state_ = State::kYielded;
        AskOther();
    } else if (!config_.primaryHost.empty() && state_ != State::kHeld) {
        Log("connected; waits for the primary host \"" + config_.primaryHost + "\"");
        state_ = State::kHeld;
    } else if (state_ == State::kConnecting) {
        Log("connected to " + config_.broker.host);
        Birth();
    }
}

void Node::HearHost(bool online, Millis time)
{
    // An older word than the last one counts no more: it is the will of a session long gone.
    if (yields_ || time < hostTime_) return;
    hostTime_ = time;
    if (online && (state_ == State::kHeld || state_ == State::kConnecting)) {
        Log("the primary host is there");
        state_ = State::kHeld;
        Birth();
    } else if (!online && state_ == State::kBorn) {
        Log("the primary host is gone; changes are kept for it");
        Send(wire_->NodeDeath());
        CloseSession();
    }
}

/// Births of this node's name come back to it; one that it has not sent is another's. The one who
/// came last keeps the name: two who go on would make hosts ask both for births without end.
void Node::HearBirth(const std::string& payload)
{
    const auto own = std::find(ownBirths_.begin(), ownBirths_.end(), payload);
    if (own != ownBirths_.end()) {
        ownBirths_.erase(ownBirths_.begin(), own + 1);
        return;
    }
    if (yields_) {
        otherAnswersBy_ = Clock::time_point::max();
        return;
    }
    Log("another bridge calls itself \"" + config_.node + "\" in group \"" + config_.group +
        "\": it keeps the name, this one is silent until that one is gone");
    yields_ = true;
    CloseSession();
}

void Node::AskOther()
{
    const auto now = Clock::now();
    otherAskedAgain_ = now + kAskOtherEvery;
    otherAnswersBy_ = now + kOtherAnswersWithin;
    Send(wire_->RebirthRequest());
}

void Node::TakeNameBack()
{
    Log("the other bridge is gone");
    yields_ = false;
    CloseSession();
}

void Node::CloseSession()
{
    session_->Disconnect();
    state_ = State::kLeaving;
    nextTry_ = Clock::now() + kLeaveWithin;
}

// --- What is told ----------------------------------------------------------------------------

void Node::Send(const Message& message)
{
    session_->Send(message); // what fails is followed by the news that the connection is gone
}

void Node::Birth()
{
    const Millis time = WallClock();
    state_ = State::kBorn;
    rebirthDue_ = {};
    lastBirth_ = Clock::now();
    told_ = Values();
    const Message birth = wire_->NodeBirth(told_, time);
    ownBirths_.push_back(birth.payload);
    Send(birth);
    for (const short number : alive_) {
        for (const Message& message :
             wire_->DeviceBirth(devices_.at(number), desk_.WhatIsAllowed(), time)) {
            Send(message);
        }
    }
    outbox_.Rewind();
}

std::vector<NodeValue> Node::Values() const
{
    return {{1, "Bridge/Controllers", controllers_.load()},
            {2, "Bridge/Controllers online", static_cast<std::int64_t>(alive_.size())},
            {3, "Store/Waiting", store_.Waiting()},
            {4, "Store/Dropped", store_.Dropped()},
            {5, "Commands/Refused", desk_.Refused()},
            {6, "Properties/Version", std::string("zelq " ZELQ_VERSION)}};
}

void Node::TellNode(Clock::time_point now)
{
    nextNodeData_ = now + kNodeDataEvery;
    std::vector<NodeValue> values = Values();
    std::vector<NodeValue> changed;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].value != told_[i].value) changed.push_back(values[i]);
    }
    told_ = std::move(values);
    if (!changed.empty()) Send(wire_->NodeData(changed, WallClock()));
}

/// Of a controller that is not there nothing can be told; its changes go on waiting.
void Node::SendWaiting()
{
    std::vector<std::int64_t> ids;
    for (Record& record : outbox_.NextWaiting()) {
        if (!record.changes.empty() && !alive_.contains(record.controller)) continue;
        ids.push_back(record.id);
        if (record.changes.empty()) continue;
        const Device& device = devices_.at(record.controller);
        // A drive that it had then may be gone.
        std::erase_if(record.changes,
                      [&](const Change& change) { return device.Find(change.code) == nullptr; });
        if (!record.changes.empty()) Send(wire_->DeviceData(device, record, true));
    }
    if (!ids.empty()) outbox_.AddSentBatch(std::move(ids));
}

// --- News --------------------------------------------------------------------------------------

/// What is different from what was told last is a change like any other, to be kept until the
/// broker has it.
void Node::KeepChanges(const Device& device, Millis time)
{
    Record record{0, device.number, time, {}};
    const auto known = devices_.find(device.number);
    for (std::size_t i = 0; i < device.metrics.size(); ++i) {
        const std::uint32_t code = device.metrics[i].code;
        if (known != devices_.end()) {
            const auto place = known->second.places.find(code);
            const bool isSame = place != known->second.places.end() &&
                                known->second.values[place->second] == device.values[i];
            if (isSame) continue;
        }
        record.changes.push_back({code, device.values[i]});
    }
    if (record.changes.empty()) return;
    if (CanTell()) {
        outbox_.AddSent(std::move(record));
    } else {
        outbox_.AddWaiting(std::move(record));
    }
}

void Node::Handle(UpNews& news)
{
    KeepChanges(news.device, news.time);
    const short number = news.device.number;
    devices_[number] = std::move(news.device);
    alive_.insert(number);
    outbox_.Rewind();
    if (state_ != State::kBorn) return;
    for (const Message& message :
         wire_->DeviceBirth(devices_[number], desk_.WhatIsAllowed(), news.time)) {
        Send(message);
    }
}

void Node::Handle(Record& record)
{
    const auto found = devices_.find(record.controller);
    if (found == devices_.end()) return;
    found->second.Apply(record);
    if (CanTell()) {
        Send(wire_->DeviceData(found->second, record, false));
        outbox_.AddSent(std::move(record));
    } else {
        outbox_.AddWaiting(std::move(record));
    }
}

void Node::Handle(DownNews& news)
{
    const auto found = devices_.find(news.controller);
    if (alive_.erase(news.controller) > 0 && state_ == State::kBorn) {
        Send(wire_->DeviceDeath(found->second, WallClock()));
    }
    if (news.isGone && found != devices_.end()) devices_.erase(found);
}

void Node::Handle(BrokerNews& news)
{
    if (news.session != sessionNumber_ || state_ == State::kIdle) return;
    switch (news.kind) {
    case BrokerNews::Kind::kConnected:
        session_->Subscribe(wire_->Subscriptions());
        break;
    case BrokerNews::Kind::kSubscribed:
        Subscribed();
        break;
    case BrokerNews::Kind::kMarkPassed:
        outbox_.MarkPassed();
        break;
    case BrokerNews::Kind::kConnectFailed:
    case BrokerNews::Kind::kLost:
        Retry(news.text);
        break;
    case BrokerNews::Kind::kArrived:
        if (state_ != State::kLeaving) {
            Handle(wire_->Parse(news.text, news.payload, news.retained), news.payload);
        }
        break;
    }
}

void Node::Handle(const Incoming& incoming, const std::string& payload)
{
    switch (incoming.kind) {
    case Incoming::Kind::kRebirth:
        if (state_ == State::kBorn && rebirthDue_ == Clock::time_point{}) {
            rebirthDue_ = std::max(Clock::now(), lastBirth_ + kBetweenBirths);
        }
        break;
    case Incoming::Kind::kWrites:
        GiveOrders(incoming);
        break;
    case Incoming::Kind::kHost:
        HearHost(incoming.online, incoming.time);
        break;
    case Incoming::Kind::kBirth:
        HearBirth(payload);
        break;
    case Incoming::Kind::kDeath:
        if (state_ == State::kYielded) TakeNameBack();
        break;
    case Incoming::Kind::kNothing:
        break;
    }
}

void Node::GiveOrders(const Incoming& incoming)
{
    if (state_ == State::kYielded) return; // they are the other's
    const auto now = Clock::now();
    const auto device = std::find_if(alive_.begin(), alive_.end(), [&](short number) {
        return devices_.at(number).name == incoming.device;
    });
    if (device == alive_.end()) {
        desk_.RefuseAll(incoming.device, std::max<std::size_t>(1, incoming.writes.size()), now);
        return;
    }
    for (const Write& write : incoming.writes) {
        if (auto order = desk_.Check(devices_.at(*device), write, now)) carry_(std::move(*order));
    }
}

} // namespace zelq::bridge
