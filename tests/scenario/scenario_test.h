#pragma once

#include "server/server.h"
#include "zelq.h"

#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelq::test {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using testing::Each;
using testing::ElementsAre;

using U16 = unsigned short;
using Results = std::vector<short>;

/// The line of a test that a call stands in; std::source_location is nothing that clang 14 has.
struct Here
{
    const char* file;
    int line;

    static Here Current(const char* file = __builtin_FILE(), int line = __builtin_LINE())
    {
        return {file, line};
    }
};

// clang-format off
/// What the controller answers to a call that it refuses.
enum Refusal : short {
    kNoServo = 3, kServoOff, kInAlarm, kBusy, kOutOfRange, kStandingStill, kLimitBlocks,
    kEmptyMap = 11, kAxisTwice, kEmergencyStopped,
    kNoOverride = 20, kNoAbsoluteEncoder,
    kAlarmLasts = 80, kSoftwareLimitBlocks,
};

/// Why the last motion ended, as the status tells it.
enum StopCause : U16 {
    kAtTarget, kStopped, kSuddenlyStopped, kAtLimitSensor, kAtSoftwareLimit, kByAlarm, kByServoOff,
    kByEmergencyStop, kByLostHost, kAtHome, kLatched,
};
// clang-format on

/// What the status of an axis shall show; what is not named may be anything. The position is the
/// commanded one, `error` the following error, `cause` that of the last motion's end.
struct Shown
{
    std::optional<double> at = {}, encoder = {}, velocity = {}, torque = {}, error = {};
    std::optional<U16> kind = {}, moving = {}, cause = {}, servo = {}, alarm = {}, inPosition = {};
    std::optional<U16> homing = {}, homeDone = {}, torqueLimited = {};
    double within = 1e-9; ///< of position and velocity
};

