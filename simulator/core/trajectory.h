// What an axis does over time, as a function of the time since it began.
#pragma once

#include <optional>
#include <vector>

namespace lumosim {

// Pulses, pulses/s, pulses/s².
struct MotionState
{
    double position = 0;
    double velocity = 0;
    double acceleration = 0;
};

// A motion that is planned in full before it begins. An axis follows one and asks it where it is
// at any time, so the result does not depend on how often it is asked.
class Trajectory
{
  public:
    virtual ~Trajectory() = default;

    // After the end the motion rests at its last position.
    [[nodiscard]] virtual MotionState At(double seconds) const = 0;

    // Infinite for a motion that ends only when it is stopped.
    [[nodiscard]] virtual double Duration() const = 0;

    // The first time, not before `from`, at which the motion runs in `direction` (1 or -1) and has
    // `position` reached or passed; nothing if that never happens.
    [[nodiscard]] virtual std::optional<double> TimeOfReaching(double position, int direction,
                                                               double from) const = 0;
};

// Straight or smoothed speed ramps and stretches of constant speed, one behind the other.
class RampTrajectory : public Trajectory
{
  public:
    // `smooth` rounds every ramp off with a sine; it needs the same time and way as a straight one
    // of the same mean acceleration, and its peak acceleration is twice the mean.
    RampTrajectory(double position, bool smooth) : smooth_(smooth), end_(position) {}

    // From one speed to the other with the given mean acceleration, of either sign of speed; an
    // infinite acceleration takes no time.
    void AddRamp(double fromSpeed, double toSpeed, double acceleration);
    // The same, from an acceleration that there is already and that fades out smoothly.
    void AddRampFrom(double fromAcceleration, double fromSpeed, double toSpeed, double duration);
    void AddCruise(double speed, double distance);
    void AddEndlessCruise(double speed);
    void AddPause(double seconds); // at rest; may be infinite

    // The exact place to rest at. The ramps come within rounding of it; this takes the rest away.
    void EndAt(double position) { end_ = position; }
    [[nodiscard]] double EndPosition() const { return end_; }

    [[nodiscard]] MotionState At(double seconds) const override;
    [[nodiscard]] double Duration() const override { return duration_; }
    [[nodiscard]] std::optional<double> TimeOfReaching(double position, int direction,
                                                       double from) const override;

  private:
    struct Segment
    {
        double start;
        double duration;
        double position;
        double fromSpeed;
        double toSpeed;
        double fromAcceleration;
    };

    void Add(double duration, double fromSpeed, double toSpeed);
    static MotionState Faded(const Segment& segment, double seconds);
    [[nodiscard]] MotionState Inside(const Segment& segment, double seconds) const;

    bool smooth_;
    double end_;
    double duration_ = 0;
    std::vector<Segment> segments_;
};

} // namespace lumosim
