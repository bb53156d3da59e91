/**
 * @file zelq/motion.hpp
 * Motions and waits for their ends; included by zelq.hpp.
 */
#ifndef ZELQ_MOTION_HPP
#define ZELQ_MOTION_HPP

#include "zelq/error.hpp"
#include "zelq/span.hpp"
#include "zelq/stop.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <exception>
#include <stdexcept>
#include <thread>

namespace zelq {

using Milliseconds = std::chrono::milliseconds;

namespace detail {

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

} // namespace zelq

#endif /* ZELQ_MOTION_HPP */
