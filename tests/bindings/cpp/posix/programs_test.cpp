// The examples as a person starts them: they run to their ends, and Ctrl-C leaves no axis running.
#include "scenario/scenario_test.h"
#include "support/child_process.h"
#include "support/piped_process.h"

#include <chrono>
#include <filesystem>
#include <thread>

namespace zelq::test {

namespace {

class Programs : public testing::Test
{
  protected:
    static constexpr int kNumber = 12;
    using Words = std::vector<std::string>;

    lumosim::Server& Start(double timeScale)
    {
        lumosim::ServerConfig config;
        config.controller.number = kNumber;
        config.address = "127.0.0." + std::to_string(kNumber);
        config.timeScale = timeScale;
        server_.emplace(config);
        server_->Start();
        return *server_;
    }

    static std::string Program(const char* name)
    {
        return std::filesystem::path(ProgramPath()).replace_filename(name).string();
    }
    [[nodiscard]] Words Target() const
    {
        return {"127.0.0", std::to_string(kNumber), std::to_string(server_->Port())};
    }
    [[nodiscard]] Words TargetOptions() const
    {
        const Words words = Target();
        return {"--network", words[0], "--controller", words[1], "--port", words[2]};
    }

    template <typename Use>
    auto WithAxis(int axis, Use use)
    {
        return server_->With([&](lumosim::Controller& c) { return use(c.AxisAt(axis)); });
    }
    bool Moves()
    {
        return server_->With([](lumosim::Controller& c) {
            return c.AxisAt(0).Moving() || c.AxisAt(1).Moving() || c.AxisAt(2).Moving();
        });
    }
    double PlaceOf(int axis)
    {
        return WithAxis(axis, [](lumosim::Axis& a) { return a.CommandPosition(); });
    }
    /// Whether something moves, within 20 s.
    bool ComesToMove()
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!Moves()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

    std::optional<lumosim::Server> server_;
};

TEST_F(Programs, OfTheBindingRunToTheirEnds)
{
    Start(20);
    const auto runs = [&](const char* name) {
        PipedProcess program(Program(name), Target());
        EXPECT_EQ(program.Wait(), 0) << program.Output() << program.Errors();
    };
    runs("cpp_motion");
    EXPECT_EQ(PlaceOf(0), 0);
    EXPECT_EQ(PlaceOf(1), -30'000);
    runs("cpp_path");
    EXPECT_EQ(PlaceOf(0), 10'000);
    EXPECT_EQ(PlaceOf(1), 0);
    EXPECT_EQ(PlaceOf(2), 0);
    for (const int axis : {0, 1, 2}) {
        EXPECT_FALSE(WithAxis(axis, [](lumosim::Axis& a) { return a.ServoOn(); })) << axis;
    }

    PipedProcess alone(Program("cpp_motion"), {"127.0.0", "13", "1"});
    EXPECT_EQ(alone.Wait(), 1);
    EXPECT_THAT(alone.Errors(), testing::HasSubstr("remedy: "));
}

/// The controller would go on without them.
TEST_F(Programs, StopTheirAxesOnCtrlC)
{
    Start(1);
    for (const char* name : {"cpp_motion", "cpp_path", "first_motion", "path", "pick_and_place"}) {
        SCOPED_TRACE(name);
        const bool isOfTheBinding = std::string(name).starts_with("cpp_");
        PipedProcess program(Program(name), isOfTheBinding ? Target() : TargetOptions());
        EXPECT_TRUE(ComesToMove());
        program.Interrupt();
        EXPECT_EQ(program.Wait(), 130) << program.Errors();
        EXPECT_FALSE(Moves());
        server_->With([](lumosim::Controller& c) { c.PowerCycle(); });
    }

    // Jogging, which would never end by itself.
    Start(10);
    PipedProcess program(Program("cpp_motion"), Target());
    ASSERT_TRUE(program.AwaitOutput("jogging"));
    EXPECT_TRUE(ComesToMove());
    program.Interrupt();
    EXPECT_EQ(program.Wait(), 130) << program.Errors();
    EXPECT_FALSE(Moves());
}

} // namespace

} // namespace zelq::test
