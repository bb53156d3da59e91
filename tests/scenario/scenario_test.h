#pragma once

#include "server/server.h"
#include "zelq.h"

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace zelq::test {

/// A connected simulated controller whose clock the test drives by hand: every motion is exact,
/// and no test waits for it.
class ScenarioTest : public testing::Test
{
  protected:
    static constexpr short kNumber = 9;
    static constexpr short kAxes = 8;

    explicit ScenarioTest(lumosim::ServerConfig config = DefaultConfig()) : server_(config) {}

    static lumosim::ServerConfig DefaultConfig()
    {
        lumosim::ServerConfig config;
        config.controller.number = kNumber;
        config.controller.axes = kAxes;
        config.address = "127.0.0." + std::to_string(kNumber);
        config.clock = lumosim::Clock::kByHand;
        return config;
    }

    void SetUp() override
    {
        server_.Start();
        ASSERT_EQ(zelQ_SetNetPortNum(kNumber, server_.Port()), 0);
        ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
        ASSERT_EQ(zelQ_TMOSet(kNumber, 1000, 1000, 1000), 0);
        for (short axis = 0; axis < kAxes; ++axis) {
            zelQ_UnitPerPulseSet(kNumber, axis, 1.0);
        }
    }

    void TearDown() override { zelQ_Disconnect(kNumber); }

    /// Lets simulated time pass.
    void Advance(std::chrono::nanoseconds time) { server_.AdvanceBy(time); }

    /// Lets time pass in steps until `done`, at most `limit`; whether it came to that.
    bool AdvanceUntil(const std::function<bool()>& done, std::chrono::nanoseconds limit,
                      std::chrono::nanoseconds step = std::chrono::milliseconds(1))
    {
        for (std::chrono::nanoseconds passed{0}; passed < limit; passed += step) {
            if (done()) return true;
            Advance(step);
        }
        return done();
    }

    static ServoStatus StatusOf(unsigned short axis)
    {
        ServoStatus status{};
        EXPECT_EQ(zelQ_GetServoStatus(kNumber, axis, &status), 0);
        return status;
    }

    /// Switches servos on and lets the drives get ready.
    void ServosOn(std::initializer_list<unsigned short> axes)
    {
        for (const unsigned short axis : axes) {
            ASSERT_EQ(zelQ_ServoOn(kNumber, axis, 1), 0);
        }
        Advance(std::chrono::milliseconds(200));
    }

    lumosim::Server server_;
};

} // namespace zelq::test
