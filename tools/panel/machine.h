// The controller as all threads of the panel handle it.
#pragma once

#include "frame/controller.h"
#include "panel/gate.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

namespace zelq::tool {

using SteadyClock = std::chrono::steady_clock;

inline constexpr unsigned short kMostAxes = 32;

/// How an axis is shown.
struct ShownAxis
{
    double unitPerPulse = 1.0;
    int digits = 0; ///< behind the point of a position
    int alarm = 0;  ///< number; 0: none, -1: it is not known which
    int alarmSub = 0;
    bool isNew = false; ///< the alarm has come since the last look
};

/// One look at the controller.
struct Sight
{
    std::uint64_t number = 0; ///< of the look, from 1
    SteadyClock::time_point at;
    short result = 0; ///< of the look; where it is not 0 the rest is that of the last good one
    double roundTripMs = 0;
    std::uint64_t lost = 0;
    std::uint64_t reconnects = 0;
    ControllerStatus status{};
    std::array<ShownAxis, kMostAxes> axes{};
    bool pathRuns = false;
    int pathWaits = 0; ///< sections

    [[nodiscard]] std::vector<unsigned short> ServoAxes() const
    {
        return {status.servoAxes, status.servoAxes + status.servoCount};
    }
};

/// Stops are counted: what was asked for before a stop is not begun behind it.
using Epoch = std::uint64_t;

class Machine
{
  public:
    explicit Machine(Controller& controller);

    [[nodiscard]] const Controller& Where() const { return controller_; }
    [[nodiscard]] short Number() const { return controller_.Number(); }

    template <typename Function>
    auto Pass(Gate::Rank rank, Function function)
    {
        return gate_.Pass(rank, function);
    }

    /// What sets something in motion; none when there was a stop since the epoch.
    template <typename Function>
    std::optional<short> PassUnlessStopped(Gate::Rank rank, Epoch epoch, Function function)
    {
        return gate_.Pass(rank, [&]() -> std::optional<short> {
            if (epoch != epoch_) return std::nullopt;
            return function();
        });
    }

    [[nodiscard]] Epoch Now() const { return epoch_; }
    void BeginStop() { ++epoch_; }
    /// How many looks there were.
    [[nodiscard]] std::uint64_t Looks() const { return looks_; }

    /// Reads the state of everything in one exchange; connects anew where the connection is lost.
    void Look(Sight& sight);

    /// Notes that the panel sets the axis in motion. Inside a passage, in front of the command.
    void WillMove(unsigned short axis);
    /// Axes that have gone further than the configuration allows; those that stand are forgotten.
    std::vector<unsigned short> CheckMoved(const Sight& sight);
    [[nodiscard]] bool HasGuarded();
    std::vector<unsigned short> Moved();

    /// Stops axes with their deceleration, as a passage of its own.
    short Stop(Gate::Rank rank, const std::vector<unsigned short>& axes);
    /// All axes, and the programs that would set them in motion again.
    short StopAll();
    /// A stop could not be sent; it is owed until the controller is there again.
    [[nodiscard]] bool OwesStop() const { return owesStop_; }

    [[nodiscard]] std::vector<unsigned short> ServoAxes();
    [[nodiscard]] bool IsServo(unsigned axis);
    short SetUnit(unsigned short axis, double unitPerPulse, const std::string& text);

  private:
    struct Started
    {
        std::uint64_t look; ///< the last one before it was started
        std::optional<double> from;
    };

    short Connect();
    void ReadAlarms(Sight& sight);
    void LookAtPath(Sight& sight);
    short StopPrograms(short stopped);

    Controller& controller_;
    Gate gate_;
    std::atomic<Epoch> epoch_ = 0;
    std::atomic<std::uint64_t> looks_ = 0;
    std::atomic<bool> owesStop_ = false;
    SteadyClock::time_point connected_;
    std::array<unsigned short, 16> mostFree_{}; ///< of each map's waiting sections

    std::mutex mutex_; // what stands below
    std::vector<unsigned short> servos_;
    std::map<unsigned short, Started> moved_;
};

/// Whether a result says that the exchange itself has failed, not that it was refused.
bool IsLinkFailure(short result);

} // namespace zelq::tool
