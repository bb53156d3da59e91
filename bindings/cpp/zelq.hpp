/**
 * @file zelq.hpp
 * zelQ for C++17 and later: header only, beside the C functions of zelq.h, which are all there too.
 *
 *     zelq::Controller press({192, 168, 0}, 3);                      // 192.168.0.3
 *     zelq::Axis x = press.axis(0).units(0.001).speed(50, 200, 200); // millimetres
 *     zelq::ServosOn power(press.axes({0}));                         // off at the end of the scope
 *     x.moveTo(120.0).wait();
 *
 * Every failure is an exception: zelq::Error and what derives from it, with code, text, cause and
 * remedy. A motion that is not waited for goes on by itself; one that an exception leaves behind,
 * and one whose wait fails, is stopped with its deceleration. Positions and speeds are in the
 * axis's user units. Nothing here allocates on the way to the controller, paths apart.
 *
 * Threads: as zelq.h has it; one object is used by one thread at a time. There is one Controller
 * object for a controller at a time: its end disconnects.
 */
#ifndef ZELQ_HPP
#define ZELQ_HPP

#include "zelq.h"
#include "zelq_errors.h"
#include "zelq_stop.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <exception>
#include <initializer_list>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#if defined(__has_include)
#if __has_include(<version>)
#include <version>
#endif
#endif
#ifdef __cpp_lib_span
#include <span>
#endif

namespace zelq {

using Milliseconds = std::chrono::milliseconds;

#ifdef __cpp_lib_span
template <typename T>
using Span = std::span<T>;
#else
/** Elements that stand one behind the other somewhere else: what std::span is from C++20 on. */
template <typename T>
class Span
{
  public:
    constexpr Span() noexcept = default;
    constexpr Span(T* first, std::size_t count) noexcept : first_(first), count_(count) {}
    template <typename Elements, typename = std::enable_if_t<std::is_convertible_v<
                                     decltype(std::data(std::declval<Elements&>())), T*>>>
    constexpr Span(Elements&& elements) noexcept // NOLINT: as std::span
        : first_(std::data(elements)), count_(std::size(elements))
    {}

    [[nodiscard]] constexpr T* begin() const noexcept { return first_; }
    [[nodiscard]] constexpr T* end() const noexcept { return first_ + count_; }
    [[nodiscard]] constexpr T* data() const noexcept { return first_; }
    [[nodiscard]] constexpr std::size_t size() const noexcept { return count_; }
    [[nodiscard]] constexpr bool empty() const noexcept { return count_ == 0; }
    constexpr T& operator[](std::size_t index) const { return first_[index]; }

  private:
    T* first_ = nullptr;
    std::size_t count_ = 0;
};
#endif

/** What a failure is, where it comes from and what to do, in words that last. */
struct Explanation
{
    const char* text;
    const char* cause;
    const char* remedy;
};

/** A call that has failed, with the result it gave. */
class Error : public std::runtime_error
{
  public:
    Error(const char* call, int code)
        : Error(
              std::string(call) + ": " + std::to_string(code) + ' ' + ZelqErrorName(call, code) +
                  ": " + ZelqErrorText(call, code),
              code,
              {ZelqErrorText(call, code), ZelqErrorCauses(call, code), ZelqErrorRemedy(call, code)})
    {}

    /** The result; 0 where all calls have succeeded, but an axis has not done what was asked. */
    [[nodiscard]] int code() const noexcept { return code_; }
    [[nodiscard]] const char* text() const noexcept { return explanation_.text; }
    [[nodiscard]] const char* cause() const noexcept { return explanation_.cause; }
    [[nodiscard]] const char* remedy() const noexcept { return explanation_.remedy; }

    /** The axes of the motion that failed could not be stopped, the connection being lost, say. */
    [[nodiscard]] bool axesMayRun() const noexcept { return axesMayRun_; }
    void setAxesMayRun() noexcept { axesMayRun_ = true; }

  protected:
    Error(const std::string& message, int code, const Explanation& explanation)
        : std::runtime_error(message), code_(code), explanation_(explanation)
    {}

  private:
    int code_;
    Explanation explanation_;
    bool axesMayRun_ = false;
};

/** A motion that has ended elsewhere than it should. */
class MotionError : public Error
{
  public:
    explicit MotionError(const ServoStatus& status)
        : Error("axis " + std::to_string(status.axis) + " stands at " +
                    std::to_string(double{status.commandPosition}) + ": " + explain(status).text,
                ZELQ_OK, explain(status)),
          axis_(status.axis),
          stopCause_(status.stopCause),
          hasAlarm_(status.alarm != 0)
    {}

