// Outputs of drives, output slaves and the main board.

#include "core/command_channel.h"
#include "core/controller.h"
#include "core/remote_outputs.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace lumosim {
namespace {

using std::chrono::milliseconds;

// Servos 0 and 1, output slaves 4 and 31, an input slave 30.
ControllerConfig Mixed()
{
    ControllerConfig config;
    config.axes = 2;
    config.slaves = {
        {4, SlaveType::kOutput, {}}, {30, SlaveType::kInput, {}}, {31, SlaveType::kOutput, {}}};
    return config;
}

struct Step
{
    std::vector<Word> command;
    Result result;
    std::uint32_t outputs; // afterwards
};

void RunSteps(Controller& controller, const std::vector<Step>& steps,
              const std::function<std::uint32_t()>& outputs)
{
    std::size_t index = 0;
    for (const Step& step : steps) {
        SCOPED_TRACE("step " + std::to_string(index++));
        Reply reply;
        EXPECT_EQ(controller.Run(step.command, reply), step.result);
        EXPECT_EQ(outputs(), step.outputs);
    }
}

TEST(DriveOutputs, AreSetAndToggled)
{
    Controller controller(Mixed());
    RunSteps(controller,
             {{{0x180, 1, 1, 0x0001}, Result::kDone, 1},
              {{0x180, 1, 1, 0x0100}, Result::kDone, 2},
              {{0x181, 1, 1, 0x0101}, Result::kDone, 3},
              {{0x181, 1, 1, 0x0002}, Result::kDone, 1},
              {{0x182, 1, 1, 0x0101}, Result::kDone, 2},
              {{0x182, 1, 1, 0x0000}, Result::kDone, 2},
              {{0x180, 1, 1, 0x0002}, Result::kOutOfRange, 2},
              {{0x181, 1, 1, 0x0100}, Result::kOutOfRange, 2},
              {{0x181, 1, 1, 0x0103}, Result::kOutOfRange, 2},
              {{0x182, 1, 1, 0x0200}, Result::kOutOfRange, 2},
              {{0x180, 2, 1, 0x0000, 4, 0}, Result::kNoServo, 2},
              {{0x180, 2, 1, 0x0000}, Result::kMalformed, 2},
              {{0x180, 0}, Result::kMalformed, 2},
              {{0x180, 2, 0, 0x0101, 1, 0x0101}, Result::kDone, 3}},
             [&] { return controller.SlaveAt(1).outputs; });
    EXPECT_EQ(controller.ReadRegister(0x000C), 3 << 8);
    EXPECT_EQ(controller.ReadRegister(0x010C), 3 << 8);
}

TEST(RemoteOutputs, AreSetAndToggled)
{
    Controller controller(Mixed());
    RunSteps(controller,
             {{{0x190, 1, 31, 0x00F0, 0x8000}, Result::kDone, 0x800000F0U},
              {{0x191, 1, 31, 0x0001, 0}, Result::kDone, 0x800000F1U},
              {{0x191, 1, 31, 0x1F00}, Result::kDone, 0x000000F1U},
              {{0x192, 1, 31, 16}, Result::kDone, 0x000100F1U},
              // A pin in both masks is off.
              {{0x193, 1, 31, 6, 0, 5, 1}, Result::kDone, 0x000000F2U},
              {{0x194, 1, 31, 3, 0}, Result::kDone, 0x000000F1U},
              {{0x193, 0}, Result::kDone, 0x000000F1U},
              {{0x194, 0}, Result::kDone, 0x000000F1U},
              {{0x190, 0}, Result::kMalformed, 0x000000F1U},
              {{0x191, 1, 31, 0x2000, 0}, Result::kOutOfRange, 0x000000F1U},
              {{0x191, 1, 31, 0x0002}, Result::kOutOfRange, 0x000000F1U},
              {{0x191, 1, 31, 0x0001, 1}, Result::kOutOfRange, 0x000000F1U},
              {{0x192, 1, 31, 32}, Result::kOutOfRange, 0x000000F1U},
              {{0x190, 1, 30, 0, 0}, Result::kNoOutputSlave, 0x000000F1U},
              {{0x190, 1, 32, 0, 0}, Result::kNoOutputSlave, 0x000000F1U},
              {{0x190, 2, 31, 0, 0, 0, 0, 0}, Result::kNoOutputSlave, 0x000000F1U},
              {{0x190, 1, 31, 0}, Result::kMalformed, 0x000000F1U},
              {{0x190, 2, 4, 9, 0, 31, 7, 0}, Result::kDone, 7}},
             [&] { return controller.SlaveAt(31).outputs; });
    EXPECT_EQ(controller.ReadLong(0x0402), 9);
}

TEST(RemoteOutputs, KeepOutDecidesWhatANetworkFailureSwitchesOff)
{
    Controller controller(Mixed());
    auto& family = controller.Get<RemoteOutputs>();
    controller.Execute({0x190, 2, 4, 0xFFFF, 0, 31, 0xFFFF, 0});
    EXPECT_EQ(controller.Execute({0x195, 0, 0x0010, 0}), Result::kDone);
    family.SetNetworkUp(false);
    EXPECT_EQ(controller.SlaveAt(4).outputs, 0xFFFFU);
    EXPECT_EQ(controller.SlaveAt(31).outputs, 0U);
    EXPECT_EQ(controller.Execute({0x190, 1, 31, 1, 0}), Result::kNetworkDown);
    family.SetNetworkUp(true);
    EXPECT_EQ(controller.Execute({0x190, 1, 31, 1, 0}), Result::kDone);

    Reply reply;
    EXPECT_EQ(controller.Run(std::vector<Word>{0x195, 1}, reply), Result::kDone);
    EXPECT_EQ(std::vector<Word>(reply.Words().begin(), reply.Words().end()),
              (std::vector<Word>{0x0010, 0}));
    EXPECT_EQ(controller.Execute({0x195, 2}), Result::kMalformed);
    controller.PowerCycle();
    EXPECT_EQ(family.KeepOut(), 0U);
}

TEST(MainOutputs, AreSetAndToggled)
{
    Controller controller(Mixed());
    RunSteps(controller,
             {{{0x1A0, 0xA5}, Result::kDone, 0xA5},
              {{0x1A1, 1, 1}, Result::kDone, 0xA7},
              {{0x1A1, 7, 0}, Result::kDone, 0x27},
              {{0x1A2, 0}, Result::kDone, 0x26},
              {{0x1A3, 0x09, 0x0C}, Result::kDone, 0x23},
              {{0x1A4, 0xF0}, Result::kDone, 0xD3},
              {{0x1A0, 0x100}, Result::kOutOfRange, 0xD3},
              {{0x1A1, 8, 1}, Result::kOutOfRange, 0xD3},
              {{0x1A1, 0, 2}, Result::kOutOfRange, 0xD3},
              {{0x1A2, 8}, Result::kOutOfRange, 0xD3},
              {{0x1A3, 0, 0x100}, Result::kOutOfRange, 0xD3},
              {{0x1A4, 0x100}, Result::kOutOfRange, 0xD3},
              {{0x1A4}, Result::kMalformed, 0xD3},
              {{0x1A0, 0, 0}, Result::kMalformed, 0xD3}},
             [&] { return controller.ReadRegister(0xF416); });
}

class LimitTimes : public testing::Test
{
  protected:
    void ExpectOnUntil(milliseconds time)
    {
        controller_.AdvanceTo(start_ + time - Nanoseconds(1));
        EXPECT_EQ(controller_.MainOutputs() & 1U, 1U) << "just before";
        controller_.AdvanceTo(start_ + time);
        EXPECT_EQ(controller_.MainOutputs() & 1U, 0U);
    }

