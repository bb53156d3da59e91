// What threads do to each other: a disconnect among calls, a change of the slaves among status
// calls.
#include "support/scripted_controller.h"
#include "zelq.h"

#include <atomic>
#include <gtest/gtest.h>
#include <latch>
#include <thread>
#include <vector>

namespace zelq::test {

namespace {

constexpr short kDisconnected = 92;
constexpr short kChanging = 93;
constexpr int kThreads = 4;

TEST(Disconnect, IsNotUndoneByCallsThatWait)
{
    constexpr int kRounds = 8;
    ScriptedController controller(kDisconnected);
    ASSERT_NO_FATAL_FAILURE(controller.Connect());
    for (int round = 0; round < kRounds && !testing::Test::HasFailure(); ++round) {
        ASSERT_EQ(zelQ_Connect(kDisconnected, 127, 0, 0), 0);
        const int connections = controller.Connections();
        std::latch moving(kThreads);
        std::atomic<bool> over = false;
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                zelQ_ServoOn(kDisconnected, 0, 1);
                moving.count_down();
                while (!over && zelQ_MoveAbs(kDisconnected, 0, 1.0) == 0) {
                }
            });
        }
        moving.wait();
        zelQ_Disconnect(kDisconnected);
        EXPECT_EQ(zelQ_MoveAbs(kDisconnected, 0, 2.0), -4);
        over = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(zelQ_MoveAbs(kDisconnected, 0, 3.0), -4);
        EXPECT_EQ(controller.Connections(), connections) << "a call has connected again";
    }
}

/// A controller whose slaves change: `state` servos of 8, and its low bits among the inputs.
void Change(ScriptedController& controller, unsigned state)
{
    constexpr std::uint16_t kConfiguration = 0xF414;
    controller.SetRegister(kConfiguration, 0); // in the middle of a change
    controller.SetSlaveTypes(std::vector<std::uint32_t>(1 + state % 8, 1));
    controller.SetRegisters(kConfiguration, {static_cast<std::uint16_t>(state << 1 | 1),
                                             static_cast<std::uint16_t>(state % 8), 0});
}

unsigned InputsOf(const ControllerStatus& status)
{
    return status.mainInputs[0] | status.mainInputs[1] << 1U | status.mainInputs[2] << 2U;
}

TEST(ChangingSlaves, AreReportedByTheirOwnCount)
{
    constexpr unsigned kChanges = 60;
    ScriptedController controller(kChanging);
    Change(controller, 0);
    ASSERT_NO_FATAL_FAILURE(controller.Connect());
    std::atomic<bool> over = false;
    std::atomic<int> wrong = 0;
    std::atomic<unsigned> right = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            while (!over) {
                ControllerStatus status{};
                if (zelQ_GetAllStatus(kChanging, &status) != 0) continue;
                ++right;
                if (status.servoCount != 1 + InputsOf(status)) ++wrong;
            }
        });
    }
    for (unsigned state = 1; state < kChanges; ++state) {
        const unsigned before = right;
        Change(controller, state);
        // Let it be seen by all of them.
        while (right < before + kThreads) {
            std::this_thread::yield();
        }
    }
    over = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace

} // namespace zelq::test
