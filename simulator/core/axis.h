// One servo axis: amplifier, motor, encoder and sensors, and the motion it is following.
#pragma once

#include "alarm_list.h"
#include "axis_protection.h"
#include "drive_parameters.h"
#include "mechanics.h"
#include "planner.h"
#include "trajectory.h"
#include "types.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>

namespace lumosim {

// What the axis is doing, as its status shows it.
enum class MotionKind : Word {
    kIdle = 0,
    kJog = 1,
    kAbsolute = 2,
    kRelative = 3,
    kSearch = 4,
    kHoming = 5,
    kLinear = 6,
    kArc = 7,
    kHelical = 8,
    kList = 9,
    kTorque = 10,
    kVelocity = 11,
    kProfilePosition = 12,
    kHandWheel = 13,
};

// Why the last motion ended.
enum class StopCause : Word {
    kNone = 0, // target reached
    kStopCommand = 1,
    kSuddenStopCommand = 2,
    kLimitSensor = 3,
    kSoftwareLimit = 4,
    kAlarm = 5,
    kServoOff = 6,
    kEmergencyStop = 7,
    kConnectionLost = 8,
    kHomeFound = 9,
    kSearchLatched = 10,
};

enum class StopMode { kSudden, kDecelerate };

// Ends a motion when a signal changes to a level.
struct Watch
{
    Signal signal;
    bool level;
    StopMode mode;
    StopCause cause;
    // Stoppers are found by the torque that they make, in 0.1 % of the rated one.
    double stopperTorque = 0;
};

class Axis
{
  public:
    // The amplifier needs this long to excite the motor. Moves that are commanded meanwhile are
    // taken, and begin when it is through.
    static constexpr Nanoseconds kServoOnTime = std::chrono::milliseconds(5);

    explicit Axis(const AxisMechanics& mechanics, Nanoseconds now)
        : mechanics_(mechanics), now_(now)
    {}

    // --- Time. The controller never lets it pass NextEvent without an AdvanceTo there.
    [[nodiscard]] Nanoseconds NextEvent() const;
    void AdvanceTo(Nanoseconds now);

    // --- Commands. Families ask CheckMove first and refuse the command with what it returns.
    // `direction` is the way the motion will begin with: 1, -1, or 0 where nothing moves yet.
    [[nodiscard]] Result CheckMove(int direction) const;
    // The same for motion that begins at rest, or goes on from its own kind; kIdle: only at rest.
    [[nodiscard]] Result CheckMode(MotionKind kind, int direction) const;
    [[nodiscard]] Result CheckServoOn() const;
    void SwitchServo(bool on);
    void Reset();      // clears the alarm; the servo is off afterwards
    bool ResetAlarm(); // false for an alarm that lasts
    void Jog(int direction);
    void MoveTo(std::int32_t target);
    void MoveBy(std::int32_t distance); // from the commanded position of this moment
    void Stop(StopMode mode, StopCause cause);

    // --- What the kinds of motion are made of: any profile, any kind.
    void Run(const SpeedProfile& profile, int direction, MotionKind kind,
             const std::optional<Watch>& watch = std::nullopt); // until it is stopped
    void RunTo(const SpeedProfile& profile, std::int32_t target, MotionKind kind);
    void RunBy(const SpeedProfile& profile, std::int32_t distance, MotionKind kind);
    void SlowDown(const SpeedProfile& profile); // to rest, as the end of what is running
    void Pause(double seconds, MotionKind kind);
    void PushWith(std::int32_t torque, double speedLimit); // 0.1 % of the rated torque, pulses/s
    // Change the running motion, without a jump in speed: a jog, a search or a move, a move.
    void Override(const SpeedProfile& profile);
    void OverrideTarget(std::int32_t target);
    [[nodiscard]] bool Stopping() const { return endsBy_ != StopCause::kNone; }
    [[nodiscard]] const SpeedProfile& RunningProfile() const { return running_; }

