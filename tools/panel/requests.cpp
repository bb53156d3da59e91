// What pages may ask for.

#include "frame/failure.h"
#include "panel/hub.h"

#include <algorithm>
#include <cctype>

namespace zelq::tool {

namespace {

constexpr std::size_t kMostRemembered = 256; ///< pages
constexpr std::size_t kLongestName = 64;
constexpr std::size_t kLongestPath = 256;
/// Nobody expects a motion any more that he has asked for so long ago.
constexpr std::chrono::seconds kLongestWait{1};

/// Takes as long for any two texts of one length.
bool AreSame(const std::string& given, const std::string& wanted)
{
    unsigned char differs = given.size() == wanted.size() ? 0 : 1;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const char letter = i < given.size() ? given[i] : '\0';
        differs |= static_cast<unsigned char>(letter ^ wanted[i]);
    }
    return differs == 0;
}

bool IsPlainPath(const std::string& path)
{
    constexpr const char* kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./?=&,:";
    return path.starts_with('/') && path.size() <= kLongestPath &&
           path.find_first_not_of(kPlain) == std::string::npos;
}

bool IsPlainName(const std::string& name)
{
    return std::all_of(name.begin(), name.end(), [](unsigned char letter) {
        return std::isalnum(letter) != 0 || letter == '.';
    });
}

} // namespace

const Hub::Request Hub::kRequests[] = {
    {"hello", Right::kNone, &Hub::Hello, nullptr, false},
    {"control", Right::kToken, &Hub::TakeControl, nullptr, false},
    {"jog", Right::kControl, &Hub::JogPress, nullptr, true},
    {"keep", Right::kNone, &Hub::JogKeep, nullptr, false},
    {"release", Right::kNone, &Hub::JogRelease, nullptr, false},
    {"move", Right::kControl, nullptr, MoveAxis, true},
    {"home", Right::kControl, nullptr, HomeAxis, true},
    {"servo", Right::kControl, nullptr, SwitchServos, false},
    {"resetAlarm", Right::kControl, nullptr, ResetAlarms, false},
    {"stop", Right::kToken, &Hub::StopAll, nullptr, false},
    {"output", Right::kControl, nullptr, SetOutput, true},
    {"unit", Right::kControl, &Hub::SetUnit, nullptr, false},
    {"watch", Right::kNone, &Hub::Watch, nullptr, false},
    {"scope", Right::kNone, &Hub::Scope, nullptr, false},
    {"alarms", Right::kNone, nullptr, TellAlarms, false},
    {"parameters", Right::kNone, nullptr, TellParameters, false},
    {"compare", Right::kNone, nullptr, CompareParameters, false},
    {"programs", Right::kNone, nullptr, TellPrograms, false},
    {"lists", Right::kNone, nullptr, TellLists, false},
    {"explain", Right::kNone, &Hub::TellMeaning, nullptr, false},
    {"simulator", Right::kNone, &Hub::Simulator, nullptr, false},
};

void Hub::Handle(const PeerPtr& peer, const Json& json, const Reply& reply)
{
    const std::string name = TextIn(json, "do");
    const auto* request = std::find_if(std::begin(kRequests), std::end(kRequests),
                                       [&](const Request& each) { return name == each.name; });
    if (request == std::end(kRequests)) {
        return reply.Refuse(refused::kUnknown, "nobody knows \"" + name + "\" here");
    }
    const bool isHello = request->handle == &Hub::Hello;
    if (!isHello && !peer->isGreeted) return reply.Refuse(refused::kUnknown, "say hello first");
    if (!IsAllowed(*request, peer, reply)) return;
    if (request->handle != nullptr) {
        (this->*request->handle)(peer, json, reply);
    } else {
        Enqueue(*request, json, reply);
    }
}

bool Hub::IsAllowed(const Request& request, const PeerPtr& peer, const Reply& reply)
{
    if (request.right == Right::kNone) return true;
    if (options_.readOnly) {
        reply.Refuse(refused::kReadOnly, "this panel only shows");
        return false;
    }
    if (!peer->mayChange) {
        reply.Refuse(refused::kToken, "open the address that zelq has printed, with its token");
        return false;
    }
    if (request.right == Right::kToken) return true;
    if (holder_ == 0) SetHolder(peer->number);
    if (holder_ == peer->number) return true;
    reply.Refuse(refused::kControl, "another page is in control");
    return false;
}