    [[nodiscard]] unsigned short axis() const noexcept { return axis_; }
    [[nodiscard]] bool hasAlarm() const noexcept { return hasAlarm_; }
    /** As the controller tells it: 0 where that was no reason. */
    [[nodiscard]] unsigned short stopCause() const noexcept { return stopCause_; }

  private:
    static Explanation explain(const ServoStatus& status)
    {
        // As the simulated controller tells them; a controller may have others.
        static constexpr Explanation kCauses[] = {
            {"It has ended before its goal.", "No home was found, or nothing was sent.",
             "Look at the sensor, and at the direction of the search."},
            {"It was stopped.", "This or another program, or a person, has stopped it.",
             "See who stops it; then start again."},
            {"It was stopped suddenly.", "This or another program, or a person, has stopped it.",
             "See who stops it; then start again."},
            {"It has run into a limit switch.", "The goal lies behind the switch.",
             "Move away from the switch; home the axis; check the goal."},
            {"It has come to a software limit.", "The goal lies behind the limit.",
             "Check the goal, and the limits of zelQ_StopModeSwLimit()."},
            {"Its drive has an alarm.", "Axis::alarm() tells which.",
             "Remove what the alarm comes from, then Axis::resetAlarm()."},
            {"Its servo is off.", "It was switched off, or the drive's power failed.",
             "Switch it on; the axis may have to be homed."},
            {"The emergency stop is active.", "Somebody or something has triggered it.",
             "See why, release it, then start again."},
            {"The controller has missed its host.", "The connection was lost on the way.",
             "Check cables and load; see zelQ_StopModeDisconnected()."}};
        constexpr std::size_t kAlarm = 5;
        if (status.alarm != 0) return kCauses[kAlarm];
        return kCauses[status.stopCause < std::size(kCauses) ? status.stopCause : 0];
    }

    unsigned short axis_;
    unsigned short stopCause_;
    bool hasAlarm_;
};

/** A wait that has lasted too long. */
class TimeoutError : public Error
{
  public:
    TimeoutError()
        : Error("the motion has not ended in time", ZELQ_OK,
                {"The motion has not ended in time.", "It takes longer, or has no end.",
                 "Give the wait more time, or the axis more speed."})
    {}
};

/** Ctrl-C, see catchInterrupts(), during a wait. */
class Interrupted : public Error
{
  public:
    Interrupted()
        : Error("interrupted", ZELQ_OK,
                {"The program was interrupted.", "Ctrl-C, or being told to end.", "None."})
    {}
};

namespace detail {

inline void check(int result, const char* call)
{
    if (result != ZELQ_OK) throw Error(call, result);
}

inline short toShort(Milliseconds time)
{
    // The calls keep them as unsigned 16-bit numbers.
    if (time.count() < 0 || time.count() > 0xFFFF)
        throw std::out_of_range("time-out above 65.535 s");
    return static_cast<short>(static_cast<unsigned short>(time.count()));
}

/** Axis numbers, as the calls for several axes take them. */
struct AxisList
{
    explicit AxisList(Span<const unsigned short> axes)
    {
        if (axes.size() > numbers.size()) throw std::out_of_range("more than 32 axes");
        for (const unsigned short axis : axes) {
            numbers[static_cast<std::size_t>(count)] = axis;
            ++count;
        }
    }
    explicit AxisList(unsigned short axis) : count(1) { numbers[0] = axis; }

    [[nodiscard]] std::array<short, 32> asShort() const
    {
        std::array<short, 32> list;
        for (std::size_t i = 0; i < list.size(); ++i) {
            list[i] = static_cast<short>(i < static_cast<std::size_t>(count) ? numbers[i] : 0);
        }
        return list;
    }