    // Lets the axis follow any trajectory, in the coordinates of Physical(). `target` is what the
    // status shows as the target, as a position counter value. A trajectory that brakes the axis
    // tells for what cause; limits do not stop it once more.
    void Follow(std::shared_ptr<const Trajectory> trajectory, MotionKind kind, std::int32_t target,
                StopCause endsBy = StopCause::kNone);
    // The motion goes on, as another kind and to another target in the status.
    void ShowAs(MotionKind kind, std::int32_t target);

    [[nodiscard]] const SpeedProfile& Profile() const { return profile_; }
    void SetProfile(const SpeedProfile& profile) { profile_ = profile; }

    [[nodiscard]] const AxisProtection& Protection() const { return protection_; }
    void SetProtection(const AxisProtection& protection);
    [[nodiscard]] DriveParameters& Parameters() { return parameters_; }
    [[nodiscard]] const DriveParameters& Parameters() const { return parameters_; }
    [[nodiscard]] AlarmList& Alarms() { return alarms_; }

    // --- State, at the time of the last AdvanceTo.
    [[nodiscard]] bool ServoOn() const { return servoOn_ && now_ >= servoOnAt_; }
    [[nodiscard]] bool Moving() const { return trajectory_ != nullptr; }
    [[nodiscard]] MotionKind Kind() const { return kind_; }
    [[nodiscard]] StopCause LastStop() const { return lastStop_; }
    // What the running motion will have ended by: kNone unless it is braking.
    [[nodiscard]] StopCause EndsBy() const { return endsBy_; }
    // When the amplifier is through: a motion that is commanded now begins then.
    [[nodiscard]] Nanoseconds ReadyAt() const { return std::max(now_, servoOnAt_); }
    [[nodiscard]] const std::shared_ptr<const Trajectory>& Following() const { return trajectory_; }
    [[nodiscard]] MotionState
    Physical() const; // the motor's place, but for a stopper that holds it
    [[nodiscard]] std::int32_t CommandPosition() const;
    [[nodiscard]] std::int32_t EncoderPosition() const;
    [[nodiscard]] std::int32_t FollowingError() const; // command minus encoder
    [[nodiscard]] std::int32_t TargetPosition() const { return target_; }
    [[nodiscard]] std::int32_t Velocity() const;
    [[nodiscard]] std::int32_t Torque() const; // 0.1 % of the rated torque
    [[nodiscard]] double TorqueDemand() const; // the same before any limit
    [[nodiscard]] bool TorqueLimited(int direction) const;
    [[nodiscard]] bool LimitActive(int direction) const { return SignalOn(LimitOf(direction)); }
    [[nodiscard]] bool AtSoftwareLimit(int direction) const; // at one that is watched, or beyond
    [[nodiscard]] bool SignalOn(Signal signal) const;
    // The position counter when the last search saw its signal.
    [[nodiscard]] const std::optional<std::int32_t>& Latched() const { return latched_; }
    void ForgetLatched() { latched_.reset(); }
    [[nodiscard]] bool HomeDone() const { return homeDone_; }
    void SetHomeDone(bool done); // done: also what the last motion has ended by
    [[nodiscard]] bool EmergencyStop() const;
    [[nodiscard]] bool InPosition() const;

    // --- The machine, for tests and demonstrations.
    void SetPosition(std::int32_t position); // both counters; the motor stays where it is
    void AdoptEncoder();                     // the command becomes what the encoder says
    void PushByHand(std::int32_t pulses);    // turns the motor; only a servo that is off lets it
    void SetInputs(const AxisInputs& inputs);
    [[nodiscard]] const AxisInputs& Inputs() const { return inputs_; }
    void SetMechanics(const AxisMechanics& mechanics);
    [[nodiscard]] const AxisMechanics& Mechanics() const { return mechanics_; }
    void RaiseAlarm(const Alarm& alarm); // stops the axis and switches its servo off
    [[nodiscard]] const std::optional<Alarm>& ActiveAlarm() const { return alarm_; }
    void SetLoad(double torque) { load_ = torque; } // on a servo that is on, 0.1 % of the rated one
    void SetWarning(bool on) { warning_ = on; }
    [[nodiscard]] bool Warning() const { return warning_; }
    void PowerUp();

