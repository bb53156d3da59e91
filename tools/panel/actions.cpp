#include "panel/actions.h"

#include "frame/alarm_text.h"
#include "frame/failure.h"
#include "frame/motion.h"
#include "keep/drive_params.h"
#include "zelq_errors.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zelq::tool {

namespace {

[[noreturn]] void FailField(const char* name, const char* wanted)
{
    throw Failure(kUsage, std::string(name) + " has to be " + wanted);
}

bool IsAll(const Json& request)
{
    return request.value("axis", Json()) == "all";
}

std::vector<unsigned short> AxesIn(const Json& request, Machine& machine)
{
    if (IsAll(request)) return machine.ServoAxes();
    return {AxisIn(request, machine)};
}

bool FlagIn(const Json& request, const char* name)
{
    const auto found = request.find(name);
    if (found == request.end() || !found->is_boolean()) FailField(name, "true or false");
    return found->get<bool>();
}

int IndexIn(const Json& request, const char* name, int most)
{
    const auto found = request.find(name);
    const bool isIndex = found != request.end() && found->is_number_unsigned() &&
                         found->get<std::uint64_t>() <= static_cast<std::uint64_t>(most);
    if (!isIndex) FailField(name, ("a number from 0 to " + std::to_string(most)).c_str());
    return found->get<int>();
}

/// The answer to a step; false ends the errand.
bool Goes(const Errand& errand, std::optional<short> result, const char* function)
{
    if (!result) {
        errand.reply.Refuse(refused::kStopped, "a stop came in front of it");
    } else if (*result != ZELQ_OK) {
        errand.reply.Result(*result, function);
    }
    return result == ZELQ_OK;
}

/// Asks for one thing after the other; throws a Failure with the result of one that fails.
template <typename Function>
void AskFor(const Errand& errand, const std::string& what, Function function)
{
    if (errand.worker.IsEnding()) throw Failure(kInterrupted, "the panel ends");
    Expect(errand.machine.Pass(Gate::kUsual, function), what);
}

} // namespace

unsigned short AxisIn(const Json& request, Machine& machine)
{
    const auto found = request.find("axis");
    if (found == request.end() || !found->is_number_unsigned()) FailField("axis", "a number");
    const auto axis = found->get<std::uint64_t>();
    if (axis >= kMostAxes || !machine.IsServo(static_cast<unsigned>(axis))) {
        throw Failure(kUsage, "axis " + std::to_string(axis) + " is no servo axis", ZELQ_BAD_AXIS);
    }
    return static_cast<unsigned short>(axis);
}

double NumberIn(const Json& request, const char* name)
{
    const auto found = request.find(name);
    const bool isNumber = found != request.end() && found->is_number();
    const double number = isNumber ? found->get<double>() : std::nan("");
    if (!std::isfinite(number)) FailField(name, "a number");
    return number;
}

std::string TextIn(const Json& request, const char* name)
{
    const auto found = request.find(name);
    if (found == request.end() || !found->is_string()) FailField(name, "a text");
    return found->get<std::string>();
}

