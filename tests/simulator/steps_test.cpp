// The result does not depend on how the time is cut into steps, whatever runs.

#include "core/controller.h"

#include <chrono>
#include <gtest/gtest.h>

namespace lumosim {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

// Two axes that are ready, and have run what is started for the same time in steps.
class Machine
{
  public:
    template <typename Start>
    Machine(Start start, Nanoseconds time, Nanoseconds step)
    {
        controller.Execute({1, 2, 0, 1, 1, 0});
        controller.Advance(Axis::kServoOnTime);
        start(controller);
        for (Nanoseconds passed{0}; passed < time; passed += step) {
            controller.Advance(std::min(step, time - passed));
        }
    }

    void ExpectLike(Machine& other)
    {
        for (int axis = 0; axis < 2; ++axis) {
            Axis& mine = controller.AxisAt(axis);
            Axis& others = other.controller.AxisAt(axis);
            EXPECT_NEAR(mine.Physical().position, others.Physical().position, 1e-6);
            EXPECT_EQ(mine.Velocity(), others.Velocity());
            EXPECT_EQ(mine.EncoderPosition(), others.EncoderPosition());
            EXPECT_EQ(mine.Moving(), others.Moving());
            EXPECT_EQ(mine.LastStop(), others.LastStop());
        }
    }

    Controller controller{ControllerConfig()};
};

template <typename Start>
void ExpectTheSame(Nanoseconds time, Start start)
{
    Machine whole(start, time, time);
    Machine fine(start, time, microseconds(100));
    Machine odd(start, time, microseconds(7'130));
    whole.ExpectLike(fine);
    whole.ExpectLike(odd);
}

TEST(Steps, OfAnyLengthGiveTheSame)
{
    // A move, a motor that falls behind, an alarm of the drive, a path.
    ExpectTheSame(milliseconds(777), [](Controller& controller) {
        controller.AxisAt(0).SetProfile({SpeedProfile::kTrapezoid, 0, 20'000, 5'000, 10'000, 0});
        controller.AxisAt(0).MoveTo(7'001);
        controller.AxisAt(1).MoveTo(50);
    });
    ExpectTheSame(milliseconds(403), [](Controller& controller) {
        controller.Advance(microseconds(371));
        for (const int axis : {0, 1}) {
            controller.AxisAt(axis).SetProfile({SpeedProfile::kTrapezoid, 0, 0, 400'000, 0, 0});
            controller.AxisAt(axis).MoveTo(100'077);
        }
    });
    ExpectTheSame(milliseconds(1'500), [](Controller& controller) {
        Axis& axis = controller.AxisAt(0);
        axis.SetProfile({SpeedProfile::kSmooth, 0, 100'000, 100'000, 100'000, 0});
        axis.Parameters().Set(DriveSetting::kFollowingErrorLimit, 30);
        axis.Jog(1);
    });
    ExpectTheSame(milliseconds(389), [](Controller& controller) {
        controller.Execute({0x70, 5, 2, 0, 1});
        controller.Execute({0x1C1, 1});
        for (const Word way : {Word{900}, Word{40}, Word{41}, Word{700}}) {
            const Word speed = 1'500;
            EXPECT_EQ(controller.Execute({0x72, 5, 0, 3, speed, 0, 20'000, 0, 3'000, 0, 20'000, 0,
                                          speed, 0, 2, way, 0, 300, 0}),
                      Result::kDone);
        }
    });
}

} // namespace
} // namespace lumosim
