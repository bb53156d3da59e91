// Arcs and helices: their geometry, followed along.

#include "scenario/path_scenario.h"

#include <array>
#include <numbers>

namespace zelq::test {

namespace {

constexpr double kFive = 5'000;
constexpr double kDrive = 40'000;

using Point = std::array<double, 2>;

enum Form { kAngle, kCenterEnd, kPassEnd, kRadiusEnd };
enum Turn : U16 { kLeft = 0, kRight = 1 };

/// An arc as it is commanded, and what it must be. All have a radius of 5000.
struct ArcCase
{
    const char* name;
    Form form;
    Point start, first, last; ///< the first is the centre, or a point on the way
    double number;            ///< angle or radius
    U16 longWay;
    Turn turn;
    Point center;
    double degrees; ///< positive counter-clockwise
    Point end;
    U16 option = 0;    ///< 1: by distances
    double height = 0; ///< where the third axis ends

    [[nodiscard]] short Command(short map, InterpSpeedProfile& s) const
    {
        const double* a = first.data();
        const double* b = last.data();
        const double h = height;
        const auto select = static_cast<short>(longWay);
        if (form == kAngle) {
            return h == 0 ? zelQ_IArc(9, map, option, a, number, &s)
                          : zelQ_IHelical(9, map, option, a, number, 0, h, &s);
        }
        if (form == kCenterEnd) {
            return h == 0 ? zelQ_IArcCE(9, map, option, a, b, turn, &s)
                          : zelQ_IHelicalCE(9, map, option, a, b, 0, h, turn, &s);
        }
        if (form == kPassEnd) {
            return h == 0 ? zelQ_IArcPE(9, map, option, a, b, &s)
                          : zelQ_IHelicalPE(9, map, option, a, b, 0, h, &s);
        }
        return h == 0 ? zelQ_IArcRE(9, map, number, select, option, b, turn, &s)
                      : zelQ_IHelicalRE(9, map, number, longWay, option, b, 0, h, turn, &s);
    }
};

class ArcScenario : public PathScenario
{
  protected:
    ArcScenario() : PathScenario(3) {}

    void SetUp() override
    {
        PathScenario::SetUp();
        UseMap({2, 0, 1});
    }

