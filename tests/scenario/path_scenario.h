#pragma once

#include "scenario/scenario_test.h"

#include <cmath>
#include <numeric>
#include <vector>

namespace zelq::test {

inline constexpr unsigned short kLinearKind = 6;
inline constexpr unsigned short kArcKind = 7;
inline constexpr unsigned short kHelicalKind = 8;

// Refusals of the controller.
inline constexpr short kServoOff = 4;
inline constexpr short kBusy = 6;
inline constexpr short kOutOfRange = 7;
inline constexpr short kMapTooShort = 40;
inline constexpr short kNoCircle = 41;
inline constexpr short kEndOffCircle = 42;
inline constexpr short kPointsInLine = 43;
inline constexpr short kRadiusTooSmall = 44;
inline constexpr short kPreRegistersFull = 45;

using Coordinates = std::vector<double>;

/// The axes of a map at one moment.
struct Sample
{
    Coordinates at;
    Coordinates velocity;

    [[nodiscard]] double Speed() const
    {
        return std::sqrt(
            std::inner_product(velocity.begin(), velocity.end(), velocity.begin(), 0.0));
    }
};

inline InterpSpeedProfile Speeds(double start, double drive, double end, unsigned short shape = 0)
{
    return {.profileType = shape,
            .reserved = 0,
            .startSpeed = start,
            .acc = 40000,
            .driveSpeed = drive,
            .dec = 50000,
            .endSpeed = end};
}

/// Scenarios of interpolated motion on one map, with all servos on.
class PathScenario : public ScenarioTest
{
  protected:
    static constexpr short kMap = 3;

    explicit PathScenario(short axes = kAxes) : ScenarioTest(ConfigWith(axes)), axes_(axes) {}

    static lumosim::ServerConfig ConfigWith(short axes)
    {
        lumosim::ServerConfig config = DefaultConfig();
        config.controller.axes = axes;
        return config;
    }

    void SetUp() override
    {
        ScenarioTest::SetUp();
        for (short axis = 0; axis < axes_; ++axis) {
            zelQ_UnitPerPulseSet(kNumber, axis, 1.0);
            ServosOn({static_cast<unsigned short>(axis)});
        }
    }

    /// The axes' order is not that of their numbers.
    void UseMap(std::vector<unsigned short> axes)
    {
        map_ = std::move(axes);
        ASSERT_EQ(zelQ_IMapSet(kNumber, kMap, static_cast<short>(map_.size()), map_.data()), 0);
    }

    [[nodiscard]] ServoStatus StatusAt(std::size_t place) const { return StatusOf(map_[place]); }

    [[nodiscard]] Sample Look() const
    {
        ControllerStatus status{};
        EXPECT_EQ(zelQ_GetAllStatus(kNumber, &status), 0);
        Sample sample;
        for (const unsigned short axis : map_) {
            sample.at.push_back(double{status.servo[axis].commandPosition});
            sample.velocity.push_back(double{status.servo[axis].velocity});
        }
        return sample;
    }

    /// Runs what is commanded to its end, looking at it every few milliseconds.
    std::vector<Sample> Watch(std::chrono::milliseconds step = std::chrono::milliseconds(5))
    {
        std::vector<Sample> samples = {Look()};
        const bool ended = AdvanceUntil(
            [&] {
                samples.push_back(Look());
                return StatusAt(0).inMotion == 0;
            },
            std::chrono::seconds(60), step);
        EXPECT_TRUE(ended);
        samples.push_back(Look());
        return samples;
    }

    short LineTo(const Coordinates& target, InterpSpeedProfile speed, unsigned short option = 0)
    {
        return zelQ_ILinear(kNumber, kMap, option, static_cast<short>(target.size()), target.data(),
                            &speed);
    }

    void StandAt(const Coordinates& place)
    {
        ASSERT_EQ(LineTo(place, Speeds(0, 50000, 0)), 0);
        Watch(std::chrono::milliseconds(200));
        ASSERT_EQ(Look().at, place);
    }

    short axes_;
    std::vector<unsigned short> map_;
};

} // namespace zelq::test
