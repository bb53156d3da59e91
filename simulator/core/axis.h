// One servo axis: what it is commanded to do, what meets it on the way, and what its drive and
// motor make of it.
#pragma once

#include "amplifier.h"
#include "axis_protection.h"
#include "axis_trouble.h"
#include "command_motion.h"
#include "drive_parameters.h"
#include "mechanics.h"
#include "motion_events.h"
#include "motion_kinds.h"
#include "planner.h"
#include "position_counter.h"
#include "servo_motor.h"
#include "types.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace lumosim {

class Axis
{
  public:
    // Moves that are commanded before the amplifier is through are taken, and begin then.
    static constexpr Nanoseconds kServoOnTime = Amplifier::kOnTime;

    // An ideal motor follows its command whatever that asks for.
    Axis(const AxisMechanics& mechanics, Nanoseconds now, bool ideal);

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
    void Reset(); // clears the alarm; the servo is off afterwards
    bool ResetAlarm() { return amplifier_.ResetAlarm(); } // false for an alarm that lasts
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
    [[nodiscard]] AlarmList& Alarms() { return amplifier_.Alarms(); }
    [[nodiscard]] const AlarmList& Alarms() const { return amplifier_.Alarms(); }

    // --- State, at the time of the last AdvanceTo.
    [[nodiscard]] bool ServoOn() const { return amplifier_.On(now_); }
    [[nodiscard]] bool Moving() const { return command_.Running(); }
    [[nodiscard]] MotionKind Kind() const { return kind_; }
    [[nodiscard]] StopCause LastStop() const { return lastStop_; }
    // What the running motion will have ended by: kNone unless it is braking.
    [[nodiscard]] StopCause EndsBy() const { return endsBy_; }
    // When the amplifier is through: a motion that is commanded now begins then.
    [[nodiscard]] Nanoseconds ReadyAt() const { return amplifier_.ReadyAt(now_); }
    [[nodiscard]] const std::shared_ptr<const Trajectory>& Following() const
    {
        return command_.Following();
    }
    // The commanded place on the machine; the motor's own where no servo holds it to a command.
    [[nodiscard]] MotionState Physical() const;
    [[nodiscard]] MotionState Motor() const; // what the encoder sees
    // The motor is on its way although its command rests.
    [[nodiscard]] bool Settling() const;
    // It follows as close as the speed lets it.
    [[nodiscard]] bool Tracks() const;
    // Counts whatever may take it from its command.
    [[nodiscard]] unsigned Disturbances() const { return disturbances_; }
    [[nodiscard]] std::int32_t CommandPosition() const;
    [[nodiscard]] std::int32_t EncoderPosition() const;
    [[nodiscard]] std::int32_t FollowingError() const; // command minus encoder
    [[nodiscard]] std::int32_t TargetPosition() const { return target_; }
    [[nodiscard]] std::int32_t Velocity() const;
    [[nodiscard]] std::int32_t Torque() const;     // 0.1 % of the rated torque
    [[nodiscard]] double TorqueDemand() const;     // the same before any limit
    [[nodiscard]] double SupervisedTorque() const; // what an over-current is seen by
    [[nodiscard]] std::int32_t PulsesPerTurn() const
    {
        return parameters_.InForce(DriveSetting::kPulsesPerTurn);
    }
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
    [[nodiscard]] const std::optional<Alarm>& ActiveAlarm() const
    {
        return amplifier_.ActiveAlarm();
    }
    void SetLoad(double torque); // on a servo that is on, 0.1 % of the rated one
    [[nodiscard]] const AxisTrouble& Trouble() const { return trouble_; }
    void SetTrouble(const AxisTrouble& trouble);
    // The coupling slips: the encoder has missed so many pulses, which the servo makes up for.
    void Slip(std::int32_t pulses);
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

    // The command.
    void Replace(std::shared_ptr<const Trajectory> trajectory, MotionKind kind, std::int32_t target,
                 const SpeedProfile& profile, StopCause endsBy = StopCause::kNone);
    void Begin(std::shared_ptr<const Trajectory> trajectory, StopCause endsBy);
    void MoveToPhysical(const SpeedProfile& profile, double target, MotionKind kind);
    void Rest(double physical, StopCause cause);
    [[nodiscard]] MotionState Commanded() const { return command_.At(now_); }
    [[nodiscard]] double PhysicalOf(std::int32_t counter) const;
    [[nodiscard]] bool Pushing() const; // in a torque mode that is not being stopped

    // What meets it.
    void PlanEvents();
    void PlanLimitStops(int direction);
    [[nodiscard]] Nanoseconds StopperTrip(int direction) const;
    [[nodiscard]] Nanoseconds WatchTrip(int direction) const;
    void TripWatch();
    void MeetStopper();
    void StopAtLimit();
    template <typename Change>
    void ChangeInputs(Change change);
    [[nodiscard]] bool InputOn(Signal signal) const; // the place of the axis left aside
    [[nodiscard]] std::optional<double> EdgeOf(Signal signal, bool level, int direction) const;

    // Drive and motor.
    [[nodiscard]] bool FollowsExactly() const { return ideal_ || Pushing(); }
    [[nodiscard]] MotionState Exactly() const;
    [[nodiscard]] double BehindStopper() const;
    [[nodiscard]] double Friction() const { return mechanics_.friction + trouble_.Friction(); }
    [[nodiscard]] double Inertia() const { return mechanics_.inertia * trouble_.massFactor; }
    [[nodiscard]] double Weight() const { return load_ + trouble_.weight; }
    [[nodiscard]] MotorLoad Load() const;
    void RunMotor(Nanoseconds now);
    void ReleaseMotor(double brakeTorque);
    void Disturb();
    void RaiseTroubleAlarm();

    AxisMechanics mechanics_;
    AxisProtection protection_;
    AxisTrouble trouble_;
    DriveParameters parameters_;
    Amplifier amplifier_;
    CommandMotion command_;
    MotionEvents events_;
    PositionCounter counter_;
    ServoMotor motor_;
    SpeedProfile profile_;
    AxisInputs inputs_;
    Nanoseconds now_;
    bool ideal_;

    bool warning_ = false;
    bool homeDone_ = false;
    double load_ = 0;
    unsigned disturbances_ = 0;

    // How the running motion came about, and how it ends.
    MotionKind kind_ = MotionKind::kIdle;
    SpeedProfile running_;    // by which it was planned, and by which it will brake
    int direction_ = 0;       // of a motion that runs until it is stopped
    double goal_ = 0;         // of a move
    std::int32_t torque_ = 0; // of a torque mode, with its speed limit
    double speedLimit_ = 0;
    std::optional<Watch> watch_;
    StopCause endsBy_ = StopCause::kNone; // what the running motion will have ended by
    StopCause lastStop_ = StopCause::kNone;
    std::int32_t target_ = 0;
    std::optional<std::int32_t> latched_;
};

} // namespace lumosim
