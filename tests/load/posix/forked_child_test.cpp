// A process that forks without exec hands its connections to its child, which must leave them
// alone.

#include "support/scripted_controller.h"
#include "zelq.h"

#include <atomic>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace zelq::test {

namespace {

constexpr short kNumber = 41;
constexpr short kForkedPatientMs = 5000;

/// Runs `body` in a forked child that then ends as a program does; what it returned, or -1 when it
/// did not come to an end within a minute.
int InChild(const std::function<int()>& body)
{
    const pid_t child = fork();
    if (child == 0) {
        constexpr unsigned kPatienceSeconds = 60;
        alarm(kPatienceSeconds);
        std::exit(body());
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class ForkedChild : public testing::Test
{
  protected:
    void SetUp() override
    {
        ASSERT_EQ(ConnectPatiently(kNumber, controller_.Port(), kForkedPatientMs), 0);
        controller_.TakeRequests();
        connections_ = controller_.Connections();
    }
    void TearDown() override { zelQ_Disconnect(kNumber); }

    ScriptedController controller_{kNumber};
    int connections_ = 0;
};

TEST_F(ForkedChild, IsNotConnectedUntilItConnectsForItself)
{
    EXPECT_EQ(InChild([] {
                  if (zelQ_MoveAbs(kNumber, 0, 1.0) != -4) return 1;
                  zelQ_Disconnect(kNumber); // no harm either
                  return zelQ_MoveAbs(kNumber, 0, 1.0) == -4 ? 0 : 2;
              }),
              0);
    EXPECT_TRUE(controller_.TakeRequests().empty());
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);

    EXPECT_EQ(InChild([] {
                  if (zelQ_Connect(kNumber, 127, 0, 0) != 0) return 1;
                  return zelQ_MoveAbs(kNumber, 0, 2.0) == 0 ? 0 : 2;
              }),
              0);
    EXPECT_EQ(controller_.Connections(), connections_ + 1) << "one, the child's";
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
    EXPECT_EQ(controller_.Connections(), connections_ + 1) << "the parent's own was left alone";
}

TEST_F(ForkedChild, TakesNothingFromThreadsInTheMiddleOfTheirCalls)
{
    constexpr int kChildren = 30;
    std::atomic<bool> stop = false;
    std::atomic<int> wrong = 0;
    std::thread caller([&] {
        ControllerStatus status{};
        while (!stop) {
            wrong += zelQ_GetAllStatus(kNumber, &status) != 0;
            wrong += zelQ_MoveAbs(kNumber, 0, 1.0) != 0;
        }
    });
    for (int i = 0; i < kChildren; ++i) {
        EXPECT_EQ(InChild([] {
                      ServoStatus status{};
                      if (zelQ_MoveAbs(kNumber, 0, 1.0) != -4) return 1;
                      if (zelQ_Connect(kNumber, 127, 0, 0) != 0) return 2;
                      if (zelQ_GetServoStatus(kNumber, 0, &status) != -1700) return 3;
                      return zelQ_MoveAbs(kNumber, 0, 1.0) == 0 ? 0 : 4;
                  }),
                  0);
    }
    stop = true;
    caller.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace

} // namespace zelq::test