    /// Follows one arc: on its circle, by its angle, its height growing with the angle.
    void Run(const ArcCase& arc)
    {
        SCOPED_TRACE(arc.name);
        ASSERT_NO_FATAL_FAILURE(StandAt({arc.start[0], arc.start[1], 0}));
        InterpSpeedProfile speed = Speeds(100, kDrive, 100, 0, 2e6, 2e6);
        After(arc.Command(kMap, speed), 1ms, {.kind = arc.height == 0 ? kArcKind : kHelicalKind},
              0);
        const std::vector<Sample> samples = Watch(5ms);
        double turned = 0; // degrees
        double fastest = 0;
        double before = 0;
        for (const Sample& sample : samples) {
            const double x = sample.at[0] - arc.center[0];
            const double y = sample.at[1] - arc.center[1];
            EXPECT_NEAR(std::hypot(x, y), kFive, 2.0);
            const double angle = std::atan2(y, x) * 180 / std::numbers::pi;
            turned += &sample == &samples.front() ? 0 : std::remainder(angle - before, 360);
            before = angle;
            EXPECT_NEAR(sample.at[2], arc.height * turned / arc.degrees, 4.0);
            EXPECT_GT(turned / arc.degrees, -0.001); // it never turns the other way
            fastest = std::max(fastest, sample.Speed(2));
        }
        EXPECT_NEAR(turned, arc.degrees, 0.05);
        EXPECT_NEAR(fastest, kDrive, 3);
        EXPECT_EQ(samples.back().at, (Coordinates{arc.end[0], arc.end[1], arc.height}));
    }
};

constexpr Point kOrigin = {0, 0};
constexpr Point kAside = {kFive, 0};
constexpr Point kUp = {0, kFive};
constexpr Point kBack = {-kFive, 0};
constexpr Point kDown = {0, -kFive};
constexpr Point kCorner = {kFive, kFive};
constexpr Point kUnused = kOrigin;

TEST_F(ArcScenario, AllFormsGiveTheirArcs)
{
    const double top = std::round(kFive * std::sqrt(0.75)); // of a triangle of equal sides
    // clang-format off
    const ArcCase arcs[] = {
        {"quarter turn left", kAngle, kAside, kOrigin, kUnused, 90, 0, kLeft, kOrigin, 90, kUp},
        {"two turns and a half right", kAngle, kAside, kOrigin, kUnused, -900, 0, kLeft, kOrigin, -900, kBack},
        {"by distance, between pulses", kAngle, {1'000, 2'000}, kAside, kUnused, 60, 0, kLeft, {6'000, 2'000}, 60, {3'500, 2'000 - top}, 1},
        {"centre and end, left", kCenterEnd, kAside, kOrigin, kDown, 0, 0, kLeft, kOrigin, 270, kDown},
        {"centre and end, right", kCenterEnd, kAside, kOrigin, kDown, 0, 0, kRight, kOrigin, -90, kDown},
        {"a whole circle", kCenterEnd, kUp, kOrigin, kUp, 0, 0, kRight, kOrigin, -360, kUp},
        {"through a point, left", kPassEnd, kAside, kBack, kDown, 0, 0, kLeft, kOrigin, 270, kDown},
        {"through a point by distances, right", kPassEnd, kUp, {kFive, -kFive}, {0, -2 * kFive}, 0, 0, kLeft, kOrigin, -180, kDown, 1},
        {"radius, short, left", kRadiusEnd, kAside, kUnused, kUp, kFive, 0, kLeft, kOrigin, 90, kUp},
        {"radius, long, left", kRadiusEnd, kAside, kUnused, kUp, kFive, 1, kLeft, kCorner, 270, kUp},
        {"radius, short, right", kRadiusEnd, kAside, kUnused, kUp, kFive, 0, kRight, kCorner, -90, kUp},
        {"radius, long, right", kRadiusEnd, kAside, kUnused, kUp, kFive, 1, kRight, kOrigin, -270, kUp},
        {"radius of half a circle, a pulse short", kRadiusEnd, kAside, kUnused, kBack, kFive - 1, 0, kLeft, kOrigin, 180, kBack},
        {"helix, three turns down", kAngle, kAside, kOrigin, kUnused, -1'080, 0, kLeft, kOrigin, -1'080, kAside, 0, -9'000},
        {"helix, centre and end", kCenterEnd, kAside, kOrigin, kUp, 0, 0, kRight, kOrigin, -270, kUp, 0, 700},
        {"helix through a point", kPassEnd, kAside, kUp, kBack, 0, 0, kLeft, kOrigin, 180, kBack, 0, 30'000},
        {"helix, radius", kRadiusEnd, kAside, kUnused, kUp, kFive, 1, kRight, kOrigin, -270, kUp, 0, -50},
    };
    // clang-format on
    for (const ArcCase& arc : arcs) {
        Run(arc);
    }
    // With the other option the speed is that along the helix.
    ASSERT_NO_FATAL_FAILURE(StandAt({kFive, 0, 0}));
    InterpSpeedProfile speed = Speeds(5'000, 5'000, 5'000);
    const double height = 2 * std::numbers::pi * kFive * 0.75; // three up for four along
    After(zelQ_IHelical(kNumber, kMap, 0, kOrigin.data(), 360, 1, height, &speed), 400ms,
          {.velocity = 3'000, .within = 1}, 1);
    EXPECT_NEAR(Look().Speed(), 5'000, 2);
}

TEST_F(ArcScenario, ImpossibleGeometryIsRefused)
{
    InterpSpeedProfile speed = Speeds(0, 1'000, 0);
    InterpSpeedProfile* s = &speed;
    const double* none = kOrigin.data();
    const double a[] = {1'000, 1'000};
    const double further[] = {3'000, 3'000};
    const double aside[] = {1'000, -1'004};
    ASSERT_NO_FATAL_FAILURE(StandAt({0, 0, 0}));
    Refused(kNoCircle,
            {zelQ_IArc(kNumber, kMap, 0, none, 90, s), zelQ_IArcCE(kNumber, kMap, 0, a, a, 0, s),
             zelQ_IArcRE(kNumber, kMap, 700, 0, 0, none, 0, s)});
    EXPECT_EQ(zelQ_IArcCE(kNumber, kMap, 0, a, further, 0, s), kEndOffCircle);
    Refused(kPointsInLine,
            {zelQ_IArcPE(kNumber, kMap, 0, a, further, s),
             zelQ_IArcPE(kNumber, kMap, 0, a, none, s), zelQ_IArcPE(kNumber, kMap, 0, none, a, s)});
    Refused(kRadiusTooSmall, {zelQ_IArcRE(kNumber, kMap, 700, 0, 0, a, 0, s),
                              zelQ_IArcRE(kNumber, kMap, -1'000, 0, 0, a, 0, s)});
    Refused(kOutOfRange, {zelQ_IHelicalRE(kNumber, kMap, 1'000, 2, 0, a, 0, 0, 0, s),
                          zelQ_IArcCE(kNumber, kMap, 0, a, aside, 2, s),
                          zelQ_IHelical(kNumber, kMap, 0, a, 90, 2, 0, s)});
    speed.profileType = 2;
    Refused(kOutOfRange,
            {zelQ_IArcPE(kNumber, kMap, 0, a, aside, s), LineTo({1}, Speeds(0, 0, 0))});
    Expect({.moving = 0}, 2);
    EXPECT_EQ(zelQ_ServoOn(kNumber, 0, 0), 0);
    EXPECT_EQ(LineTo({1, 2}, Speeds(0, 1, 0)), kServoOff);
}

} // namespace

} // namespace zelq::test
