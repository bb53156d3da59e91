#include "server/server.h"
#include "support/scripted_controller.h"
#include "support/starting_line.h"
#include "zelq.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <gtest/gtest.h>
#include <set>
#include <thread>
#include <vector>

namespace zelq::test {

namespace {

constexpr short kFirstNumber = 101;
constexpr short kPatientMs = 5000;

/// Runs `work(0)` to `work(count - 1)`, each on a thread of its own, all at once; gives how many
/// of them were not content.
int RunInParallel(int count, const std::function<bool(int index)>& work)
{
    std::atomic<int> discontent = 0;
    std::vector<std::jthread> threads;
    for (int index = 0; index < count; ++index) {
        threads.emplace_back([&, index] {
            if (!work(index)) ++discontent;
        });
    }
    threads.clear();
    return discontent;
}

/// Moves two axes to places that no other controller's axes go to, and looks whether they have come
/// there.
bool Travel(lumosim::Server& server, short number)
{
    bool fine = ConnectPatiently(number, server.Port(), kPatientMs) == 0;
    for (unsigned short axis = 0; axis < 2; ++axis) {
        const auto index = static_cast<short>(axis);
        fine = fine && zelQ_UnitPerPulseSet(number, index, 0.5) == 0 &&
               zelQ_SpeedSet(number, index, 0, 0.0, 1e6, 1e5, 1e6) == 0 &&
               zelQ_ServoOn(number, axis, 1) == 0;
    }
    for (int leg = 1; leg <= 10; ++leg) {
        const double target = 100.0 * number + leg;
        fine =
            fine && zelQ_MoveAbs(number, 0, target) == 0 && zelQ_MoveAbs(number, 1, -target) == 0;
        server.AdvanceBy(std::chrono::seconds(60));
        ControllerStatus status{};
        fine = fine && zelQ_GetAllStatus(number, &status) == 0 &&
               status.servo[0].commandPosition == target &&
               status.servo[1].commandPosition == -target;
    }
    zelQ_Disconnect(number);
    return fine;
}

TEST(ParallelCalls, ManyControllersFromAThreadEach)
{
    std::deque<lumosim::Server> servers;
    for (int number = kFirstNumber; number < kFirstNumber + 64; ++number) {
        lumosim::ServerConfig config;
        config.controller.number = number;
        config.controller.axes = 2;
        config.address = "127.0.0." + std::to_string(number);
        config.clock = lumosim::Clock::kByHand;
        servers.emplace_back(config).Start();
    }
    const int failed = RunInParallel(64, [&](int index) {
        return Travel(servers[static_cast<std::size_t>(index)],
                      static_cast<short>(kFirstNumber + index));
    });
    EXPECT_EQ(failed, 0);
}

TEST(ParallelCalls, ASilentControllerHoldsUpOnlyItsOwnCaller)
{
    ScriptedController silent(kFirstNumber);
    ScriptedController answering(kFirstNumber + 1);
    ASSERT_NO_FATAL_FAILURE(silent.Connect());
    ASSERT_NO_FATAL_FAILURE(answering.Connect());
    std::promise<void> asked;
    silent.Then([&](const Request&) {
        asked.set_value();
        return Answer{};
    });
    auto held = std::async(std::launch::async, [] { return zelQ_MoveAbs(kFirstNumber, 0, 1.0); });
    asked.get_future().wait();
    for (int call = 0; call < 100; ++call) {
        EXPECT_EQ(zelQ_MoveAbs(kFirstNumber + 1, 0, 1.0), 0);
    }
    EXPECT_EQ(held.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    silent.StopListening();
    EXPECT_EQ(held.get(), -5);
}

TEST(ParallelCalls, ManyThreadsOnOneControllerTakeTurns)
{
    constexpr short kNumber = 90;
    constexpr int kThreads = 8;
    constexpr int kCalls = 100;
    constexpr std::uint16_t kCommandPosition = 6;
    ScriptedController controller(kNumber);
    controller.SetSlaveTypes(std::vector<std::uint32_t>(kThreads, 1));
    for (unsigned axis = 0; axis < kThreads; ++axis) {
        controller.SetRegister(static_cast<std::uint16_t>(axis << 8 | kCommandPosition),
                               static_cast<std::uint16_t>(1000 + axis));
    }
    ASSERT_NO_FATAL_FAILURE(controller.Connect());
    const int failed = RunInParallel(kThreads, [](int axis) {
        for (int call = 0; call < kCalls; ++call) {
            ServoStatus status{};
            const auto index = static_cast<unsigned short>(axis);
            if (zelQ_GetServoStatus(kNumber, index, &status) != 0) return false;
            if (status.axis != index || status.commandPosition != 1000 + axis) return false;
        }
        return true;
    });
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(controller.Connections(), 1);
    std::set<std::uint16_t> ids;
    for (const Request& request : controller.TakeRequests()) {
        ASSERT_EQ(request.size(), 2U) << "one call's frames, and nothing between them";
        EXPECT_EQ(request[0].start, 0xF414);
        EXPECT_EQ(request[1].start & 0xFFU, 0U);
        ids.insert({request[0].id, request[1].id});
    }
    EXPECT_EQ(ids.size(), 2U * kThreads * kCalls) << "no id was taken twice";
}

TEST(ParallelCalls, ConnectingAtOnceMakesOneSession)
{
    constexpr short kNumber = 91; // never connected before
    constexpr int kThreads = 8;
    ScriptedController controller(kNumber);
    controller.SetSlaveTypes({1});
    // Each closes and opens the connection anew, which the calls of the others must not notice.
    const int failed = RunInParallel(kThreads, [&](int) {
        if (ConnectPatiently(kNumber, controller.Port(), kPatientMs) != 0) return false;
        for (int i = 0; i < 10; ++i) {
            if (zelQ_Connect(kNumber, 127, 0, 0) != 0) return false;
            if (zelQ_UnitPerPulseSet(kNumber, 0, 1.0) != 0) return false;
            if (zelQ_MoveAbs(kNumber, 0, 1.0) != 0) return false;
        }
        return true;
    });
    EXPECT_EQ(failed, 0);
}

TEST(ParallelCalls, ADisconnectIsNotUndoneByThoseThatWait)
{
    constexpr int kRounds = 8;
    constexpr int kThreads = 4;
    constexpr short kNumber = 92;
    ScriptedController controller(kNumber);
    ASSERT_NO_FATAL_FAILURE(controller.Connect());
    for (int round = 0; round < kRounds; ++round) {
        ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
        const int connections = controller.Connections();
        StartingLine moving(kThreads + 1);
        std::atomic<bool> over = false;
        const int failed = RunInParallel(kThreads + 1, [&](int index) {
            if (index > 0) {
                zelQ_ServoOn(kNumber, 0, 1);
                moving.ArriveAndWait();
                while (!over && zelQ_MoveAbs(kNumber, 0, 1.0) == 0) {
                }
                return true;
            }
            moving.ArriveAndWait();
            zelQ_Disconnect(kNumber);
            const bool disconnected = zelQ_MoveAbs(kNumber, 0, 2.0) == -4;
            over = true;
            return disconnected;
        });
        EXPECT_EQ(failed, 0);
        EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 3.0), -4);
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

TEST(ParallelCalls, ChangingSlavesAreReportedByTheirOwnCount)
{
    constexpr unsigned kChanges = 60;
    constexpr int kThreads = 4;
    constexpr short kNumber = 93;
    ScriptedController controller(kNumber);
    Change(controller, 0);
    ASSERT_NO_FATAL_FAILURE(controller.Connect());
    std::atomic<unsigned> seen = 0;
    std::atomic<bool> over = false;
    const int failed = RunInParallel(kThreads + 1, [&](int index) {
        for (unsigned state = 1; index == 0 && state < kChanges; ++state) {
            const unsigned before = seen;
            Change(controller, state);
            while (seen < before + kThreads) { // let it be seen by all of them
                std::this_thread::yield();
            }
            over = state + 1 == kChanges;
        }
        bool right = true;
        while (index > 0 && !over) {
            ControllerStatus status{};
            if (zelQ_GetAllStatus(kNumber, &status) != 0) continue;
            ++seen;
            const auto inputs = static_cast<unsigned>(
                status.mainInputs[0] | status.mainInputs[1] << 1 | status.mainInputs[2] << 2);
            right = right && status.servoCount == 1 + inputs;
        }
        return right;
    });
    EXPECT_EQ(failed, 0);
}

} // namespace

} // namespace zelq::test