/// A distance is added to where the axis stands: so it goes its way once, even where a lost reply
/// makes the library send the command again. A speed of its own is given behind the start, which
/// leaves the axis's profile as it is.
void MoveAxis(const Errand& errand)
{
    const Json& request = errand.request;
    Machine& machine = errand.machine;
    const Controller& controller = machine.Where();
    const unsigned short axis = AxisIn(request, machine);
    const bool isDistance = request.contains("distance");
    const double value = NumberIn(request, isDistance ? "distance" : "position");
    const bool hasSpeed = !request.value("speed", Json()).is_null();
    const double speed = hasSpeed ? NumberIn(request, "speed") : 0;
    if (hasSpeed && speed <= 0) FailField("speed", "above 0");
    ServoStatus servo{};
    SpeedProfile profile{};
    AskFor(errand, "read the state of the axis",
           [&] { return zelQ_GetServoStatus(machine.Number(), axis, &servo); });
    AskFor(errand, "read the axis's speed profile",
           [&] { return zelQ_SpeedGet(machine.Number(), static_cast<short>(axis), &profile); });
    const auto moved = machine.PassUnlessStopped(Gate::kUsual, errand.epoch, [&]() -> short {
        const double from = servo.commandPosition;
        const double target = OnPulse(controller, axis, isDistance ? from + value : value);
        CheckDistance(controller, axis, target - from);
        CheckSpeed(controller, axis, hasSpeed ? speed : profile.drive);
        machine.WillMove(axis);
        return zelQ_MoveAbs(machine.Number(), axis, target);
    });
    if (!Goes(errand, moved, "zelQ_MoveAbs")) return;
    if (hasSpeed) {
        const auto slowed = machine.PassUnlessStopped(Gate::kUsual, errand.epoch, [&] {
            return zelQ_OverrideDriveSpeed(machine.Number(), axis, speed);
        });
        // A short way is over by now, which is refused; anything else must not run on too fast.
        const bool isThere = slowed && *slowed > ZELQ_OK && std::abs(value) < speed;
        if (!isThere && slowed != ZELQ_OK) {
            machine.Stop(Gate::kUsual, {axis});
            Goes(errand, slowed, "zelQ_OverrideDriveSpeed");
            return;
        }
    }
    errand.reply.Result(ZELQ_OK, "zelQ_MoveAbs");
}

void HomeAxis(const Errand& errand)
{
    const Json& request = errand.request;
    Machine& machine = errand.machine;
    const Controller& controller = machine.Where();
    const unsigned short axis = AxisIn(request, machine);
    const bool isPositive = request.value("direction", Json(-1)) == 1;
    const bool hasSpeed = !request.value("speed", Json()).is_null();
    if (hasSpeed) {
        const double speed = NumberIn(request, "speed");
        const auto set = machine.PassUnlessStopped(Gate::kUsual, errand.epoch, [&] {
            CheckSpeed(controller, axis, speed);
            return zelQ_HomeSetDriveSpeed(machine.Number(), axis, 0, speed, speed / 4, speed / 10,
                                          speed);
        });
        if (!Goes(errand, set, "zelQ_HomeSetDriveSpeed")) return;
    }
    const auto homes = machine.PassUnlessStopped(Gate::kUsual, errand.epoch, [&]() -> short {
        if (!hasSpeed && controller.Axis(axis).maxSpeed) {
            throw Failure(kUsage, "the configuration limits the speed of " +
                                      controller.AxisText(axis) + ": give a speed");
        }
        constexpr unsigned short kNoZPhase = 2;
        machine.WillMove(axis);
        return zelQ_HomeMoveHome(machine.Number(), axis, isPositive ? 0 : 1, 0, kNoZPhase, 0, 0,
                                 OnPulse(controller, axis, 0));
    });
    if (Goes(errand, homes, "zelQ_HomeMoveHome")) {
        errand.reply.Result(ZELQ_OK, "zelQ_HomeMoveHome");
    }
}

void SwitchServos(const Errand& errand)
{
    const std::vector<unsigned short> axes = AxesIn(errand.request, errand.machine);
    const std::vector<short> numbers(axes.begin(), axes.end());
    const unsigned short on = FlagIn(errand.request, "on") ? 1 : 0;
    const short result = errand.machine.Pass(Gate::kUsual, [&] {
        return zelQ_mServoOn(errand.machine.Number(), static_cast<short>(numbers.size()),
                             numbers.data(), on);
    });
    errand.reply.Result(result, "zelQ_mServoOn");
}

void ResetAlarms(const Errand& errand)
{
    const std::vector<unsigned short> axes = AxesIn(errand.request, errand.machine);
    const short result = errand.machine.Pass(Gate::kUsual, [&] {
        return zelQ_mAlarmResetReq(errand.machine.Number(), static_cast<short>(axes.size()),
                                   axes.data());
    });
    errand.reply.Result(result, "zelQ_mAlarmResetReq");
}

