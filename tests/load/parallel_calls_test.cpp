#include "server/server.h"
#include "support/scripted_controller.h"
#include "zelq.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <thread>
#include <vector>

namespace zelq::test {

namespace {

constexpr int kControllers = 64;
constexpr short kFirstNumber = 101;
constexpr short kPatientMs = 5000;

/// Runs `work(0)` to `work(count - 1)`, each on a thread of its own, all at once; gives how many
/// of them were not content.
int RunInParallel(int count, const std::function<bool(int index)>& work)
{
    std::atomic<int> discontent = 0;
    std::vector<std::thread> threads;
    for (int index = 0; index < count; ++index) {
        threads.emplace_back([&, index] {
            if (!work(index)) ++discontent;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return discontent;
}

std::unique_ptr<lumosim::Server> StartSimulated(short number)
{
    lumosim::ServerConfig config;
    config.controller.number = number;
    config.controller.axes = 2;
    config.address = "127.0.0." + std::to_string(number);
    config.clock = lumosim::Clock::kByHand;
    auto server = std::make_unique<lumosim::Server>(config);
    server->Start();
    return server;
}

bool SetUpAxes(short number, int port)
{
    bool fine = ConnectPatiently(number, port, kPatientMs) == 0;
    for (short axis = 0; axis < 2; ++axis) {
        const auto index = static_cast<unsigned short>(axis);
        fine = fine && zelQ_UnitPerPulseSet(number, axis, 0.5) == 0 &&
               zelQ_SpeedSet(number, axis, 0, 0.0, 1e6, 1e5, 1e6) == 0 &&
               zelQ_ServoOn(number, index, 1) == 0;
    }
    return fine;
}

/// Moves both axes to places that no other controller's axes go to, and looks whether they have
/// come there.
bool Travel(lumosim::Server& server, short number)
{
    constexpr int kLegs = 10;
    for (int leg = 1; leg <= kLegs; ++leg) {
        const double target = 100.0 * number + leg;
        if (zelQ_MoveAbs(number, 0, target) != 0) return false;
        if (zelQ_MoveAbs(number, 1, -target) != 0) return false;
        server.AdvanceBy(std::chrono::seconds(60));
        ControllerStatus status{};
        if (zelQ_GetAllStatus(number, &status) != 0) return false;
        if (status.servo[0].commandPosition != target) return false;
        if (status.servo[1].commandPosition != -target) return false;
    }
    return true;
}

TEST(ParallelCalls, ManyControllersFromAThreadEach)
{
    std::vector<std::unique_ptr<lumosim::Server>> servers;
    for (short i = 0; i < kControllers; ++i) {
        servers.push_back(StartSimulated(static_cast<short>(kFirstNumber + i)));
    }
    const int failed = RunInParallel(kControllers, [&](int index) {
        const auto number = static_cast<short>(kFirstNumber + index);
        lumosim::Server& server = *servers[static_cast<std::size_t>(index)];
        const bool fine = SetUpAxes(number, server.Port()) && Travel(server, number);
        zelQ_Disconnect(number);
        return fine;
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

} // namespace

} // namespace zelq::test
