/**
 * @file zelq/error.hpp
 * What the C++ binding throws; included by zelq.hpp.
 */
#ifndef ZELQ_ERROR_HPP
#define ZELQ_ERROR_HPP

#include "zelq.h"
#include "zelq_errors.h"

#include <iterator>
#include <stdexcept>
#include <string>

namespace zelq {

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

} // namespace detail

} // namespace zelq

#endif /* ZELQ_ERROR_HPP */