void Hub::Enqueue(const Request& request, const Json& json, const Reply& reply)
{
    Worker& worker = request.right == Right::kNone ? parts_.reader : parts_.worker;
    const auto late = SteadyClock::now() + kLongestWait;
    const auto run = [this, act = request.act, moves = request.moves, late, json, reply, &worker,
                      epoch = parts_.machine.Now()] {
        try {
            if (moves && SteadyClock::now() > late) {
                return reply.Refuse(refused::kBusy, "it has waited too long to be begun now");
            }
            act({json, parts_.machine, worker, epoch, reply});
        } catch (const Failure& failure) {
            if (failure.Code() != 0) return reply.Result(failure.Code(), "");
            reply.Refuse(refused::kLimit, failure.what());
        } catch (const Json::exception& error) {
            reply.Refuse(refused::kUnknown, error.what());
        }
    };
    const auto drop = [reply] { reply.Refuse(refused::kStopped, "a stop came in front of it"); };
    if (!worker.Add({request.moves, run, drop})) {
        reply.Refuse(refused::kBusy, "too much is asked for at once");
    }
}

void Hub::Hello(const PeerPtr& peer, const Json& json, const Reply& /*reply*/)
{
    const Json token = json.value("token", Json());
    const Json page = json.value("page", Json());
    peer->mayChange = !options_.readOnly && token.is_string() &&
                      AreSame(token.get<std::string>(), options_.token);
    if (page.is_string()) peer->page = page.get<std::string>().substr(0, kLongestName);
    peer->isGreeted = true;
    peer->Send(WelcomeText(*peer));
    TellControl();
}

void Hub::TakeControl(const PeerPtr& peer, const Json& json, const Reply& reply)
{
    const bool takes = json.value("take", Json(true)) != false;
    if (takes) {
        SetHolder(peer->number);
    } else if (holder_ == peer->number) {
        SetHolder(0);
    }
    reply.Result(ZELQ_OK, "");
}

void Hub::JogPress(const PeerPtr& peer, const Json& json, const Reply& reply)
{
    const auto number = json.find("press");
    if (number == json.end() || !number->is_number_unsigned()) {
        throw Failure(kUsage, "press has to be a number that grows");
    }
    if (presses_.size() >= kMostRemembered && !presses_.contains(peer->page)) presses_.clear();
    std::uint64_t& last = presses_[peer->page];
    if (number->get<std::uint64_t>() <= last) {
        return reply.Refuse(refused::kReplay, "this press was there already");
    }
    last = number->get<std::uint64_t>();
    const unsigned short axis = AxisIn(json, parts_.machine);
    const double direction = NumberIn(json, "direction");
    const double speed = NumberIn(json, "speed");
    if ((direction != 1 && direction != -1) || speed <= 0) {
        throw Failure(kUsage, "direction has to be 1 or -1, and speed above 0");
    }
    const auto began = [reply](const JogBegin& begin) {
        if (begin.refusal.empty()) {
            reply.Result(begin.result, begin.function);
        } else {
            reply.Refuse(refused::kLimit, begin.refusal);
        }
    };
    const auto ended = [reply, axis, press = last](const char* why) {
        reply.Tell({{"type", "jogEnd"}, {"axis", axis}, {"press", press}, {"text", why}});
    };
    parts_.jogger.Press(peer->number, axis, static_cast<int>(direction), speed, began, ended);
}

void Hub::JogKeep(const PeerPtr& peer, const Json& json, const Reply& /*reply*/)
{
    parts_.jogger.Keep(peer->number, AxisIn(json, parts_.machine));
}

void Hub::JogRelease(const PeerPtr& peer, const Json& json, const Reply& /*reply*/)
{
    parts_.jogger.Release(peer->number, AxisIn(json, parts_.machine));
}

void Hub::StopAll(const PeerPtr& /*peer*/, const Json& /*json*/, const Reply& reply)
{
    parts_.machine.BeginStop();
    parts_.stopper.Ask([this, reply](short result) {
        reply.Result(result, "zelQ_mStop");
        if (parts_.machine.OwesStop()) parts_.poller.Set(Poller::kOwedStop, true);
    });
    parts_.jogger.DropAll();
    parts_.worker.DropMoves();
}

