#pragma once

#include "scenario/scenario_test.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace zelq::test {

enum PathKind : U16 { kLinearKind = 6, kArcKind = 7, kHelicalKind = 8 };

/// What the controller answers to interpolation that cannot be.
// clang-format off
enum PathRefusal : short {
    kMapTooShort = 40, kNoCircle, kEndOffCircle, kPointsInLine, kRadiusTooSmall, kPreRegistersFull,
};
// clang-format on

using Coordinates = std::vector<double>;

/// The axes of a map at one moment.
struct Sample
{
    Coordinates at;
    Coordinates velocity;

    [[nodiscard]] double Speed(std::size_t axes = 16) const
    {
        const auto end = velocity.begin() + static_cast<int>(std::min(axes, velocity.size()));
        return std::sqrt(std::inner_product(velocity.begin(), end, velocity.begin(), 0.0));
    }
};

inline InterpSpeedProfile Speeds(double start, double drive, double end, U16 shape = 0,
                                 double acc = 40'000, double dec = 50'000)
{
    return {.profileType = shape,
            .reserved = 0,
            .startSpeed = start,
            .acc = acc,
            .driveSpeed = drive,
            .dec = dec,
            .endSpeed = end};
}

/// Interpolated motion on one map, with all servos on.
class PathScenario : public ScenarioTest
{
  protected:
    static constexpr short kMap = 3;

    explicit PathScenario(short axes = kAxes, const lumosim::AxisMechanics& mechanics = {})
        : PathScenario(Config({}, mechanics, axes))
    {}
    explicit PathScenario(const lumosim::ServerConfig& config)
        : ScenarioTest(config), axes_(static_cast<short>(config.controller.axes))
    {}

    void SetUp() override
    {
        ScenarioTest::SetUp();
        for (short axis = 0; axis < axes_; ++axis) {
            Done({zelQ_UnitPerPulseSet(kNumber, axis, 1.0),
                  zelQ_ServoOn(kNumber, static_cast<U16>(axis), 1)});
        }
        Advance(200ms);
    }

    void UseMap(std::vector<U16> axes)
    {
        map_ = std::move(axes);
        ASSERT_EQ(zelQ_IMapSet(kNumber, kMap, static_cast<short>(map_.size()), map_.data()), 0);
    }

    Sample Look()
    {
        return server_.With([this](lumosim::Controller& controller) {
            Sample sample;
            for (const U16 number : map_) {
                sample.at.push_back(controller.AxisAt(number).CommandPosition());
                sample.velocity.push_back(controller.AxisAt(number).Physical().velocity);
            }
            return sample;
        });
    }

    bool Running()
    {
        return server_.With([this](lumosim::Controller& controller) {
            return std::any_of(map_.begin(), map_.end(),
                               [&](U16 number) { return controller.AxisAt(number).Moving(); });
        });
    }

    /// Runs what is commanded to its end, looking at it every few milliseconds.
    std::vector<Sample> Watch(nanoseconds step = 5ms)
    {
        std::vector<Sample> samples = {Look()};
        EXPECT_TRUE(AdvanceUntil(
            [&] {
                samples.push_back(Look());
                return !Running();
            },
            60s, step));
        return samples;
    }

    static short LineTo(const Coordinates& to, InterpSpeedProfile speed, U16 byDistances = 0)
    {
        const auto count = static_cast<short>(to.size());
        return zelQ_ILinear(kNumber, kMap, byDistances, count, to.data(), &speed);
    }
    static short LineBy(const Coordinates& way, InterpSpeedProfile s) { return LineTo(way, s, 1); }

    void StandAt(const Coordinates& place)
    {
        ASSERT_EQ(LineTo(place, Speeds(0, 50'000, 0, 0, 2e6, 2e6)), 0);
        Watch(100ms);
        ASSERT_EQ(Look().at, place);
    }

    short axes_;
    std::vector<U16> map_;
};

} // namespace zelq::test
