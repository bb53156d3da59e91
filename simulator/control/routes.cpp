#include "routes.h"

#include "core/hand_wheel.h"
#include "core/names.h"
#include "machine_json.h"
#include "recorder.h"
#include "server/server.h"
#include "state.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>

namespace lumosim {

namespace {

using nlohmann::json;
using web::Answer;

constexpr double kLongestStepMs = 3'600'000;
constexpr double kLargestLoad = 3000; // 0.1 % of the rated torque
constexpr std::int64_t kMostPulses = 1'000'000'000;

Answer Json(const json& value)
{
    web::Response response;
    response.body = value.dump() + "\n";
    return response;
}

Answer Done()
{
    web::Response response;
    response.status = 204;
    return response;
}

// Hands the body to `take`; none at all is an empty object.
template <typename Take>
void WithBody(const Call& call, Take take)
{
    const json body = call.request.body.empty() ? json::object() : ParseJson(call.request.body);
    take(JsonReader(body));
}

int StationOf(const Call& call)
{
    const std::string& text = call.wild.front();
    int station = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), station);
    const bool good = error == std::errc() && end == text.data() + text.size() && station >= 0 &&
                      station < kMaxAxes;
    if (!good) throw Refused(404, "there is no station " + text);
    return station;
}

// Runs `use(Axis&)` of the axis that the path names.
template <typename Use>
Answer WithAxis(const Call& call, Use use)
{
    const int number = StationOf(call);
    call.server.With([&](Controller& controller) {
        Axis* axis = controller.FindAxis(number);
        if (axis == nullptr) throw Refused(404, "there is no axis " + std::to_string(number));
        use(*axis);
    });
    return Done();
}

Answer GetState(const Call& call)
{
    return Json(StateOf(call.server));
}

Answer GetClock(const Call& call)
{
    return Json(ClockOf(call.server));
}

Answer PutClock(const Call& call)
{
    ClockState clock = call.server.RealTimeClock();
    WithBody(call, [&clock](const JsonReader& body) {
        body.Object({{"scale", Into(clock.scale, 0.01, 100)}, {"paused", Into(clock.paused)}});
    });
    call.server.SetRealTimeClock(clock);
    return Done();
}

Answer Step(const Call& call)
{
    double milliseconds = 1;
    WithBody(call, [&](const JsonReader& body) {
        body.Object({{"ms", Into(milliseconds, 0, kLongestStepMs)}});
    });
    call.server.AdvanceBy(Nanoseconds(std::llround(milliseconds * 1e6)));
    return Json(ClockOf(call.server));
}

Answer PutInputs(const Call& call)
{
    constexpr int kPins = 8;
    WithBody(call, [&](const JsonReader& body) {
        call.server.With([&](Controller& controller) {
            const std::uint32_t inputs = ReadPins(body, controller.MainInputs(), kPins);
            controller.SetMainInputs(static_cast<Word>(inputs));
        });
    });
    return Done();
}

Answer PutSlaveInputs(const Call& call)
{
    constexpr int kPins = 32;
    const int station = StationOf(call);
    WithBody(call, [&](const JsonReader& body) {
        call.server.With([&](Controller& controller) {
            const Slave& slave = controller.SlaveAt(station);
            if (slave.type != SlaveType::kInput) {
                throw Refused(404, "no input slave stands at " + std::to_string(station));
            }
            controller.SetSlaveInputs(station, ReadPins(body, slave.inputs, kPins));
        });
    });
    return Done();
}

Answer PutAxisInputs(const Call& call)
{
    return WithAxis(call, [&](Axis& axis) {
        AxisInputs inputs = axis.Inputs();
        WithBody(call, [&](const JsonReader& body) { ReadAxisInputs(body, inputs); });
        axis.SetInputs(inputs);
    });
}

Answer PutMechanics(const Call& call)
{
    return WithAxis(call, [&](Axis& axis) {
        AxisMechanics mechanics = axis.Mechanics();
        WithBody(call, [&](const JsonReader& body) { ReadMechanics(body, mechanics); });
        axis.SetMechanics(mechanics);
    });
}

