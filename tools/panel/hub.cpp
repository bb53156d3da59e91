#include "panel/hub.h"

#include "frame/failure.h"
#include "panel/state_text.h"

#include <algorithm>
#include <cstdio>

namespace zelq::tool {

namespace {

constexpr std::size_t kMostPages = 32;
constexpr int kMostOnTheirWay = 20;
/// Behind so much that a page has not read yet, it gets no news.
constexpr std::size_t kMostUnread = std::size_t{1} << 20;

std::string NameOfPage(PageNumber number)
{
    // Different enough to be told apart at a glance, and never the same twice.
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%04x",
                  static_cast<unsigned>(number * 40503U % 65536U));
    return text.data();
}

} // namespace

Hub::Hub(PanelParts parts, HubOptions options)
    : parts_(parts), options_(std::move(options)), described_(parts.machine.ServoAxes())
{}

template <typename Tell>
void Hub::ForAll(Tell tell)
{
    for (const std::weak_ptr<Peer>& each : peers_) {
        const PeerPtr peer = each.lock();
        if (peer != nullptr && peer->link != nullptr && peer->isGreeted) tell(*peer);
    }
}

web::Conversation Hub::Welcome()
{
    auto peer = std::make_shared<Peer>();
    return {[this, peer](web::Link& link) { Opened(peer, link); },
            [this, peer](std::string_view text) { Heard(peer, text); },
            [this, peer] { Left(peer); }};
}

void Hub::Opened(const PeerPtr& peer, web::Link& link)
{
    std::erase_if(peers_, [](const auto& each) { return each.expired(); });
    if (peers_.size() >= kMostPages) return link.Close();
    peer->link = &link;
    peer->number = ++lastPage_;
    peer->name = NameOfPage(peer->number);
    peers_.push_back(peer);
}

void Hub::Left(const PeerPtr& peer)
{
    peer->link = nullptr;
    peer->recorder.reset();
    peer->tabs.clear();
    peer->polled.reset();
    parts_.jogger.Drop(peer->number);
    if (holder_ == peer->number) SetHolder(0);
    LookAround();
}

void Hub::Heard(const PeerPtr& peer, std::string_view text)
{
    if (peer->link == nullptr) return;
    const Json json = Json::parse(text, nullptr, false);
    const bool isObject = json.is_object();
    const Json id = isObject ? json.value("id", Json()) : Json();
    const Reply reply(parts_.server, peer, id.is_structured() ? Json() : id);
    if (!isObject) return peer->link->Close(); // no page of ours
    try {
        Handle(peer, json, reply);
    } catch (const Failure& failure) {
        reply.Refuse(refused::kLimit, failure.what());
    } catch (const Json::exception& error) {
        reply.Refuse(refused::kUnknown, error.what());
    }
}

std::string Hub::WelcomeText(const Peer& peer) const
{
    return Json{{"type", "welcome"},
                {"version", ZELQ_VERSION},
                {"controller", options_.controller},
                {"axes", options_.axes},
                {"periodMs", parts_.poller.Period().count()},
                {"readOnly", options_.readOnly},
                {"mayChange", peer.mayChange},
                {"you", peer.name}}
        .dump(-1, ' ', false, Json::error_handler_t::replace);
}

void Hub::TellControl()
{
    ForAll([&](const Peer& peer) {
        const char* holder = holder_ == 0 ? "nobody" : holder_ == peer.number ? "you" : "other";
        peer.Send(Json{{"type", "control"}, {"holder", holder}}.dump());
    });
}

void Hub::SetHolder(PageNumber holder)
{
    if (holder_ == holder) return;
    if (holder_ != 0) parts_.jogger.Drop(holder_);
    holder_ = holder;
    TellControl();
}

/// Who is wanted to work, by what the pages show at present.
void Hub::LookAround()
{
    bool watched = false;
    bool trace = false;
    bool simulator = false;
    ForAll([&](const Peer& peer) {
        watched = watched || peer.polled || peer.Watches("axes") || peer.Watches("io");
        trace = trace || peer.Watches("trace");
        simulator = simulator || peer.Watches("simulator");
    });
    parts_.poller.Set(Poller::kPages, watched);
    parts_.trace.Set(trace);
    LookAtSimulator(simulator);
}