/// Numbers for the one call that they stand in.
template <typename T>
const T* Listed(std::initializer_list<T> numbers)
{
    return numbers.begin();
}

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
                                        const lumosim::AxisMechanics& mechanics = {},
                                        int axes = kAxes)
    {
        lumosim::ServerConfig config;
        config.controller.number = kNumber;
        config.controller.axes = axes;
        config.controller.slaves = std::move(slaves);
        config.controller.mechanics = mechanics;
        config.address = "127.0.0." + std::to_string(kNumber);
        config.clock = lumosim::Clock::kByHand;
        return config;
    }

    /// Drives and motors whose every figure is that of the command.
    static lumosim::ServerConfig Ideal(lumosim::ServerConfig config)
    {
        config.controller.ideal = true;
        return config;
    }

    /// A machine small enough to be run through: between switches, with all sensors.
    static lumosim::AxisMechanics SmallMachine()
    {
        return {.negativeLimit = -100'000,
                .positiveLimit = 100'000,
                .stopperGap = 1'000,
                .homeSensor = lumosim::Stretch{-3'000, -2'500},
                .probe = lumosim::Stretch{4'000, 4'200},
                .pulsesPerTurn = 1'000,
                .zPhase = 300};
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
    void Advance(nanoseconds time) { server_.AdvanceBy(time); }

    /// Lets time pass in steps until `done`, at most `limit`; whether it came to that.
    bool AdvanceUntil(const std::function<bool()>& done, nanoseconds limit, nanoseconds step = 1ms)
    {
        for (nanoseconds passed{0}; passed < limit; passed += step) {
            if (done()) return true;
            Advance(step);
        }
        return done();
    }

    /// What a call with one output gives.
    template <typename Value, typename Number, typename... Parameters, typename... Arguments>
    static Value Got(short (*call)(Number, Parameters...), Arguments... arguments)
    {
        Value value{};
        EXPECT_EQ(call(Number{kNumber}, arguments..., &value), 0);
        return value;
    }
    static auto StatusOf(U16 axis = 0) { return Got<ServoStatus>(zelQ_GetServoStatus, axis); }
    /// Lets the axis come to rest.
    void Finish(U16 axis = 0)
    {
        EXPECT_TRUE(AdvanceUntil([=] { return StatusOf(axis).inMotion == 0; }, 200s, 100ms));
    }

    static double PositionOf(U16 axis = 0) { return StatusOf(axis).commandPosition; }
    static double VelocityOf(U16 axis = 0) { return StatusOf(axis).velocity; }

    static testing::ScopedTrace From(Here here)
    {
        return {here.file, here.line, "this line of the test"};
    }

    static void Expect(const Shown& wanted, U16 axis = 0, Here here = Here::Current())
    {
        const testing::ScopedTrace trace = From(here);
        const ServoStatus s = StatusOf(axis);
        const auto same = [](auto name, const auto& value, double shown, double within = 1e-9) {
            EXPECT_NEAR(shown, value ? *value : shown, within) << name;
        };
        same("position", wanted.at, s.commandPosition, wanted.within);
        same("encoder", wanted.encoder, s.encoderPosition);
        same("velocity", wanted.velocity, s.velocity, wanted.within);
        same("torque", wanted.torque, s.torque);
        same("following error", wanted.error, s.followingError);
        same("kind of motion", wanted.kind, s.motionKind);
        same("in motion", wanted.moving, s.inMotion);
        same("cause of the stop", wanted.cause, s.stopCause);
        same("servo on", wanted.servo, s.servoOn);
        same("alarm", wanted.alarm, s.alarm);
        same("in position", wanted.inPosition, s.inPosition);
        same("homing", wanted.homing, s.homing);
        same("home done", wanted.homeDone, s.homeDone);
        same("torque limited", wanted.torqueLimited, s.torqueLimited);
    }
    /// The same, so much later.
    void ExpectIn(nanoseconds time, const Shown& wanted, U16 axis = 0, Here here = Here::Current())
    {
        Advance(time);
        Expect(wanted, axis, here);
    }
    /// Where the axis comes to rest, and why.
    void ExpectEnd(double position, StopCause cause, double within = 0, U16 axis = 0,
                   Here here = Here::Current())
    {
        Finish(axis);
        Expect({.at = position, .cause = cause, .within = within}, axis, here);
    }
    /// What axes show so much later, axis 0 first.
    void ExpectEachIn(nanoseconds time, double (*shown)(U16), std::initializer_list<double> wanted,
                      double within = 0, Here here = Here::Current())
    {
        const testing::ScopedTrace trace = From(here);
        Advance(time);
        U16 axis = 0;
        for (const double value : wanted) {
            EXPECT_NEAR(shown(axis), value, within) << "axis " << axis;
            ++axis;
        }
    }

    /// All these calls are refused so, or done.
    static void Refused(short result, const Results& results, Here here = Here::Current())
    {
        const testing::ScopedTrace trace = From(here);
        EXPECT_THAT(results, Each(result));
    }
    static void Done(const Results& all, Here here = Here::Current()) { Refused(0, all, here); }

    /// Calls that are done, and what shows so much later.
    void After(const Results& results, nanoseconds time, const Shown& wanted = {}, U16 axis = 0,
               Here here = Here::Current())
    {
        Done(results, here);
        ExpectIn(time, wanted, axis, here);
    }
    void After(short result, nanoseconds time, const Shown& wanted = {}, U16 axis = 0,
               Here here = Here::Current())
    {
        After(Results{result}, time, wanted, axis, here);
    }

    static void Jog(U16 dir = 0, U16 axis = 0) { ASSERT_EQ(zelQ_MoveVel(kNumber, axis, dir), 0); }
    void JogFor(nanoseconds time, U16 dir = 0, U16 axis = 0)
    {
        Jog(dir, axis);
        Advance(time);
    }
    static void MoveTo(double place) { ASSERT_EQ(zelQ_MoveAbs(kNumber, 0, place), 0); }
    /// Runs to a place and stands there.
    void StandAt(double place)
    {
        MoveTo(place);
        ExpectEnd(place, kAtTarget);
    }

    /// Switches servos on and lets the drives get ready.
    void ServosOn(std::initializer_list<U16> axes)
    {
        for (const U16 axis : axes) {
            ASSERT_EQ(zelQ_ServoOn(kNumber, axis, 1), 0);
        }
        Advance(200ms);
    }

    /// A trapezoid from rest to rest.
    static void SetSpeed(short axis, double acc, double drive, double dec)
    {
        ASSERT_EQ(zelQ_SpeedSet(kNumber, axis, 0, 0.0, acc, drive, dec), 0);
    }

    template <typename Kind, typename Use>
    auto Family(Use use)
    {
        return server_.With([&](lumosim::Controller& c) { return use(c.Get<Kind>()); });
    }
    template <typename Use>
    auto WithAxis(int axis, Use use)
    {
        return server_.With([&](lumosim::Controller& c) { return use(c.AxisAt(axis)); });
    }
    bool Moving()
    {
        return WithAxis(0, [](lumosim::Axis& a) { return a.Moving(); });
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
        server_.With([](auto& c) { c.PowerCycle(); });
    }

    lumosim::Server server_;
};

} // namespace zelq::test