Answer PutLoad(const Call& call)
{
    return WithAxis(call, [&](Axis& axis) {
        double torque = 0;
        WithBody(call, [&](const JsonReader& body) {
            body.Object({{"torque", Into(torque, -kLargestLoad, kLargestLoad)}});
        });
        axis.SetLoad(torque);
    });
}

Answer PushAxis(const Call& call)
{
    return WithAxis(call, [&](Axis& axis) {
        std::int64_t pulses = 0;
        WithBody(call, [&](const JsonReader& body) {
            body.Object({{"pulses", Into(pulses, -kMostPulses, kMostPulses)}});
        });
        axis.PushByHand(static_cast<std::int32_t>(pulses));
    });
}

Answer RaiseAlarm(const Call& call)
{
    return WithAxis(call, [&](Axis& axis) {
        std::int64_t number = kFollowingErrorAlarm.number;
        std::int64_t sub = 0;
        Alarm alarm;
        WithBody(call, [&](const JsonReader& body) {
            body.Object({{"number", Into(number, 1, 255)},
                         {"subNumber", Into(sub, 0, 255)},
                         {"lasting", Into(alarm.lasting)}});
        });
        alarm.number = static_cast<std::uint8_t>(number);
        alarm.subNumber = static_cast<std::uint8_t>(sub);
        axis.RaiseAlarm(alarm);
    });
}

Answer ClearAlarm(const Call& call)
{
    return WithAxis(call, [](Axis& axis) {
        if (!axis.ResetAlarm()) throw Refused(409, "this alarm lasts until the power goes off");
    });
}

Answer TurnHandWheel(const Call& call)
{
    std::int64_t notches = 1;
    WithBody(call, [&](const JsonReader& body) {
        body.Object({{"notches", Into(notches, -10'000, 10'000)}});
    });
    const Result result = call.server.With([&](Controller& controller) {
        return controller.Get<HandWheel>().Turn(static_cast<std::int32_t>(notches));
    });
    if (result != Result::kDone) throw Refused(409, NameOf(result));
    return Done();
}

Answer CyclePower(const Call& call)
{
    call.server.With([](Controller& controller) { controller.PowerCycle(); });
    return Done();
}

Answer DropHosts(const Call& call)
{
    call.server.DropConnections();
    return Done();
}

Answer GetFaults(const Call& call)
{
    return Json(call.server.With([&](Controller&) { return FaultKinds(call.server.Faults()); }));
}

// The fault that the path names.
const std::string& FaultOf(const Call& call)
{
    const std::string& name = call.wild.front();
    const auto& kinds = call.server.Faults().Kinds();
    if (std::ranges::find(kinds, name, &FaultKind::name) != kinds.end()) return name;
    throw Refused(404, "there is no fault " + name);
}

Answer PutFault(const Call& call)
{
    FaultValues values;
    WithBody(call, [&values](const JsonReader& body) {
        body.Object([&values](const std::string& name, const JsonReader& value) {
            values[name] = value.Number(-1e15, 1e15);
        });
    });
    call.server.With([&](Controller&) { call.server.Faults().Apply(FaultOf(call), values); });
    return Done();
}

Answer DeleteFault(const Call& call)
{
    call.server.With([&](Controller&) { call.server.Faults().Clear(FaultOf(call)); });
    return Done();
}

Answer DeleteFaults(const Call& call)
{
    call.server.With([&](Controller&) { call.server.Faults().ClearAll(); });
    return Done();
}

// A number of the query, within its bounds.
double QueryNumber(const Call& call, const char* name, double normal, double least, double most)
{
    const auto found = call.request.query.find(name);
    if (found == call.request.query.end()) return normal;
    std::istringstream text(found->second);
    double number = 0;
    if (text >> number && text.eof() && number >= least && number <= most) return number;
    throw std::invalid_argument(std::string(name) + " is a number from " + json(least).dump() +
                                " to " + json(most).dump());
}