void Hub::LookAtSimulator(bool wanted)
{
    if (!wanted || !options_.simulator) return simulatorState_.reset();
    if (simulatorState_ != nullptr) return;
    simulatorState_ = web::Listen(
        parts_.server, options_.simulator->place, options_.simulator->Target("/stream?rate=10"),
        [this](std::string_view state) {
            const auto text = std::make_shared<const std::string>(
                R"({"type":"simulator","state":)" + std::string(state) + "}");
            ForAll([&](const Peer& peer) {
                const bool isSlow = peer.link->Waiting() > kMostUnread;
                if (peer.Watches("simulator") && !isSlow) peer.link->Send(text);
            });
        },
        [this](const std::string& why) {
            const std::string text =
                Json{{"type", "simulator"}, {"state", nullptr}, {"text", why}}.dump(
                    -1, ' ', false, Json::error_handler_t::replace);
            ForAll([&](const Peer& peer) {
                if (peer.Watches("simulator")) peer.Send(text);
            });
            // Not from within itself.
            parts_.server.Post([this] { simulatorState_.reset(); });
        });
}

void Hub::Saw(const Sight& sight)
{
    for (const unsigned short axis : parts_.machine.CheckMoved(sight)) {
        parts_.machine.Stop(Gate::kUsual, {axis});
    }
    parts_.poller.Set(Poller::kGuard, parts_.machine.HasGuarded());
    const bool owesStop = parts_.machine.OwesStop();
    parts_.poller.Set(Poller::kOwedStop, owesStop);
    if (owesStop && sight.result == ZELQ_OK) parts_.stopper.Ask([](short) {});
    // A server's thread that is behind gets fewer.
    if (onTheirWay_ >= kMostOnTheirWay) return;
    ++onTheirWay_;
    const auto copy = std::make_shared<const Sight>(sight);
    const auto state = std::make_shared<const std::string>(StateText(sight, start_));
    parts_.server.Post([this, copy, state] {
        --onTheirWay_;
        Distribute(*copy, state);
    });
}

void Hub::Distribute(const Sight& sight, const web::Link::Text& state)
{
    if (sight.result == ZELQ_OK && sight.ServoAxes() != described_) DescribeAnew();
    SendAlarms(sight);
    const double seconds = std::chrono::duration<double>(sight.at - start_).count();
    ForAll([&](Peer& peer) {
        if (peer.Watches("axes") || peer.Watches("io")) peer.link->Show(state);
        if (!peer.polled || sight.result != ZELQ_OK) return;
        std::string samples = peer.polled->Take(sight, seconds);
        if (!samples.empty() && peer.link->Waiting() < kMostUnread) peer.Send(std::move(samples));
    });
}

/// An alarm when it comes; all that there are to who has just come.
void Hub::SendAlarms(const Sight& sight)
{
    if (sight.result != ZELQ_OK) return;
    for (const unsigned short axis : sight.ServoAxes()) {
        const ShownAxis& shown = sight.axes.at(axis);
        if (shown.alarm <= 0) continue;
        Json json = {{"type", "alarm"}};
        json.update(AlarmJson(axis, shown.alarm, shown.alarmSub));
        ForAll([&](const Peer& peer) {
            if (shown.isNew || !peer.knowsAlarms) peer.Send(json.dump());
        });
    }
    ForAll([](Peer& peer) { peer.knowsAlarms = true; });
}

void Hub::DescribeAnew()
{
    described_ = parts_.machine.ServoAxes();
    // Where too much waits already it is left out; the next change tells it.
    [[maybe_unused]] const bool isAdded = parts_.reader.Add(
        {false,
         [this] {
             parts_.server.Post([this, axes = DescribeAxes(parts_.machine)] {
                 options_.axes = axes;
                 ForAll([this](const Peer& peer) { peer.Send(WelcomeText(peer)); });
             });
         },
         [] {}});
}

void Hub::Traced(const std::vector<std::string>& lines, const std::string& problem)
{
    Json json = {{"type", "trace"}, {"lines", lines}};
    if (!problem.empty()) json["problem"] = problem;
    parts_.server.Post([this, text = std::make_shared<const std::string>(
                                  json.dump(-1, ' ', false, Json::error_handler_t::replace))] {
        ForAll([&](const Peer& peer) {
            const bool isSlow = peer.link->Waiting() > kMostUnread;
            if (peer.Watches("trace") && !isSlow) peer.link->Send(text);
        });
    });
}

} // namespace zelq::tool
