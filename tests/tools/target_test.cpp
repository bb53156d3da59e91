#include "tools/tool_test.h"

namespace zelq::test {

namespace {

class TargetTest : public ToolTest
{
  protected:
    /// A configuration with the simulator under a name.
    void ConfigureTarget(const std::string& axes = "{}", const std::string& rest = "")
    {
        Configure(R"({"targets": {"press": {"network": "127.0.0", "controller": )" +
                  std::to_string(kNumber) + R"(, "port": )" + std::to_string(server_.Port()) +
                  R"(, "axes": )" + axes + "}}" + rest + "}");
    }
};

TEST_F(TargetTest, IsNamedByOptionsEnvironmentOrConfiguration)
{
    ConfigureTarget();
    EXPECT_EQ(RunAlone("-t press status").exit, 0);
    EXPECT_THAT(RunAlone("-t pres status").errors, HasSubstr("press"));
    EXPECT_EQ(RunAlone("status").exit, 2);

    variables_["ZELQ_TARGET"] = "press";
    EXPECT_EQ(RunAlone("status").exit, 0);
    // An option comes before what stands around it: nobody is there.
    EXPECT_EQ(RunAlone("status --controller 12").exit, 3);

    variables_["ZELQ_TARGET"] = "";
    ConfigureTarget("{}", R"(, "default": "press")");
    EXPECT_EQ(RunAlone("status").exit, 0);

    Configure("{}");
    variables_["ZELQ_NETWORK"] = "127.0.0";
    variables_["ZELQ_CONTROLLER"] = std::to_string(kNumber);
    variables_["ZELQ_PORT"] = std::to_string(server_.Port());
    EXPECT_EQ(RunAlone("status").exit, 0);
    variables_["ZELQ_CONTROLLER"] = "300";
    EXPECT_EQ(RunAlone("status").exit, 2);
}

TEST_F(TargetTest, AConfigurationThatIsWrongIsRefusedWithThePlaceOfTheFault)
{
    const std::pair<std::string, std::string> cases[] = {
        {R"({"target": {}})", "\"target\""},
        {R"({"targets": {"a": {"axes": {"0": {"maxSped": 5}}}}})", "targets.a.axes.0.maxSped"},
        {R"({"targets": {"a": {"axes": {"0": {"maxSpeed": -5}}}}})", "not above 0"},
        {R"({"targets": {"a": {"axes": {"32": {}}}}})", "no axis from 0 to 31"},
        {R"({"targets": {"a": {"controller": "3"}}})", "wrong type"},
        {"{", "no JSON"},
    };
    for (const auto& [text, message] : cases) {
        Configure(text);
        const Ran ran = Run("status");
        EXPECT_EQ(ran.exit, 2) << text;
        EXPECT_THAT(ran.errors, HasSubstr(message));
    }
    EXPECT_EQ(Run("status --config " + FileName("missing")).exit, 2);
}

TEST_F(TargetTest, UnitsAndNamesOfTheConfigurationHoldForItsAddress)
{
    ConfigureTarget(R"({"1": {"name": "X", "unit": "mm", "unitPerPulse": 0.001}})");
    WithAxis(1, [](lumosim::Axis& axis) { axis.SetPosition(12345); });
    Check({
        {"status X", 0, "12.345", "/axes/0/commandPosition", 12.345},
        {"status 1 --pulses", 0, "12345  pulses", "/axes/0/unit", "mm"},
        {"status 0-2,X", 0, "X", "/axes/2/axis", 2},
        {"status Y", 2, "no axis", "/error/exit", 2},
        {"status 4", 2, "no servo axis", "/error/code", -2002},
        {"status 3-1", 2, "no axis", "", {}},
    });
}

TEST_F(TargetTest, WhatIsNotThereIsToldBeforeAnythingIsDone)
{
    EXPECT_EQ(RunAlone("--network 127.0.0 --controller 12 --port " +
                       std::to_string(server_.Port()) + " status")
                  .exit,
              3);
    const Ran json = RunAlone("--json --network 127.0.0 --controller 12 --port 1 status");
    EXPECT_EQ(json.AsJson()["error"]["code"], -1);
    EXPECT_EQ(json.exit, 3);
    EXPECT_THAT(RunAlone("--network 127.0 --controller 1 status").errors, HasSubstr("no network"));
    Check({
        {"", 2, "a verb is missing", "", {}},
        {"statsu", 2, "\"statsu\" is no verb", "/error/exit", 2},
        {"status --nonsense", 2, "--nonsense", "/error/exit", 2},
        {"--version", 0, "zelq 1.", "", {}},
        {"status --help", 0, "in pulses", "", {}},
        {"ping --count 2", 0, "answers after", "/received", 2},
    });
}

} // namespace

} // namespace zelq::test
