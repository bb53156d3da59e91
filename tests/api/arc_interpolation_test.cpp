#include "api/interpolation_test.h"

#include <functional>
#include <string>

namespace zelq::test {

namespace {

class ArcInterpolationTest : public InterpolationTest
{};

/// One of the eight arc calls, with the arguments that its checks look at.
struct ArcCall
{
    std::string name;
    std::string traced;
    std::function<short(short zelNo, short map, unsigned short option, const double* point,
                        const double* end, InterpSpeedProfile* speed)>
        call;
    Words geometry;            ///< from the arc form on
    bool helical = false;      ///< with helicalOption 1 and a height of 2.5
    bool radius = false;       ///< has no first point; option stands in the fifth place
    bool angle = false;        ///< has no end point
    int lastPosition = 0;      ///< the speed record's place
    bool changesFirst = false; ///< the speeds change before the map is looked at
};

constexpr std::array<double, 2> kPoint = {3.2, -0.55};
constexpr std::array<double, 2> kEnd = {-7.0, 2.0};

/// All eight, as they send kPoint or a radius of 8.75, kEnd and a height of 2.5 on map 2.
std::vector<ArcCall> ArcCalls()
{
    const Words point = Join({Long(6), Long(-5)});
    const Words end = Join({Long(-14), Long(20)});
    const Words height = Long(10);
    const Words angle = Join({Long(1234567), Long(0)});
    return {
        {"zelQ_IArc", "zelQ_IArc",
         [](short n, short m, unsigned short o, const double* p, const double*,
            InterpSpeedProfile* s) { return zelQ_IArc(n, m, o, p, -123.45678, s); },
         Join({{0}, point, angle, {1}}), false, false, true, 5, true},
        {"zelQ_IArcCE", "zelQ_IArcCE",
         [](short n, short m, unsigned short o, const double* p, const double* e,
            InterpSpeedProfile* s) { return zelQ_IArcCE(n, m, o, p, e, 7, s); },
         Join({{1}, point, end, {7}}), false, false, false, 6},
        {"zelQ_IArcPE", "zelQ_IArcPE",
         [](short n, short m, unsigned short o, const double* p, const double* e,
            InterpSpeedProfile* s) { return zelQ_IArcPE(n, m, o, p, e, s); },
         Join({{2}, point, end, {0}}), false, false, false, 5},
        {"zelQ_IArcRE", "zelQ_IArcRE",
         [](short n, short m, unsigned short o, const double*, const double* e,
            InterpSpeedProfile* s) { return zelQ_IArcRE(n, m, 8.75, 1, o, e, 1, s); },
         Join({{3}, Long(17), Long(1), end, {1}}), false, true, false, 7},
        {"zelQ_IHelical", "zelQ_IHelical",
         [](short n, short m, unsigned short o, const double* p, const double*,
            InterpSpeedProfile* s) { return zelQ_IHelical(n, m, o, p, 123.45678, 1, 2.5, s); },
         Join({{0}, point, angle, height, {0}}), true, false, true, 7, true},
        {"zelQ_IHelicalCE", "zelQ_IArcCE",
         [](short n, short m, unsigned short o, const double* p, const double* e,
            InterpSpeedProfile* s) { return zelQ_IHelicalCE(n, m, o, p, e, 1, 2.5, 0xFFFF, s); },
         Join({{1}, point, end, height, {0xFFFF}}), true, false, false, 8},
        {"zelQ_IHelicalPE", "zelQ_IHelicalPE",
         [](short n, short m, unsigned short o, const double* p, const double* e,
            InterpSpeedProfile* s) { return zelQ_IHelicalPE(n, m, o, p, e, 1, 2.5, s); },
         Join({{2}, point, end, height, {0}}), true, false, false, 7},
        {"zelQ_IHelicalRE", "zelQ_IHelicalRE",
         [](short n, short m, unsigned short o, const double*, const double* e,
            InterpSpeedProfile* s) {
             return zelQ_IHelicalRE(n, m, 8.75, 0xFFFE, o, e, 1, 2.5, 1, s);
         },
         Join({{3}, Long(17), Long(0xFFFE), end, height, {1}}), true, true, false, 9},
    };
}

TEST_F(ArcInterpolationTest, ArcsSendTheirGeometry)
{
    for (const ArcCall& arc : ArcCalls()) {
        speed_.profileType = 1;
        const auto call = [&] {
            return arc.call(kNumber, kMap, 1, kPoint.data(), kEnd.data(), &speed_);
        };
        const std::uint16_t code = arc.helical ? 0x0074 : 0x0073;
        const std::uint16_t mode = arc.helical ? 7 : 3;
        const std::vector<Words> frames = {
            Join({{0x0101, code, kMap, mode}, MapSpeeds(), arc.geometry})};
        Run({{.name = arc.name,
              .call = call,
              .frames = frames,
              .trace = "0=" + arc.traced + "(5,2)"},
             {.name = arc.name + ", refused by the controller",
              .call = call,
              .result = 41,
              .frames = frames,
              .controllerResult = 41,
              .trace = "41=" + arc.traced + "(5,2)"}});
    }
    // What the form of the helix leaves free spills into the shape of the profile.
    speed_.profileType = 0x7FFF;
    EXPECT_EQ(zelQ_IHelicalPE(kNumber, kMap, 0, kPoint.data(), kEnd.data(), 3, 0, &speed_), 0);
    EXPECT_EQ(controller_.TakeRequests().at(0).at(0).written.at(3), (3 * 2 + 0x7FFF) * 2 & 0xFFFF);
}

TEST_F(ArcInterpolationTest, WrongArcsAreRefusedInOrder)
{
    for (const ArcCall& arc : ArcCalls()) {
        SCOPED_TRACE(arc.name);
        const auto with = [&](short map, unsigned short option, const double* point,
                              const double* end, InterpSpeedProfile* speed) {
            return [=] { return arc.call(kNumber, map, option, point, end, speed); };
        };
        const auto code = [](int position) { return static_cast<short>(-1700 - position); };
        const double* point = kPoint.data();
        const double* end = kEnd.data();
        ExpectNumberChecks([&](short n) { return arc.call(n, 16, 2, nullptr, nullptr, nullptr); });
        ExpectRefused(-1701, {with(16, 2, nullptr, nullptr, nullptr),
                              with(-1, 2, nullptr, nullptr, nullptr)});
        ExpectRefused(arc.radius ? -1704 : -1702, {with(0, 2, nullptr, nullptr, nullptr)});
        ExpectRefused(-4001, {with(0, 1, nullptr, nullptr, nullptr)});
        if (!arc.radius) ExpectRefused(-1703, {with(kMap, 1, nullptr, nullptr, nullptr)});
        if (!arc.angle) {
            ExpectRefused(code(arc.radius ? 5 : 4), {with(kMap, 1, point, nullptr, nullptr)});
        }
        ExpectRefused(code(arc.lastPosition), {with(kMap, 1, point, end, nullptr)});
    }
    const double* point = kPoint.data();
    const double* none = nullptr;
    ExpectRefused(-1704,
                  {[&] { return zelQ_IArc(kNumber, 0, 0, none, 0.0, nullptr); },
                   [&] { return zelQ_IArc(kNumber, kMap, 1, point, -0.0, &speed_); },
                   [&] { return zelQ_IHelical(kNumber, 0, 0, none, 0.0, 0, 0.0, nullptr); },
                   [&] { return zelQ_IHelical(kNumber, kMap, 1, point, -0.0, 0, 0.0, &speed_); }});
    ExpectRefused(-1702, {[&] { return zelQ_IArc(kNumber, kMap, 2, point, 0.0, &speed_); }});
    ExpectRefused(-1703, {[&] { return zelQ_IArcRE(kNumber, 0, 1.0, 2, 2, point, 0, &speed_); },
                          [&] { return zelQ_IArcRE(kNumber, 0, 1.0, -1, 2, point, 0, &speed_); }});
}

TEST_F(ArcInterpolationTest, MapsNeedTheAxesOfTheFigure)
{
    for (const std::vector<unsigned short>& axes :
         {std::vector<unsigned short>{4}, std::vector<unsigned short>{4, 1}}) {
        SetMap(axes);
        for (const ArcCall& arc : ArcCalls()) {
            SCOPED_TRACE(arc.name);
            const bool enough = axes.size() >= (arc.helical ? 3U : 2U);
            EXPECT_EQ(arc.call(kNumber, kMap, 0, kPoint.data(), kEnd.data(), &speed_),
                      enough ? 0 : -4001);
        }
    }
}

TEST_F(ArcInterpolationTest, AnglesKeepTheirSizeInOneFieldAndTheirSignInAnother)
{
    const auto sent = [&](double angle) {
        EXPECT_EQ(zelQ_IArc(kNumber, kMap, 0, kPoint.data(), angle, &speed_), 0);
        const Words words = controller_.TakeRequests().at(0).at(0).written;
        return Join({{words.begin() + 19, words.end()}});
    };
    EXPECT_EQ(sent(-90.0), Join({Long(900000), Long(0), {1}}));
    EXPECT_EQ(sent(90.0), Join({Long(900000), Long(0), {0}}));
    EXPECT_EQ(sent(-0.00009), Join({Long(0), Long(0), {1}}));
    EXPECT_EQ(sent(-1e6), Join({Long(INT32_MIN), Long(0), {1}}));
}

TEST_F(ArcInterpolationTest, TwoFormsChangeTheSpeedsEvenForAMapThatIsRefused)
{
    for (const ArcCall& arc : ArcCalls()) {
        SCOPED_TRACE(arc.name);
        const auto on = [&arc](short map) {
            return [&arc, map](InterpSpeedProfile* speed) {
                return arc.call(kNumber, map, 0, kPoint.data(), kEnd.data(), speed);
            };
        };
        EXPECT_EQ(Changes(on(0), -4001), arc.changesFirst);
        EXPECT_TRUE(Changes(on(kMap), 0));
    }
}

} // namespace

} // namespace zelq::test
