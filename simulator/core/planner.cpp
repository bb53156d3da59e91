#include "planner.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lumosim {

namespace {

// A stopping way that is longer than the remaining way by no more than this is rounding (a move
// that is planned again while it brakes), and is met by braking a trace harder.
constexpr double kRoundingPulses = 0.25;

constexpr double kShortestFade = 1e-4; // seconds

double Square(double value)
{
    return value * value;
}

// Builds one trajectory; knows the state at its end so far.
class Plan
{
  public:
    Plan(const SpeedProfile& profile, const MotionState& from)
        : drive_(profile.drive),
          start_(std::min<double>(profile.start, drive_)),
          stop_(std::min<double>(profile.stop, drive_)),
          speed_(from.velocity),
          acceleration_(profile.shape == SpeedProfile::kSmooth ? from.acceleration : 0),
          inverseAcc_(Inverse(profile.acc, profile)),
          inverseDec_(Inverse(profile.dec, profile)),
          path_(std::make_shared<RampTrajectory>(from.position,
                                                 profile.shape == SpeedProfile::kSmooth))
    {}

    std::shared_ptr<RampTrajectory> Path() const { return path_; }

    void Brake()
    {
        const double rest = std::copysign(std::min(stop_, std::abs(speed_)), speed_);
        if (acceleration_ * speed_ > 0) Fade(FadeTime());
        Ramp(rest, inverseDec_);
        speed_ = 0;
    }

    void RunAt(double velocity)
    {
        if (speed_ * velocity < 0) Brake();
        if (speed_ == 0) speed_ = std::copysign(start_, velocity);
        if (acceleration_ * (velocity - speed_) <= 0) Fade(FadeTime());
        Ramp(velocity, std::abs(speed_) > std::abs(velocity) ? inverseDec_ : inverseAcc_);
        path_->AddEndlessCruise(velocity);
    }

    void ReachTarget(double target)
    {
        if (acceleration_ != 0 && StopFrom(target)) return;
        if (!CanStopAt(target)) Brake();
        const double way = target - path_->EndPosition();
        if (way != 0) Approach(std::abs(way), way < 0 ? -1 : 1);
        path_->EndAt(target);
    }

  private:
    // The inverse of the mean acceleration, so that "at once" is 0 and needs no case of its own.
    // Smoothed ramps keep their peak at the set value, so their mean is half of it.
    static double Inverse(std::int32_t rate, const SpeedProfile& profile)
    {
        if (rate == 0) return 0;
        return (profile.shape == SpeedProfile::kSmooth ? 2.0 : 1.0) / rate;
    }

    static double Way(double fast, double slow, double inverse)
    {
        return std::max(0.0, Square(fast) - Square(slow)) / 2 * inverse;
    }

    // What is left of a smoothed ramp's acceleration goes into this one.
    void Ramp(double to, double inverse)
    {
        const double change = std::abs(to - speed_);
        if (acceleration_ * (to - speed_) > 0 && inverse > 0) {
            const double whole = 2 * change / std::abs(acceleration_);
            path_->AddRampFrom(acceleration_, speed_, to, std::min(change * inverse, whole));
        } else {
            path_->AddRamp(speed_, to, 1 / inverse);
        }
        speed_ = to;
        acceleration_ = 0;
    }

    // The acceleration fades out while the speed changes no more than it needs for that.
    void Fade(double seconds)
    {
        const double to = speed_ + acceleration_ * seconds / 2;
        path_->AddRampFrom(acceleration_, speed_, to, seconds);
        speed_ = to;
        acceleration_ = 0;
    }

    // A part of the time that a ramp to the drive speed takes, as large as the acceleration is of
    // its peak. The speed does not pass the drive speed meanwhile, nor loses more than its half.
    double FadeTime() const
    {
        constexpr double kPart = 0.25;
        if (acceleration_ == 0 || speed_ == 0) return 0;
        const double speed = std::abs(speed_);
        const double acceleration = std::abs(acceleration_);
        const bool rising = acceleration_ * speed_ > 0;
        const double inverse = (rising ? inverseAcc_ : inverseDec_) / 2; // of the peak
        const double seconds = kPart * std::min(1.0, acceleration * inverse) * drive_ * inverse;
        if (!rising) return std::min(seconds, speed / acceleration);
        return speed < drive_ ? std::min(seconds, 2 * (drive_ - speed) / acceleration) : seconds;
    }

