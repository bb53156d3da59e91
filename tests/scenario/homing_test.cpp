// Homing of all kinds, from the call to the motor.

#include "scenario/scenario_test.h"

#include <algorithm>
#include <cmath>

namespace zelq::test {

namespace {

/// Searches with 6000 pulses/s, backs off with 3000, approaches with 700, and goes its last ways
/// with 1500.
class Homing : public ScenarioTest
{
  protected:
    Homing() : ScenarioTest(Config({}, SmallMachine(), 2)) {}

    void SetUp() override
    {
        ScenarioTest::SetUp();
        SetSpeed(0, 1e6, 1e5, 1e6);
        ServosOn({0});
        constexpr double kRate = 60'000;
        ASSERT_EQ(zelQ_HomeSetDetailSpeed(kNumber, 0, 0, 100, kRate, 6'000, kRate, 0, 100, kRate,
                                          3'000, kRate, 0, 100, kRate, 700, kRate, 0, 100, kRate,
                                          1'500, kRate),
                  0);
    }

    /// Where the motor stands shall be what the counter says.
    void PlaceAt(double place)
    {
        ASSERT_EQ(zelQ_CmdEncPosSet(kNumber, 0, PlaceOf()), 0);
        StandAt(place);
        ASSERT_EQ(PlaceOf(), place);
    }

    /// Runs to the end, which homing is done at or not; its motor stands at `place` then.
    void ExpectHome(double place, double position = -700)
    {
        ExpectEnd(position, kAtHome);
        Advance(20ms); // the motor settles
        Expect({.encoder = position, .homing = 0, .homeDone = 1});
        EXPECT_EQ(PlaceOf(), place);
    }
    void ExpectNoHome(StopCause cause)
    {
        Finish();
        Expect({.cause = cause, .homing = 0, .homeDone = 0});
    }

    /// What a run shows on its way.
    struct Course
    {
        std::vector<int> speeds; ///< that it cruises with
        double lowest = 0;       ///< place
        double highest = 0;      ///< place of the encoder
        int torque = 0;          ///< the highest one but for acceleration
    };
    Course Watch()
    {
        Course course;
        bool moving = true;
        while (moving) {
            Advance(4ms);
            moving = WithAxis(0, [&](lumosim::Axis& axis) {
                const auto [place, speed, acceleration] = axis.Physical();
                course.lowest = std::min(course.lowest, place);
                course.highest = std::max<double>(course.highest, axis.EncoderPosition());
                if (acceleration != 0) return axis.Moving();
                course.torque = std::max(course.torque, axis.Torque());
                const int cruising = static_cast<int>(std::lround(speed));
                const bool another = course.speeds.empty() || course.speeds.back() != cruising;
                if (cruising != 0 && another) course.speeds.push_back(cruising);
                return axis.Moving();
            });
        }
        return course;
    }

    static short Home(U16 dir, U16 opt = 0, U16 zMode = 2, U16 sel = 0, short pause = 0,
                      double pos = -700)
    {
        return zelQ_HomeMoveHome(kNumber, 0, dir, opt, zMode, sel, pause, pos);
    }
    static short Limit(U16 dir, U16 zUse)
    {
        return zelQ_HomeMoveLimit(kNumber, 0, dir, 0, zUse, 0, 0, -700);
    }
    static short Stopper(U16 dir, short zUse, short torque = 0)
    {
        return zelQ_HomeMoveStopper(kNumber, 0, dir, zUse, 0, torque, -700);
    }
    static short ZPhase(U16 dir) { return zelQ_HomeMoveZPhase(kNumber, 0, dir, 1, 0, 0, -700); }
};

TEST_F(Homing, EveryKindFindsItsPlace)
{
    struct Run
    {
        const char* name;
        short (*start)();
        double from;
        double home;
    };
    for (const Run& run : {
             Run{"home sensor from above", [] { return Home(1); }, 5'000, -2'500},
             Run{"home sensor from below", [] { return Home(0); }, -5'000, -3'000},
             Run{"search stopped at once", [] { return Home(1, 1); }, 5'000, -2'500},
             Run{"on the sensor already", [] { return Home(1); }, -2'700, -2'500},
             Run{"turns round at the limit", [] { return Home(0); }, 90'000, -3'000},
             Run{"sensor, Z phase below", [] { return Home(1, 0, 1); }, 5'000, -2'700},
             Run{"sensor, Z phase above", [] { return Home(1, 0, 0); }, 5'000, -1'700},
             Run{"Z phase", [] { return ZPhase(0); }, 400, 1'300},
             Run{"Z phase downwards", [] { return ZPhase(1); }, 400, 300},
             Run{"limit", [] { return Limit(0, 0); }, 95'000, 100'000},
             Run{"limit below", [] { return Limit(1, 0); }, -95'000, -100'000},
             Run{"limit, Z phase", [] { return Limit(0, 1); }, 95'000, 99'300},
             Run{"stopper", [] { return Stopper(0, 0); }, 95'000, 101'000},
             Run{"stopper below, Z phase", [] { return Stopper(1, 1); }, -95'000, -100'700},
         }) {
        SCOPED_TRACE(run.name);
        PlaceAt(run.from);
        After(run.start(), 0ms, {.kind = 5, .homing = 1, .homeDone = 0});
        Refused(kBusy, {run.start(), zelQ_MoveRel(kNumber, 0, 1)});
        ExpectHome(run.home);
    }
}

TEST_F(Homing, ThePhasesHaveTheirSpeeds)
{
    PlaceAt(5'000);
    ASSERT_EQ(Home(1, 0, 0), 0);
    Course course = Watch();
    EXPECT_THAT(course.speeds, ElementsAre(-6'000, 3'000, -700, 1'500));
    EXPECT_NEAR(course.lowest, -2'800, 1) << "the search ends with deceleration";
    EXPECT_TRUE(WithAxis(0, [](auto& axis) { return axis.SignalOn(lumosim::Signal::kZPhase); }));
    PlaceAt(0);
    ASSERT_EQ(Home(1, 1), 0);
    EXPECT_NEAR(Watch().lowest, -2'506, 6) << "at once";
    PlaceAt(90'000);
    ASSERT_EQ(Home(0), 0);
    EXPECT_THAT(Watch().speeds, ElementsAre(6'000, -6'000, 700)) << "through the limit";

    // The same speeds by the shorter calls: by ratio and start speed, and by a tenth and twice.
    for (const short ratio : {short{10}, short{2}}) {
        ASSERT_EQ(ratio == 10 ? zelQ_HomeSetSpeed(kNumber, 0, 0, 50, 5'000, 2'000, 600, 900, ratio)
                              : zelQ_HomeSetDriveSpeed(kNumber, 0, 0, 5'000, 2'000, 600, 900),
                  0);
        PlaceAt(20'000);
        After(Home(1), 100ms, {.velocity = ratio == 10 ? -5'000 : -1'500, .within = 30});
        ExpectHome(-2'500);
    }
}

TEST_F(Homing, ItMayPauseAndMoveOn)
{
    PlaceAt(-2'700);
    After(Home(1, 0, 2, 0, 800), 400ms, {.velocity = 0});
    ExpectIn(500ms, {.velocity = 0, .homing = 1});
    ExpectHome(-2'500);
    for (const double way : {4'000.0, 0.0}) {
        ASSERT_EQ(Home(1, 0, 2, 1, 0, way), 0);
        ExpectHome(-2'500 + way, 0);
    }
}

TEST_F(Homing, AStopperIsFoundByItsTorque)
{
    ASSERT_EQ(zelQ_ParamSet(kNumber, 0, 3, 2, 500), 0) << "over-travel, which homing may";
    PlaceAt(95'000);
    ASSERT_EQ(Stopper(0, 0, 800), 0);
    const Course course = Watch();
    EXPECT_GT(course.torque, 700);
    EXPECT_LE(course.torque, 800);
    EXPECT_EQ(course.highest, 101'000) << "the encoder gets no further than the stopper";
    ExpectHome(101'000);

    // A limit that leaves less than is looked for: the drive presses until it gives up.
    ASSERT_EQ(zelQ_TorqueLimitSet(kNumber, 0, 70, 500, 0, 0, 0, 0), 0);
    PlaceAt(95'000);
    ASSERT_EQ(Stopper(0, 0, 600), 0);
    ExpectHome(101'000);
    PlaceAt(95'000);
    ASSERT_EQ(Stopper(0, 0, 800), 0);
    ExpectNoHome(kByAlarm);
}

TEST_F(Homing, DoneIsCancelledAndLostByAnInterruptedRun)
{
    ASSERT_EQ(zelQ_StopModeSwLimit(kNumber, 0, 2, 50'000, 2, -1'000), 0) << "does not stop it";
    for (const auto& lose : std::initializer_list<std::function<void()>>{
             [] {
                 EXPECT_EQ(zelQ_mHomeDoneCancel(kNumber, 2, Listed<U16>({0, 1})), 0);
             },
             [] { EXPECT_EQ(zelQ_HomeDoneCancel(kNumber, 0), 0); }, [this] { PowerCycle(); }}) {
        ASSERT_EQ(Home(1), 0);
        ExpectHome(-2'500);
        lose();
        Expect({.homeDone = 0});
    }
    ServosOn({0});
    PlaceAt(5'000);
    After(Home(1), 300ms);
    After(zelQ_StopDec(kNumber, 0), 20s);
    ExpectNoHome(kStopped);

    // No sensor at all: from the one limit to the other.
    ChangeMachine([](lumosim::AxisMechanics& m) { m.homeSensor.reset(); });
    ASSERT_EQ(Home(1), 0);
    ExpectNoHome(kAtLimitSensor);
    EXPECT_EQ(StatusOf().limitPositive, 1);
    ASSERT_EQ(zelQ_ServoOn(kNumber, 0, 0), 0);
    EXPECT_EQ(Home(0), kServoOff);
}

} // namespace

} // namespace zelq::test
