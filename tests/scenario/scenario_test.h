#pragma once

#include "server/server.h"
#include "zelq.h"

#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace zelq::test {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Each;
using testing::ElementsAre;

using U16 = unsigned short;
using Results = std::vector<short>;

/// What the controller answers to a call that it refuses.
enum Refusal : short {
    kNoServo = 3,
    kServoOff = 4,
    kInAlarm = 5,
    kBusy = 6,
    kOutOfRange = 7,
    kStandingStill = 8,
    kLimitBlocks = 9,
    kEmptyMap = 11,
    kAxisTwice = 12,
    kEmergencyStopped = 13,
    kNoOverride = 20,
    kNoAbsoluteEncoder = 21,
    kAlarmLasts = 80,
    kSoftwareLimitBlocks = 81,
};

/// Why the last motion ended, as the status tells it.
enum StopCause : U16 {
    kAtTarget = 0,
    kStopped = 1,
    kSuddenlyStopped = 2,
    kAtLimitSensor = 3,
    kAtSoftwareLimit = 4,
    kByAlarm = 5,
    kByServoOff = 6,
    kByEmergencyStop = 7,
    kByLostHost = 8,
    kAtHome = 9,
    kLatched = 10,
};

/// A connected simulated controller whose clock the test drives by hand: every motion is exact,
/// and no test waits for it.
class ScenarioTest : public testing::Test
{
  protected:
    static constexpr short kNumber = 9;
    static constexpr short kAxes = 8;

    ScenarioTest() : ScenarioTest(Config({})) {}
    explicit ScenarioTest(const lumosim::ServerConfig& config) : server_(config) {}

    static lumosim::ServerConfig Config(std::vector<lumosim::SlaveConfig> slaves,
                                        const lumosim::AxisMechanics& mechanics = {})
    {
        lumosim::ServerConfig config;
        config.controller.number = kNumber;
        config.controller.axes = kAxes;
        config.controller.slaves = std::move(slaves);
        config.controller.mechanics = mechanics;
        config.address = "127.0.0." + std::to_string(kNumber);
        config.clock = lumosim::Clock::kByHand;
        return config;
    }

    /// A machine small enough to be run through: between switches, with all sensors.
    static lumosim::AxisMechanics SmallMachine()
    {
        lumosim::AxisMechanics mechanics;
        mechanics.negativeLimit = -100'000;
        mechanics.positiveLimit = 100'000;
        mechanics.stopperGap = 1'000;
        mechanics.homeSensor = lumosim::Stretch{-3'000, -2'500};
        mechanics.probe = lumosim::Stretch{4'000, 4'200};
        mechanics.pulsesPerTurn = 1'000;
        mechanics.zPhase = 300;
        return mechanics;
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
                      std::chrono::nanoseconds step = milliseconds(1))
    {
        for (std::chrono::nanoseconds passed{0}; passed < limit; passed += step) {
            if (done()) return true;
            Advance(step);
        }
        return done();
    }

    /// Lets the axis come to rest.
    void Finish(U16 axis = 0)
    {
        EXPECT_TRUE(AdvanceUntil([axis] { return StatusOf(axis).inMotion == 0; }, seconds(200),
                                 milliseconds(100)));
    }

    static ServoStatus StatusOf(U16 axis)
    {
        ServoStatus status{};
        EXPECT_EQ(zelQ_GetServoStatus(kNumber, axis, &status), 0);
        return status;
    }
    static double PositionOf(U16 axis = 0) { return StatusOf(axis).commandPosition; }
    static double EncoderOf(U16 axis = 0) { return StatusOf(axis).encoderPosition; }
    static double VelocityOf(U16 axis = 0) { return StatusOf(axis).velocity; }
    static double TorqueOf(U16 axis = 0) { return StatusOf(axis).torque; }

    /// Why it stands; 0xFFFF while it moves.
    static U16 StoppedBy(U16 axis)
    {
        const ServoStatus status = StatusOf(axis);
        return status.inMotion == 0 ? status.stopCause : U16{0xFFFF};
    }
    /// Where axis 0 comes to rest, and why.
    void ExpectEnd(double position, StopCause cause, double tolerance = 0)
    {
        Finish();
        EXPECT_NEAR(PositionOf(), position, tolerance);
        EXPECT_EQ(StatusOf(0).stopCause, cause);
    }

    /// The same, so much later, or when the axis has come to rest.
    double PositionIn(std::chrono::nanoseconds time, U16 axis = 0)
    {
        Advance(time);
        return PositionOf(axis);
    }
    double VelocityIn(std::chrono::nanoseconds time, U16 axis = 0)
    {
        Advance(time);
        return VelocityOf(axis);
    }
    U16 InMotionIn(std::chrono::nanoseconds time, U16 axis = 0)
    {
        Advance(time);
        return StatusOf(axis).inMotion;
    }
    double PositionAtRest(U16 axis = 0)
    {
        Finish(axis);
        return PositionOf(axis);
    }
    double PlaceAtRest(U16 axis = 0)
    {
        Finish(axis);
        return PlaceOf(axis);
    }

    /// Switches servos on and lets the drives get ready.
    void ServosOn(std::initializer_list<U16> axes)
    {
        for (const U16 axis : axes) {
            ASSERT_EQ(zelQ_ServoOn(kNumber, axis, 1), 0);
        }
        Advance(milliseconds(200));
    }

    /// A trapezoid from rest to rest.
    static void SetSpeed(short axis, double acc, double drive, double dec)
    {
        ASSERT_EQ(zelQ_SpeedSet(kNumber, axis, 0, 0.0, acc, drive, dec), 0);
    }

    template <typename Use>
    auto WithAxis(int axis, Use use)
    {
        return server_.With([&](lumosim::Controller& c) { return use(c.AxisAt(axis)); });
    }
    /// Where the motor stands on its machine.
    double PlaceOf(int axis = 0)
    {
        return WithAxis(axis, [](lumosim::Axis& a) { return a.Physical().position; });
    }
    void SetInputs(const lumosim::AxisInputs& inputs, int axis = 0)
    {
        WithAxis(axis, [&](lumosim::Axis& a) { a.SetInputs(inputs); });
    }
    void Raise(const lumosim::Alarm& alarm, int axis = 0)
    {
        WithAxis(axis, [&](lumosim::Axis& a) { a.RaiseAlarm(alarm); });
    }
    template <typename Change>
    void ChangeMachine(Change change, int axis = 0)
    {
        WithAxis(axis, [&](lumosim::Axis& a) {
            lumosim::AxisMechanics mechanics = a.Mechanics();
            change(mechanics);
            a.SetMechanics(mechanics);
        });
    }
    void PowerCycle()
    {
        server_.With([](lumosim::Controller& c) { c.PowerCycle(); });
    }

    lumosim::Server server_;
};

} // namespace zelq::test