    // From an acceleration to the target. A braking axis goes on braking where that meets it; any
    // other lets the acceleration fade out first, as quickly as the way asks for.
    bool StopFrom(double target)
    {
        const double way = target - path_->EndPosition();
        if (speed_ * way <= 0) return false;
        if (acceleration_ * speed_ < 0 && GoOnBraking(std::abs(way))) {
            path_->EndAt(target);
            return true;
        }
        double seconds = FadeTime();
        while (seconds > kShortestFade) {
            Plan trial = *this;
            trial.path_ = std::make_shared<RampTrajectory>(*path_);
            trial.Fade(seconds);
            if (trial.CanStopAt(target)) {
                *this = trial;
                return false;
            }
            seconds /= 2;
        }
        return false;
    }

    // One ramp with the acceleration there is in it covers T (v + stop) / 2 - c a T² in T seconds.
    bool GoOnBraking(double way)
    {
        constexpr double kFadedWay = 1 / (std::numbers::pi * std::numbers::pi); // c
        constexpr double kHarder = 1.25; // than the profile says, at most
        const double speed = std::abs(speed_);
        const double braking = std::abs(acceleration_);
        const double mean = (speed + stop_) / 2;
        const double root = Square(mean) - 4 * kFadedWay * braking * way;
        if (root < 0 || speed <= stop_) return false;
        const double seconds = (mean - std::sqrt(root)) / (2 * kFadedWay * braking);
        const double rest = speed - stop_ - braking * seconds / 2; // of the change
        if (rest < 0 || (rest * 2 / seconds + braking / 2) * inverseDec_ / 2 > kHarder)
            return false;
        path_->AddRampFrom(acceleration_, speed_, std::copysign(stop_, speed_), seconds);
        return true;
    }

    bool CanStopAt(double target) const
    {
        const double way = target - path_->EndPosition();
        if (speed_ * way < 0) return false;
        return Way(std::abs(speed_), stop_, inverseDec_) <= std::abs(way) + kRoundingPulses;
    }

    // The way lies ahead and is long enough to stop on.
    void Approach(double way, int direction)
    {
        double begin = std::abs(speed_);
        double end = stop_;
        if (Way(begin, end, inverseDec_) > way) {
            Add(begin, begin, end, way, direction, (Square(begin) - Square(end)) / (2 * way));
            return;
        }
        if (begin == 0) begin = Way(start_, end, inverseDec_) <= way ? start_ : FallTo(end, way);
        if (Way(end, begin, inverseAcc_) > way)
            end = std::sqrt(Square(begin) + 2 * way / inverseAcc_);

        const double peak = begin > drive_ ? drive_ : Peak(begin, end, way);
        Add(begin, peak, end, way, direction, 1 / inverseDec_);
    }

    // The speed from which the end speed is just reached on the way.
    double FallTo(double end, double way) const
    {
        return std::sqrt(Square(end) + 2 * way / inverseDec_);
    }

    // The highest speed between speeding up and braking, the drive speed if the way has room for
    // it.
    double Peak(double begin, double end, double way) const
    {
        const double both = inverseAcc_ + inverseDec_;
        if (both == 0) return drive_;
        const double square =
            (2 * way + Square(begin) * inverseAcc_ + Square(end) * inverseDec_) / both;
        return std::min(drive_, std::max({std::sqrt(square), begin, end}));
    }

    void Add(double begin, double peak, double end, double way, int direction, double dec)
    {
        const double before = path_->EndPosition();
        path_->AddRamp(begin * direction, peak * direction,
                       begin > peak ? 1 / inverseDec_ : 1 / inverseAcc_);
        const double brakingWay = (Square(peak) - Square(end)) / 2 / dec;
        const double cruise = way - std::abs(path_->EndPosition() - before) - brakingWay;
        if (cruise > 0) path_->AddCruise(peak * direction, cruise);
        path_->AddRamp(peak * direction, end * direction, dec);
    }

    double drive_;
    double start_;
    double stop_;
    double speed_;
    double acceleration_; // that has to fade out yet
    double inverseAcc_;
    double inverseDec_;
    std::shared_ptr<RampTrajectory> path_;
};

} // namespace

bool SpeedProfile::Valid() const
{
    return shape <= kSmooth && start >= 0 && acc >= 0 && drive > 0 && dec >= 0 && stop >= 0;
}

std::shared_ptr<const Trajectory> PlanMove(const SpeedProfile& profile, const MotionState& from,
                                           double target)
{
    Plan plan(profile, from);
    plan.ReachTarget(target);
    return plan.Path();
}

std::shared_ptr<const Trajectory> PlanJog(const SpeedProfile& profile, const MotionState& from,
                                          int direction)
{
    Plan plan(profile, from);
    plan.RunAt(direction * static_cast<double>(profile.drive));
    return plan.Path();
}

std::shared_ptr<const Trajectory> PlanStop(const SpeedProfile& profile, const MotionState& from)
{
    Plan plan(profile, from);
    plan.Brake();
    plan.Path()->EndAt(std::round(plan.Path()->EndPosition()));
    return plan.Path();
}

} // namespace lumosim
