// A process that forks without exec hands its connections to its child, which must leave them
// alone.

#include "support/posix/forked_child.h"
#include "support/scripted_controller.h"
#include "zelq.h"

#include <cstdlib>
#include <thread>

namespace zelq::test {

namespace {

constexpr short kNumber = 41;

class ForkedChild : public testing::Test
{
  protected:
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(controller_.Connect()); }

    /// The child ends as a program does.
    static void ExpectOfChild(const std::function<void()>& body)
    {
        ExpectOfForkedChild([&] {
            body();
            std::exit(HasFailure() ? 1 : 0);
        });
    }

    ScriptedController controller_{kNumber};
};

TEST_F(ForkedChild, IsNotConnectedUntilItConnectsForItself)
{
    ExpectOfChild([] {
        EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -4);
        zelQ_Disconnect(kNumber); // no harm either
        EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -4);
    });
    EXPECT_TRUE(controller_.TakeRequests().empty());
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);

    const int connections = controller_.Connections();
    ExpectOfChild([] {
        EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
        EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 2.0), 0);
    });
    EXPECT_EQ(controller_.Connections(), connections + 1) << "one, the child's";
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
    EXPECT_EQ(controller_.Connections(), connections + 1) << "the parent's own was left alone";
}

TEST_F(ForkedChild, TakesNothingFromThreadsInTheMiddleOfTheirCalls)
{
    constexpr int kChildren = 30;
    const std::jthread caller([](const std::stop_token& stop) {
        ControllerStatus status{};
        while (!stop.stop_requested()) {
            EXPECT_EQ(zelQ_GetAllStatus(kNumber, &status), 0);
            EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
        }
    });
    for (int i = 0; i < kChildren; ++i) {
        ExpectOfChild([] {
            ServoStatus status{};
            EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -4);
            EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
            EXPECT_EQ(zelQ_GetServoStatus(kNumber, 0, &status), -1700);
            EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), 0);
        });
    }
}

} // namespace

} // namespace zelq::test
