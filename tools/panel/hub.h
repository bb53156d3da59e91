// The pages that are open: who looks at what, who is in control, and what all are told.
#pragma once

#include "client.h"
#include "panel/actions.h"
#include "panel/peer.h"
#include "panel/poller.h"
#include "panel/simulator_port.h"
#include "panel/trace_feed.h"
#include "panel/worker.h"

#include <list>
#include <map>

namespace zelq::tool {

struct PanelParts
{
    web::HttpServer& server;
    Machine& machine;
    Poller& poller;
    Jogger& jogger;
    Worker& worker; ///< what changes something
    Worker& reader; ///< what is only asked for, and may take long
    Stopper& stopper;
    TraceFeed& trace;
};

struct HubOptions
{
    std::string token;
    bool readOnly = false;
    std::optional<SimulatorPort> simulator;
    Json controller; ///< as pages are told of it
    Json axes;
};

/// On the server's thread only, but for `Saw` and `Traced`, which hand on to it.
class Hub
{
  public:
    Hub(PanelParts parts, HubOptions options);

    /// A page that comes.
    web::Conversation Welcome();

    void Saw(const Sight& sight);
    void Traced(const std::vector<std::string>& lines, const std::string& problem);

  private:
    using PeerPtr = std::shared_ptr<Peer>;

    /// What a request needs.
    enum class Right { kNone, kToken, kControl };
    struct Request
    {
        const char* name;
        Right right;
        void (Hub::*handle)(const PeerPtr& peer, const Json& json, const Reply& reply);
        DoErrand act; ///< in place of a handler: the worker does it
        bool moves;
    };
    static const Request kRequests[];

    void Opened(const PeerPtr& peer, web::Link& link);
    void Heard(const PeerPtr& peer, std::string_view text);
    void Left(const PeerPtr& peer);
    void Handle(const PeerPtr& peer, const Json& json, const Reply& reply);
    [[nodiscard]] bool IsAllowed(const Request& request, const PeerPtr& peer, const Reply& reply);
    void Enqueue(const Request& request, const Json& json, const Reply& reply);

    void Hello(const PeerPtr& peer, const Json& json, const Reply& reply);
    void TakeControl(const PeerPtr& peer, const Json& json, const Reply& reply);
    void JogPress(const PeerPtr& peer, const Json& json, const Reply& reply);
    void JogKeep(const PeerPtr& peer, const Json& json, const Reply& reply);
    void JogRelease(const PeerPtr& peer, const Json& json, const Reply& reply);
    void StopAll(const PeerPtr& peer, const Json& json, const Reply& reply);
    void SetUnit(const PeerPtr& peer, const Json& json, const Reply& reply);
    void Watch(const PeerPtr& peer, const Json& json, const Reply& reply);
    void Scope(const PeerPtr& peer, const Json& json, const Reply& reply);
    void Simulator(const PeerPtr& peer, const Json& json, const Reply& reply);
    void TellMeaning(const PeerPtr& peer, const Json& json, const Reply& reply);

    [[nodiscard]] std::string WelcomeText(const Peer& peer) const;
    void TellControl();
    void SetHolder(PageNumber holder);
    void LookAround();
    void LookAtSimulator(bool wanted);
    void Distribute(const Sight& sight, const web::Link::Text& state);
    void SendAlarms(const Sight& sight);
    void DescribeAnew();
    template <typename Tell>
    void ForAll(Tell tell);

    PanelParts parts_;
    HubOptions options_;
    const SteadyClock::time_point start_ = SteadyClock::now();
    std::list<std::weak_ptr<Peer>> peers_; // a page lives as long as its connection
    PageNumber lastPage_ = 0;
    PageNumber holder_ = 0;                        ///< in control; 0: nobody
    std::map<std::string, std::uint64_t> presses_; ///< the last one of each page
    std::shared_ptr<void> simulatorState_;
    std::vector<unsigned short> described_;
    std::atomic<int> onTheirWay_ = 0; ///< sights that have been handed on
};

} // namespace zelq::tool
