/**
 * @file zelq/stop.hpp
 * Stops axes on Ctrl-C and on errors. A controller goes on with what it was told, whatever becomes
 * of the program: one that ends by Ctrl-C, or by an exception, leaves a jogging axis running.
 *
 *     zelq::catchInterrupts();              // first thing in main
 *     zelq::StopGuard guard(3, {0, 1});     // axes 0 and 1 of controller 3
 *     ...                                   // whatever throws, or returns: the axes brake
 *     if (zelq::interrupted()) return 130;  // looked at in every loop
 *     guard.release();                      // all has ended well
 *
 * C++17, and nothing but zelq.h: include it, or copy it into a program of your own.
 */
#ifndef ZELQ_STOP_HPP
#define ZELQ_STOP_HPP

#include "zelq.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <initializer_list>
#include <thread>

namespace zelq {

namespace detail {

inline std::atomic<bool> interruptCame{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not wait for a lock");

inline void onSignal(int signal)
{
    interruptCame = true;
    // Where a system forgets the handler with the first signal, the second must not end the
    // program while axes brake.
    std::signal(signal, onSignal);
}

} // namespace detail

/** From now on Ctrl-C, and being told to end, do not end the program: interrupted() tells of them.
 */
inline void catchInterrupts()
{
    for (const int signal : {
             SIGINT, SIGTERM
#ifdef SIGHUP
             ,
             SIGHUP // the terminal is closed
#endif
#ifdef SIGBREAK
             ,
             SIGBREAK // the console is closed, on Windows
#endif
         }) {
        std::signal(signal, detail::onSignal);
    }
#ifdef SIGPIPE
    // Whoever reads the output may go away; that must not end the program while an axis runs.
    std::signal(SIGPIPE, SIG_IGN);
#endif
}

/** Whether Ctrl-C was pressed, or the program told to end. */
inline bool interrupted() noexcept
{
    return detail::interruptCame;
}

/** Makes interrupted() true, or false again: for programs with another way of being told. */
inline void interrupt(bool came = true) noexcept
{
    detail::interruptCame = came;
}

/**
 * Stops axes, each with its deceleration, and waits until they stand, 10 s at most. A sequence
 * program that has the focus takes stops for its own: take the focus away first.
 *
 * @return whether they stand; if not, they may be running: connection lost, or refused
 */
inline bool stopAxes(short zelNo, short count, const unsigned short* axes) noexcept
{
    constexpr unsigned short kWithDeceleration = 1;
    constexpr std::chrono::milliseconds kLookEvery{10};
    if (zelQ_mStop(zelNo, count, axes, kWithDeceleration) != ZELQ_OK) return false;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (;;) {
        ControllerStatus status{};
        if (zelQ_GetAllStatus(zelNo, &status) != ZELQ_OK) return false;
        const bool stand = std::all_of(axes, axes + count, [&](unsigned short axis) {
            return axis < 32 && status.servo[axis].inMotion == 0;
        });
        if (stand || std::chrono::steady_clock::now() > end) return stand;
        std::this_thread::sleep_for(kLookEvery);
    }
}

/** Stops axes at the end of its scope, by whichever way that is left, unless it was released. */
class StopGuard
{
  public:
    /** At most 32 axes. */
    StopGuard(short zelNo, std::initializer_list<unsigned short> axes) : zelNo_(zelNo)
    {
        for (const unsigned short axis : axes) {
            if (count_ < static_cast<short>(axes_.size())) add(axis);
        }
    }
    ~StopGuard()
    {
        if (count_ == 0 || stopAxes(zelNo_, count_, axes_.data())) return;
        std::fprintf(stderr, "axes of controller %d could not be stopped\n", zelNo_);
    }
    StopGuard(const StopGuard&) = delete;
    StopGuard& operator=(const StopGuard&) = delete;

    /** All has ended well: the axes are left alone. */
    void release() noexcept { count_ = 0; }

  private:
    void add(unsigned short axis)
    {
        axes_[static_cast<std::size_t>(count_)] = axis;
        ++count_;
    }

    short zelNo_;
    short count_ = 0;
    std::array<unsigned short, 32> axes_{};
};

} // namespace zelq

#endif /* ZELQ_STOP_HPP */
