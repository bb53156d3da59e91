// One servo axis: amplifier, motor, encoder and sensors, and the motion it is following.
#pragma once

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

// What the machine around the axis is like, in pulses from where the axis stood at power-up. The
// limit switches stay where they are when the position counters are set.
struct AxisMechanics
{
    std::int64_t negativeLimit = -10'000'000;
    std::int64_t positiveLimit = 10'000'000;
    bool absoluteEncoder = false;         // positions survive a power cycle
    bool configurableInputIsStop = false; // the configurable input is the emergency stop
};

// Levels put onto the axis's inputs from outside, beside what its own position does to them.
struct AxisInputs
{
    bool limitPositive = false;
    bool limitNegative = false;
    bool homeSensor = false;
    bool configurable = false;
};

struct Alarm
{
    std::uint8_t number = 0;
    std::uint8_t subNumber = 0;
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
    [[nodiscard]] Result CheckServoOn() const;
    void SwitchServo(bool on);
    void Reset(); // clears the alarm; the servo is off afterwards
    void Jog(int direction);
    void MoveTo(std::int32_t target);
    void MoveBy(std::int32_t distance); // from the commanded position of this moment
    void Stop(StopMode mode, StopCause cause);

    // Lets the axis follow any trajectory, in the coordinates of Physical(). `target` is what the
    // status shows as the target, as a position counter value. A trajectory that brakes the axis
    // tells for what cause; limits do not stop it once more.
    void Follow(std::shared_ptr<const Trajectory> trajectory, MotionKind kind, std::int32_t target,
                StopCause endsBy = StopCause::kNone);
    // The motion goes on, as another kind and to another target in the status.
    void ShowAs(MotionKind kind, std::int32_t target);

    [[nodiscard]] const SpeedProfile& Profile() const { return profile_; }
    void SetProfile(const SpeedProfile& profile) { profile_ = profile; }

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
    [[nodiscard]] MotionState Physical() const; // where the motor really is
    [[nodiscard]] std::int32_t CommandPosition() const;
    [[nodiscard]] std::int32_t EncoderPosition() const;
    [[nodiscard]] std::int32_t FollowingError() const; // command minus encoder
    [[nodiscard]] std::int32_t TargetPosition() const { return target_; }
    [[nodiscard]] std::int32_t Velocity() const;
    [[nodiscard]] std::int32_t Torque() const; // 0.1 % of the rated torque
    [[nodiscard]] bool LimitActive(int direction) const;
    [[nodiscard]] bool EmergencyStop() const;
    [[nodiscard]] bool InPosition() const;

    // --- The machine, for tests and demonstrations.
    void SetPosition(std::int32_t position); // both counters; the motor stays where it is
    void PushByHand(std::int32_t pulses);    // turns the motor; only a servo that is off lets it
    void SetInputs(const AxisInputs& inputs);
    [[nodiscard]] const AxisInputs& Inputs() const { return inputs_; }
    void SetMechanics(const AxisMechanics& mechanics);
    [[nodiscard]] const AxisMechanics& Mechanics() const { return mechanics_; }
    void RaiseAlarm(const Alarm& alarm); // stops the axis and switches its servo off
    [[nodiscard]] const std::optional<Alarm>& ActiveAlarm() const { return alarm_; }
    void SetWarning(bool on) { warning_ = on; }
    [[nodiscard]] bool Warning() const { return warning_; }
    void PowerUp();

  private:
    [[nodiscard]] double Elapsed(Nanoseconds now) const;
    [[nodiscard]] std::int32_t Counter(double physical) const;
    [[nodiscard]] double PhysicalOf(std::int32_t counter) const;
    void Begin(std::shared_ptr<const Trajectory> trajectory, StopCause endsBy);
    void MoveToPhysical(double target, MotionKind kind);
    void Rest(double physical, StopCause cause);
    void AdoptEncoder();
    void PlanLimitStop();
    void StopAtLimit();

    AxisMechanics mechanics_;
    SpeedProfile profile_;
    AxisInputs inputs_;
    Nanoseconds now_;

    bool servoOn_ = false;
    Nanoseconds servoOnAt_{0};
    std::optional<Alarm> alarm_;
    bool warning_ = false;

    // The motion. Without a trajectory the axis rests at resting_.
    std::shared_ptr<const Trajectory> trajectory_;
    MotionKind kind_ = MotionKind::kIdle;
    StopCause endsBy_ = StopCause::kNone; // what the running motion will have ended by
    StopCause lastStop_ = StopCause::kNone;
    Nanoseconds begin_{0};
    Nanoseconds end_ = kNever;
    Nanoseconds limitStop_ = kNever; // when the running motion meets a limit switch
    double resting_ = 0;
    std::int32_t target_ = 0;

    std::int64_t origin_ = 0;        // the physical place of counter value 0
    std::int32_t standingError_ = 0; // what the motor was turned away from its command
};

} // namespace lumosim
