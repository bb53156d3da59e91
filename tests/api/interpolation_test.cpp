#include "support/calls.h"

namespace zelq::test {

namespace {

constexpr InterpSpeedProfile kSpeed{.profileType = 0,
                                    .reserved = 0xA5A5,
                                    .startSpeed = 10,
                                    .acc = 200,
                                    .driveSpeed = 300,
                                    .dec = 400,
                                    .endSpeed = 50};

/// Where every test begins: map 2 moves the axes 4, 1, 6, each with a factor of its own.
class InterpolationTest : public CallTest
{
  protected:
    static constexpr short kMap = 2;

    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(WireTest::SetUp());
        for (short map = 0; map < 16; ++map) {
            zelQ_IMapClear(kNumber, map);
        }
        SetMap({4, 1, 6});
        SetUnits({{4, 0.5}, {1, 0.1}, {6, 0.25}});
    }

    void TearDown() override
    {
        zelQ_SpeedEqualStartAndStopSet(0);
        WireTest::TearDown();
    }

    void SetMap(const std::vector<U16>& axes)
    {
        ASSERT_EQ(zelQ_IMapSet(kNumber, kMap, static_cast<short>(axes.size()), axes.data()), 0);
        Forget();
    }

    /// What a line to one unit on each axis is sent as: the factors of a map's axes.
    Words FactorsOf(short count)
    {
        InterpSpeedProfile speed = kSpeed;
        const std::vector<double> ones(static_cast<std::size_t>(count), 1.0);
        EXPECT_EQ(zelQ_ILinear(kNumber, kMap, 0, count, ones.data(), &speed), 0);
        const Words sent = SentWords();
        return {sent.begin() + 16, sent.end()};
    }

    /// The speeds at the map's first axis, of 0.5 units a pulse.
    static Words MapSpeeds()
    {
        return Join({Long(20), Long(400), Long(600), Long(800), Long(100)});
    }

    /// Whether a call, while the flag for equal speeds is set, changes those of its record.
    bool Changes(const std::function<short(InterpSpeedProfile*)>& call, short result)
    {
        EXPECT_EQ(zelQ_SpeedEqualStartAndStopSet(1), 0);
        speed_ = kSpeed;
        EXPECT_EQ(call(&speed_), result);
        return speed_.endSpeed == speed_.startSpeed;
    }

