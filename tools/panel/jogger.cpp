#include "panel/jogger.h"

#include "frame/failure.h"
#include "frame/motion.h"

#include <algorithm>
#include <cmath>

namespace zelq::tool {

namespace {

using std::chrono::milliseconds;

/// How long an axis runs on without being sent on, and how often it is.
constexpr double kAheadSeconds = 0.15;
constexpr milliseconds kSendEvery{30};
/// In which it comes to rest: what a hand lets go of stands at once.
constexpr double kBrakeSeconds = 0.04;
constexpr milliseconds kLookAgain{10};
/// At the end of the program, for axes to come to rest.
constexpr std::chrono::seconds kFarewell{2};

constexpr const char* kSilence =
    "Nothing was heard of the button for 120 ms, so the axis was stopped.";
constexpr const char* kAtRest =
    "The axis has stopped by itself: at a limit, by an alarm, or by somebody else.";
constexpr const char* kLostLink = "The controller did not answer, so the axis is stopped.";

} // namespace

void Jogger::Stop()
{
    DropAll();
    {
        const std::lock_guard lock(mutex_);
        patience_ = SteadyClock::now() + kFarewell;
    }
    Service::Stop();
}

void Jogger::Press(PageNumber page, unsigned short axis, int direction, double speed, Began began,
                   Ended ended)
{
    const std::lock_guard lock(mutex_);
    const auto now = SteadyClock::now();
    for (Jog& jog : jogs_) {
        if (jog.axis == axis) jog.isHeld = false;
    }
    jogs_.push_back({page, axis, direction, speed, machine_.Now(), now + kPatience,
                     std::move(began), std::move(ended), true, State::kPressed, 0, 0, 0, now});
    wake_ = true;
    changed_.notify_all();
}

void Jogger::Keep(PageNumber page, unsigned short axis)
{
    const std::lock_guard lock(mutex_);
    const auto now = SteadyClock::now();
    for (Jog& jog : jogs_) {
        // What is over its time stays so, also when the thread has not come to it yet.
        if (jog.page == page && jog.axis == axis && jog.isHeld && now < jog.deadline) {
            jog.deadline = now + kPatience;
        }
    }
}

template <typename Which>
void Jogger::LetGo(Which which)
{
    const std::lock_guard lock(mutex_);
    for (Jog& jog : jogs_) {
        if (which(jog)) jog.isHeld = false;
    }
    wake_ = true;
    changed_.notify_all();
}

void Jogger::Release(PageNumber page, unsigned short axis)
{
    LetGo([&](const Jog& jog) { return jog.page == page && jog.axis == axis; });
}

void Jogger::Drop(PageNumber page)
{
    LetGo([&](const Jog& jog) { return jog.page == page; });
}

void Jogger::DropAll()
{
    LetGo([](const Jog&) { return true; });
}

void Jogger::Saw(const Sight& sight)
{
    const std::lock_guard lock(mutex_);
    if (sight.result != ZELQ_OK) return;
    for (const unsigned short axis : sight.ServoAxes()) {
        const ServoStatus& servo = sight.status.servo[axis];
        seen_.at(axis) = {sight.number, sight.at, servo.commandPosition, servo.inMotion != 0};
    }
    if (jogs_.empty()) return;
    wake_ = true;
    changed_.notify_all();
}

SteadyClock::time_point Jogger::NextDeadline() const
{
    auto next = SteadyClock::now() + kSendEvery;
    for (const Jog& jog : jogs_) {
        if (jog.isHeld) next = std::min(next, jog.deadline);
        if (jog.state == State::kBraking) next = std::min(next, jog.sent + kLookAgain);
    }
    return next;
}

void Jogger::Run()
{
    std::unique_lock lock(mutex_);
    bool wasBusy = false;
    while (!ended_ || (!jogs_.empty() && SteadyClock::now() < patience_)) {
        if (jogs_.empty()) {
            changed_.wait(lock, [this] { return ended_ || !jogs_.empty(); });
        } else {
            changed_.wait_until(lock, NextDeadline(), [this] { return wake_; });
        }
        wake_ = false;
        const auto tell = [&](bool isBusy) {
            if (isBusy == wasBusy) return;
            wasBusy = isBusy;
            lock.unlock();
            busy_(isBusy);
            lock.lock();
        };
        tell(!jogs_.empty());
        for (auto next = jogs_.begin(); next != jogs_.end();) {
            Jog& jog = *next;
            lock.unlock(); // exchanges take their time; only this thread takes jogs away
            const bool isOver = !Advance(jog);
            lock.lock();
            next = isOver ? jogs_.erase(next) : std::next(next);
        }
        tell(!jogs_.empty());
    }
}

bool Jogger::IsHeld(const Jog& jog)
{
    const std::lock_guard lock(mutex_);
    return jog.isHeld && SteadyClock::now() < jog.deadline && jog.epoch == machine_.Now();
}

/// Its page has not let go, and nobody has asked for a stop.
bool Jogger::IsSilent(const Jog& jog)
{
    const std::lock_guard lock(mutex_);
    return jog.isHeld && jog.epoch == machine_.Now();
}

bool Jogger::IsFirstOfItsAxis(const Jog& jog)
{
    const std::lock_guard lock(mutex_);
    const auto first = std::find_if(jogs_.begin(), jogs_.end(),
                                    [&](const Jog& each) { return each.axis == jog.axis; });
    return &*first == &jog;
}

Jogger::Seen Jogger::LastOf(unsigned short axis)
{
    const std::lock_guard lock(mutex_);
    return seen_.at(axis);
}

/// The next step of a jog; false when it is over.
bool Jogger::Advance(Jog& jog)
{
    const Seen seen = LastOf(jog.axis);
    const bool hasStopped = seen.look > jog.startLook && !seen.moves;
    switch (jog.state) {
    case State::kPressed:
        if (!IsHeld(jog)) {
            jog.began({0, "", "it was let go of before it began"});
            return false;
        }
        if (IsFirstOfItsAxis(jog)) Begin(jog);
        return jog.state != State::kOver;
    case State::kRunning:
        if (!IsHeld(jog)) {
            if (IsSilent(jog)) jog.ended(kSilence);
            Brake(jog);
        } else if (hasStopped) {
            jog.ended(kAtRest);
            return false; // only a new press moves it
        } else if (SteadyClock::now() - jog.sent >= kSendEvery) {
            SendOn(jog);
        }
        return true;
    default:
        if (!hasStopped && SteadyClock::now() - jog.sent >= 10 * kLookAgain) Brake(jog);
        return !hasStopped;
    }
}

void Jogger::Begin(Jog& jog)
{
    JogBegin begin;
    try {
        jog.state = BeginMotion(jog, begin) ? State::kRunning : State::kOver;
    } catch (const Failure& failure) {
        begin.refusal = failure.what();
        jog.state = State::kOver;
    }
    jog.sent = SteadyClock::now();
    jog.began(begin);
}

/// The motion gets its own speed and ramps behind its start: the axis's profile stays as it is.
bool Jogger::BeginMotion(Jog& jog, JogBegin& begin)
{
    const Controller& controller = machine_.Where();
    const short number = machine_.Number();
    SpeedProfile profile{};
    ServoStatus servo{};
    const auto did = [&](const char* function, std::optional<short> result) {
        begin.function = function;
        begin.result = result.value_or(0);
        if (!result) begin.refusal = "it was stopped before it began";
        return result == ZELQ_OK;
    };
    const auto pass = [&](auto function) {
        return machine_.PassUnlessStopped(Gate::kJog, jog.epoch, function);
    };
    if (!did("zelQ_SpeedGet",
             pass([&] { return zelQ_SpeedGet(number, static_cast<short>(jog.axis), &profile); })) ||
        !did("zelQ_GetServoStatus",
             pass([&] { return zelQ_GetServoStatus(number, jog.axis, &servo); }))) {
        return false;
    }
    if (servo.inMotion != 0) {
        begin.refusal = "the axis is in motion";
        return false;
    }
    const double shape = profile.profile == 0 ? 1 : 2; // smoothed ramps take twice the way
    const double dec =
        profile.dec == 0 ? 0 : std::max(profile.dec, shape * jog.speed / kBrakeSeconds);
    jog.braking = dec == 0 ? 0 : shape * jog.speed * jog.speed / (2 * dec);
    jog.start = servo.commandPosition;
    const bool began = did("zelQ_MoveAbs", pass([&]() -> short {
                               CheckSpeed(controller, jog.axis, jog.speed);
                               if (!IsHeld(jog)) throw Failure(kUsage, "it was let go of");
                               machine_.WillMove(jog.axis);
                               jog.startLook = machine_.Looks();
                               const double target = TargetFrom(jog, jog.start);
                               return zelQ_MoveAbs(number, jog.axis, target);
                           }));
    if (!began) {
        // A reply that is lost does not mean that the axis stands.
        return IsLinkFailure(static_cast<short>(begin.result));
    }
    if (did("zelQ_OverrideSpeed", pass([&] {
                return zelQ_OverrideSpeed(number, jog.axis, profile.acc, jog.speed, dec);
            }))) {
        return true;
    }
    // With the speed of its profile it must not run.
    machine_.Stop(Gate::kJog, {jog.axis});
    return true;
}

double Jogger::TargetFrom(const Jog& jog, double position) const
{
    const Controller& controller = machine_.Where();
    const double ahead = jog.speed * kAheadSeconds + jog.braking;
    double target = position + jog.direction * ahead;
    if (const std::optional<double>& limit = controller.Axis(jog.axis).maxDistance) {
        target = std::clamp(target, jog.start - *limit, jog.start + *limit);
    }
    return OnPulse(controller, jog.axis, target);
}

void Jogger::SendOn(Jog& jog)
{
    const Seen seen = LastOf(jog.axis);
    if (seen.look <= jog.startLook) return;
    jog.sent = SteadyClock::now();
    const std::chrono::duration<double> age = jog.sent - seen.at;
    const double position = seen.position + jog.direction * jog.speed * age.count();
    const auto result = machine_.PassUnlessStopped(Gate::kJog, jog.epoch, [&]() -> short {
        if (!IsHeld(jog)) return ZELQ_OK;
        return zelQ_OverrideAbs(machine_.Number(), jog.axis, TargetFrom(jog, position));
    });
    // It is never taken up again by itself when the controller comes back.
    if (result && IsLinkFailure(*result)) {
        jog.ended(kLostLink);
        Brake(jog);
    }
}

void Jogger::Brake(Jog& jog)
{
    machine_.Stop(Gate::kJog, {jog.axis});
    jog.startLook = machine_.Looks(); // only one behind the stop tells of its end
    jog.state = State::kBraking;
    jog.sent = SteadyClock::now();
    const std::lock_guard lock(mutex_);
    jog.isHeld = false;
}

} // namespace zelq::tool
