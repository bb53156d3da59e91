#include "scenario/path_scenario.h"

#include <array>
#include <functional>
#include <numbers>
#include <string>

namespace zelq::test {

namespace {

struct Point
{
    double x;
    double y;
};

/// An arc as it is commanded, and what it must be.
struct ArcCase
{
    std::string name;
    Point start;
    std::function<short(InterpSpeedProfile*)> call;
    Point center;
    double radius;
    double degrees; ///< positive counter-clockwise
    Point end;
    double height = 0; ///< where the third axis ends
};

class ArcScenario : public PathScenario
{
  protected:
    void SetUp() override
    {
        PathScenario::SetUp();
        UseMap({4, 1, 7});
    }

    /// Follows one arc: on its circle, by its angle, its height growing with the angle.
    void Run(const ArcCase& arc, unsigned short kind)
    {
        SCOPED_TRACE(arc.name);
        ASSERT_NO_FATAL_FAILURE(StandAt({arc.start.x, arc.start.y, 0}));
        InterpSpeedProfile speed = Speeds(100, 6000, 100);
        ASSERT_EQ(arc.call(&speed), 0);
        Advance(std::chrono::milliseconds(1));
        EXPECT_EQ(StatusAt(1).motionKind, kind);
        const std::vector<Sample> samples = Watch();
        const auto angleOf = [&](const Sample& sample) {
            return std::atan2(sample.at[1] - arc.center.y, sample.at[0] - arc.center.x);
        };
        double angle = 0;
        double fastest = 0;
        for (std::size_t i = 1; i < samples.size(); ++i) {
            const Sample& sample = samples[i];
            const double radius =
                std::hypot(sample.at[0] - arc.center.x, sample.at[1] - arc.center.y);
            EXPECT_NEAR(radius, arc.radius, 2.0);
            angle +=
                std::remainder(angleOf(sample) - angleOf(samples[i - 1]), 2 * std::numbers::pi);
            const double part = angle * 180 / std::numbers::pi / arc.degrees;
            EXPECT_NEAR(sample.at[2], arc.height * part, 2.0);
            EXPECT_GT(part, -0.001); // it never turns the other way
            fastest = std::max(fastest, std::hypot(sample.velocity[0], sample.velocity[1]));
        }
        EXPECT_NEAR(angle * 180 / std::numbers::pi, arc.degrees, 0.05);
        EXPECT_NEAR(fastest, 6000, 3);
        EXPECT_EQ(samples.back().at, (Coordinates{arc.end.x, arc.end.y, arc.height}));
    }
};

constexpr double kFive = 5000;

TEST_F(ArcScenario, ArcsAreArcsInAllForms)
{
    using Speed = InterpSpeedProfile;
    const double top = std::round(kFive * std::sqrt(0.75)); // of a triangle of equal sides
    static constexpr std::array<double, 2> kOrigin = {0, 0};
    static constexpr std::array<double, 2> kUp = {0, kFive};
    static constexpr std::array<double, 2> kBack = {-kFive, 0};
    static constexpr std::array<double, 2> kDown = {0, -kFive};
    static constexpr std::array<double, 2> kAside = {kFive, 0};
    const std::vector<ArcCase> arcs = {
        {"centre, quarter turn left",
         {kFive, 0},
         [](Speed* s) { return zelQ_IArc(kNumber, kMap, 0, kOrigin.data(), 90.0, s); },
         {0, 0},
         kFive,
         90,
         {0, kFive}},
        {"centre, two turns and a half right",
         {kFive, 0},
         [](Speed* s) { return zelQ_IArc(kNumber, kMap, 0, kOrigin.data(), -900.0, s); },
         {0, 0},
         kFive,
         -900,
         {-kFive, 0}},
        {"centre by distance, an angle between pulses",
         {1000, 2000},
         [](Speed* s) { return zelQ_IArc(kNumber, kMap, 1, kAside.data(), 60.0, s); },
         {6000, 2000},
         kFive,
         60,
         {3500, 2000 - top}},
        {"centre and end, left",
         {kFive, 0},
         [](Speed* s) { return zelQ_IArcCE(kNumber, kMap, 0, kOrigin.data(), kDown.data(), 0, s); },
         {0, 0},
         kFive,
         270,
         {0, -kFive}},
        {"centre and end, right",
         {kFive, 0},
         [](Speed* s) { return zelQ_IArcCE(kNumber, kMap, 0, kOrigin.data(), kDown.data(), 1, s); },
         {0, 0},
         kFive,
         -90,
         {0, -kFive}},
        {"centre and end, a whole circle",
         {0, kFive},
         [](Speed* s) { return zelQ_IArcCE(kNumber, kMap, 0, kOrigin.data(), kUp.data(), 1, s); },
         {0, 0},
         kFive,
         -360,
         {0, kFive}},
        {"through a point, left",
         {kFive, 0},
         [](Speed* s) { return zelQ_IArcPE(kNumber, kMap, 0, kBack.data(), kDown.data(), s); },
         {0, 0},
         kFive,
         270,
         {0, -kFive}},
        {"through a point by distances, right",
         {0, kFive},
         [](Speed* s) {
             static constexpr std::array<double, 2> kPass = {kFive, -kFive};
             static constexpr std::array<double, 2> kEnd = {0, -2 * kFive};
             return zelQ_IArcPE(kNumber, kMap, 1, kPass.data(), kEnd.data(), s);
         },
         {0, 0},
         kFive,
         -180,
         {0, -kFive}},
        {"radius, the short way left",
         {kFive, 0},
         [](Speed* s) { return zelQ_IArcRE(kNumber, kMap, kFive, 0, 0, kUp.data(), 0, s); },
         {0, 0},
         kFive,
         90,
         {0, kFive}},
        {"radius, the long way left",
         {kFive, 0},
         [](Speed* s) { return zelQ_IArcRE(kNumber, kMap, kFive, 1, 0, kUp.data(), 0, s); },
         {kFive, kFive},
         kFive,
         270,
         {0, kFive}},
        {"radius, the short way right",
         {kFive, 0},
         [](Speed* s) { return zelQ_IArcRE(kNumber, kMap, kFive, 0, 0, kUp.data(), 1, s); },
         {kFive, kFive},
         kFive,
         -90,
         {0, kFive}},
        {"radius, the long way right",
         {kFive, 0},
         [](Speed* s) { return zelQ_IArcRE(kNumber, kMap, kFive, 1, 0, kUp.data(), 1, s); },
         {0, 0},
         kFive,
         -270,
         {0, kFive}},
        {"radius of half a circle, a pulse short",
         {kFive, 0},
         [](Speed* s) { return zelQ_IArcRE(kNumber, kMap, kFive - 1, 0, 0, kBack.data(), 0, s); },
         {0, 0},
         kFive,
         180,
         {-kFive, 0}},
    };
    for (const ArcCase& arc : arcs) {
        Run(arc, kArcKind);
    }
}

TEST_F(ArcScenario, HelicesRiseWithTheirAngle)
{
    using Speed = InterpSpeedProfile;
    static constexpr std::array<double, 2> kOrigin = {0, 0};
    static constexpr std::array<double, 2> kUp = {0, kFive};
    static constexpr std::array<double, 2> kBack = {-kFive, 0};
    const std::vector<ArcCase> arcs = {
        {"centre and angle, three turns down",
         {kFive, 0},
         [](Speed* s) {
             return zelQ_IHelical(kNumber, kMap, 0, kOrigin.data(), -1080, 0, -9000, s);
         },
         {0, 0},
         kFive,
         -1080,
         {kFive, 0},
         -9000},
        {"centre and end",
         {kFive, 0},
         [](Speed* s) {
             return zelQ_IHelicalCE(kNumber, kMap, 0, kOrigin.data(), kUp.data(), 0, 700, 1, s);
         },
         {0, 0},
         kFive,
         -270,
         {0, kFive},
         700},
        {"through a point",
         {kFive, 0},
         [](Speed* s) {
             return zelQ_IHelicalPE(kNumber, kMap, 0, kUp.data(), kBack.data(), 0, 30000, s);
         },
         {0, 0},
         kFive,
         180,
         {-kFive, 0},
         30000},
        {"radius and end",
         {kFive, 0},
         [](Speed* s) {
             return zelQ_IHelicalRE(kNumber, kMap, kFive, 1, 0, kUp.data(), 0, -50, 1, s);
         },
         {0, 0},
         kFive,
         -270,
         {0, kFive},
         -50},
    };
    for (const ArcCase& arc : arcs) {
        Run(arc, kHelicalKind);
    }

    // With the other option the speed is that along the helix.
    ASSERT_NO_FATAL_FAILURE(StandAt({kFive, 0, 0}));
    InterpSpeedProfile speed = Speeds(5000, 5000, 5000);
    const double height = 2 * std::numbers::pi * kFive * 0.75; // three up for four along
    ASSERT_EQ(zelQ_IHelical(kNumber, kMap, 0, kOrigin.data(), 360, 1, height, &speed), 0);
    Advance(std::chrono::milliseconds(400));
    EXPECT_NEAR(StatusAt(2).velocity, 3000, 1);
    EXPECT_NEAR(Look().Speed(), 5000, 2);
}

TEST_F(ArcScenario, ImpossibleGeometryIsRefused)
{
    InterpSpeedProfile speed = Speeds(0, 1000, 0);
    InterpSpeedProfile* s = &speed;
    const std::array<double, 2> here = {0, 0};
    const std::array<double, 2> ahead = {1000, 1000};
    const std::array<double, 2> further = {3000, 3000};
    const std::array<double, 2> aside = {1000, -1004};
    const double* none = here.data();
    ASSERT_NO_FATAL_FAILURE(StandAt({0, 0, 0}));
    EXPECT_EQ(zelQ_IArc(kNumber, kMap, 0, none, 90, s), kNoCircle);
    EXPECT_EQ(zelQ_IArcCE(kNumber, kMap, 0, ahead.data(), ahead.data(), 0, s), kNoCircle);
    EXPECT_EQ(zelQ_IArcCE(kNumber, kMap, 0, ahead.data(), further.data(), 0, s), kEndOffCircle);
    EXPECT_EQ(zelQ_IArcPE(kNumber, kMap, 0, ahead.data(), further.data(), s), kPointsInLine);
    EXPECT_EQ(zelQ_IArcPE(kNumber, kMap, 0, ahead.data(), none, s), kPointsInLine);
    EXPECT_EQ(zelQ_IArcPE(kNumber, kMap, 0, none, ahead.data(), s), kPointsInLine);
    EXPECT_EQ(zelQ_IArcRE(kNumber, kMap, 700, 0, 0, ahead.data(), 0, s), kRadiusTooSmall);
    EXPECT_EQ(zelQ_IArcRE(kNumber, kMap, -1000, 0, 0, ahead.data(), 0, s), kRadiusTooSmall);
    EXPECT_EQ(zelQ_IArcRE(kNumber, kMap, 700, 0, 0, none, 0, s), kNoCircle);
    EXPECT_EQ(zelQ_IHelicalRE(kNumber, kMap, 1000, 2, 0, ahead.data(), 0, 0, 0, s), kOutOfRange);
    EXPECT_EQ(zelQ_IArcCE(kNumber, kMap, 0, ahead.data(), aside.data(), 2, s), kOutOfRange);
    EXPECT_EQ(zelQ_IHelical(kNumber, kMap, 0, ahead.data(), 90, 2, 0, s), kOutOfRange);
    speed.profileType = 2;
    EXPECT_EQ(zelQ_IArcPE(kNumber, kMap, 0, ahead.data(), aside.data(), s), kOutOfRange);
    speed = Speeds(0, 0, 0);
    EXPECT_EQ(LineTo({1}, speed), kOutOfRange);
    EXPECT_EQ(StatusAt(0).inMotion, 0);
    EXPECT_EQ(zelQ_ServoOn(kNumber, 1, 0), 0);
    EXPECT_EQ(LineTo({1, 2}, Speeds(0, 1, 0)), kServoOff);
}

} // namespace

} // namespace zelq::test
