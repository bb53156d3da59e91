/**
 * @file zelq/axis.hpp
 * Axes: what one or several of them do; included by zelq.hpp.
 */
#ifndef ZELQ_AXIS_HPP
#define ZELQ_AXIS_HPP

#include "zelq/motion.hpp"

#include <initializer_list>

namespace zelq {

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

} // namespace zelq

#endif /* ZELQ_AXIS_HPP */
