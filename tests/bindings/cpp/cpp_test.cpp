#include "scenario/scenario_test.h"
#include "zelq.hpp"

#include <stdexcept>

namespace zelq::test {

namespace {

using lumosim::SlaveType;
using Power = zelq::ServosOn; // the scenarios have a function of this name
using testing::HasSubstr;

/// The C++ binding and a simulated controller whose time runs twenty times as fast as ours.
class CppTest : public ScenarioTest
{
  protected:
    CppTest() : ScenarioTest(FastConfig()) {}

    static lumosim::ServerConfig FastConfig()
    {
        lumosim::ServerConfig config =
            Config({{20, SlaveType::kInput, {}}, {21, SlaveType::kOutput, {}}}, SmallMachine());
        config.clock = lumosim::Clock::kRealTime;
        config.timeScale = 20;
        return config;
    }

    void SetUp() override { server_.Start(); }
    void TearDown() override { interrupt(false); }

    [[nodiscard]] Link ItsLink() const
    {
        Link link;
        link.port = server_.Port();
        link.receive = 1s;
        return link;
    }
    [[nodiscard]] Controller Connected() const
    {
        Controller machine({127, 0, 0}, kNumber, ItsLink());
        for (U16 axis = 0; axis < kAxes; ++axis) {
            machine.axis(axis).units(1.0); // whatever a test before has left
        }
        return machine;
    }

    bool Stands(int axis = 0)
    {
        return WithAxis(axis, [](lumosim::Axis& a) { return !a.Moving(); });
    }
    /// What is thrown.
    template <typename Thrown, typename Doing>
    static Thrown ThrownBy(Doing doing)
    {
        try {
            doing();
        } catch (const Thrown& thrown) {
            return thrown;
        }
        throw std::logic_error("nothing was thrown");
    }
};

TEST_F(CppTest, ConnectsForAsLongAsTheObjectLives)
{
    {
        Controller first = Connected();
        const Controller second = std::move(first);
        EXPECT_EQ(second.axis(0).units(0.5).position(), 0.0);
        EXPECT_EQ(server_.Connections(), 1U);
        unsigned short receive = 0;
        EXPECT_EQ(zelQ_TMOGet(kNumber, nullptr, nullptr, &receive), 0);
        EXPECT_EQ(receive, 1000);
    }
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1), ZELQ_NOT_OPEN);

    Link nowhere = ItsLink();
    server_.Stop();
    const auto error = ThrownBy<Error>([&] {
        const Controller controller({127, 0, 0}, kNumber, nowhere);
    });
    EXPECT_EQ(error.code(), ZELQ_CONNECT_FAILED);
    EXPECT_THAT(error.what(), HasSubstr("zelQ_Connect: -1 ZELQ_CONNECT_FAILED: "));
    EXPECT_STREQ(error.text(), ZelqErrorText(nullptr, ZELQ_CONNECT_FAILED));
    EXPECT_STREQ(error.cause(), ZelqErrorCauses(nullptr, ZELQ_CONNECT_FAILED));
    EXPECT_STREQ(error.remedy(), ZelqErrorRemedy(nullptr, ZELQ_CONNECT_FAILED));
}

TEST_F(CppTest, Homes)
{
    const Controller machine = Connected();
    const Power power(machine.axes({0, 1}));
    Homing homing;
    homing.position = 500;
    machine.axis(0).home(homing).wait();
    EXPECT_EQ(machine.axis(0).status().homeDone, 1);
    EXPECT_EQ(machine.axis(0).position(), 500.0);

    machine.axis(0).speed(50'000, 1e6, 1e6).moveTo(95'000).wait();
    homing.to = Homing::To::limit;
    homing.direction = Direction::positive;
    homing.zPhase = Homing::ZPhase::positive;
    machine.axis(0).home(homing).wait();
    EXPECT_NEAR(PlaceOf(), 100'000, 1'000) << "at the Z phase next to the limit switch";

    ChangeMachine([](lumosim::AxisMechanics& m) { m.homeSensor.reset(); }, 1);
    const auto error = ThrownBy<MotionError>([&] { machine.axis(1).home().wait(); });
    EXPECT_EQ(error.stopCause(), kAtLimitSensor);
    EXPECT_THAT(error.text(), HasSubstr("limit switch"));
}

