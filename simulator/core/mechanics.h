// The machine around an axis: where its switches, sensors and stoppers are, and what they show.
#pragma once

#include <cstdint>
#include <optional>

namespace lumosim {

// Places from..to, both ends belong to it.
struct Stretch
{
    std::int64_t from = 0;
    std::int64_t to = 0;
};

// What the machine is like, in pulses from where the axis stood at power-up. Switches and sensors
// stay where they are when the position counters are set.
struct AxisMechanics
{
    // No switch or stopper stands farther from there; all such places are exact as floating point
    // numbers.
    static constexpr std::int64_t kFarthest = 1'000'000'000'000;

    std::int64_t negativeLimit = -10'000'000;
    std::int64_t positiveLimit = 10'000'000;
    bool absoluteEncoder = false;         // positions survive a power cycle
    bool configurableInputIsStop = false; // the configurable input is the emergency stop
    std::int64_t stopperGap = 50'000;     // from either limit switch to the stopper behind it
    std::optional<Stretch> homeSensor = Stretch{-21'000, -20'000};
    std::optional<Stretch> probe; // where a workpiece or mark meets the probe
    std::int32_t pulsesPerTurn = 10'000;
    std::int32_t zPhase = 2'500; // the pulse of every turn that is the Z phase
    double inertia = 1;          // as a part of the one that the motor was made for
    double friction = 50;        // against any motion, 0.1 % of the rated torque
    double viscousFriction = 0;  // the same for each 1000 pulses/s

    // Where the stopper stands at the end of this direction.
    [[nodiscard]] double Stopper(int direction) const;
    // How far a place lies behind a stopper, with its sign; 0 between them.
    [[nodiscard]] double BehindStopper(double place) const;
    // All that stands beside the axis moves; the encoder's own pulses stay.
    void Shift(std::int64_t pulses);
};

// Levels put onto the axis's inputs from outside, beside what its own position does to them.
struct AxisInputs
{
    bool limitPositive = false;
    bool limitNegative = false;
    bool homeSensor = false;
    bool configurable = false;
    bool probe = false;
};

// What a motion can look out for.
enum class Signal {
    kProbe,
    kHomeSensor,
    kZPhase,
    kConfigurableInput,
    kLimitPositive,
    kLimitNegative,
    kStopperPositive,
    kStopperNegative,
};

// Whether the input of the signal is held on from outside.
bool ForcedOn(const AxisInputs& inputs, Signal signal);

// Whether the place alone makes the signal on.
bool OnAt(const AxisMechanics& mechanics, Signal signal, double place);

// The first pulse ahead at which the signal has changed to `on`; nothing if that never happens. A
// signal that is on here goes off first and comes on with the next stretch.
std::optional<double> EdgeAhead(const AxisMechanics& mechanics, Signal signal, bool on, double here,
                                int direction);

} // namespace lumosim
