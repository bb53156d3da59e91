#include "panel/machine.h"

#include "frame/alarm_text.h"
#include "frame/failure.h"

#include <algorithm>
#include <cmath>

namespace zelq::tool {

namespace {

// Shorter than those of the other verbs: a command that is sent twice does no harm here, for all
// targets are absolute ones, but a stop waits for the exchange in front of it.
constexpr short kConnectMs = 400;
constexpr short kExchangeMs = 40;
constexpr short kServoOnMs = 1000;

constexpr std::chrono::milliseconds kBetweenConnects{500};
constexpr unsigned short kPrograms = 4;
constexpr unsigned short kRunning = 3; ///< state of a program
constexpr unsigned short kFirstPathKind = 6;
constexpr unsigned short kLastPathKind = 8;
constexpr std::uint64_t kLooksPerPath = 10;

} // namespace

bool IsLinkFailure(short result)
{
    return result < 0 && ExitCodeOf(result) == kLost;
}

Machine::Machine(Controller& controller) : controller_(controller), servos_(controller.ServoAxes())
{
    zelQ_TMOSet(Number(), kConnectMs, kExchangeMs, kExchangeMs);
    zelQ_ServoOnAfterActChkTMOSet(Number(), kServoOnMs);
}

short Machine::Connect()
{
    connected_ = SteadyClock::now();
    const auto [first, second, third] = controller_.Where().network;
    return zelQ_Connect(Number(), first, second, static_cast<unsigned short>(third));
}

void Machine::Look(Sight& sight)
{
    gate_.Pass(Gate::kUsual, [&] {
        const bool wasLost = sight.result != ZELQ_OK;
        if (wasLost && SteadyClock::now() - connected_ > kBetweenConnects && Connect() == ZELQ_OK) {
            ++sight.reconnects;
        }
        const auto begin = SteadyClock::now();
        sight.result = zelQ_GetAllStatus(Number(), &sight.status);
        sight.at = SteadyClock::now();
        sight.number = ++looks_;
        sight.roundTripMs = std::chrono::duration<double, std::milli>(sight.at - begin).count();
        if (sight.result != ZELQ_OK) {
            ++sight.lost;
            return;
        }
        for (const unsigned short axis : sight.ServoAxes()) {
            const AxisSettings& settings = controller_.Axis(axis);
            sight.axes.at(axis).unitPerPulse = settings.unitPerPulse;
            sight.axes.at(axis).digits = DigitsOf(settings);
        }
        const std::lock_guard lock(mutex_);
        servos_ = sight.ServoAxes();
    });
    if (sight.result != ZELQ_OK) return;
    ReadAlarms(sight);
    LookAtPath(sight);
}

void Machine::ReadAlarms(Sight& sight)
{
    for (const unsigned short axis : sight.ServoAxes()) {
        ShownAxis& shown = sight.axes.at(axis);
        const int before = shown.alarm;
        shown.isNew = false;
        if (sight.status.servo[axis].alarm == 0) {
            shown.alarm = shown.alarmSub = 0;
            continue;
        }
        if (before > 0) continue;
        DriveAlarm alarm{};
        const short result = gate_.Pass(Gate::kUsual, [&] {
            return zelQ_AlarmListGet(Number(), axis, 0, &alarm.number, &alarm.subNumber,
                                     &alarm.data);
        });
        const bool isKnown = result == ZELQ_OK && alarm.number != 0;
        shown.alarm = isKnown ? alarm.number : -1;
        shown.alarmSub = isKnown ? alarm.subNumber : 0;
        shown.isNew = shown.alarm != before;
    }
}

void Machine::LookAtPath(Sight& sight)
{
    sight.pathRuns = false;
    for (const unsigned short axis : sight.ServoAxes()) {
        const unsigned short kind = sight.status.servo[axis].motionKind;
        sight.pathRuns = sight.pathRuns || (kind >= kFirstPathKind && kind <= kLastPathKind);
    }
    if (!sight.pathRuns) sight.pathWaits = 0;
    // Another exchange, so a few times a second and only while a path runs.
    if (!sight.pathRuns || sight.number % kLooksPerPath != 0) return;
    std::array<unsigned short, 16> free{};
    const short result =
        gate_.Pass(Gate::kUsual, [&] { return zelQ_CP_PreRegGetRemain(Number(), free.data()); });
    if (result != ZELQ_OK) return;
    sight.pathWaits = 0;
    for (std::size_t map = 0; map < free.size(); ++map) {
        mostFree_.at(map) = std::max(mostFree_.at(map), free.at(map));
        // None is free, too, while none is in use.
        if (free.at(map) > 0) sight.pathWaits += mostFree_.at(map) - free.at(map);
    }
}

void Machine::WillMove(unsigned short axis)
{
    const std::lock_guard lock(mutex_);
    moved_[axis] = {looks_, std::nullopt};
}

std::vector<unsigned short> Machine::CheckMoved(const Sight& sight)
{
    std::vector<unsigned short> tooFar;
    if (sight.result != ZELQ_OK) return tooFar;
    const std::lock_guard lock(mutex_);
    for (auto next = moved_.begin(); next != moved_.end();) {
        const auto each = next++;
        auto& [axis, started] = *each;
        const ServoStatus& servo = sight.status.servo[axis];
        if (sight.number <= started.look) continue;
        if (servo.inMotion == 0) {
            moved_.erase(each);
            continue;
        }
        if (!started.from) started.from = servo.commandPosition;
        const std::optional<double>& limit = controller_.Axis(axis).maxDistance;
        if (limit && std::abs(servo.commandPosition - *started.from) > *limit) {
            tooFar.push_back(axis);
        }
    }
    return tooFar;
}

bool Machine::HasGuarded()
{
    const std::lock_guard lock(mutex_);
    return std::any_of(moved_.begin(), moved_.end(), [&](const auto& each) {
        return controller_.Axis(each.first).maxDistance.has_value();
    });
}

std::vector<unsigned short> Machine::Moved()
{
    const std::lock_guard lock(mutex_);
    std::vector<unsigned short> axes;
    for (const auto& [axis, started] : moved_) {
        axes.push_back(axis);
    }
    return axes;
}

short Machine::Stop(Gate::Rank rank, const std::vector<unsigned short>& axes)
{
    if (axes.empty()) return ZELQ_OK;
    constexpr unsigned short kWithDeceleration = 1;
    return gate_.Pass(rank, [&] {
        const auto stop = [&] {
            return zelQ_mStop(Number(), static_cast<short>(axes.size()), axes.data(),
                              kWithDeceleration);
        };
        short result = stop();
        if (IsLinkFailure(result) && Connect() == ZELQ_OK) result = stop();
        return result;
    });
}

short Machine::StopAll()
{
    const std::vector<unsigned short> axes = ServoAxes();
    short result = Stop(Gate::kStop, axes);
    if (!IsLinkFailure(result)) result = StopPrograms(result);
    owesStop_ = IsLinkFailure(result);
    return result;
}

/// What came of it all; `stopped` is what came of the stop before.
short Machine::StopPrograms(short stopped)
{
    short lost = ZELQ_OK;
    const auto pass = [&](auto function) {
        const short result = gate_.Pass(Gate::kStop, function);
        if (IsLinkFailure(result)) lost = result;
    };
    SeqAllStatus all{}; // where it cannot be read, none is known to be active
    pass([&] { return zelQ_SeqGetAllStatus(Number(), &all); });
    bool wasActive = false;
    for (unsigned short program = 0; program < kPrograms; ++program) {
        const SeqStatus& status = all.program[program];
        if (status.bit4 != 0) {
            // What has the focus swallows commands, stops too.
            pass([&] { return zelQ_SeqKillFocus(Number()); });
            wasActive = true;
        }
        if (status.state == kRunning) {
            constexpr unsigned short kBrake = 1;
            pass([&] { return zelQ_SeqStop(Number(), program, kBrake); });
            wasActive = true;
        }
    }
    // A program may have begun another motion behind the first stop.
    if (wasActive) stopped = Stop(Gate::kStop, ServoAxes());
    return lost != ZELQ_OK ? lost : stopped;
}

std::vector<unsigned short> Machine::ServoAxes()
{
    const std::lock_guard lock(mutex_);
    return servos_;
}

bool Machine::IsServo(unsigned axis)
{
    const std::lock_guard lock(mutex_);
    return std::find(servos_.begin(), servos_.end(), axis) != servos_.end();
}

short Machine::SetUnit(unsigned short axis, double unitPerPulse, const std::string& text)
{
    return gate_.Pass(Gate::kUsual, [&]() -> short {
        const short result = zelQ_UnitPerPulseSet(Number(), static_cast<short>(axis), unitPerPulse);
        if (result != ZELQ_OK) return result;
        const std::lock_guard lock(mutex_);
        controller_.SetUnit(axis, unitPerPulse, text);
        return result;
    });
}

} // namespace zelq::tool