void Hub::SetUnit(const PeerPtr& /*peer*/, const Json& json, const Reply& reply)
{
    const unsigned short axis = AxisIn(json, parts_.machine);
    const double unit = NumberIn(json, "unit");
    const std::string text = TextIn(json, "text").substr(0, kLongestName);
    if (unit <= 0) throw Failure(kUsage, "unit has to be above 0");
    const auto set = [this, axis, unit, text, reply] {
        ServoStatus servo{};
        const short seen = parts_.machine.Pass(Gate::kUsual, [&] {
            return zelQ_GetServoStatus(parts_.machine.Number(), axis, &servo);
        });
        if (seen != ZELQ_OK) return reply.Result(seen, "zelQ_GetServoStatus");
        if (servo.inMotion != 0) {
            return reply.Refuse(refused::kLimit, "an axis in motion keeps its unit");
        }
        reply.Result(parts_.machine.SetUnit(axis, unit, text), "zelQ_UnitPerPulseSet");
        parts_.server.Post([this] { DescribeAnew(); });
    };
    if (!parts_.worker.Add({false, set, [] {}})) {
        reply.Refuse(refused::kBusy, "too much is asked for at once");
    }
}

void Hub::Watch(const PeerPtr& peer, const Json& json, const Reply& /*reply*/)
{
    constexpr std::array kTabs = {"axes", "io", "trace", "simulator"};
    const Json tabs = json.value("tabs", Json::array());
    peer->tabs.clear();
    for (const char* tab : kTabs) {
        if (std::find(tabs.begin(), tabs.end(), Json(tab)) != tabs.end()) peer->tabs.insert(tab);
    }
    LookAround();
}

void Hub::Scope(const PeerPtr& peer, const Json& json, const Reply& reply)
{
    peer->polled.reset();
    peer->recorder.reset();
    const auto signals = json.value("signals", std::vector<std::string>());
    const bool isRecorder = json.value("source", Json("poll")) == "recorder";
    if (isRecorder && !signals.empty()) {
        if (!options_.simulator) throw Failure(kUsage, "this controller has no recorder");
        std::string names;
        for (const std::string& name : signals) {
            if (!IsPlainName(name)) throw Failure(kUsage, name + " is no signal");
            names += (names.empty() ? "" : ",") + name;
        }
        const std::weak_ptr<Peer> listener = peer;
        peer->recorder = web::Listen(
            parts_.server, options_.simulator->place,
            options_.simulator->Target("/recorder?signals=" + names),
            [listener](std::string_view batch) {
                const PeerPtr there = listener.lock();
                if (there == nullptr || there->link == nullptr || batch.size() < 2) return;
                there->Send(R"({"type":"samples",)" + std::string(batch.substr(1)));
            },
            [reply](const std::string& why) {
                reply.Failed(-1, "the recorder has ended: " + why);
            });
    } else if (!signals.empty()) {
        peer->polled.emplace(signals,
                             std::chrono::duration<double>(parts_.poller.Period()).count());
    }
    LookAround();
    reply.Result(ZELQ_OK, "");
}

void Hub::Simulator(const PeerPtr& peer, const Json& json, const Reply& reply)
{
    if (!options_.simulator) throw Failure(kUsage, "this controller is no simulated one");
    const std::string method = TextIn(json, "method");
    const std::string path = TextIn(json, "path");
    constexpr std::array kMethods = {"GET", "PUT", "POST", "DELETE"};
    const bool isKnown = std::find(kMethods.begin(), kMethods.end(), method) != kMethods.end();
    if (!isKnown || !IsPlainPath(path)) throw Failure(kUsage, "this is no request of its");
    static constexpr Request kChange = {"simulator", Right::kToken, nullptr, nullptr, false};
    if (method != "GET" && !IsAllowed(kChange, peer, reply)) return;
    const Json body = json.value("body", Json());
    web::Ask(parts_.server, options_.simulator->place,
             {method, options_.simulator->Target(path), body.is_null() ? "" : body.dump()},
             [reply](unsigned status, const std::string& answer) {
                 const Json said = Json::parse(answer, nullptr, false);
                 if (status == 204) return reply.Data(nullptr);
                 if (status == 200 && !said.is_discarded()) return reply.RawData(said.dump());
                 const bool isError = said.is_object() && said.contains("error");
                 reply.Failed(status == 0 ? -1 : static_cast<int>(status),
                              isError ? said["error"].get<std::string>() : answer);
             });
}

void Hub::TellMeaning(const PeerPtr& /*peer*/, const Json& json, const Reply& reply)
{
    TellMeaningOf({json, parts_.machine, parts_.worker, 0, reply});
}

} // namespace zelq::tool
