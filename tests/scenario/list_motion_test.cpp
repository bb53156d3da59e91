#include "scenario/scenario_test.h"

#include <array>
#include <cmath>

namespace zelq::test {

namespace {

using std::chrono::milliseconds;

/// A list as zelQ_LmAddNode takes it; every speed is reached at once.
struct NodeList
{
    std::vector<double> position;
    std::vector<double> start;
    std::vector<double> acc;
    std::vector<double> drive;
    std::vector<double> dec;
    std::vector<short> mode;
    std::vector<short> dwell;

    void Add(double to, double speed)
    {
        position.push_back(to);
        start.push_back(speed);
        acc.push_back(0.0);
        drive.push_back(speed);
        dec.push_back(0.0);
        mode.push_back(0);
        dwell.push_back(0);
    }

    [[nodiscard]] short Send(short zelNo, unsigned short axis, unsigned short& taken,
                             unsigned short& free) const
    {
        return zelQ_LmAddNode(static_cast<unsigned short>(zelNo), axis,
                              static_cast<short>(position.size()), position.data(), start.data(),
                              acc.data(), drive.data(), dec.data(), mode.data(), dwell.data(),
                              &taken, &free);
    }
};

class ListMotionScenario : public ScenarioTest
{
  protected:
    static constexpr short kFast = 2; ///< 50 nodes of 1 mm at 10 mm/s
    static constexpr short kSlow = 5; ///< to 3 mm and back, at 1 and 2 mm/s

    void SetUp() override
    {
        ScenarioTest::SetUp();
        for (const short axis : {kFast, kSlow}) {
            ASSERT_EQ(zelQ_UnitPerPulseSet(kNumber, axis, 0.001), 0);
        }
        ServosOn({kFast, kSlow});
    }

    void Load()
    {
        NodeList fast;
        for (int node = 1; node <= 50; ++node) {
            fast.Add(node, 10.0);
        }
        NodeList slow;
        slow.Add(3.0, 1.0);
        slow.Add(0.0, 2.0);
        unsigned short taken = 0;
        unsigned short free = 0;
        ASSERT_EQ(zelQ_LmSetCfg(kNumber, kFast, 0, 0, 0), 0);
        ASSERT_EQ(fast.Send(kNumber, kFast, taken, free), 0);
        EXPECT_EQ(taken, 50) << "joined from six frames";
        EXPECT_EQ(free, 206);
        ASSERT_EQ(slow.Send(kNumber, kSlow, taken, free), 0);
        EXPECT_EQ(taken, 2);
        EXPECT_EQ(free, 254);
        for (const short axis : {kFast, kSlow}) {
            ASSERT_EQ(zelQ_LmAddNodeEnd(kNumber, axis, 10.0), 0);
        }
    }

    void RunBoth()
    {
        ASSERT_EQ(zelQ_LmRunStop(kNumber, kFast, 1), 0);
        ASSERT_EQ(zelQ_LmRunStop(kNumber, kSlow, 1), 0);
    }

    static LmStatus ListStatus(short axis)
    {
        LmStatus status{};
        EXPECT_EQ(zelQ_LmGetStatus(kNumber, axis, &status), 0);
        return status;
    }
};

TEST_F(ListMotionScenario, TwoAxesRunTheirListsSideBySide)
{
    Load();
    RunBoth();
    for (int tenths = 1; tenths < 45; ++tenths) {
        Advance(milliseconds(100));
        const double seconds = 0.1 * tenths;
        const double slow = seconds < 3.0 ? seconds : 3.0 - 2.0 * (seconds - 3.0);
        EXPECT_NEAR(StatusOf(kFast).commandPosition, tenths, 0.002);
        EXPECT_NEAR(StatusOf(kSlow).commandPosition, slow, 0.002) << seconds;
    }
    EXPECT_EQ(StatusOf(kFast).motionKind, 9);
    const LmStatus running = ListStatus(kFast);
    EXPECT_EQ(running.bit11, 1);
    EXPECT_NEAR(running.low11, 45, 1);
    EXPECT_NEAR(running.long3, 44, 1);
    EXPECT_EQ(running.word1, 50 - running.low11);

    Advance(milliseconds(2000));
    std::array<LmStatus, 32> all{};
    ASSERT_EQ(zelQ_LmGetAllStatus(kNumber, all.data()), 0);
    for (const short axis : {kFast, kSlow}) {
        const LmStatus& status = all[static_cast<std::size_t>(axis)];
        EXPECT_EQ(status.axis, axis);
        EXPECT_EQ(status.bit11, 0);
        EXPECT_EQ(status.bit12, 1);
        EXPECT_EQ(status.bit13, 0);
        EXPECT_EQ(status.long3, axis == kFast ? 50U : 2U);
        EXPECT_EQ(status.long5, 1U);
    }
    EXPECT_EQ(all[0].axis, 0) << "a servo without a list";
    EXPECT_EQ(all[20].axis, 0xFFFF);
    EXPECT_EQ(StatusOf(kFast).commandPosition, 50.0);
    EXPECT_EQ(StatusOf(kSlow).commandPosition, 0.0);
    EXPECT_EQ(StatusOf(kSlow).stopCause, 0);
}

TEST_F(ListMotionScenario, StopsAndRefusals)
{
    Load();
    RunBoth();
    EXPECT_EQ(zelQ_LmRunStop(kNumber, kFast, 1), 60) << "it is running";
    EXPECT_EQ(zelQ_LmAddNodeEnd(kNumber, kFast, 0.0), 63) << "it has its end";
    EXPECT_EQ(zelQ_MoveAbs(kNumber, kFast, 0.0), 6);
    Advance(milliseconds(500));
    ASSERT_EQ(zelQ_LmRunStop(kNumber, kFast, 0), 0);
    Advance(milliseconds(500));
    EXPECT_EQ(ListStatus(kFast).bit13, 1);
    EXPECT_EQ(StatusOf(kFast).stopCause, 1);
    EXPECT_NEAR(StatusOf(kFast).commandPosition, 5.0, 1.0);
    EXPECT_EQ(ListStatus(kSlow).bit11, 1) << "the other one goes on";
    EXPECT_EQ(zelQ_LmRunStop(kNumber, 0, 1), 61) << "empty";
    EXPECT_EQ(zelQ_LmRunStop(kNumber, 20, 1), 3) << "no servo";
}

} // namespace

} // namespace zelq::test