Answer Stream(const Call& call)
{
    constexpr double kNormalRate = 10;
    const double rate = QueryNumber(call, "rate", kNormalRate, 0.1, 1000);
    return web::Feed{std::chrono::microseconds(std::llround(1e6 / rate)),
                     [&server = call.server] { return StateOf(server).dump(); }};
}

std::string TextOf(const Recording::Batch& batch, const std::vector<Channel>& channels)
{
    if (batch.rows.empty()) return "";
    json samples = json::object();
    for (std::size_t i = 0; i < channels.size(); ++i) {
        json& column = samples[channels[i].name] = json::array();
        for (const std::vector<double>& row : batch.rows) {
            column.push_back(row[i]);
        }
    }
    const auto inSeconds = [](Nanoseconds time) {
        return std::chrono::duration<double>(time).count();
    };
    return json{{"from", inSeconds(batch.from)},
                {"step", inSeconds(Recorder::kStep)},
                {"lost", batch.lost},
                {"samples", samples}}
        .dump();
}

Answer Record(const Call& call)
{
    constexpr std::chrono::milliseconds kBatchTime{50};
    const auto asked = call.request.query.find("signals");
    std::vector<Channel> channels;
    std::istringstream names(asked == call.request.query.end() ? "" : asked->second);
    for (std::string name; std::getline(names, name, ',');) {
        channels.push_back(FindChannel(name));
    }
    if (channels.empty() || channels.size() > Recorder::kMostChannels) {
        throw std::invalid_argument("signals names one to eight of them, such as "
                                    "signals=0.command,0.encoder");
    }
    const auto recording =
        call.server.With([&](Controller&) { return call.recorder.Start(std::move(channels)); });
    return web::Feed{kBatchTime, [&server = call.server, recording] {
                         const auto batch =
                             server.With([&](Controller&) { return recording->Take(); });
                         return TextOf(batch, recording->Channels());
                     }};
}

} // namespace

const std::vector<Route>& Routes()
{
    static const std::vector<Route> kRoutes = {
        {"GET", "state", "all there is to see, at one moment", GetState},
        {"GET", "stream", "WebSocket: the state, ?rate=10 times a second", Stream},
        {"GET", "recorder", "WebSocket: ?signals=0.command,0.encoder at every millisecond", Record},
        {"GET", "clock", "the simulated time", GetClock},
        {"PUT", "clock", "{scale, paused}", PutClock},
        {"POST", "clock/step", "{ms}: lets so much time pass at once", Step},
        {"PUT", "inputs", "{value} or {pins: {\"0\": true}} of the main board", PutInputs},
        {"PUT", "slaves/*/inputs", "the same of the input slave at a station", PutSlaveInputs},
        {"PUT", "axes/*/inputs", "sensors held on, whatever the place", PutAxisInputs},
        {"PUT", "axes/*/mechanics", "what the axis's machine is like", PutMechanics},
        {"PUT", "axes/*/load", "{torque}: 0.1 % of the rated one", PutLoad},
        {"POST", "axes/*/push", "{pulses}: turns the motor of a servo that is off", PushAxis},
        {"POST", "axes/*/alarm", "{number, subNumber, lasting}: raises it", RaiseAlarm},
        {"DELETE", "axes/*/alarm", "resets it", ClearAlarm},
        {"POST", "hand-wheel", "{notches}", TurnHandWheel},
        {"POST", "power", "off and on again", CyclePower},
        {"DELETE", "hosts", "drops their connections", DropHosts},
        {"GET", "faults", "what can go wrong, and what does", GetFaults},
        {"PUT", "faults/*", "applies a fault", PutFault},
        {"DELETE", "faults/*", "clears it", DeleteFault},
        {"DELETE", "faults", "clears all", DeleteFaults},
    };
    return kRoutes;
}

} // namespace lumosim
