#include "scenario/path_scenario.h"

#include <algorithm>
#include <array>
#include <numbers>

namespace zelq::test {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// How far a place is off the line through two others.
double OffLine(const Coordinates& at, const Coordinates& from, const Coordinates& to)
{
    double square = 0;
    double part = 0;
    for (std::size_t i = 0; i < at.size(); ++i) {
        square += (to[i] - from[i]) * (to[i] - from[i]);
        part += (at[i] - from[i]) * (to[i] - from[i]);
    }
    part /= square;
    double off = 0;
    for (std::size_t i = 0; i < at.size(); ++i) {
        const double wanted = from[i] + (to[i] - from[i]) * part;
        off += (at[i] - wanted) * (at[i] - wanted);
    }
    return std::sqrt(off);
}

class SixteenAxes : public PathScenario
{
  protected:
    SixteenAxes() : PathScenario(16) {}
};

TEST_F(SixteenAxes, MoveAlongOneStraightLine)
{
    UseMap({15, 0, 14, 1, 13, 2, 12, 3, 11, 4, 10, 5, 9, 6, 8, 7});
    Coordinates target(16);
    for (std::size_t i = 0; i < target.size(); ++i) {
        const auto way = static_cast<double>(i) * 700 - 4000;
        target[i] = i % 2 == 0 ? way : -way;
    }
    for (const unsigned short shape : {std::uint16_t{0}, std::uint16_t{1}}) {
        const Coordinates from = Look().at;
        ASSERT_EQ(LineTo(target, Speeds(200, 8000, 300, shape)), 0);
        double fastest = 0;
        const std::vector<Sample> samples = Watch();
        for (const Sample& sample : samples) {
            EXPECT_LT(OffLine(sample.at, from, target), 2.0);
            fastest = std::max(fastest, sample.Speed());
        }
        EXPECT_NEAR(fastest, 8000, 4);
        EXPECT_GT(samples.size(), 100U);
        EXPECT_EQ(samples.back().at, target);
        std::ranges::fill(target, 0.0);
    }
}

TEST_F(PathScenario, LinesTakeTargetsOrDistancesAndMoveOnlyTheirAxes)
{
    UseMap({5, 2, 6});
    ASSERT_EQ(LineTo({3000, -400}, Speeds(100, 5000, 100), 1), 0);
    Advance(milliseconds(50));
    EXPECT_EQ(StatusAt(0).motionKind, kLinearKind);
    EXPECT_EQ(StatusAt(1).inMotion, 1);
    EXPECT_EQ(StatusAt(2).inMotion, 0);
    EXPECT_EQ(LineTo({1, 1}, Speeds(0, 100, 0)), kBusy);
    EXPECT_EQ(zelQ_MoveRel(kNumber, 5, 10), kBusy);
    EXPECT_EQ(zelQ_IMapClear(kNumber, kMap), kBusy);
    Watch();
    ASSERT_EQ(LineTo({-100, 0, 77}, Speeds(0, 5000, 0), 1), 0);
    EXPECT_EQ(Watch().back().at, (Coordinates{2900, -400, 77}));
    ASSERT_EQ(LineTo({1000}, Speeds(0, 5000, 0)), 0);
    EXPECT_EQ(Watch().back().at, (Coordinates{1000, -400, 77}));
    EXPECT_EQ(StatusAt(0).stopCause, 0);

    // Nowhere to go: done at once, and the next line is taken.
    EXPECT_EQ(LineTo({0, 0}, Speeds(0, 5000, 0), 1), 0);
    EXPECT_EQ(StatusAt(0).inMotion, 0);
    EXPECT_EQ(LineTo({5, 0}, Speeds(0, 5000, 0), 1), 0);
}

TEST_F(PathScenario, TheUAxisComesAlong)
{
    UseMap({0, 1, 2});
    InterpSpeedProfile speed = Speeds(4000, 4000, 4000);
    const Coordinates target = {3000, 4000, 90000};
    ASSERT_EQ(zelQ_ILinearWithUAxis(kNumber, kMap, 0, 3, target.data(), &speed), 0);
    const std::vector<Sample> samples = Watch();
    const Sample& middle = samples[samples.size() / 2];
    EXPECT_NEAR(std::hypot(middle.velocity[0], middle.velocity[1]), 4000, 2);
    EXPECT_NEAR(middle.at[2], middle.at[0] * 30, 32);
    EXPECT_EQ(samples.back().at, target);
}

TEST_F(PathScenario, MapsLiveInTheController)
{
    UseMap({5, 2, 6});
    std::array<short, 18> map{};
    ASSERT_EQ(zelQ_IMapGet(kNumber, kMap, map.data()), 0);
    EXPECT_EQ((std::vector<short>{map[0], map[2], map[3], map[4]}),
              (std::vector<short>{3, 5, 2, 6}));
    const auto set = [](std::vector<unsigned short> axes) {
        return zelQ_IMapSet(kNumber, 15, static_cast<short>(axes.size()), axes.data());
    };
    EXPECT_EQ(set({1, 8}), 3);  // no servo there
    EXPECT_EQ(set({1, 1}), 12); // twice
    EXPECT_EQ(set({0, 7}), 0);
    ASSERT_EQ(zelQ_IMapGet(kNumber, 15, map.data()), 0);
    EXPECT_EQ((std::vector<short>{map[0], map[2], map[3]}), (std::vector<short>{2, 0, 7}));

    // What another program has made of the map meanwhile is the controller's to judge.
    server_.With([](lumosim::Controller& c) { c.Execute({0x0070, kMap, 1, 5}); });
    EXPECT_EQ(LineTo({1, 1}, Speeds(0, 1000, 0)), kMapTooShort);
    server_.With([](lumosim::Controller& c) { c.Execute({0x0070, kMap, 0}); });
    EXPECT_EQ(LineTo({1, 1}, Speeds(0, 1000, 0)), 11);
}

class ContinuousPath : public PathScenario
{
  protected:
    void SetUp() override
    {
        PathScenario::SetUp();
        UseMap({2, 0});
        ASSERT_EQ(zelQ_CP_PreRegUseSet(kNumber, 1), 0);
    }

