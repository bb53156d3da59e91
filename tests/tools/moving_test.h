#pragma once

#include "tools/tool_test.h"

#include <chrono>
#include <thread>

namespace zelq::test {

/// The program moves the axes of a small machine, on which switches are reached in a moment; axis 0
/// is called X.
class MovingTest : public ToolTest
{
  protected:
    MovingTest() : MovingTest(SmallMachine()) {}
    explicit MovingTest(const lumosim::ServerConfig& config) : ToolTest(config) {}

    static lumosim::ServerConfig SmallMachine()
    {
        lumosim::ServerConfig config = Config();
        config.controller.mechanics.positiveLimit = 30'000;
        config.controller.mechanics.negativeLimit = -30'000;
        config.controller.mechanics.homeSensor = lumosim::Stretch{-3'000, -2'500};
        config.controller.mechanics.probe = lumosim::Stretch{4'000, 4'200};
        return config;
    }

    void SetUp() override
    {
        ToolTest::SetUp();
        Limit(R"("name": "X")");
    }

    /// The configuration of axis 0.
    void Limit(const std::string& axis)
    {
        Configure(R"({"targets": {"press": {"network": "127.0.0", "controller": )" +
                  std::to_string(kNumber) + R"(, "port": )" + std::to_string(server_.Port()) +
                  R"(, "axes": {"0": {)" + axis + "}}}}}");
    }

    /// Switches all servos on.
    void SwitchOn() { ASSERT_EQ(Run("servo on all --yes").exit, 0); }

    std::int32_t PositionOf(int axis)
    {
        return WithAxis(axis, [](lumosim::Axis& a) { return a.CommandPosition(); });
    }
    bool IsMoving(int axis)
    {
        return WithAxis(axis, [](lumosim::Axis& a) { return a.Moving(); });
    }
    bool ComesToMove(int axis) { return Becomes(axis, true); }
    bool ComesToRest(int axis) { return Becomes(axis, false); }

    /// Starts a verb and waits until the axis runs under it.
    std::unique_ptr<PipedProcess> StartMotion(const std::string& words, int axis)
    {
        auto process = Start(words);
        EXPECT_TRUE(ComesToMove(axis));
        return process;
    }

  private:
    bool Becomes(int axis, bool moving)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (IsMoving(axis) != moving && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        return IsMoving(axis) == moving;
    }
};

} // namespace zelq::test