    short count = 0;
    std::array<unsigned short, 32> numbers; // the first `count` of them count
};

} // namespace detail

enum class Direction : unsigned short { positive = 0, negative = 1 };
enum class Ramp : short { straight = 0, smooth = 1 };

/** How long a wait lasts that is not told. */
inline constexpr Milliseconds kWaitLimit{60'000};
/** How often a wait looks. */
inline constexpr Milliseconds kLookEvery{5};

/**
 * Axes on their way. The object may be let go, and they run on; where an exception leaves its
 * scope, they are stopped. A jog has no end of its own: it lasts as long as its object.
 */
class Motion
{
  public:
    enum class Goal { target, home, none };

    Motion(short zelNo, const detail::AxisList& axes, Goal goal) noexcept
        : zelNo_(zelNo), axes_(axes), goal_(goal), exceptions_(std::uncaught_exceptions())
    {}
    ~Motion()
    {
        const bool isLeft = std::uncaught_exceptions() > exceptions_;
        if (!ended_ && (isLeft || goal_ == Goal::none)) brake();
    }
    Motion(const Motion&) = delete;
    Motion& operator=(const Motion&) = delete;

    /**
     * Waits until all axes have reached their goal, and looks at each on the way. Whatever comes in
     * between (MotionError, Error, TimeoutError, Interrupted) stops all of them first.
     */
    void wait(Milliseconds limit = kWaitLimit)
    {
        const auto end = std::chrono::steady_clock::now() + limit;
        try {
            while (!done()) {
                if (interrupted()) throw Interrupted();
                if (std::chrono::steady_clock::now() > end) throw TimeoutError();
                std::this_thread::sleep_for(kLookEvery);
            }
        } catch (Error& error) {
            if (!brake()) error.setAxesMayRun();
            throw;
        }
    }

    /** One look: whether all have reached their goal. Throws where one of them cannot any more. */
    [[nodiscard]] bool done()
    {
        bool allRest = true;
        if (axes_.count == 1) {
            ServoStatus status{};
            detail::check(zelQ_GetServoStatus(zelNo_, axes_.numbers[0], &status),
                          "zelQ_GetServoStatus");
            allRest = restsAtGoal(status);
        } else {
            ControllerStatus status{};
            detail::check(zelQ_GetAllStatus(zelNo_, &status), "zelQ_GetAllStatus");
            for (short i = 0; i < axes_.count; ++i) {
                const unsigned short axis = axes_.numbers[static_cast<std::size_t>(i)];
                allRest = restsAtGoal(status.servo[axis & 31]) && allRest;
            }
        }
        ended_ = allRest;
        return allRest;
    }

    /** Stops the axes with their deceleration and waits until they stand. */
    void stop()
    {
        if (brake()) return;
        Error error("zelQ_mStop", ZELQ_NO_REPLY);
        error.setAxesMayRun();
        throw error;
    }

  private:
    bool brake() noexcept
    {
        ended_ = true;
        return stopAxes(zelNo_, axes_.count, axes_.numbers.data());
    }

    [[nodiscard]] bool restsAtGoal(const ServoStatus& status) const
    {
        const bool rests = status.inMotion == 0 && status.homing == 0;
        const bool misses = goal_ == Goal::home ? status.homeDone == 0
                                                : goal_ == Goal::target && status.stopCause != 0;
        if (status.alarm != 0 || (rests && misses)) throw MotionError(status);
        return rests;
    }

    short zelNo_;
    detail::AxisList axes_;
    Goal goal_;
    int exceptions_;
    bool ended_ = false;
};

/** What a homing run looks for, and how. */
struct Homing
{
    enum class To { sensor, zPhase, limit, stopper };
    enum class ZPhase : unsigned short { positive = 0, negative = 1, none = 2 };

    To to = To::sensor;
    Direction direction = Direction::negative;
    ZPhase zPhase = ZPhase::none; ///< afterwards; of limit and stopper its direction is theirs
    double position = 0;          ///< that home gets; or, with `goOn`, how far to go on to it
    bool goOn = false;
    bool endAtOnce = false; ///< the fast search ends without a deceleration
    short word = 0;         ///< pause in milliseconds; of a stopper the torque, 0.1 percent
};

/** An entry of a drive's alarm list; number 0: there is none. */
struct Alarm
{
    unsigned short number;
    unsigned short subNumber;
    unsigned short data;
};

/** One servo axis of a controller: as small as its two numbers, to be copied at will. */
class Axis
{
  public:
    Axis(short zelNo, unsigned short axis) noexcept : zelNo_(zelNo), axis_(axis) {}

    [[nodiscard]] unsigned short number() const noexcept { return axis_; }

    /** User units of one pulse: 0.001 for millimetres where a pulse is a micrometre. */
    Axis units(double perPulse) const // NOLINT(modernize-use-nodiscard): set up in a chain
    {
        detail::check(zelQ_UnitPerPulseSet(zelNo_, static_cast<short>(axis_), perPulse),
                      "zelQ_UnitPerPulseSet");
        return *this;
    }
    /** User units per second, and per second squared. */
    Axis speed(double drive, double acceleration, double deceleration, double start = 0,
               Ramp ramp = Ramp::straight) const
    {
        detail::check(zelQ_SpeedSet(zelNo_, static_cast<short>(axis_), static_cast<short>(ramp),
                                    start, acceleration, drive, deceleration),
                      "zelQ_SpeedSet");
        return *this;
    }
    Axis servoOn(bool on = true) const
    {
        detail::check(zelQ_ServoOn(zelNo_, axis_, on ? 1 : 0), "zelQ_ServoOn");
        return *this;
    }
    Axis servoOff() const { return servoOn(false); }

    Motion moveTo(double position) const
    {
        detail::check(zelQ_MoveAbs(zelNo_, axis_, position), "zelQ_MoveAbs");
        return motion(Motion::Goal::target);
    }
    /** Where a reply is lost it can go the distance twice: moveTo() cannot. */
    Motion moveBy(double distance) const
    {
        detail::check(zelQ_MoveRel(zelNo_, axis_, distance), "zelQ_MoveRel");
        return motion(Motion::Goal::target);
    }
    /** Runs until its object ends, or is stopped. */
    [[nodiscard]] Motion jog(Direction direction) const
    {
        detail::check(zelQ_MoveVel(zelNo_, axis_, static_cast<unsigned short>(direction)),
                      "zelQ_MoveVel");
        return motion(Motion::Goal::none);
    }
    Motion home(const Homing& homing = {}) const
    {
        startHoming(homing);
        return motion(Motion::Goal::home);
    }
    /** Brakes, and does not wait. */
    void stop() const { detail::check(zelQ_StopDec(zelNo_, axis_), "zelQ_StopDec"); }
    /** Without any deceleration. */
    void stopSuddenly() const { detail::check(zelQ_StopSudden(zelNo_, axis_), "zelQ_StopSudden"); }

    [[nodiscard]] ServoStatus status() const
    {
        ServoStatus status{};
        detail::check(zelQ_GetServoStatus(zelNo_, axis_, &status), "zelQ_GetServoStatus");
        return status;
    }
    [[nodiscard]] double position() const { return status().commandPosition; }

    /** An entry of the drive's list, 0 the newest, up to 14. */
    [[nodiscard]] Alarm alarm(unsigned short index = 0) const
    {
        Alarm alarm{};
        detail::check(
            zelQ_AlarmListGet(zelNo_, axis_, index, &alarm.number, &alarm.subNumber, &alarm.data),
            "zelQ_AlarmListGet");
        return alarm;
    }
    void resetAlarm() const
    {
        detail::check(zelQ_AlarmResetReq(zelNo_, axis_), "zelQ_AlarmResetReq");
    }

  private:
    [[nodiscard]] Motion motion(Motion::Goal goal) const noexcept
    {
        return {zelNo_, detail::AxisList(axis_), goal};
    }

    void startHoming(const Homing& homing) const
    {
        const auto direction = static_cast<unsigned short>(homing.direction);
        const unsigned short option = homing.endAtOnce ? 1 : 0;
        const unsigned short zUse = homing.zPhase == Homing::ZPhase::none ? 0 : 1;
        const unsigned short select = homing.goOn ? 1 : 0;
        switch (homing.to) {
        case Homing::To::sensor:
            return detail::check(zelQ_HomeMoveHome(zelNo_, axis_, direction, option,
                                                   static_cast<unsigned short>(homing.zPhase),
                                                   select, homing.word, homing.position),
                                 "zelQ_HomeMoveHome");
        case Homing::To::zPhase:
            return detail::check(zelQ_HomeMoveZPhase(zelNo_, axis_, direction, option, select,
                                                     homing.word, homing.position),
                                 "zelQ_HomeMoveZPhase");
        case Homing::To::limit:
            return detail::check(zelQ_HomeMoveLimit(static_cast<unsigned short>(zelNo_), axis_,
                                                    direction, option, zUse, select, homing.word,
                                                    homing.position),
                                 "zelQ_HomeMoveLimit");
        case Homing::To::stopper:
            return detail::check(zelQ_HomeMoveStopper(zelNo_, axis_, direction,
                                                      static_cast<short>(zUse), select, homing.word,
                                                      homing.position),
                                 "zelQ_HomeMoveStopper");
        }
    }

    short zelNo_;
    unsigned short axis_;
};

/** Several axes of a controller that go together. */
class Axes
{
  public:
    Axes(short zelNo, Span<const unsigned short> axes) : zelNo_(zelNo), axes_(axes) {}

    [[nodiscard]] short controller() const noexcept { return zelNo_; }
    [[nodiscard]] const detail::AxisList& list() const noexcept { return axes_; }

    void servosOn(bool on = true) const
    {
        detail::check(zelQ_mServoOn(zelNo_, axes_.count, axes_.asShort().data(), on ? 1 : 0),
                      "zelQ_mServoOn");
    }
    /** All start at once; each runs with its own speed. One position an axis. */
    Motion moveTo(Span<const double> positions) const
    {
        if (positions.size() != static_cast<std::size_t>(axes_.count)) {
            throw std::invalid_argument("not one position for each axis");
        }
        detail::check(zelQ_mMoveAbs(zelNo_, axes_.count, axes_.asShort().data(), positions.data()),
                      "zelQ_mMoveAbs");
        return {zelNo_, axes_, Motion::Goal::target};
    }
    Motion moveTo(std::initializer_list<double> positions) const
    {
        return moveTo(Span<const double>(positions.begin(), positions.size()));
    }
    /** Whatever they are doing: they brake, and this waits until they stand. */
    void stop() const { Motion(zelNo_, axes_, Motion::Goal::target).stop(); }

  private:
    short zelNo_;
    detail::AxisList axes_;
};

/** Switches servos on, and off again at the end of its scope, by whichever way that is left. */
class ServosOn
{
  public:
    explicit ServosOn(const Axes& axes) : axes_(axes) { axes.servosOn(); }
    ~ServosOn()
    {
        // The connection may be lost: nobody is there to be told.
        zelQ_mServoOn(axes_.controller(), axes_.list().count, axes_.list().asShort().data(), 0);
    }
    ServosOn(const ServosOn&) = delete;
    ServosOn& operator=(const ServosOn&) = delete;

  private:
    Axes axes_;
};

/** The state of a whole controller, as its record has it, with views of what there is. */
struct Status : ControllerStatus
{
    Status() : ControllerStatus{} {}

    [[nodiscard]] Span<const unsigned short> servoNumbers() const
    {
        return {servoAxes, servoCount};
    }
    [[nodiscard]] Span<const unsigned short> inputSlaveNumbers() const
    {
        return {inputSlaves, inputCount};
    }
    [[nodiscard]] Span<const unsigned short> outputSlaveNumbers() const
    {
        return {outputSlaves, outputCount};
    }
};

/** The first three octets of a controller's address; its number is the fourth. */
struct Network
{
    short first, second, third;
};

/** How a controller is talked to; what is left as it is here is as the C functions start. */
struct Link
{
    int port = 502;
    Milliseconds connect{100};
    Milliseconds send{30};
    Milliseconds receive{30}; ///< a reply that comes later is asked for again, three times in all
};

class Path;

/** A connected controller; disconnected when it ends. */
class Controller
{
  public:
    Controller(Network network, short number, const Link& link = {}) : number_(number)
    {
        detail::check(zelQ_SetNetPortNum(number, link.port), "zelQ_SetNetPortNum");
        detail::check(zelQ_Connect(number, network.first, network.second,
                                   static_cast<unsigned short>(network.third)),
                      "zelQ_Connect");
        try {
            detail::check(zelQ_TMOSet(number, detail::toShort(link.connect),
                                      detail::toShort(link.send), detail::toShort(link.receive)),
                          "zelQ_TMOSet");
        } catch (...) {
            zelQ_Disconnect(number);
            throw;
        }
    }
    ~Controller()
    {
        if (number_ != kNone) zelQ_Disconnect(number_);
    }
    Controller(Controller&& other) noexcept : number_(std::exchange(other.number_, kNone)) {}
    Controller& operator=(Controller&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }

    /** For the functions of zelq.h. */
    [[nodiscard]] short number() const noexcept { return number_; }

    [[nodiscard]] Axis axis(unsigned short axis) const noexcept { return {number_, axis}; }
    [[nodiscard]] Axes axes(Span<const unsigned short> axes) const { return {number_, axes}; }
    [[nodiscard]] Axes axes(std::initializer_list<unsigned short> axes) const
    {
        return {number_, {axes.begin(), axes.size()}};
    }
    /** A path of these axes, the first two of which span the plane of arcs; `map` is 0..15. */
    [[nodiscard]] Path path(std::initializer_list<unsigned short> axes, short map = 0) const;

    [[nodiscard]] Status status() const
    {
        Status status;
        read(status);
        return status;
    }
    /** The same into a record that is there already: for loops in which microseconds count. */
    void read(ControllerStatus& status) const
    {
        detail::check(zelQ_GetAllStatus(number_, &status), "zelQ_GetAllStatus");
    }

    /** An output of the main board. */
    void output(unsigned short pin, bool on) const
    {
        detail::check(zelQ_MDOSetPin(number_, pin, on ? 1 : 0), "zelQ_MDOSetPin");
    }

  private:
    static constexpr short kNone = 0;
    short number_;
};

} // namespace zelq

#include "zelq_path.hpp"

#endif /* ZELQ_HPP */