    InterpSpeedProfile speed_ = kSpeed;
    const double zeros_[16] = {};
};

TEST_F(InterpolationTest, MapsAreSetAndCleared)
{
    const auto axes = Counting<U16, 17>(0);
    const U16 odd[] = {300, 300};
    Words sixteen = {0x0070, 15, 16};
    sixteen.insert(sixteen.end(), axes.begin(), axes.begin() + 16);
    Expect({
        Row(CALL(IMapSet, 15, 16, axes.data()), sixteen).Line("zelQ_ISetMap(5,15,16)"),
        // Axes as given, twice or out of range; cleared, a map has none.
        Row(CALL(IMapSet, 0, 2, odd), {0x0070, 0, 2, 300, 300}).Line("zelQ_ISetMap(5,0,2)"),
        {CALL(IMapClear, 3), {0x0070, 3, 0}},
    });
    Refused(-1701,
            {CALL(IMapSet, 16, 0, nullptr), CALL(IMapSet, -1, 0, nullptr), CALL(IMapClear, 16),
             CALL(IMapClear, -1), CALL(IMapGet, 16, nullptr), CALL(IMapGet, 0xFFFF, nullptr)});
    Refused(-1702, {CALL(IMapSet, 0, 0, nullptr), CALL(IMapSet, 0, 17, axes.data()),
                    CALL(IMapGet, 15, nullptr)});
    Refused(-1703, {CALL(IMapSet, 0, 1, nullptr)});
}

TEST_F(InterpolationTest, TheMirrorFollowsWhatTheControllerTook)
{
    const Words factors = Join({Long(2), Long(10), Long(4)});
    EXPECT_EQ(FactorsOf(3), factors);

    // A refused map changes nothing, neither does reading one.
    const U16 plain[] = {2, 3, 5, 7};
    controller_.ThenResult(9);
    EXPECT_EQ(zelQ_IMapSet(kNumber, kMap, 4, plain), 9);
    controller_.ThenResult(9);
    EXPECT_EQ(zelQ_IMapClear(kNumber, kMap), 9);
    controller_.SetRegisters(0xF41A + 9 * kMap, {0x0201, 0, 0, 0, 0, 0, 0, 0, 0});
    short read[18] = {};
    EXPECT_EQ(zelQ_IMapGet(kNumber, kMap, read), 0);
    Forget();
    EXPECT_EQ(FactorsOf(3), factors);

    // Axes are known by their low byte; numbers without an axis have the factor 1.
    SetMap({0x0104, 200, 32, 1});
    EXPECT_EQ(FactorsOf(4), Join({Long(2), Long(1), Long(1), Long(10)}));
    // Factors are those of the moment.
    SetUnits({{4, 0.2}});
    EXPECT_EQ(FactorsOf(1), Long(5));

    zelQ_IMapClear(kNumber, kMap);
    EXPECT_EQ(zelQ_ILinear(kNumber, kMap, 0, 1, zeros_, &speed_), -4001);
}

TEST_F(InterpolationTest, MapsAreReadBack)
{
    constexpr auto kOld = static_cast<short>(0xA5A5);
    std::array<short, 19> out{};
    controller_.SetRegisters(0xF41A + 9 * 15, {0x1E03, 0xFF00, 0x7777, 1, 2, 3, 4, 5, 6});
    controller_.SetRegisters(
        0xF41A, {0x0111, 0x0302, 0x0504, 0x0706, 0x0908, 0x0B0A, 0x0D0C, 0x0F0E, 0xAA10});
    Expect({
        // Low byte first; a place behind the count is left out.
        Row(CALL(IMapGet, 15, out.data()))
            .Reads({{0xF41A + 135, 9}}, "15,3", "15,0")
            .Fills(out, {3, kOld, 30, 0, 255}),
        Row(CALL(IMapGet, 1, out.data())).Reads({{0xF41A + 9, 9}}).Shows("1,0").Fills(out, {0}),
        // More axes than a map holds.
        Row(CALL(IMapGet, 0, out.data()))
            .Reads({{0xF41A, 9}}, "0,17", "0,0")
            .Fills(out, {17, kOld, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}),
    });
}

TEST_F(InterpolationTest, LinesSendEachCoordinateByItsAxis)
{
    const double target[16] = {1.4, -0.09, 1e10};
    speed_.profileType = 1;
    InterpSpeedProfile wide = kSpeed;
    wide.profileType = 0x8003;
    // They are traced even without a session, so that each stands alone.
    ExpectOnce(
        Row(CALL(ILinear, kMap, 0, 3, target, &speed_),
            Join({{0x0072, kMap, 0, 2}, MapSpeeds(), {3}, Long(2), Long(0), Long(INT32_MIN)}))
            .Shows("2,3"));
    // Fewer coordinates than the map has axes.
    const Words fewer = Join({MapSpeeds(), {1}, Long(2)});
    ExpectOnce(
        Row(CALL(ILinearWithUAxis, kMap, 1, 1, target, &wide), Join({{0x0072, kMap, 1, 7}, fewer}))
            .Shows("2,1"));
    controller_.ThenResult(6);
    ExpectOnce(Row(CALL(ILinear, kMap, 1, 1, target, &wide), Join({{0x0072, kMap, 0, 7}, fewer}))
                   .Gives(6)
                   .Shows("2,1"));
    SetMap({4, 1});
    EXPECT_EQ(zelQ_ILinear(kNumber, kMap, 0, 2, target, &speed_), 0);
    EXPECT_EQ(SentWords().size(), 20U);
    SetMap(std::vector<U16>(16, 0));
    EXPECT_EQ(zelQ_ILinear(kNumber, kMap, 0, 16, target, &speed_), 0);
    EXPECT_EQ(SentWords().size(), 48U);
}

TEST_F(InterpolationTest, RefusedLinesAreTracedToo)
{
    struct Refusal
    {
        short zelNo;
        short map;
        U16 option;
        short count;
        const double* position;
        InterpSpeedProfile* speed;
        short result;
    };
    const U16 one[] = {1};
    ASSERT_EQ(zelQ_IMapSet(kNumber, 1, 1, one), 0);
    Forget();
    const Refusal refusals[] = {
        {0, 16, 2, 9, nullptr, nullptr, -2},
        {kUnknown, 16, 2, 9, nullptr, nullptr, -3},
        {kNumber, 16, 2, 9, nullptr, nullptr, -1701},
        {kNumber, -1, 2, 9, nullptr, nullptr, -1701},
        {kNumber, 0, 2, 9, nullptr, nullptr, -1702},
        {kNumber, 0, 1, 9, nullptr, nullptr, -4001},
        {kNumber, 1, 1, 1, zeros_, &speed_, -4001},
        {kNumber, kMap, 1, 4, nullptr, nullptr, -1703},
        {kNumber, kMap, 1, 0, nullptr, nullptr, -1703},
        {kNumber, kMap, 1, 3, nullptr, nullptr, -1704},
        {kNumber, kMap, 1, 3, zeros_, nullptr, -1705},
    };
    for (const bool withU : {false, true}) {
        for (const Refusal& r : refusals) {
            const auto line = withU ? zelQ_ILinearWithUAxis : zelQ_ILinear;
            EXPECT_EQ(line(r.zelNo, r.map, r.option, r.count, r.position, r.speed), r.result);
            const std::string name = withU ? "zelQ_ILinearWithUAxis(" : "zelQ_ILinear(";
            EXPECT_EQ(NextTrace(), std::to_string(r.result) + "=" + name + std::to_string(r.zelNo) +
                                       "," + std::to_string(r.map) + "," + std::to_string(r.count) +
                                       ")");
            EXPECT_TRUE(controller_.TakeRequests().empty());
        }
    }
}

TEST_F(InterpolationTest, EqualSpeedsAreMadeInTheCallersRecord)
{
    struct Case
    {
        double acc, dec, start, end;
    };
    ASSERT_EQ(zelQ_SpeedEqualStartAndStopSet(1), 0);
    for (const Case& row :
         {Case{200, 400, 10, 10}, Case{0, 5, 300, 10}, Case{5, 0, 10, 300}, Case{0, 0, 300, 300}}) {
        speed_ = kSpeed;
        speed_.acc = row.acc;
        speed_.dec = row.dec;
        EXPECT_EQ(zelQ_ILinear(kNumber, kMap, 0, 1, zeros_, &speed_), 0);
        EXPECT_EQ(double{speed_.startSpeed}, row.start);
        EXPECT_EQ(double{speed_.driveSpeed}, 300);
        EXPECT_EQ(double{speed_.endSpeed}, row.end);
        EXPECT_EQ(speed_.reserved, 0xA5A5);
        const Words sent = SentWords();
        EXPECT_EQ(Words(sent.begin() + 13, sent.begin() + 15), Long(static_cast<int>(row.end * 2)));
    }
    // A refused line has done so from the check of the map on.
    const auto line = [](short map, U16 option, short count) {
        return [=](InterpSpeedProfile* speed) {
            return zelQ_ILinear(kNumber, map, option, count, nullptr, speed);
        };
    };
    EXPECT_FALSE(Changes(line(0, 2, 1), -1702));
    EXPECT_TRUE(Changes(line(0, 1, 1), -4001));
    EXPECT_TRUE(Changes(line(kMap, 1, 4), -1703));
}

TEST_F(InterpolationTest, PreRegisters)
{
    U16 use = 0;
    std::array<U16, 17> remain{};
    const auto counts = Counting<U16, 16>(0xFFF8);
    const Words words(counts.begin(), counts.end());
    controller_.SetRegister(0xF417, 0x8001);
    Expect({
        {CALL(CP_PreRegUseSet, 7), {0x01C1, 7}},
        // Read back under another name.
        Row(CALL(CP_PreRegUseGet, &use))
            .Reads({{0xF417, 1}})
            .Lines("zelQ_CP_UsePreRegGet(5,32769,0)", "zelQ_CP_UsePreRegGet(5,0,0)")
            .Gets(use, 0x8001),
        Row(CALL(CP_PreRegGetRemain, remain.data()), {0x01C2}).Data(words, "").Fills(remain, words),
    });
    Refused(-1700, {CALL(CP_PreRegUseGet, nullptr), CALL(CP_PreRegGetRemain, nullptr)});
}

/// One of the eight arc calls, with the arguments that its checks look at.
struct ArcCall
{
    std::string name;
    std::string traced;
    std::function<short(Number n, short map, U16 option, const double* point, const double* end,
                        InterpSpeedProfile* speed)>
        call;
    Words geometry;            ///< from the arc form on
    bool helical = false;      ///< with helicalOption 1 and a height of 2.5
    bool radius = false;       ///< has no first point; option stands in the fifth place
    bool angle = false;        ///< has no end point
    int lastPosition = 0;      ///< the speed record's place
    bool changesFirst = false; ///< the speeds change before the map is looked at
};

const double kPoint[] = {3.2, -0.55};
const double kEnd[] = {-7.0, 2.0};

/// All eight, as they send kPoint or a radius of 8.75, kEnd and a height of 2.5 on map 2.
std::vector<ArcCall> ArcCalls()
{
    const Words point = Join({Long(6), Long(-5)});
    const Words end = Join({Long(-14), Long(20)});
    const Words height = Long(10);
    const Words angle = Join({Long(1234567), Long(0)});
    return {
        {"zelQ_IArc", "zelQ_IArc",
         [](auto n, auto m, auto o, auto p, auto, auto s) {
             return zelQ_IArc(n, m, o, p, -123.45678, s);
         },
         Join({{0}, point, angle, {1}}), false, false, true, 5, true},
        {"zelQ_IArcCE", "zelQ_IArcCE",
         [](auto n, auto m, auto o, auto p, auto e, auto s) {
             return zelQ_IArcCE(n, m, o, p, e, 7, s);
         },
         Join({{1}, point, end, {7}}), false, false, false, 6},
        {"zelQ_IArcPE", "zelQ_IArcPE",
         [](auto n, auto m, auto o, auto p, auto e, auto s) {
             return zelQ_IArcPE(n, m, o, p, e, s);
         },
         Join({{2}, point, end, {0}}), false, false, false, 5},
        {"zelQ_IArcRE", "zelQ_IArcRE",
         [](auto n, auto m, auto o, auto, auto e, auto s) {
             return zelQ_IArcRE(n, m, 8.75, 1, o, e, 1, s);
         },
         Join({{3}, Long(17), Long(1), end, {1}}), false, true, false, 7},
        {"zelQ_IHelical", "zelQ_IHelical",
         [](auto n, auto m, auto o, auto p, auto, auto s) {
             return zelQ_IHelical(n, m, o, p, 123.45678, 1, 2.5, s);
         },
         Join({{0}, point, angle, height, {0}}), true, false, true, 7, true},
        {"zelQ_IHelicalCE", "zelQ_IArcCE",
         [](auto n, auto m, auto o, auto p, auto e, auto s) {
             return zelQ_IHelicalCE(n, m, o, p, e, 1, 2.5, 0xFFFF, s);
         },
         Join({{1}, point, end, height, {0xFFFF}}), true, false, false, 8},
        {"zelQ_IHelicalPE", "zelQ_IHelicalPE",
         [](auto n, auto m, auto o, auto p, auto e, auto s) {
             return zelQ_IHelicalPE(n, m, o, p, e, 1, 2.5, s);
         },
         Join({{2}, point, end, height, {0}}), true, false, false, 7},
        {"zelQ_IHelicalRE", "zelQ_IHelicalRE",
         [](auto n, auto m, auto o, auto, auto e, auto s) {
             return zelQ_IHelicalRE(n, m, 8.75, 0xFFFE, o, e, 1, 2.5, 1, s);
         },
         Join({{3}, Long(17), Long(0xFFFE), end, height, {1}}), true, true, false, 9},
    };
}

TEST_F(InterpolationTest, ArcsSendTheirGeometry)
{
    speed_.profileType = 1;
    for (const ArcCall& arc : ArcCalls()) {
        const U16 code = arc.helical ? 0x0074 : 0x0073;
        const U16 mode = arc.helical ? 7 : 3;
        Expect({Row({arc.traced.c_str(), "2",
                     [&](Number n) { return arc.call(n, kMap, 1, kPoint, kEnd, &speed_); }},
                    Join({{code, kMap, mode}, MapSpeeds(), arc.geometry}))});
    }
    // What the form of the helix leaves free spills into the shape of the profile.
    speed_.profileType = 0x7FFF;
    EXPECT_EQ(zelQ_IHelicalPE(kNumber, kMap, 0, kPoint, kEnd, 3, 0, &speed_), 0);
    EXPECT_EQ(SentWords().at(3), (3 * 2 + 0x7FFF) * 2 & 0xFFFF);
}

TEST_F(InterpolationTest, WrongArcsAreRefusedInOrder)
{
    for (const ArcCall& arc : ArcCalls()) {
        const auto with = [&](short map, U16 option, const double* point, const double* end) {
            return ApiCall(arc.name.c_str(), "", [=, &arc](Number n) {
                return arc.call(n, map, option, point, end, nullptr);
            });
        };
        const auto code = [](int position) { return static_cast<short>(-1700 - position); };
        Refused(-1701, {with(16, 2, nullptr, nullptr), with(-1, 2, nullptr, nullptr)});
        Refused(code(arc.radius ? 4 : 2), {with(0, 2, nullptr, nullptr)});
        Refused(-4001, {with(0, 1, nullptr, nullptr)});
        if (!arc.radius) Refused(-1703, {with(kMap, 1, nullptr, nullptr)});
        if (!arc.angle) Refused(code(arc.radius ? 5 : 4), {with(kMap, 1, kPoint, nullptr)});
        Refused(code(arc.lastPosition), {with(kMap, 1, kPoint, kEnd)});
    }
    Refused(-1704,
            {CALL(IArc, 0, 0, nullptr, 0.0, nullptr), CALL(IArc, kMap, 1, kPoint, -0.0, &speed_),
             CALL(IHelical, 0, 0, nullptr, 0.0, 0, 0.0, nullptr),
             CALL(IHelical, kMap, 1, kPoint, -0.0, 0, 0.0, &speed_)});
    Refused(-1702, {CALL(IArc, kMap, 2, kPoint, 0.0, &speed_)});
    Refused(-1703, {CALL(IArcRE, 0, 1.0, 2, 2, kPoint, 0, &speed_),
                    CALL(IArcRE, 0, 1.0, -1, 2, kPoint, 0, &speed_)});
}

TEST_F(InterpolationTest, MapsNeedTheAxesOfTheFigure)
{
    for (const std::vector<U16>& axes : {std::vector<U16>{4}, std::vector<U16>{4, 1}}) {
        SetMap(axes);
        for (const ArcCall& arc : ArcCalls()) {
            SCOPED_TRACE(arc.name);
            const bool enough = axes.size() >= (arc.helical ? 3U : 2U);
            EXPECT_EQ(arc.call({kNumber}, kMap, 0, kPoint, kEnd, &speed_), enough ? 0 : -4001);
        }
    }
}

TEST_F(InterpolationTest, AnglesKeepTheirSizeInOneFieldAndTheirSignInAnother)
{
    struct Case
    {
        double angle;
        int size;
        U16 direction;
    };
    for (const Case& row : {Case{-90.0, 900000, 1}, Case{90.0, 900000, 0}, Case{-0.00009, 0, 1},
                            Case{-1e6, INT32_MIN, 1}}) {
        EXPECT_EQ(zelQ_IArc(kNumber, kMap, 0, kPoint, row.angle, &speed_), 0);
        const Words sent = SentWords();
        EXPECT_EQ(Words(sent.begin() + 19, sent.end()),
                  Join({Long(row.size), Long(0), {row.direction}}));
    }
}

TEST_F(InterpolationTest, TwoFormsChangeTheSpeedsEvenForAMapThatIsRefused)
{
    for (const ArcCall& arc : ArcCalls()) {
        SCOPED_TRACE(arc.name);
        const auto on = [&arc](short map) {
            return [&arc, map](InterpSpeedProfile* speed) {
                return arc.call({kNumber}, map, 0, kPoint, kEnd, speed);
            };
        };
        EXPECT_EQ(Changes(on(0), -4001), arc.changesFirst);
        EXPECT_TRUE(Changes(on(kMap), 0));
    }
}

} // namespace

} // namespace zelq::test
