// A controller with one axis that is ready to move.
#pragma once

#include "core/controller.h"

#include <chrono>
#include <gtest/gtest.h>

namespace lumosim {

class OneAxisTest : public testing::Test
{
  protected:
    static ControllerConfig Config()
    {
        ControllerConfig config;
        config.axes = 1;
        config.mechanics.negativeLimit = -100'000;
        config.mechanics.positiveLimit = 100'000;
        config.mechanics.stopperGap = 1'000;
        config.mechanics.homeSensor = Stretch{-3'000, -2'500};
        config.mechanics.probe = Stretch{4'000, 4'200};
        config.mechanics.pulsesPerTurn = 1'000;
        config.mechanics.zPhase = 300;
        return config;
    }

    OneAxisTest() : controller(Config()), axis(controller.AxisAt(0))
    {
        axis.SetProfile({SpeedProfile::kTrapezoid, 0, 20000, 5000, 10000, 0});
        axis.SwitchServo(true);
        controller.Advance(Axis::kServoOnTime);
    }

    // Brings the axis to rest at a place; counters and places are the same until they are set.
    void PlaceAt(std::int32_t place)
    {
        axis.MoveTo(place);
        Finish();
        ASSERT_EQ(axis.CommandPosition(), place);
    }

    void Finish(std::chrono::seconds limit = std::chrono::seconds(100))
    {
        for (auto passed = std::chrono::milliseconds(0); passed < limit && axis.Moving();
             passed += std::chrono::milliseconds(100)) {
            controller.Advance(std::chrono::milliseconds(100));
        }
        ASSERT_FALSE(axis.Moving());
    }

    Controller controller;
    Axis& axis;
};

// Registers of a 32-bit value, for commands.
constexpr Word Low(std::int32_t value)
{
    return LowWord(value);
}

constexpr Word High(std::int32_t value)
{
    return HighWord(value);
}

} // namespace lumosim