    Controller controller_{Mixed()};
    Nanoseconds start_{0};
};

TEST_F(LimitTimes, RunFromWhenTheOutputCameOn)
{
    EXPECT_EQ(controller_.Execute({0x1A5, 0, 1, 200, 0}), Result::kDone);
    controller_.Execute({0x1A0, 0x03});
    controller_.Advance(milliseconds(150));
    controller_.Execute({0x1A1, 0, 1}); // it is on already
    ExpectOnUntil(milliseconds(200));
    EXPECT_EQ(controller_.MainOutputs(), 0x02) << "the other one has no limit";
    // Off and on again is a new beginning.
    controller_.Execute({0x1A2, 0});
    controller_.Advance(milliseconds(100));
    controller_.Execute({0x1A2, 0});
    controller_.Execute({0x1A2, 0});
    start_ = controller_.Now();
    ExpectOnUntil(milliseconds(200));
}

TEST_F(LimitTimes, RunFromTheLastCommand)
{
    EXPECT_EQ(controller_.Execute({0x1A5, 0, 2, 200, 0}), Result::kDone);
    controller_.Execute({0x1A0, 0x01});
    controller_.Advance(milliseconds(150));
    controller_.Execute({0x1A3, 0x01, 0});
    ExpectOnUntil(milliseconds(350));
}

TEST_F(LimitTimes, RunFromTheirSettingForAnOutputThatIsOn)
{
    controller_.SetMainOutputs(1);
    controller_.Advance(milliseconds(50));
    controller_.Execute({0x1A5, 0, 1, 100, 0});
    ExpectOnUntil(milliseconds(150));
    // Switched on by another part of the controller, which is noticed at the next nanosecond.
    controller_.SetMainOutputs(1);
    start_ = controller_.Now() + Nanoseconds(1);
    ExpectOnUntil(milliseconds(100));
    // Without a limit it stays on.
    controller_.Execute({0x1A5, 0, 0, 0, 0});
    controller_.SetMainOutputs(1);
    controller_.Advance(std::chrono::hours(1));
    EXPECT_EQ(controller_.MainOutputs(), 1);
}

TEST_F(LimitTimes, AreReadBack)
{
    const auto read = [this](Word pin) {
        Reply reply;
        EXPECT_EQ(controller_.Run(std::vector<Word>{0x1A6, pin}, reply), Result::kDone);
        return std::vector<Word>(reply.Words().begin(), reply.Words().end());
    };
    controller_.Execute({0x1A5, 5, 2, 0x1170, 1});
    EXPECT_EQ(read(5), (std::vector<Word>{2 | 5 << 2, 0x1170, 1}));
    controller_.Execute({0x1A1, 5, 1});
    EXPECT_EQ(read(5), (std::vector<Word>{2 | 5 << 2 | 1 << 6 | 1 << 7, 0x1170, 1}));
    EXPECT_EQ(read(4), (std::vector<Word>{4 << 2, 0, 0}));
    controller_.PowerCycle();
    EXPECT_EQ(read(5), (std::vector<Word>{5 << 2, 0, 0}));

    EXPECT_EQ(controller_.Execute({0x1A6, 8}), Result::kOutOfRange);
    EXPECT_EQ(controller_.Execute({0x1A5, 0, 3, 1, 0}), Result::kOutOfRange);
    EXPECT_EQ(controller_.Execute({0x1A5, 8, 1, 1, 0}), Result::kOutOfRange);
    EXPECT_EQ(controller_.Execute({0x1A5, 0, 1, 0, 0}), Result::kOutOfRange);
    EXPECT_EQ(controller_.Execute({0x1A5, 0, 1, 0}), Result::kMalformed);
}

} // namespace
} // namespace lumosim
