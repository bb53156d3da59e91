#include "state.h"

#include "server/server.h"

#include <chrono>
#include <nlohmann/json.hpp>

namespace lumosim {

namespace {

using nlohmann::json;

json ShowClock(const ClockState& clock, Nanoseconds now)
{
    return {{"now", std::chrono::duration<double>(now).count()},
            {"scale", clock.scale},
            {"paused", clock.paused}};
}

json ActiveFaults(const FaultRegistry& faults)
{
    json active = json::object();
    for (const ActiveFault& fault : faults.Active()) {
        active[fault.name] = fault.values;
    }
    return active;
}

} // namespace

json FaultKinds(const FaultRegistry& faults)
{
    json kinds = json::array();
    for (const FaultKind& kind : faults.Kinds()) {
        json parameters = json::array();
        for (const FaultParameter& parameter : kind.parameters) {
            parameters.push_back({{"name", parameter.name},
                                  {"text", parameter.text},
                                  {"smallest", parameter.smallest},
                                  {"largest", parameter.largest},
                                  {"normal", parameter.normal}});
        }
        kinds.push_back({{"name", kind.name}, {"text", kind.text}, {"parameters", parameters}});
    }
    return {{"kinds", kinds}, {"active", ActiveFaults(faults)}};
}

json ClockOf(Server& server)
{
    const ClockState clock = server.RealTimeClock();
    const Nanoseconds now =
        server.With([](const Controller& controller) { return controller.Now(); });
    return ShowClock(clock, now);
}

json StateOf(Server& server)
{
    const ClockState clock = server.RealTimeClock();
    return server.With([&](const Controller& controller) {
        json state = controller.Snapshot();
        state["faults"] = ActiveFaults(server.Faults());
        state["clock"] = ShowClock(clock, controller.Now());
        return state;
    });
}

} // namespace lumosim
