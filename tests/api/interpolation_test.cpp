#include "api/interpolation_test.h"

#include <numeric>

namespace zelq::test {

namespace {

using Doubles = std::array<double, 16>;

TEST_F(InterpolationTest, MapsAreSetAndCleared)
{
    static std::array<unsigned short, 17> axes{};
    std::iota(axes.begin(), axes.end(), std::uint16_t{0});
    Words sixteen = {0x0101, 0x0070, 15, 16};
    sixteen.insert(sixteen.end(), axes.begin(), axes.begin() + 16);
    static constexpr std::array<unsigned short, 2> kOdd = {300, 300};
    Run({
        {.name = "the most axes",
         .call = [] { return zelQ_IMapSet(kNumber, 15, 16, axes.data()); },
         .frames = {sixteen},
         .trace = "0=zelQ_ISetMap(5,15,16)"},
        {.name = "axes as given, twice or out of range",
         .call = [] { return zelQ_IMapSet(kNumber, 0, 2, kOdd.data()); },
         .frames = {{0x0101, 0x0070, 0, 2, 300, 300}},
         .trace = "0=zelQ_ISetMap(5,0,2)"},
        {.name = "refused by the controller",
         .call = [] { return zelQ_IMapSet(kNumber, 0, 1, axes.data()); },
         .result = 7,
         .frames = {{0x0101, 0x0070, 0, 1, 0}},
         .controllerResult = 7,
         .trace = "7=zelQ_ISetMap(5,0,1)"},
        {.name = "cleared: a map of no axes",
         .call = [] { return zelQ_IMapClear(kNumber, 3); },
         .frames = {{0x0101, 0x0070, 3, 0}},
         .trace = "0=zelQ_IMapClear(5,3)"},
        {.name = "clearing refused",
         .call = [] { return zelQ_IMapClear(kNumber, 3); },
         .result = 6,
         .frames = {{0x0101, 0x0070, 3, 0}},
         .controllerResult = 6,
         .trace = "6=zelQ_IMapClear(5,3)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_IMapSet(n, 16, 0, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_IMapClear(n, 16); });
    ExpectRefused(-1701, {[] { return zelQ_IMapSet(kNumber, 16, 0, nullptr); },
                          [] { return zelQ_IMapSet(kNumber, -1, 0, nullptr); },
                          [] { return zelQ_IMapClear(kNumber, 16); },
                          [] { return zelQ_IMapClear(kNumber, -1); }});
    ExpectRefused(-1702, {[] { return zelQ_IMapSet(kNumber, 0, 0, nullptr); },
                          [] { return zelQ_IMapSet(kNumber, 0, 17, axes.data()); }});
    ExpectRefused(-1703, {[] { return zelQ_IMapSet(kNumber, 0, 1, nullptr); }});
}

TEST_F(InterpolationTest, TheMirrorFollowsWhatTheControllerTook)
{
    const Words factors = Join({Long(2), Long(10), Long(4)});
    EXPECT_EQ(FactorsOf(3), factors);

    // A refused map changes nothing, neither does reading one.
    static constexpr std::array<unsigned short, 4> kPlain = {2, 3, 5, 7};
    controller_.ThenResult(9);
    EXPECT_EQ(zelQ_IMapSet(kNumber, kMap, 4, kPlain.data()), 9);
    controller_.ThenResult(9);
    EXPECT_EQ(zelQ_IMapClear(kNumber, kMap), 9);
    controller_.SetRegisters(0xF41A + 9 * kMap, {0x0201, 0, 0, 0, 0, 0, 0, 0, 0});
    std::array<short, 18> read{};
    EXPECT_EQ(zelQ_IMapGet(kNumber, kMap, read.data()), 0);
    Forget();
    EXPECT_EQ(FactorsOf(3), factors);

    // Axes are known by their low byte; numbers without an axis have the factor 1.
    SetMap({0x0104, 200, 32, 1});
    EXPECT_EQ(FactorsOf(4), Join({Long(2), Long(1), Long(1), Long(10)}));

    // Factors are those of the moment.
    zelQ_UnitPerPulseSet(kNumber, 4, 0.2);
    Forget();
    EXPECT_EQ(FactorsOf(1), Long(5));

    zelQ_IMapClear(kNumber, kMap);
    EXPECT_EQ(zelQ_ILinear(kNumber, kMap, 0, 1, Doubles{}.data(), &speed_), -4001);
}

TEST_F(InterpolationTest, MapsAreReadBack)
{
    constexpr short kKept = -7;
    static std::array<short, 18> out{};
    const auto expect = [&](std::initializer_list<std::pair<std::size_t, short>> written) {
        std::array<short, 18> wanted{};
        wanted.fill(kKept);
        for (const auto& [index, value] : written) {
            wanted.at(index) = value;
        }
        EXPECT_EQ(out, wanted);
        out.fill(kKept);
    };
    out.fill(kKept);
    controller_.SetRegisters(0xF41A + 9 * 15, {0x1E03, 0xFF00, 0x7777, 1, 2, 3, 4, 5, 6});
    controller_.SetRegisters(
        0xF41A, {0x0111, 0x0302, 0x0504, 0x0706, 0x0908, 0x0B0A, 0x0D0C, 0x0F0E, 0xAA10});
    Run({
        {.name = "three axes, low byte first",
         .call = [] { return zelQ_IMapGet(kNumber, 15, out.data()); },
         .reads = {{0xF41A + 135, 9}},
         .trace = "0=zelQ_IMapGet(5,15,3)",
         .check =
             [&] {
                 expect({{0, 3}, {2, 30}, {3, 0}, {4, 255}});
             }},
        {.name = "an empty map",
         .call = [] { return zelQ_IMapGet(kNumber, 1, out.data()); },
         .reads = {{0xF41A + 9, 9}},
         .trace = "0=zelQ_IMapGet(5,1,0)",
         .check =
             [&] {
                 expect({{0, 0}});
             }},
        {.name = "more axes than a map holds",
         .call = [] { return zelQ_IMapGet(kNumber, 0, out.data()); },
         .reads = {{0xF41A, 9}},
         .trace = "0=zelQ_IMapGet(5,0,17)",
         .check =
             [&] {
                 EXPECT_EQ(out.front(), 17);
                 EXPECT_EQ(out[1], kKept);
                 for (short i = 0; i < 16; ++i) {
                     EXPECT_EQ(out.at(static_cast<std::size_t>(i) + 2), i + 1);
                 }
                 out.fill(kKept);
             }},
    });
    ThenShortReply();
    Run({{.name = "a register too few",
          .call = [] { return zelQ_IMapGet(kNumber, 15, out.data()); },
          .result = -12,
          .reads = {{0xF41A + 135, 9}},
          .trace = "-12=zelQ_IMapGet(5,15,0)",
          .check = [&] { expect({}); }}});
    ExpectNumberChecks([](short n) { return zelQ_IMapGet(n, 16, nullptr); });
    ExpectRefused(-1701, {[] { return zelQ_IMapGet(kNumber, 16, nullptr); },
                          [] { return zelQ_IMapGet(kNumber, 0xFFFF, out.data()); }});
    ExpectRefused(-1702, {[] { return zelQ_IMapGet(kNumber, 15, nullptr); }});
}

TEST_F(InterpolationTest, LinesSendEachCoordinateByItsAxis)
{
    static constexpr Doubles kTarget = {1.4, -0.09, 1e10};
    const Words head = Join({{0, 0}, MapSpeeds()});
    Run({
        {.name = "three axes",
         .call = [&] { return zelQ_ILinear(kNumber, kMap, 0, 3, kTarget.data(), &speed_); },
         .frames = {Join({{0x0101, 0x0072, kMap}, head, {3}, Long(2), Long(0), Long(INT32_MIN)})},
         .trace = "0=zelQ_ILinear(5,2,3)"},
        {.name = "fewer coordinates than the map has axes, with a U axis",
         .call =
             [&] {
                 speed_.profileType = 0x8003;
                 return zelQ_ILinearWithUAxis(kNumber, kMap, 1, 1, kTarget.data(), &speed_);
             },
         .frames = {Join({{0x0101, 0x0072, kMap, 1, 7}, MapSpeeds(), {1}, Long(2)})},
         .trace = "0=zelQ_ILinearWithUAxis(5,2,1)"},
        {.name = "refused by the controller",
         .call = [&] { return zelQ_ILinear(kNumber, kMap, 1, 1, kTarget.data(), &speed_); },
         .result = 6,
         .frames = {Join({{0x0101, 0x0072, kMap, 0, 7}, MapSpeeds(), {1}, Long(2)})},
         .controllerResult = 6,
         .trace = "6=zelQ_ILinear(5,2,1)"},
    });

    SetMap({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(zelQ_ILinear(kNumber, kMap, 0, 16, kTarget.data(), &speed_), 0);
    EXPECT_EQ(controller_.TakeRequests().at(0).at(0).written.size(), 48U);
}

TEST_F(InterpolationTest, RefusedLinesAreTracedToo)
{
    using Line = short (*)(short, short, unsigned short, short, const double*, InterpSpeedProfile*);
    struct Refusal
    {
        short zelNo;
        short map;
        unsigned short option;
        short count;
        const double* position;
        InterpSpeedProfile* speed;
        short result;
    };
    const Doubles target{};
    static constexpr std::array<unsigned short, 1> kOne = {1};
    ASSERT_EQ(zelQ_IMapSet(kNumber, 1, 1, kOne.data()), 0);
    Forget();
    const std::array<std::pair<Line, std::string>, 2> lines = {
        {{zelQ_ILinear, "zelQ_ILinear"}, {zelQ_ILinearWithUAxis, "zelQ_ILinearWithUAxis"}}};
    const std::vector<Refusal> refusals = {
        {0, 16, 2, 9, nullptr, nullptr, -2},
        {kUnknown, 16, 2, 9, nullptr, nullptr, -3},
        {kNumber, 16, 2, 9, nullptr, nullptr, -1701},
        {kNumber, -1, 2, 9, nullptr, nullptr, -1701},
        {kNumber, 0, 2, 9, nullptr, nullptr, -1702},
        {kNumber, 0, 1, 9, nullptr, nullptr, -4001},
        {kNumber, 1, 1, 1, target.data(), &speed_, -4001},
        {kNumber, kMap, 1, 4, nullptr, nullptr, -1703},
        {kNumber, kMap, 1, 0, nullptr, nullptr, -1703},
        {kNumber, kMap, 1, 3, nullptr, nullptr, -1704},
        {kNumber, kMap, 1, 3, target.data(), nullptr, -1705},
    };
    for (const auto& [line, name] : lines) {
        for (const Refusal& r : refusals) {
            SCOPED_TRACE(name + " " + std::to_string(r.result));
            EXPECT_EQ(line(r.zelNo, r.map, r.option, r.count, r.position, r.speed), r.result);
            EXPECT_EQ(NextTrace(), std::to_string(r.result) + "=" + name + "(" +
                                       std::to_string(r.zelNo) + "," + std::to_string(r.map) + "," +
                                       std::to_string(r.count) + ")");
            EXPECT_TRUE(controller_.TakeRequests().empty());
        }
    }
}

TEST_F(InterpolationTest, EqualSpeedsAreMadeInTheCallersRecord)
{
    struct Normalised
    {
        double start, acc, dec, wantedStart, wantedEnd;
    };
    ASSERT_EQ(zelQ_SpeedEqualStartAndStopSet(1), 0);
    for (const Normalised& row : {Normalised{10, 200, 400, 10, 10}, Normalised{10, 0, 5, 300, 10},
                                  Normalised{10, 5, 0, 10, 300}, Normalised{10, 0, 0, 300, 300}}) {
        speed_ = kSpeed;
        speed_.startSpeed = row.start;
        speed_.acc = row.acc;
        speed_.dec = row.dec;
        EXPECT_EQ(zelQ_ILinear(kNumber, kMap, 0, 1, Doubles{}.data(), &speed_), 0);
        EXPECT_EQ(double{speed_.startSpeed}, row.wantedStart);
        EXPECT_EQ(double{speed_.driveSpeed}, 300);
        EXPECT_EQ(double{speed_.endSpeed}, row.wantedEnd);
        EXPECT_EQ(speed_.reserved, 0xA5A5);
        const Words sent = controller_.TakeRequests().at(0).at(0).written;
        EXPECT_EQ(Words(sent.begin() + 13, sent.begin() + 15),
                  Long(static_cast<std::int32_t>(row.wantedEnd * 2)));
    }
}

TEST_F(InterpolationTest, RefusedLinesChangeTheSpeedsFromTheMapsChecksOn)
{
    const auto line = [](short map, unsigned short option, short count) {
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
    static unsigned short use = 99;
    static std::array<unsigned short, 17> remain{};
    remain.fill(99);
    Words counts(16);
    std::iota(counts.begin(), counts.end(), std::uint16_t{0xFFF8});
    controller_.SetRegister(0xF417, 0x8001);
    Run({
        {.name = "any use is sent",
         .call = [] { return zelQ_CP_PreRegUseSet(kNumber, 7); },
         .frames = {{0x0101, 0x01C1, 7}},
         .trace = "0=zelQ_CP_PreRegUseSet(5,7)"},
        {.name = "use read back, under another name",
         .call = [] { return zelQ_CP_PreRegUseGet(kNumber, &use); },
         .reads = {{0xF417, 1}},
         .trace = "0=zelQ_CP_UsePreRegGet(5,32769,0)",
         .check = [] { EXPECT_EQ(use, 0x8001); }},
        {.name = "refused: nothing is written",
         .call = [] { return zelQ_CP_PreRegGetRemain(kNumber, remain.data()); },
         .result = 1,
         .frames = {{0x0101, 0x01C2}},
         .readQuantity = 17,
         .controllerResult = 1,
         .trace = "1=zelQ_CP_PreRegGetRemain(5)",
         .check = [] { EXPECT_EQ(remain[0], 99); }},
        {.name = "sixteen counts",
         .call = [] { return zelQ_CP_PreRegGetRemain(kNumber, remain.data()); },
         .frames = {{0x0101, 0x01C2}},
         .readQuantity = 17,
         .data = counts,
         .trace = "0=zelQ_CP_PreRegGetRemain(5)",
         .check =
             [&] {
                 EXPECT_TRUE(std::equal(counts.begin(), counts.end(), remain.begin()));
                 EXPECT_EQ(remain[16], 99);
             }},
    });

    // A reply of another length than was asked for is none.
    use = 99;
    remain.fill(99);
    ThenShortReply();
    EXPECT_EQ(zelQ_CP_PreRegGetRemain(kNumber, remain.data()), -12);
    EXPECT_EQ(NextTrace(), "-12=zelQ_CP_PreRegGetRemain(5)");
    EXPECT_EQ(remain[0], 99);
    ThenShortReply();
    EXPECT_EQ(zelQ_CP_PreRegUseGet(kNumber, &use), -12);
    EXPECT_EQ(NextTrace(), "-12=zelQ_CP_UsePreRegGet(5,0,0)");
    EXPECT_EQ(use, 99);

    controller_.TakeRequests();
    ExpectNumberChecks([](short n) { return zelQ_CP_PreRegUseSet(n, 1); });
    ExpectNumberChecks(
        [](short n) { return zelQ_CP_PreRegUseGet(static_cast<unsigned short>(n), nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_CP_PreRegGetRemain(n, nullptr); });
    ExpectRefused(-1700, {[] { return zelQ_CP_PreRegUseGet(kNumber, nullptr); },
                          [] { return zelQ_CP_PreRegGetRemain(kNumber, nullptr); }});
}

} // namespace

} // namespace zelq::test
