#include "core/alarm_list.h"
#include "tools/tool_test.h"

namespace zelq::test {

namespace {

class WatchTest : public ToolTest
{
  protected:
    WatchTest() : ToolTest(Findable(Config())) {}
};

TEST_F(WatchTest, FindsAndDescribesAController)
{
    const std::string at = "127.0.0." + std::to_string(kNumber);
    Check({
        {"discover --at " + at, 0, "ZEL Lumo-32", "/found/0/address", at},
        {"discover", 0, at, "/found/0/model", "ZEL Lumo-32"},
        {"discover --at 127.0.0.256", 2, "no address", "/error/exit", 2},
        {"info", 0, "outputs", "/slaves/5/type", "outputs"},
        {"info --nonsense", 2, "--nonsense", "", {}},
        {"ping --count 2", 0, at + " answers after", "/received", 2},
    });
    server_.Stop();
    EXPECT_EQ(Run("info").exit, 3);
}

TEST_F(WatchTest, DoctorTellsWhatIsWrong)
{
    Check({{"doctor", 0, "ok  on the servo network: 1 x inputs, 1 x outputs, 4 x servo",
            "/findings/2/state", "good"}});
    EXPECT_GT(Run("doctor --json").AsJson()["roundTripMs"]["p99"], 0.0);

    WithAxis(2, [](lumosim::Axis& axis) { axis.RaiseAlarm(lumosim::kFollowingErrorAlarm); });
    WithAxis(3, [](lumosim::Axis& axis) {
        lumosim::AxisInputs inputs;
        inputs.limitPositive = true;
        axis.SetInputs(inputs);
    });
    const auto other = Start("watch --json");
    ASSERT_TRUE(other->AwaitOutput("\n"));
    const Ran ran = Run("doctor");
    EXPECT_EQ(ran.exit, 1);
    EXPECT_THAT(ran.output, HasSubstr("BAD axis 2 has alarm 20, following error: see whether"));
    EXPECT_THAT(ran.output, HasSubstr("axis 3 stands on its positive limit"));
    EXPECT_THAT(ran.output, HasSubstr("1 more connection of this computer"));

    server_.Stop();
    const Ran gone = Run("doctor --json");
    EXPECT_EQ(gone.exit, 3);
    EXPECT_THAT(gone.AsJson()["findings"].back()["advice"].get<std::string>(),
                HasSubstr("the host is there"));
}

TEST_F(WatchTest, WatchGoesOnUntilItIsEnded)
{
    const Ran twice = Run("watch 0 2 --count 2 --every 10");
    EXPECT_EQ(twice.exit, 0);
    EXPECT_EQ(std::count(twice.output.begin(), twice.output.end(), '\n'), 6);

    const auto process = Start("watch --every 10 --json");
    ASSERT_TRUE(process->AwaitOutput("\"alarm\":false"));
    WithAxis(1, [](lumosim::Axis& axis) { axis.RaiseAlarm(lumosim::kFollowingErrorAlarm); });
    EXPECT_TRUE(process->AwaitOutput("\"alarm\":20"));
    process->Interrupt();
    EXPECT_EQ(process->Wait(), 0);

    const auto lost = Start("watch --every 10");
    ASSERT_TRUE(lost->AwaitOutput("ready"));
    server_.Stop();
    EXPECT_EQ(lost->Wait(), 4);
}

TEST_F(WatchTest, ShowsAndSwitchesInputsAndOutputs)
{
    server_.With([](lumosim::Controller& c) {
        c.SetMainInputs(0x05);
        c.SetSlaveInputs(4, 0x100);
    });
    Check({
        {"io", 0, "#.#.....", "/ports/0/bits/2", 1},
        {"io", 0, "........ #.......", "/ports/2/bits/8", 1},
        {"io set main 7 on --yes", 0, ".......#", "/ports/1/bits/7", 1},
        {"io set 5 31 on --yes", 0, ".......#", "/ports/3/bits/31", 1},
        {"io set main 8 on --yes", 2, "-1701", "/error/code", -1701},
        {"io set 4 0 on --yes", 1, "", "/error/exit", 1}, // an input slave
        {"io set 5 1 maybe --yes", 2, "maybe", "", {}},
    });
    EXPECT_EQ(Run("io set main 7 off", "n\n").exit, 2);
    EXPECT_EQ(server_.With([](lumosim::Controller& c) { return c.MainOutputs(); }), 0x80);
}

TEST_F(WatchTest, ReadsMonitorsAndAlarms)
{
    WithAxis(1, [](lumosim::Axis& axis) {
        axis.SetPosition(-77);
        axis.RaiseAlarm(lumosim::kOverCurrentAlarm);
    });
    WithAxis(2, [](lumosim::Axis& axis) { axis.RaiseAlarm(lumosim::kEncoderAlarm); });
    Check({
        {"monitor 1", 0, "-77  pulses", "/monitors/1/raw", -77},
        {"monitor 1 --number 7 --number 0", 0, "325.0", "/monitors/0/unit", "V"},
        {"monitor 0 --number 99", 1, ": 85 ", "/error/code", 85},
        {"monitor 0 --number 0 --every 10 --count 3", 0, "command position", "", {}},
        {"alarms list 1", 0, "active   10.0", "/alarms/0/active", true},
        {"alarms reset 1", 0, "done", "", {}},
        {"alarms list 1", 0, "over-current", "/alarms/0/active", false},
        {"alarms reset", 1, ": 80 ", "/error/code", 80}, // the encoder's lasts
        {"alarms clear", 0, "done", "", {}},
        {"alarms list 1", 0, "no alarms", "/alarms", Json::array()},
        {"alarms explain 40", 0, "power goes off", "/meaning", "encoder"},
        {"alarms explain 400", 2, "400", "", {}},
    });
}

} // namespace

} // namespace zelq::test