TEST_F(CppTest, MovesAxesTogetherAndAlongAPath)
{
    const Controller machine = Connected();
    for (const U16 axis : std::vector<U16>{0, 1, 2}) {
        machine.axis(axis).units(0.001).speed(50, 1000, 900);
    }
    const auto profile = Got<SpeedProfile>(zelQ_SpeedGet, short{0});
    EXPECT_EQ(double{profile.drive}, 50.0);
    EXPECT_EQ(double{profile.acc}, 1000.0);
    EXPECT_EQ(double{profile.dec}, 900.0);
    const Power power(machine.axes({0, 1, 2}));
    machine.axes({1, 0}).moveTo({10.0, -5.0}).wait();
    EXPECT_EQ(PlaceOf(0), -5'000);
    EXPECT_EQ(PlaceOf(1), 10'000);
    EXPECT_THROW(machine.axes({0, 1}).moveTo({1.0}), std::invalid_argument);

    // More segments than the controller keeps, behind one that takes its time; an end to which only
    // all of them lead.
    Path path = machine.path({0, 1, 2}, 3);
    path.speed(60, 2000, 2000).line({0, 0, 0}).dwell(1ms);
    path.speed(1, 2000, 2000).line({10, 0}).speed(60, 2000, 2000);
    for (int i = 1; i <= 50; ++i) {
        path.line({10 + 0.2 * i, 0});
    }
    path.corner(40).arc({20, 5}, 90).helix({20, 5}, -450, -3);
    path.run();
    EXPECT_EQ(PlaceOf(0), 20'000);
    EXPECT_EQ(PlaceOf(1), 0);
    EXPECT_EQ(PlaceOf(2), -3'000);
    U16 used = 1;
    EXPECT_EQ(zelQ_CP_PreRegUseGet(kNumber, &used), 0);
    EXPECT_EQ(used, 0) << "as it was before";
    path.run(); // once more, from where it is
    EXPECT_EQ(PlaceOf(2), -3'000);
}

TEST_F(CppTest, ReadsTheStateOfAll)
{
    const Controller machine = Connected();
    server_.With([](lumosim::Controller& c) {
        c.SetSlaveInputs(20, 0b100);
        c.SetMainInputs(0b10);
    });
    machine.output(3, true);
    const Status status = machine.status();
    const auto servos = status.servoNumbers();
    EXPECT_THAT(std::vector<U16>(servos.begin(), servos.end()),
                ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
    ASSERT_EQ(status.inputSlaveNumbers().size(), 1U);
    EXPECT_EQ(status.inputSlaveNumbers()[0], 20);
    EXPECT_EQ(status.outputSlaveNumbers()[0], 21);
    EXPECT_EQ(status.inputs[20].bits[2], 1);
    EXPECT_EQ(status.mainInputs[1], 1);
    EXPECT_EQ(status.mainOutputs[3], 1);

    {
        const Power power(machine.axes({2}));
        machine.axis(2).moveTo(10).wait();
        EXPECT_EQ(machine.axis(2).status().servoOn, 1);
    }
    EXPECT_EQ(machine.axis(2).status().servoOn, 0);
}

TEST_F(CppTest, AnAlarmStopsAllAxesOfTheMotion)
{
    const Controller machine = Connected();
    const Power power(machine.axes({0, 1}));
    Motion motion = machine.axes({0, 1}).moveTo({90'000.0, 90'000.0});
    Raise(lumosim::kFollowingErrorAlarm, 1);
    const auto error = ThrownBy<MotionError>([&] { motion.wait(); });
    EXPECT_EQ(error.axis(), 1);
    EXPECT_TRUE(error.hasAlarm());
    EXPECT_EQ(error.code(), 0);
    EXPECT_FALSE(error.axesMayRun());
    EXPECT_TRUE(Stands(0));
    EXPECT_LT(PlaceOf(0), 90'000);

    EXPECT_EQ(machine.axis(1).alarm().number, lumosim::kFollowingErrorAlarm.number);
    machine.axis(1).resetAlarm();
    machine.axis(1).servoOn().moveTo(1'000).wait();
    EXPECT_EQ(PlaceOf(1), 1'000);
}

TEST_F(CppTest, ALostConnectionIsToldOf)
{
    const Controller machine = Connected();
    const Power power(machine.axes({0}));
    Motion motion = machine.axis(0).moveTo(90'000);
    server_.Stop();
    const auto error = ThrownBy<Error>([&] { motion.wait(); });
    EXPECT_LT(error.code(), 0);
    EXPECT_TRUE(error.axesMayRun());
}

/// Whatever ends a wait but the goal, and whatever leaves a motion behind, stops it.
TEST_F(CppTest, NothingRunsOn)
{
    const Controller machine = Connected();
    const Axis axis = machine.axis(0).speed(1'000, 100'000, 100'000);
    const Power power(machine.axes({0, 1}));
    const auto stands = [&](const char* after) {
        EXPECT_TRUE(Stands()) << after;
        EXPECT_LT(PlaceOf(), 90'000) << after;
    };
    EXPECT_THROW(axis.moveTo(90'000).wait(1ms), TimeoutError);
    stands("a wait that was too long");

    interrupt();
    EXPECT_THROW(axis.moveTo(90'000).wait(), Interrupted);
    stands("Ctrl-C");
    EXPECT_THROW(machine.path({0, 1}).speed(10, 100, 100).line({90'000, 0}).run(), Interrupted);
    stands("Ctrl-C on a path");
    interrupt(false);

    const auto leave = [&] {
        const Motion motion = axis.moveTo(90'000);
        throw std::runtime_error("something else");
    };
    EXPECT_THROW(leave(), std::runtime_error);
    stands("an exception of the program's own");

    {
        const Motion jog = axis.jog(Direction::positive);
    }
    stands("a jog");

    {
        const StopGuard guard(kNumber, {0});
        ASSERT_EQ(zelQ_MoveVel(kNumber, 0, 0), 0);
    }
    stands("a guard");

    {
        const Motion motion = axis.moveTo(90'000);
    }
    EXPECT_FALSE(Stands()) << "a motion that is let go";
    {
        StopGuard guard(kNumber, {0});
        guard.release();
    }
    EXPECT_FALSE(Stands()) << "a guard that was released";
    machine.axes({0}).stop();
    stands("a stop");
}

/// Stopped by somebody else, it has not reached its goal.
TEST_F(CppTest, AWaitLooksWhereTheAxisHasStopped)
{
    const Controller machine = Connected();
    const Power power(machine.axes({0, 1}));
    Motion motion = machine.axis(0).moveTo(90'000);
    machine.axis(0).stop();
    EXPECT_EQ(ThrownBy<MotionError>([&] { motion.wait(); }).stopCause(), kStopped);
    machine.axis(0).moveTo(PlaceOf()).wait();

    // Of a path, too; what has stopped an axis before does not count, be it a part of it or not.
    machine.axis(0).moveTo(90'000).stop();
    machine.axis(1).moveTo(90'000).stop();
    machine.path({0, 1}).speed(50'000, 1e6, 1e6).line({1'000}).run();
    Path path = machine.path({0, 1});
    path.speed(50'000, 1e6, 1e6).line({0, 0}).line({-150'000, 0});
    EXPECT_EQ(ThrownBy<MotionError>([&] { path.run(); }).stopCause(), kAtLimitSensor);
}

} // namespace

} // namespace zelq::test