  private:
    static constexpr Signal LimitOf(int direction)
    {
        return direction > 0 ? Signal::kLimitPositive : Signal::kLimitNegative;
    }
    static constexpr Signal StopperOf(int direction)
    {
        return direction > 0 ? Signal::kStopperPositive : Signal::kStopperNegative;
    }

    [[nodiscard]] Result CheckAmplifier(int direction, bool free) const;
    [[nodiscard]] double Elapsed(Nanoseconds now) const;
    [[nodiscard]] std::int32_t Counter(double physical) const;
    [[nodiscard]] double PhysicalOf(std::int32_t counter) const;
    [[nodiscard]] double BehindStopper() const;
    void Replace(std::shared_ptr<const Trajectory> trajectory, MotionKind kind, std::int32_t target,
                 const SpeedProfile& profile, StopCause endsBy = StopCause::kNone);
    void Begin(std::shared_ptr<const Trajectory> trajectory, StopCause endsBy);
    void MoveToPhysical(const SpeedProfile& profile, double target, MotionKind kind);
    void Rest(double physical, StopCause cause);
    [[nodiscard]] Nanoseconds TimeAt(double place, int direction) const;
    void PlanEvents();
    void PlanLimitStops(int direction);
    void PlanStopAt(Nanoseconds moment, Reaction reaction, StopCause cause);
    [[nodiscard]] Nanoseconds StopperTrip(int direction) const;
    [[nodiscard]] Nanoseconds WatchTrip(int direction) const;
    void TripWatch();
    void MeetStopper();
    void StopAtLimit();
    void ReactToSensors(const AxisInputs& before);

    // Where the running motion meets a switch, a sensor or a software limit first.
    struct LimitStop
    {
        Nanoseconds time = kNever;
        Reaction reaction = Reaction::kNone;
        StopCause cause = StopCause::kNone;
    };

    AxisMechanics mechanics_;
    AxisProtection protection_;
    DriveParameters parameters_;
    AlarmList alarms_;
    SpeedProfile profile_;
    AxisInputs inputs_;
    Nanoseconds now_;

    bool servoOn_ = false;
    Nanoseconds servoOnAt_{0};
    std::optional<Alarm> alarm_;
    bool warning_ = false;
    double load_ = 0;
    bool homeDone_ = false;

    // The motion. Without a trajectory the axis rests at resting_.
    std::shared_ptr<const Trajectory> trajectory_;
    MotionKind kind_ = MotionKind::kIdle;
    SpeedProfile running_;    // by which it was planned, and by which it will brake
    int direction_ = 0;       // of a motion that runs until it is stopped
    double goal_ = 0;         // of a move
    std::int32_t torque_ = 0; // of a torque mode, with its speed limit
    double speedLimit_ = 0;
    std::optional<Watch> watch_;
    StopCause endsBy_ = StopCause::kNone; // what the running motion will have ended by
    StopCause lastStop_ = StopCause::kNone;
    Nanoseconds begin_{0};
    Nanoseconds end_ = kNever;
    LimitStop limitStop_;
    Nanoseconds stopperTrip_ = kNever; // when the running motion has pressed too hard at a stopper,
    Nanoseconds watchTrip_ = kNever;   // when it sees its signal
    double resting_ = 0;
    std::int32_t target_ = 0;
    std::optional<std::int32_t> latched_;

    std::int64_t origin_ = 0;        // the physical place of counter value 0
    std::int32_t standingError_ = 0; // what the motor was turned away from its command
};

} // namespace lumosim