void SetOutput(const Errand& errand)
{
    const short number = errand.machine.Number();
    const unsigned short on = FlagIn(errand.request, "on") ? 1 : 0;
    const bool isMain = !errand.request.contains("station");
    const auto pin = static_cast<unsigned short>(IndexIn(errand.request, "pin", isMain ? 7 : 31));
    const auto station =
        static_cast<unsigned short>(isMain ? 0 : IndexIn(errand.request, "station", 31));
    const short result = errand.machine.Pass(Gate::kUsual, [&] {
        return isMain ? zelQ_MDOSetPin(number, pin, on)
                      : zelQ_RDOSetPin(number, station, static_cast<short>(pin), on);
    });
    errand.reply.Result(result, isMain ? "zelQ_MDOSetPin" : "zelQ_RDOSetPin");
}

Json AlarmJson(int axis, int number, int subNumber)
{
    const AlarmMeaning& meaning = AlarmMeaningOf(number);
    return {{"axis", axis},         {"number", number},       {"sub", subNumber},
            {"text", meaning.name}, {"cause", meaning.cause}, {"remedy", meaning.advice}};
}

void TellAlarms(const Errand& errand)
{
    const Controller& controller = errand.machine.Where();
    Json now = Json::array();
    Json history = Json::array();
    ControllerStatus status{};
    AskFor(errand, "read the status",
           [&] { return zelQ_GetAllStatus(controller.Number(), &status); });
    for (const unsigned short axis : AxesIn(errand.request, errand.machine)) {
        for (unsigned short index = 0; index < kAlarmListSize; ++index) {
            if (errand.worker.IsEnding()) return;
            const DriveAlarm alarm = errand.machine.Pass(
                Gate::kUsual, [&] { return ReadAlarm(controller, axis, index); });
            if (alarm.number == 0) break;
            Json json = AlarmJson(axis, alarm.number, alarm.subNumber);
            // The newest is the one that is active, where one is.
            if (index == 0 && status.servo[axis].alarm != 0) now.push_back(json);
            json["at"] = alarm.data;
            history.push_back(std::move(json));
        }
    }
    errand.reply.Data({{"now", std::move(now)}, {"history", std::move(history)}});
}

/// Each read is an exchange of its own, so that whoever waits comes in between.
void TellParameters(const Errand& errand)
{
    const unsigned short axis = AxisIn(errand.request, errand.machine);
    ParamReader reader(errand.machine.Where());
    const ParamSearch search;
    Json values = Json::array();
    for (int group = search.groups.first; group <= search.groups.last; ++group) {
        for (int number = search.numbers.first; number <= search.numbers.last; ++number) {
            if (errand.worker.IsEnding()) return;
            const ParamId id{static_cast<unsigned short>(group),
                             static_cast<unsigned short>(number)};
            const auto value =
                errand.machine.Pass(Gate::kUsual, [&] { return reader.Read(axis, id); });
            if (value) values.push_back({{"parameter", ToText(id)}, {"value", *value}});
        }
    }
    errand.reply.Data({{"values", std::move(values)}});
}

void CompareParameters(const Errand& errand)
{
    const unsigned short axis = AxisIn(errand.request, errand.machine);
    const std::vector<DriveParams> kept =
        ParseParamFile(TextIn(errand.request, "file"), "the file");
    const auto drive = std::find_if(kept.begin(), kept.end(),
                                    [&](const DriveParams& each) { return each.axis == axis; });
    if (drive == kept.end()) {
        throw Failure(kUsage, "the file has nothing of axis " + std::to_string(axis));
    }
    ParamReader reader(errand.machine.Where());
    Json differences = Json::array();
    for (const auto& [id, value] : drive->values) {
        if (errand.worker.IsEnding()) return;
        const auto now =
            errand.machine.Pass(Gate::kUsual, [&, which = id] { return reader.Read(axis, which); });
        if (now != value) differences.push_back(ToJson(ParamDifference{axis, id, now, value}));
    }
    errand.reply.Data({{"differences", std::move(differences)}});
}

