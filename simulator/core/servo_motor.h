// What a motor makes of its command: a position servo in cascade over a motor with inertia,
// friction and a torque that ends somewhere.
#pragma once

#include "command_motion.h"
#include "trajectory.h"
#include "types.h"

#include <cstdint>

namespace lumosim {

// What the motor works against, and with what. Torques are in 0.1 % of the rated one.
struct MotorLoad
{
    double inertia = 1;      // as a part of the one that the motor was made for
    double friction = 0;     // against any motion
    double viscous = 0;      // against the speed, for each 1000 pulses/s
    double weight = 0;       // pulls at it while the servo is on; a brake holds it when it is off
    double lowestTorque = 0; // the drive gives
    double highestTorque = 0;
    double lowestPlace = 0; // between the stoppers
    double highestPlace = 0;
    double topSpeed = 0;
    std::int32_t window = 0; // of "in position"
};

// The servo works in cycles of one millisecond of the simulated clock: at the begin of each it sees
// command and motor and sets the torque, which the motor then moves under. A cycle is computed when
// time passes its begin, so nothing depends on the steps in which time passes; a motor that has
// come to rest at its command costs nothing.
class ServoMotor
{
  public:
    static constexpr Nanoseconds kCycle = std::chrono::milliseconds(1);

    // Up to `now`, by the command and the load that have held since it was called last.
    void RunTo(Nanoseconds now, const CommandMotion& command, const MotorLoad& load);

    // At the time it was run to, or later in the same cycle.
    [[nodiscard]] MotionState At(Nanoseconds now) const;
    [[nodiscard]] double Torque() const { return torque_; }
    [[nodiscard]] double TorqueDemand() const { return demand_; } // before any limit
    [[nodiscard]] bool Powered() const { return powered_; }
    [[nodiscard]] bool Rests() const { return rests_; }
    // Since when a command at rest has been followed as close as the window asks.
    [[nodiscard]] Nanoseconds InPositionSince() const { return inPositionSince_; }

    // Something has changed: it may have to move.
    void Wake(Nanoseconds now);
    void TakeCommand(Nanoseconds now); // another one
    void Place(Nanoseconds now, const MotionState& state);
    void Shift(double pulses) { place_ += pulses; }
    void Excite(Nanoseconds now);
    // Without current it runs out; a drive that brakes it shorts its windings.
    void Release(Nanoseconds now, double brakeTorque);

  private:
    void Decide(const CommandMotion& command, const MotorLoad& load);
    void WatchWindow(const CommandMotion& command, double error, const MotorLoad& load);
    [[nodiscard]] bool MayRest(const CommandMotion& command, double error) const;
    void Press(double error, double stopper);
    void Serve(const MotionState& wanted, const MotorLoad& load);
    [[nodiscard]] double AccelerationUnder(double torque, const MotorLoad& load) const;
    void EndCycle(const MotorLoad& load);
    [[nodiscard]] double CycleSeconds() const;

    // The running cycle, and the state at its begin.
    Nanoseconds begin_{0};
    Nanoseconds end_{0};
    bool decided_ = false;
    double place_ = 0;
    double speed_ = 0;
    double acceleration_ = 0;

    double torque_ = 0;
    double demand_ = 0;
    double brake_ = 0;
    bool powered_ = false;
    bool rests_ = true;
    Nanoseconds inPositionSince_ = kNever;
};

} // namespace lumosim