    static unsigned short Remaining(std::size_t map)
    {
        std::array<unsigned short, 16> remain{};
        EXPECT_EQ(zelQ_CP_PreRegGetRemain(kNumber, remain.data()), 0);
        return remain.at(map);
    }
};

TEST_F(ContinuousPath, AHundredSegmentsRunWithoutAStop)
{
    constexpr std::size_t kSegments = 100;
    constexpr double kRadius = 8000;
    constexpr double kDrive = 5000;
    std::vector<Coordinates> corners;
    for (std::size_t i = 0; i <= kSegments; ++i) {
        const double angle = 2 * std::numbers::pi * static_cast<double>(i) / kSegments;
        corners.push_back({std::round(kRadius * std::sin(angle)),
                           std::round(kRadius - kRadius * std::cos(angle))});
    }
    std::vector<Sample> samples;
    std::size_t sent = 1;
    const auto feed = [&] {
        while (sent <= kSegments && Remaining(kMap) > 0) {
            const bool last = sent == kSegments;
            const InterpSpeedProfile speed =
                Speeds(sent == 1 ? 0 : kDrive, kDrive, last ? 0 : kDrive);
            ASSERT_EQ(LineTo(corners[sent], speed), 0);
            ++sent;
        }
    };
    const bool ended = AdvanceUntil(
        [&] {
            feed();
            samples.push_back(Look());
            return sent > kSegments && StatusAt(0).inMotion == 0;
        },
        seconds(30), milliseconds(4));
    ASSERT_TRUE(ended);
    EXPECT_EQ(samples.back().at, corners.back());

    const auto slow = [](const Sample& sample) { return sample.Speed() < kDrive - 3; };
    const auto fast = std::ranges::find_if_not(samples, slow);
    const auto braking = std::find_if(fast, samples.end(), slow);
    EXPECT_TRUE(std::all_of(braking, samples.end(), slow)) << "it slowed down on the way";
    const double braked = static_cast<double>(samples.end() - braking) * 0.004;
    EXPECT_NEAR(braked, kDrive / 50000, 0.02);
    for (const Sample& sample : samples) {
        EXPECT_NEAR(std::hypot(sample.at[0], sample.at[1] - kRadius), kRadius, 6.0);
    }
}

TEST_F(ContinuousPath, JointsTakeTheSlowerOfTheirSpeeds)
{
    struct Joint
    {
        double end;   ///< of the first section
        double start; ///< of the second one
    };
    for (const Joint& joint : {Joint{3000, 900}, Joint{900, 3000}, Joint{0, 3000}}) {
        ASSERT_NO_FATAL_FAILURE(StandAt({0, 0}));
        ASSERT_EQ(LineTo({2000, 0}, Speeds(0, 4000, joint.end)), 0);
        ASSERT_EQ(LineTo({4000, 0}, Speeds(joint.start, 4000, 0)), 0);
        double slowest = 4000;
        for (const Sample& sample : Watch(milliseconds(1))) {
            if (std::abs(sample.at[0] - 2000) < 300) {
                slowest = std::min(slowest, sample.Speed());
            }
        }
        EXPECT_NEAR(slowest, std::min(joint.end, joint.start), 60);
    }
}

TEST_F(ContinuousPath, FigureOfLineArcAndHelixNeverStops)
{
    UseMap({2, 0, 5});
    constexpr double kDrive = 6000;
    const std::array<double, 2> center = {4000, 2000};
    const std::array<double, 2> end = {4000, 4000};
    ASSERT_EQ(LineTo({4000, 0}, Speeds(0, kDrive, kDrive)), 0);
    InterpSpeedProfile speed = Speeds(kDrive, kDrive, kDrive);
    ASSERT_EQ(zelQ_IArcCE(kNumber, kMap, 0, center.data(), end.data(), 0, &speed), 0);
    const std::array<double, 2> left = {0, -2000}; // of where the helix begins
    ASSERT_EQ(zelQ_IHelical(kNumber, kMap, 1, left.data(), 360, 0, 3000, &speed), 0);
    speed.endSpeed = 0;
    ASSERT_EQ(LineTo({0, 4000}, speed), 0);

    std::vector<unsigned short> kinds;
    double slowest = kDrive;
    ASSERT_TRUE(AdvanceUntil(
        [&] {
            const ServoStatus status = StatusAt(0);
            if (kinds.empty() || kinds.back() != status.motionKind) {
                kinds.push_back(status.motionKind);
            }
            const Sample sample = Look();
            const double speedNow = std::hypot(sample.velocity[0], sample.velocity[1]);
            if (kinds.size() == 2 || kinds.size() == 3) slowest = std::min(slowest, speedNow);
            return status.inMotion == 0;
        },
        seconds(30)));
    EXPECT_EQ(kinds, (std::vector<unsigned short>{6, 7, 8, 6, 0}));
    EXPECT_NEAR(slowest, kDrive, 2);
    EXPECT_EQ(Look().at, (Coordinates{0, 4000, 3000}));
}

TEST_F(ContinuousPath, AStoppedPathStaysOnItsLine)
{
    constexpr unsigned short kSudden = 0;
    constexpr unsigned short kDecelerate = 1;
    const Coordinates corner = {6000, 8000};
    for (const unsigned short mode : {kSudden, kDecelerate}) {
        ASSERT_NO_FATAL_FAILURE(StandAt({0, 0}));
        ASSERT_EQ(LineTo(corner, Speeds(0, 4000, 4000)), 0);
        ASSERT_EQ(LineTo({6000, 0}, Speeds(4000, 4000, 0)), 0);
        Advance(seconds(1));
        const double before = Look().at[0];
        ASSERT_EQ(zelQ_StopIMap(kNumber, kMap, mode), 0);
        for (const Sample& sample : Watch()) {
            EXPECT_LT(OffLine(sample.at, {0, 0}, corner), 2.0);
        }
        const double braked = (Look().at[0] - before) / 0.6; // 3 of 5 pulses are the first axis's
        EXPECT_NEAR(braked, mode == kSudden ? 0 : 4000.0 * 4000 / 2 / 50000, 3);
        EXPECT_EQ(StatusAt(1).stopCause, mode == kSudden ? 2 : 1);
        EXPECT_EQ(Remaining(kMap), 32);
    }
}

TEST_F(ContinuousPath, TheCountsTellTheTruth)
{
    EXPECT_EQ(Remaining(kMap), 32);
    for (unsigned short i = 0; i <= 32; ++i) {
        ASSERT_EQ(LineTo({100, 0}, Speeds(0, 1000, 0), 1), 0);
        EXPECT_EQ(Remaining(kMap), 32 - i);
    }
    EXPECT_EQ(Remaining(kMap - 1), 32);
    EXPECT_EQ(LineTo({100, 0}, Speeds(0, 1000, 0), 1), kPreRegistersFull);
    EXPECT_TRUE(AdvanceUntil([&] { return StatusAt(0).commandPosition >= 101; }, seconds(10)));
    EXPECT_EQ(Remaining(kMap), 1);

    // Switched off, nothing more is queued; what waits runs through.
    unsigned short use = 9;
    EXPECT_EQ(zelQ_CP_PreRegUseGet(kNumber, &use), 0);
    EXPECT_EQ(use, 1);
    EXPECT_EQ(zelQ_CP_PreRegUseSet(kNumber, 0), 0);
    EXPECT_EQ(zelQ_CP_PreRegUseGet(kNumber, &use), 0);
    EXPECT_EQ(use, 0);
    EXPECT_EQ(Remaining(kMap), 0);
    EXPECT_EQ(LineTo({100, 0}, Speeds(0, 1000, 0), 1), kBusy);
    EXPECT_EQ(Watch(milliseconds(100)).back().at[0], 3300);
    EXPECT_EQ(zelQ_CP_PreRegUseSet(kNumber, 2), kOutOfRange);
}

} // namespace

} // namespace zelq::test