void TellPrograms(const Errand& errand)
{
    constexpr std::array<const char*, 8> kStates = {"empty",  "filling",  "ready",   "running",
                                                    "paused", "finished", "stopped", "faulted"};
    constexpr std::array<const char*, 4> kKinds = {"command", "wait-motion", "wait-input", "delay"};
    SeqAllStatus all{};
    AskFor(errand, "read the states of the programs",
           [&] { return zelQ_SeqGetAllStatus(errand.machine.Number(), &all); });
    Json programs = Json::array();
    for (const SeqStatus& status : all.program) {
        const std::string state =
            status.state < kStates.size() ? kStates.at(status.state) : std::to_string(status.state);
        programs.push_back({{"program", programs.size()},
                            {"state", state},
                            {"focus", status.bit4 != 0},
                            {"waiting", status.bit5 != 0},
                            {"kind", kKinds.at(status.bits6_7 % kKinds.size())},
                            {"closed", status.bit8 != 0},
                            {"rounds", status.bits9_13},
                            {"record", status.long1},
                            {"passed", status.long3},
                            {"fault", status.word5}});
    }
    errand.reply.Data(std::move(programs));
}

void TellLists(const Errand& errand)
{
    std::array<LmStatus, kMostAxes> all{};
    AskFor(errand, "read the states of the lists",
           [&] { return zelQ_LmGetAllStatus(errand.machine.Number(), all.data()); });
    Json lists = Json::array();
    for (const unsigned short axis : errand.machine.ServoAxes()) {
        const LmStatus& status = all.at(axis);
        lists.push_back({{"axis", axis},
                         {"running", status.bit11 != 0},
                         {"closed", status.bit12 != 0},
                         {"endedEarly", status.bit13 != 0},
                         {"node", status.bit11 != 0 ? status.low11 : 0},
                         {"waiting", status.word1},
                         {"free", status.word2},
                         {"completed", status.long3},
                         {"rounds", status.long5}});
    }
    errand.reply.Data(std::move(lists));
}

void TellMeaningOf(const Errand& errand)
{
    if (errand.request.contains("alarm")) {
        const int number = IndexIn(errand.request, "alarm", 255);
        Json json = AlarmJson(-1, number, 0);
        json.erase("axis");
        json["code"] = number;
        json["name"] = json["text"];
        return errand.reply.Data(std::move(json));
    }
    const double code = NumberIn(errand.request, "code");
    if (std::abs(code) > 32768) FailField("code", "a result of the library");
    const ZelqError& row = *ZelqErrorRow(nullptr, static_cast<int>(code));
    errand.reply.Data({{"code", static_cast<int>(code)},
                       {"name", row.name},
                       {"text", row.text},
                       {"cause", row.causes},
                       {"remedy", row.remedy}});
}

Json DescribeAxes(Machine& machine)
{
    Json axes = Json::array();
    for (const unsigned short axis : machine.ServoAxes()) {
        machine.Pass(Gate::kUsual, [&] {
            const AxisSettings& settings = machine.Where().Axis(axis);
            SpeedProfile profile{};
            std::array<unsigned short, 2> modes{};
            std::array<double, 2> ends{};
            const bool hasSpeed =
                zelQ_SpeedGet(machine.Number(), static_cast<short>(axis), &profile) == ZELQ_OK;
            const bool hasRange = zelQ_SwLimitGet(machine.Number(), axis, modes.data(), ends.data(),
                                                  &modes[1], &ends[1]) == ZELQ_OK &&
                                  modes[0] != 0 && modes[1] != 0;
            const bool isPlain = settings.unit == AxisSettings().unit;
            Json json = {{"axis", axis},
                         {"station", axis},
                         {"name", settings.name},
                         {"unit", settings.unitPerPulse},
                         {"unitText", isPlain ? "" : settings.unit}};
            json["range"] =
                hasRange ? Json{std::min(ends[0], ends[1]), std::max(ends[0], ends[1])} : Json();
            json["speedMax"] = settings.maxSpeed ? Json(*settings.maxSpeed)
                               : hasSpeed        ? Json(profile.drive)
                                                 : Json();
            axes.push_back(std::move(json));
        });
    }
    return axes;
}

} // namespace zelq::tool
